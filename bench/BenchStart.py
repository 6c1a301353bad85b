"""Start to painted window, and memory at rest with an hour-long file open, against an empty window.

    bench/run BenchStart

Both programs run in turn on the desktop of tests/desktop, without a window manager: the first thing
to be seen on the display is then what the program painted.
"""

import mmap
import os
import pathlib
import re
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILT = ROOT / "build" / "release"
os.environ["AMBREL_BINARY_DIR"] = str(BUILT)
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

from desktop import Desktop, wait_until  # noqa: E402

STARTS = 15
REST_S = 5
AMBREL, EMPTY = BUILT / "bin" / "ambrel", BUILT / "bench" / "EmptyWindow"


class BareDesktop(Desktop):
    """Its display can be watched as a file, at next to no cost."""

    def _daemon(self, *command, **options):
        if command[0] == "Xvfb":
            command += ("-fbdir", str(self.folder))
        super()._daemon(*command, **options)

    def _start_window_manager(self):
        with open(self.folder / "Xvfb_screen0", "rb") as file:
            self._screen = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        self._blank = self._middle()

    def _middle(self):
        """A line of pixels in the upper half, where either program's window lies."""
        row = len(self._screen) * 3 // 10
        return self._screen[row:row + 2048]

    def is_blank(self):
        return self._middle() == self._blank

    def start_ms(self, program):
        """From the start of the process until something has been painted."""
        wait_until(self.is_blank, "a blank display")
        environment = self.fresh_home()
        begin = time.monotonic()
        process = self.spawn(str(program), env=environment)
        while self.is_blank():
            time.sleep(0.0005)
        end = time.monotonic()
        process.kill()
        process.wait()
        return 1000 * (end - begin)

    def memory_mb(self, program, *arguments, until):
        """Resident and proportional set at rest."""
        process = self.spawn(str(program), *map(str, arguments), env=self.fresh_home())
        wait_until(lambda: until(process), "the program at rest", 120)
        time.sleep(REST_S)
        rollup = pathlib.Path(f"/proc/{process.pid}/smaps_rollup").read_text()
        process.kill()
        process.wait()
        return [int(re.search(rf"^{size}:\s+(\d+)", rollup, re.M)[1]) / 1024 for size in ("Rss", "Pss")]


def hour(folder):
    """An hour of noise, which is the most that peaks and FLAC can be made to hold."""
    path = folder / "hour.flac"
    subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                    "anoisesrc=color=pink:sample_rate=44100:duration=3600", "-ac", "2", path], check=True)
    return path


def loaded(process):
    """Whether the program shows a waveform."""
    from application import Application  # only now: it takes the bus that is there when imported
    program = Application.__new__(Application)
    program.process, program._found = process, {}
    return program.find(name="Waveform")


def main():
    desktop = BareDesktop()
    try:
        for program in (AMBREL, EMPTY):
            desktop.start_ms(program)  # fills the file cache
        times = [(desktop.start_ms(AMBREL), desktop.start_ms(EMPTY)) for _ in range(STARTS)]
        ambrel, empty = (statistics.median(column) for column in zip(*times))
        print(f"start to painted window, median of {STARTS}: Ambrel {ambrel:.0f} ms, "
              f"empty window {empty:.0f} ms, ratio {ambrel / empty:.2f}")
        memory = desktop.memory_mb
        for name, (resident, proportional) in {
                "empty window": memory(EMPTY, until=lambda _: not desktop.is_blank()),
                "Ambrel": memory(AMBREL, until=lambda _: not desktop.is_blank()),
                "Ambrel with an hour open": memory(AMBREL, hour(desktop.folder), until=loaded)}.items():
            print(f"memory at rest: {name}: RSS {resident:.0f} MB, PSS {proportional:.0f} MB")
    finally:
        desktop.stop()


if __name__ == "__main__":
    main()
