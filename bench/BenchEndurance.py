"""A loop played for a long time beside two busy programs, while its speed changes every ten seconds.

    bench/run BenchEndurance [MINUTES]

Two seconds of a tone are looped at 60 and 65 %. Counts the holes of 2 ms and more in what the sound
server plays, and the memory that the program takes after the first minute; exits with 1 if there is
a hole or more than 2 MB. With AMBREL_SOUND_SERVERS="pipewire wireplumber pipewire-pulse" it plays
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

HOLE_FRAMES = Desktop.RATE * 2 // 1000
QUIET = 0.01  # of full scale; the tone is at 0.5
GROWTH_MB = 2


class HoleCounter:
    """Listens to the sink from now on, keeping nothing of it."""

    def __init__(self, desktop):
        self._process = desktop.spawn(
            "parec", f"--device={Desktop.SINK}.monitor", "--raw", "--format=float32le",
            f"--rate={Desktop.RATE}", "--channels=1", "--latency-msec=100", stdout=subprocess.PIPE)
        self.frames, self.holes = 0, []  # where they are, in seconds
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        was_quiet = False
        while block := self._process.stdout.read(4 * HOLE_FRAMES):
            is_quiet = np.abs(np.frombuffer(block, "<f4")).max() < QUIET
            if is_quiet and not was_quiet:
                self.holes.append(self.frames / Desktop.RATE)
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
        sound = HoleCounter(desktop)
        memory = []
        for turn in range(round(minutes * 6)):
            time.sleep(10)
            memory.append(resident_mb(program.process.pid))
            program.key("ctrl+Left" if turn % 2 else "ctrl+Right")
            if turn % 30 == 29:
                print(f"{(turn + 1) // 6} min: {len(sound.holes)} holes, {memory[-1]:.1f} MB", flush=True)
        growth = max(memory[6:], default=0) - memory[min(5, len(memory) - 1)]
        print(f"{sound.frames / Desktop.RATE:.0f} s heard, holes at {sound.holes or 'no time'}; "
              f"memory grew by {growth:.1f} MB after the first minute")
    return 1 if sound.holes or growth > GROWTH_MB else 0


if __name__ == "__main__":
    sys.exit(main())
