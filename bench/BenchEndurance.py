"""A loop played for a long time beside two busy programs, while its speed changes every ten seconds.

    bench/run BenchEndurance [MINUTES]

Two seconds of a tone are looped at 60 and 65 %. Counts the holes of 2 ms and more in what the sound
server plays, and the memory that the program takes after the first minute; exits with 1 if there is
a hole or more than 2 MB. A virtual machine itself stands still at times: a hole is not counted if
just then a thread of the highest real-time priority was late, too (seen as root only). With AMBREL_SOUND_SERVERS="pipewire wireplumber pipewire-pulse" it plays
on PipeWire.
"""

import contextlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
import time

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parent.parent
os.environ["AMBREL_BINARY_DIR"] = str(ROOT / "build" / "release")
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

from desktop import Desktop  # noqa: E402
from sound import tone, write_wav  # noqa: E402

# Says when a thread that nothing should delay was late by 8 ms and more.
STALLS = """
import os, sys, time
os.sched_setaffinity(0, {int(sys.argv[1])})
os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(95))
before = time.monotonic()
while True:
    time.sleep(0.002)
    now = time.monotonic()
    if now - before > 0.01:
        print(now, flush=True)
    before = now
"""
STALL_S = 1  # how long after a stall its hole has come through the recording at the latest

HOLE_FRAMES = Desktop.RATE * 2 // 1000
QUIET = 0.01  # of full scale; the tone is at 0.5
GROWTH_MB = 2


class StallWatch:
    """When a processor stood still."""

    def __init__(self, desktop):
        self._times = []
        for cpu in os.sched_getaffinity(0):
            process = desktop.spawn(sys.executable, "-c", STALLS, str(cpu), stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL)
            threading.Thread(target=self._listen, args=[process.stdout], daemon=True).start()

    def _listen(self, lines):
        for line in lines:
            self._times.append(float(line))

    def before(self, moment):
        """Whether that was shortly before."""
        return any(0 <= moment - time < STALL_S for time in self._times)


class HoleCounter:
    """Listens to the sink from now on, keeping nothing of it."""

    def __init__(self, desktop):
        self._process = desktop.spawn(
            "parec", f"--device={Desktop.SINK}.monitor", "--raw", "--format=float32le",
            f"--rate={Desktop.RATE}", "--channels=1", "--latency-msec=100", stdout=subprocess.PIPE)
        self.frames, self.holes = 0, []  # when they are heard
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        was_quiet = True  # until the recording begins
        while block := self._process.stdout.read(4 * HOLE_FRAMES):
            is_quiet = np.abs(np.frombuffer(block, "<f4")).max() < QUIET
            if is_quiet and not was_quiet:
                self.holes.append(time.monotonic())
            was_quiet = is_quiet
            self.frames += len(block) // 4


def resident_mb(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    return int(re.search(r"^VmRSS:\s+(\d+)", status, re.M)[1]) / 1024


def main():
    minutes = float(sys.argv[1]) if len(sys.argv) > 1 else 60
    with contextlib.ExitStack() as ends, tempfile.TemporaryDirectory() as folder:
        desktop = Desktop()
        ends.callback(desktop.stop)
        from application import Application
        for _ in range(2):
            ends.callback(desktop.spawn("sh", "-c", "while :; do :; done").kill)
        song = write_wav(pathlib.Path(folder) / "song.wav", tone(440, 2))
        program = ends.enter_context(Application(desktop, song))
        program.wait_until_loaded()
        program.key("ctrl+l")
        for _ in range(8):
            program.key("ctrl+Left")
        program.key("space")
        time.sleep(3)
        sound, stalls = HoleCounter(desktop), StallWatch(desktop)
        memory = []
        for turn in range(round(minutes * 6)):
            time.sleep(10)
            memory.append(resident_mb(program.process.pid))
            program.key("ctrl+Left" if turn % 2 else "ctrl+Right")
            if turn % 30 == 29:
                print(f"{(turn + 1) // 6} min: {len(sound.holes)} holes, {memory[-1]:.1f} MB", flush=True)
        growth = max(memory[6:], default=0) - memory[min(5, len(memory) - 1)]
        holes = [hole for hole in sound.holes if not stalls.before(hole)]
        print(f"{sound.frames / Desktop.RATE:.0f} s heard, {len(holes)} holes, and "
              f"{len(sound.holes) - len(holes)} as the machine stood still; "
              f"memory grew by {growth:.1f} MB after the first minute")
    return 1 if holes or growth > GROWTH_MB else 0


if __name__ == "__main__":
    sys.exit(main())
