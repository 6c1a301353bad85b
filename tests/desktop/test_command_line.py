"""What the program says without a window."""

import os
import pathlib
import subprocess
import unittest
from xml.etree import ElementTree

PROGRAM = pathlib.Path(os.environ["AMBREL_BINARY_DIR"]) / "bin" / "ambrel"


class CommandLineTest(unittest.TestCase):
    def run_program(self, *arguments):
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}
        return subprocess.run([PROGRAM, *arguments], env=environment, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=60)

    def test_refusals_are_one_sentence_and_status_2(self):
        for arguments in (["a.wav", "b.wav"], ["--loud"], ["-style", "fusion"], ["--help=yes"], [""], []):
            with self.subTest(arguments):
                result = self.run_program(*arguments)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertEqual(result.stdout, "")
                self.assertRegex(result.stderr, r"\A[^\n]+\.\n\Z")

    def test_version_and_help_need_no_display(self):
        version, usage = self.run_program("--version"), self.run_program("--help")
        self.assertEqual((version.returncode, usage.returncode), (0, 0))
        self.assertRegex(version.stdout, r"(?i)\Aambrel \d+\.\d+\.\d+\n\Z")
        self.assertIn("FILE", usage.stdout.upper())
        metainfo, = (PROGRAM.parents[1] / "packaging").glob("*.metainfo.xml")
        release = ElementTree.parse(metainfo).find("releases/release")
        self.assertEqual(version.stdout.split()[1], release.get("version"))


if __name__ == "__main__":
    unittest.main()
