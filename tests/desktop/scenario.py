"""What every scenario has: a desktop that lasts for its class, and a folder for its files."""

import pathlib
import tempfile
import unittest

from desktop import Desktop


class Scenario(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.stop)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(dir=self.desktop.folder, prefix="files-"))

    def start(self, *arguments, home=None):
        """The application, started with these arguments and ended with the test."""
        # Only now: the accessibility library takes the bus that is there when it is imported.
        from application import Application
        return self.enterContext(Application(self.desktop, *arguments, home=home))

    def start_with(self, path):
        """The application with that file open in it."""
        program = self.start(path)
        program.wait_until_loaded()
        return program

    def assert_ends(self, program, seconds=2):
        """That it ends by itself, in time (0.1 s where nothing else runs) and in order."""
        self.assertEqual(program.wait_for_end(seconds), 0, program.log())
        self.assertEqual(program.log(), "")

    def quit(self, program):
        program.key("ctrl+q")
        self.assert_ends(program)

    def leave(self, path, settings=None):
        """A run that has had that file open and has ended; with these settings stored for it."""
        program = self.start_with(path)
        self.quit(program)
        if settings:
            program.store_settings(path, settings)
        return program
