"""The work of playing an hour-long file at several speeds, in parts of one processor.

    bench/run BenchPlaying

Counts what the whole program takes, window and sound, while a minute of the file is looped in a
window that is seen, next to what ffmpeg takes to decode the file, for the same time of it.
"""

import contextlib
import os
import pathlib
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
os.environ["AMBREL_BINARY_DIR"] = str(ROOT / "build" / "release")
sys.path[:0] = [str(ROOT / "tests" / "desktop"), str(ROOT / "bench")]

from BenchStart import hour  # noqa: E402
from desktop import Desktop  # noqa: E402

SECONDS = 20
SPEEDS = 100, 50, 150


def processor_s(pid):
    """What the process has used, in seconds of a processor."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    with contextlib.ExitStack() as ends, tempfile.TemporaryDirectory() as folder:
        desktop = Desktop()
        ends.callback(desktop.stop)
        from application import Application
        recording = hour(pathlib.Path(folder)) if len(sys.argv) < 2 else pathlib.Path(sys.argv[1])
        program = ends.enter_context(Application(desktop, recording))
        program.wait_until_loaded(60)
        for speed in SPEEDS:
            program.click(name="Speed", role="text")
            program.key("ctrl+a")
            program.type(str(speed))
            program.key("Return")
            program.key("space")
            time.sleep(2)
            before = processor_s(program.process.pid)
            time.sleep(SECONDS)
            used = processor_s(program.process.pid) - before
            program.key("space")
            print(f"playing at {speed} %: {100 * used / SECONDS:.1f} % of a processor", flush=True)


if __name__ == "__main__":
    main()
