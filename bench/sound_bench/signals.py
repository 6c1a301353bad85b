"""What the sound is measured with: made here, and the same every time.

Samples are floats, an array of (2, frames); times are seconds.
"""

import subprocess

import numpy as np
from scipy.ndimage import maximum_filter1d, uniform_filter1d
from scipy.signal import butter, fftconvolve, lfilter, sosfilt, sosfiltfilt

RATE = 44_100  # frames per second, where nothing else is said


def seconds(length, rate=RATE):
    return np.arange(int(length * rate)) / rate


def stereo(samples):
    return np.stack([samples, samples])


def noise(rng, t, edges_hz, kind, order=2, envelope=1):
    band = butter(order, edges_hz, kind, fs=RATE, output="sos")
    return sosfilt(band, rng.normal(size=t.size) * envelope)


def put(mix, sound, at, left, right):
    start = round(at * RATE)
    sound = sound[:max(0, mix.shape[1] - start)]
    mix[0, start:start + sound.size] += left * sound
    mix[1, start:start + sound.size] += right * sound


def tone(frequency, level=0.5, length=6):
    return stereo(level * np.sin(2 * np.pi * frequency * seconds(length)))


def attacks(rate=RATE, count=12, period=0.5, lead=0.25):
    """Plucked notes, each beginning with a burst of noise: the only sound above 5 kHz."""
    times = lead + period * np.arange(count)
    mix = np.zeros(int((lead + count * period) * rate))
    t = seconds(period, rate)
    for k, at in enumerate(times):
        pitch = 196 * 2 ** (k * 5 % 12 / 12)
        note = sum(np.sin(2 * np.pi * pitch * h * t) / h for h in range(1, 9)) * np.exp(-t * 9)
        burst = np.random.default_rng(k).normal(size=t.size) * np.exp(-t * 400)
        start = round(at * rate)
        mix[start:start + t.size] += (0.22 * note + 0.24 * burst)[:mix.size - start]
    return stereo(mix), times


def looped_attack(region):
    """A burst on the first frame of a region, over a tone that goes round with it."""
    t = seconds(region[1] + 0.5)
    burst = np.random.default_rng(1).normal(size=t.size) * np.exp(-t * 400)
    mix = 0.1 * np.sin(2 * np.pi * 120 * t)
    start = round(region[0] * RATE)
    mix[start:] += 0.2 * burst[:t.size - start]
    return stereo(mix)


def string(frequency, length, rng, brightness=0.5, decay=0.996):
    """A plucked string: a burst of noise round a loop of one period (Karplus-Strong)."""
    period, frames = RATE / frequency, int(length * RATE)
    whole, fraction = int(period), period % 1
    burst = np.zeros(frames)
    burst[:whole] = rng.uniform(-1, 1, whole)
    burst = lfilter([brightness], [1, brightness - 1], burst)
    loop = np.zeros(whole + 2)
    loop[[0, whole, whole + 1]] = 1, -decay * 0.5 * (1.5 - fraction), -decay * 0.5 * (0.5 + fraction)
    sound = lfilter([1], loop, burst)
    return sound / np.abs(sound).max()


def kick(rng):
    t = seconds(0.35)
    fall = 1.8 * (1 - np.exp(-t / 0.03))
    click = 0.15 * rng.normal(size=t.size) * np.exp(-t * 500)
    return np.sin(2 * np.pi * (48 * t + fall)) * np.exp(-t * 12) + click


def hat(rng):
    t = seconds(0.2)
    return noise(rng, t, 7000, "high", 4, np.exp(-t * 60))


def snare(rng):
    t = seconds(0.3)
    wires = noise(rng, t, 1200, "high", 2, np.exp(-t * 18))
    return 0.6 * np.sin(2 * np.pi * 190 * t) * np.exp(-t * 25) + 0.5 * wires


