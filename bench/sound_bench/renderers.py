"""The player and what it is compared with. Samples are an array of (2, frames)."""

import ctypes
import json
import pathlib
import subprocess
import tempfile
import time
from typing import NamedTuple

import numpy as np
from scipy.io import wavfile
from scipy.signal import resample_poly

from .signals import RATE

RENDER = pathlib.Path(__file__).resolve().parents[2] / "build" / "release" / "tools" / "ambrel-render"
REAL_TIME, FINER_ENGINE, PITCH_HIGH_CONSISTENCY = 0x1, 0x20000000, 0x04000000  # as the player uses it
BLOCK = 512


class Way(NamedTuple):
    """How a file is played."""
    speed: float
    cents: float = 0
    rate: int = RATE  # the file's
    device_rate: int = RATE

    def pitch(self):
        return 2 ** (self.cents / 1200)

    def __str__(self):
        transposed = f" {self.cents:+g} cents" if self.cents else ""
        rates = f", {self.rate} to {self.device_rate} Hz" if self.device_rate != RATE else ""
        return f"{100 * self.speed:g} %{transposed}{rates}"


def write_wav(path, rate, samples):
    wavfile.write(path, rate, samples.T.astype(np.float32))


def ambrel(samples, way, *options):
    """What the player would give to its device, and the seconds of processor it takes."""
    with tempfile.TemporaryDirectory() as folder:
        song, heard = (pathlib.Path(folder) / name for name in ("song.wav", "heard.wav"))
        write_wav(song, way.rate, samples)
        run = subprocess.run([RENDER, song, heard, "--rate", f"{way.speed:g}", "--pitch", f"{way.cents:g}",
                              "--device-rate", str(way.device_rate), *options],
                             stdout=subprocess.PIPE, check=True)
        return wavfile.read(heard)[1].T.astype(float), json.loads(run.stdout)["cpuSeconds"]


def r3(samples, way):
    """The same of Rubber Band's R3 engine alone. Its first frame is made of the first one of samples."""
    library = ctypes.CDLL("librubberband.so.2")
    library.rubberband_new.restype = ctypes.c_void_p
    engine = ctypes.c_void_p(library.rubberband_new(
        way.device_rate, 2, REAL_TIME | FINER_ENGINE | PITCH_HIGH_CONSISTENCY,
        ctypes.c_double(1 / way.speed), ctypes.c_double(way.pitch())))
    library.rubberband_set_max_process_size(engine, BLOCK)
    delay, frames = library.rubberband_get_start_delay(engine), round(samples.shape[1] / way.speed)
    padding = library.rubberband_get_preferred_start_pad(engine), way.device_rate
    song = np.ascontiguousarray(np.pad(samples, ((0, 0), padding)), np.float32)
    heard = np.zeros((2, round(song.shape[1] / way.speed) + way.device_rate), np.float32)

    def planes(sides, first):
        return (ctypes.c_void_p * 2)(*(side[first:].ctypes.data for side in sides))

    begin, done = time.process_time(), 0
    for fed in range(0, song.shape[1] - BLOCK, BLOCK):
        library.rubberband_process(engine, planes(song, fed), BLOCK, 0)
        done += library.rubberband_retrieve(engine, planes(heard, done),
                                            max(0, library.rubberband_available(engine)))
        if done >= frames + delay:
            break
    took = time.process_time() - begin
    library.rubberband_delete(engine)
    return heard[:, delay:delay + frames].astype(float), took


def atempo(samples, way):
    """What ffmpeg's filter makes of it: as many in a row as it takes to be that slow."""
    speed, filters = way.speed, []
    while speed < 0.5:
        filters.append("atempo=0.5")
        speed *= 2
    pipe = ["-f", "f32le", "-ar", str(way.device_rate), "-ac", "2"]
    run = subprocess.run(["ffmpeg", "-v", "error", *pipe, "-i", "-", "-af",
                          ",".join([*filters, f"atempo={speed}"]), *pipe, "-"],
                         input=samples.T.astype("<f4").tobytes(), stdout=subprocess.PIPE, check=True)
    heard = np.frombuffer(run.stdout, "<f4").reshape(-1, 2).T.astype(float)
    frames = round(samples.shape[1] / way.speed)
    return np.pad(heard, ((0, 0), (0, max(0, frames - heard.shape[1]))))[:, :frames]


def by_all(samples, way):
    """Who: what is heard of it. atempo cannot transpose."""
    heard = {"Ambrel": ambrel(samples, way)[0]}
    if way.rate != way.device_rate:
        samples = resample_poly(samples, way.device_rate, way.rate, axis=1)
    heard["R3 alone"] = r3(samples, way)[0]
    return heard if way.cents else heard | {"atempo": atempo(samples, way)}
