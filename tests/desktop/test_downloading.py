"""From a web address to an open file, with the real helper and a server of the test's own."""

import contextlib
import os
import pathlib
import signal
import sqlite3
import time
import unittest

from desktop import SLOWNESS, wait_until
from scenario import Scenario
from web import Server, mp3

ODD_TITLES = ("-rf /../../%(title)s 🎸\n«live»", "long " * 60)


class DownloadingTest(Scenario):
    def setUp(self):
        super().setUp()
        self.server = self.enterContext(Server(mp3(self.folder), ODD_TITLES))
        self.downloads = self.folder / "Meine Lieder, für Übungen"
        self.downloads.mkdir()

    def start_downloading_into(self, folder):
        """The application with that folder for downloads."""
        home = self.desktop.fresh_home()
        store = pathlib.Path(home["XDG_DATA_HOME"]) / "ambrel" / "preferences.sqlite"
        store.parent.mkdir()
        with contextlib.closing(sqlite3.connect(store)) as database, database:
            database.execute("CREATE TABLE preference(key TEXT PRIMARY KEY, type TEXT NOT NULL, value)")
            database.execute("INSERT INTO preference VALUES ('AMB.downloadDirectory', 'string', ?)",
                             (str(folder),))
        program = self.start(home=home)
        program.wait_for(name="Open from URL…")
        program.wait_for_window()
        return program

    def submit(self, program, path):
        """Opens the sheet, types the address and presses Return."""
        program.key("ctrl+shift+o")
        self.wait_until_asked(program)
        program.type(self.server.address + path)
        program.key("Return")

    @staticmethod
    def wait_until_asked(program):
        from application import has_state
        wait_until(lambda: has_state(program.wait_for(name="URL", role="text"), "FOCUSED"),
                   "the address field")

    def wait_until_opened(self, program, name):
        """The file that was downloaded, as it is called."""
        program.wait_until_gone(name="Download & Open")
        program.wait_until_loaded()
        program.wait_for(name=name, description="Status")

    def helpers(self):
        """Every process that was given an address of the server, or a file of the folder."""
        words = (self.server.address.encode(), os.fsencode(self.downloads))

        def has_them(process):
            with contextlib.suppress(OSError):
                return any(word in (process / "cmdline").read_bytes() for word in words)
        return [process for process in pathlib.Path("/proc").glob("[0-9]*") if has_them(process)]

    def names(self):
        return sorted(os.listdir(self.downloads))

    def test_pages_of_any_title_open(self):
        program = self.start_downloading_into(self.downloads)
        for number, title in enumerate(ODD_TITLES):
            with self.subTest(title=title):
                before = set(self.names())
                self.submit(program, f"/page?{number}")
                wait_until(lambda: program.find(description="Error") or
                           not program.find(name="Download & Open"), "the end of the download")
                if error := program.find(description="Error"):
                    self.assertIn("Download failed: ", error.get_name())
                    self.assertEqual(set(self.names()), before)
                    program.key("Escape")
                    continue
                made, = set(self.names()) - before
                self.wait_until_opened(program, made)
        self.assertEqual([path.name for path in self.folder.rglob("*.m4a")
                          if path.parent != self.downloads], [])

    def test_failure_is_told_and_can_be_mended(self):
        program = self.start_downloading_into(self.downloads / "made by the helper")
        self.submit(program, "/missing")
        error = program.wait_for(description="Error").get_name()
        self.assertTrue(error.startswith("Download failed: ") and "404" in error, error)
        program.key("ctrl+a")
        program.type(self.server.address + "/song.mp3")
        program.key("Return")
        self.wait_until_opened(program, "song.m4a")
        self.assertAlmostEqual(program.region()[2], 3, delta=0.1)

    def test_slow_server_holds_nothing_up_and_may_break_off(self):
        from application import has_state
        program = self.start_downloading_into(self.downloads)
        self.submit(program, "/slow/song.mp3")
        wait_until(self.names, "a beginning")
        program.wait_for(name="Busy")
        longest_s = 0
        controls = [{"name": "URL", "role": "text"}, {"name": "Change…"}, {"name": "Cancel"},
                    {"name": "Download & Open"}]
        for control in controls * 5:
            asked = time.monotonic()
            self.assertFalse(has_state(program.wait_for(**control), "ENABLED"))
            longest_s = max(longest_s, time.monotonic() - asked)
        self.assertLess(longest_s, 3 * SLOWNESS)  # a waiting window would not answer at all
        program.key("Escape")
        program.key("alt+F4")
        self.server.break_off.set()
        error = program.wait_for(description="Error").get_name()  # the sheet is still there
        self.assertTrue(error.startswith("Download failed: "), error)
        program.click(name="Cancel")
        program.wait_until_gone(name="Download & Open")

    def test_hanging_owner_of_the_clipboard_holds_nothing_up(self):
        def typed(text, *keys):
            """The field of a new window's sheet, once it has that text; the keys are pressed first."""
            program = self.start("--new-window")
            program.wait_for_window()
            program.key("ctrl+shift+o")
            self.wait_until_asked(program)
            program.key(*keys)
            program.type(text)
            field = program.wait_for(name="URL", role="text")
            wait_until(lambda: field.get_text(0, 99) == text, f"the text {text}")
            return program, field
        owner, field = typed("cut", "ctrl+a")
        owner.key("ctrl+a", "ctrl+x")
        wait_until(lambda: field.get_text(0, 99) == "", "the cut")
        owner.process.send_signal(signal.SIGSTOP)
        started = time.monotonic()
        typed("typed", "ctrl+v", "Menu")
        self.assertLess(time.monotonic() - started, 5 * SLOWNESS)  # Qt alone waits for 15 s, each time

    def test_end_meanwhile_leaves_nothing(self):
        ends = {
            "Ctrl+Q": lambda program: program.key("ctrl+q"),
            "SIGTERM": lambda program: program.process.send_signal(signal.SIGTERM),
            "SIGKILL": lambda program: program.process.kill(),
        }
        for name, end in ends.items():
            with self.subTest(name):
                (self.downloads / "older.part").write_text("not the program's")
                program = self.start_downloading_into(self.downloads)
                self.submit(program, "/slow/song.mp3")
                wait_until(lambda: "song.mp3.part" in self.names(), "a beginning")
                (self.downloads / "song.m4a.part").write_text("not the program's either")
                end(program)
                if name == "SIGKILL":
                    wait_until(lambda: not self.helpers(), "no helper", 2)
                    continue
                self.assert_ends(program)
                self.assertEqual(self.helpers(), [])
                self.assertEqual(self.names(), ["older.part", "song.m4a.part"])


if __name__ == "__main__":
    unittest.main()