def band():
    """Guitar chords, bass, drums and a room, 120 beats a minute."""
    rng, mix, times = np.random.default_rng(5), np.zeros((2, int(8.2 * RATE))), []
    chords = [(110, 165, 220, 277, 330), (98, 147, 196, 247, 294), (87.3, 131, 175, 220, 262),
              (82.4, 123.5, 165, 208, 247)]
    for beat in range(16):
        at = 0.1 + beat * 0.5
        times += [at, at + 0.25]
        if beat % 4 == 0:
            for k, pitch in enumerate(chords[beat // 4]):
                put(mix, 0.16 * string(pitch, 2.2, rng), at + 0.003 * k, 0.8, 0.4)
        put(mix, 0.25 * string(chords[beat // 4][0] / 2, 0.5, rng, 0.15, 0.99), at, 0.6, 0.6)
        put(mix, 0.10 * hat(rng), at, 0.3, 0.7)
        put(mix, 0.07 * hat(rng), at + 0.25, 0.3, 0.7)
        if beat % 2 == 0:
            put(mix, 0.45 * kick(rng), at, 0.6, 0.6)
        else:
            put(mix, 0.35 * snare(rng), at, 0.6, 0.5)
    t = seconds(0.8)
    for side in mix:
        side += fftconvolve(side, rng.normal(size=t.size) * np.exp(-t * 7) * 0.012)[:side.size]
    return mix, np.array(times)


def crash():
    """Three crash cymbals with long tails over a steady chord with vibrato."""
    t, rng = seconds(6), np.random.default_rng(2)
    mix = np.zeros((2, t.size))
    for k, pitch in enumerate((220, 277.2, 329.6, 440, 554.4)):
        phase = 2 * np.pi * pitch * t + pitch * 0.006 / 5.3 * np.sin(2 * np.pi * 5.3 * t + k)
        sound = sum(np.sin(h * phase + rng.uniform(0, 6)) / h ** 1.5 for h in range(1, 9)) * 0.035
        mix += np.outer((0.3 + 0.15 * k, 0.9 - 0.15 * k), sound * np.minimum(1, t / 0.3))
    rng, times, t = np.random.default_rng(6), (0.8, 2.3, 3.9), seconds(1.5)
    for at in times:
        for side in (1, 0), (0, 1):
            put(mix, 0.12 * noise(rng, t, 2500, "high", 2, np.exp(-t * 3) + np.exp(-t * 80)), at, *side)
    return mix, np.array(times)


def castanets():
    """Dry clacks from all sides, with silence between them."""
    rng, mix, times, at, t = np.random.default_rng(9), np.zeros((2, 6 * RATE)), [], 0.2, seconds(0.06)
    ring = np.sin(2 * np.pi * 2200 * t) + 0.7 * np.sin(2 * np.pi * 3400 * t + 1)
    while at < 5.6:
        clack, pan = ring + 0.5 * rng.normal(size=t.size), 0.4 * np.sin(at * 3)
        put(mix, 0.3 * clack * np.exp(-t * 160) * (1 - np.exp(-t * 8000)), at, 0.5 + pan, 0.5 - pan)
        times.append(at)
        at += rng.choice([0.11, 0.16, 0.22, 0.45])
    return mix, np.array(times)


def wash():
    """A steady cymbal, which must stay smooth, with a kick and a soft hat in turn."""
    rng, t = np.random.default_rng(4), seconds(5)
    mix = np.stack([noise(rng, t, [3000, 15000], "band") * 0.08 for _ in range(2)])
    for pitch in rng.uniform(2500, 12000, 60):
        mix += 0.004 * np.sin(2 * np.pi * pitch * t + rng.uniform(0, 6))
    rng, times = np.random.default_rng(8), 0.3 + 0.25 * np.arange(18)
    for k, at in enumerate(times):
        put(mix, *((0.35 * hat(rng), at, 0.6, 0.4) if k % 2 else (0.5 * kick(rng), at, 0.7, 0.7)))
    return mix, times


def speech():
    """Sentences full of plosives, spoken by ffmpeg's synthesiser."""
    text = ("Take the two big packets to the kitchen, please. Pick up the black coat, "
            "and bring back ten cups.")
    samples = decoded(f"flite=text='{text}':voice=slt", "-f", "lavfi")
    return samples, rises(samples)


def rises(samples):
    """Where the sound above 1 kHz becomes 10 dB louder within 5 ms, to a level that matters: when it has
    half the energy of its highest in 15 ms."""
    ms = RATE // 1000
    sharp = sosfiltfilt(butter(2, 1000, "high", fs=RATE, output="sos"), samples.sum(0))
    energy = uniform_filter1d(sharp ** 2, ms)
    before = maximum_filter1d(energy, 30 * ms, origin=15 * ms - 1)
    after = maximum_filter1d(energy, 5 * ms, origin=-2 * ms)
    steep = (after > 10 * np.roll(before, 2 * ms)) & (after > 1e-3 * energy.max())
    found = []
    for start in np.flatnonzero(np.diff(steep.astype(int)) == 1):
        piece = energy[start:start + 15 * ms]
        first = start + int(np.argmax(piece > 0.5 * piece.max()))
        if not found or first > found[-1] + 20 * ms:
            found.append(first)
    return np.array(found) / RATE


def decoded(source, *options, length=30):
    """The first seconds of a file, or of what ffmpeg makes."""
    run = subprocess.run(["ffmpeg", "-v", "error", *options, "-i", source, "-t", str(length),
                          "-ar", str(RATE), "-ac", "2", "-f", "f32le", "-"],
                         stdout=subprocess.PIPE, check=True)
    return np.frombuffer(run.stdout, "<f4").reshape(-1, 2).T.astype(float)
