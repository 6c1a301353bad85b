"""A key that changes a setting, held for a minute while a file plays.

    bench/run BenchHeldKey

How often the settings are written while it is held and after it is let go (wanted: not at all, and
once), and how often the window paints meanwhile, against playing with no key held.
"""

import contextlib
import mmap
import os
import pathlib
import sqlite3
import sys
import tempfile
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
os.environ["AMBREL_BINARY_DIR"] = str(ROOT / "build" / "release")
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

from desktop import Desktop  # noqa: E402
from sound import tone, write_wav  # noqa: E402

HELD_S = 60
PER_SECOND = 30  # repeats of a held key


class WatchedDesktop(Desktop):
    """Its display can be watched as a file, at next to no cost."""

    def _daemon(self, *command, **options):
        if command[0] == "Xvfb":
            command += ("r", "-fbdir", str(self.folder), "-ardelay", "300",
                        "-arinterval", str(1000 // PER_SECOND))
        super()._daemon(*command, **options)

    def paints(self, seconds, saves):
        """Different pictures seen in that time, a second; `saves` is asked at each look."""
        with open(self.folder / "Xvfb_screen0", "rb") as file:
            screen = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        pictures, last = 0, None
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            picture = zlib.crc32(screen)
            pictures += picture != last
            last = picture
            saves()
            time.sleep(0.01)
        return pictures / seconds


class SaveCounter:
    """Transactions that the program has written to its store."""

    def __init__(self, store):
        self._database = sqlite3.connect(store)
        self._version = self._read()
        self.count = 0

    def _read(self):
        return self._database.execute("PRAGMA data_version").fetchone()[0]

    def __call__(self):
        version = self._read()
        self.count += version != self._version
        self._version = version

    def take(self):
        count, self.count = self.count, 0
        return count


def main():
    with contextlib.ExitStack() as ends, tempfile.TemporaryDirectory() as folder:
        desktop = WatchedDesktop()
        ends.callback(desktop.stop)
        from application import Application
        song = write_wav(pathlib.Path(folder) / "song.wav", tone(440, 600))
        program = ends.enter_context(Application(desktop, song))
        program.wait_until_loaded()
        time.sleep(1)
        saves = SaveCounter(program.store_path)
        program.key("space")
        at_rest = desktop.paints(5, saves)
        saves.take()
        program.pointer("keydown", "ctrl", "keydown", "Up")
        held = desktop.paints(HELD_S, saves)
        while_held = saves.take()
        program.pointer("keyup", "Up", "keyup", "ctrl")
        desktop.paints(1, saves)
        pitch = program.stored_settings(song)["pitch"]
        print(f"changes {pitch:.0f}, saves while held {while_held}, after it {saves.take()}, "
              f"pictures a second {held:.1f} (no key: {at_rest:.1f})")


if __name__ == "__main__":
    main()
