"""Sound files to play, and what came out of the loudspeakers."""

import subprocess
import threading
import wave

import numpy as np

from desktop import Desktop, wait_until

SILENCE = 1e-4  # of full scale, -80 dB


def write_wav(path, samples, rate=44_100):
    """Mono or (frames, channels), -1...1, as 16 bit."""
    samples = np.atleast_2d(np.asarray(samples).T).T
    with wave.open(str(path), "wb") as file:
        file.setnchannels(samples.shape[1])
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(np.rint(samples * 32_767).astype("<i2").tobytes())
    return path


def tone(frequency_hz, seconds, rate=44_100, level=0.5):
    return level * np.sin(2 * np.pi * frequency_hz * np.arange(round(seconds * rate)) / rate)


class Recording:
    """Everything the sink plays, from the with statement's start to its end."""

    def __init__(self, desktop):
        self._process = desktop.spawn(
            "parec", f"--device={Desktop.SINK}.monitor", "--raw", "--format=float32le",
            f"--rate={Desktop.RATE}", "--channels=2", "--latency-msec=20", stdout=subprocess.PIPE)
        self._blocks = []
        self._thread = threading.Thread(target=self._read, daemon=True)

    def __enter__(self):
        self._thread.start()
        wait_until(lambda: len(self.samples()), "the recording to begin")
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()
        self._thread.join()
        self._process.stdout.close()

    def _read(self):
        frame = 8  # bytes
        rest = b""
        while block := self._process.stdout.read1(65536):
            block = rest + block
            whole = len(block) // frame * frame
            self._blocks.append(np.frombuffer(block[:whole], "<f4").reshape(-1, 2))
            rest = block[whole:]

    def samples(self):
        return np.concatenate(self._blocks or [np.zeros((0, 2), "f4")])

    def last(self, seconds):
        return self.samples()[-round(seconds * Desktop.RATE):]

    def next(self, seconds):
        """What is played from now on."""
        start = len(self.samples())
        wait_until(lambda: len(self.samples()) >= start + seconds * Desktop.RATE, "more to be played")
        return self.samples()[start:]

    def wait_for_sound(self):
        wait_until(lambda: np.abs(self.last(0.05)).max(initial=0) > 0.01, "a sound")

    def wait_for_silence(self, seconds=0.3, timeout_s=20):
        """Until nothing has been heard for so long."""
        def is_silent():
            end = self.last(seconds)
            return len(end) == round(seconds * Desktop.RATE) and np.abs(end).max() < SILENCE
        wait_until(is_silent, "silence", timeout_s)

    def heard(self):
        """From the first frame that is not silent to the last, one channel."""
        mono = self.samples().mean(axis=1)
        loud = np.flatnonzero(np.abs(mono) > SILENCE)
        return mono[loud[0]:loud[-1] + 1] if len(loud) else mono[:0]

    def stretches(self, gap_s=0.1):
        """What was heard, cut where nothing was for so long."""
        heard = self.heard()
        loud = np.flatnonzero(np.abs(heard) > SILENCE)
        gaps = np.flatnonzero(np.diff(loud) > gap_s * Desktop.RATE)
        starts = np.concatenate([loud[:1], loud[gaps + 1]])
        ends = np.concatenate([loud[gaps], loud[-1:]])
        return [heard[start:end + 1] for start, end in zip(starts, ends)]


def level_db(samples, frequency_hz, rate=Desktop.RATE):
    """Level of one frequency in a recording, dB of full scale."""
    window = np.hanning(len(samples))
    turning = np.exp(-2j * np.pi * frequency_hz * np.arange(len(samples)) / rate)
    return 20 * np.log10(2 * abs((samples * window) @ turning) / window.sum() + 1e-12)
