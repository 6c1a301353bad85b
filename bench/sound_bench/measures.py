"""What is measured of a sound. Samples are an array of (2, frames), x the file's and y what is heard of it.

Ratios are in dB, of energies; times in milliseconds.
"""

import numpy as np
from scipy.ndimage import uniform_filter1d
from scipy.signal import butter, find_peaks, sosfilt, sosfiltfilt

BANDS_HZ = (60, 250), (250, 1000), (1000, 3000), (3000, 7000), (7000, 16000)


def db(ratio):
    return 10 * np.log10(np.maximum(ratio, 1e-20))


def tone(y, rate, expected_hz):
    """The middle of y against the sine that fits it best: how far that is off pitch in cents, and its
    energy against that of everything else."""
    y = y[0, int(0.25 * y.shape[1]):int(0.85 * y.shape[1])]
    size = 1 << int(np.ceil(np.log2(y.size)) + 1)
    spectrum = np.abs(np.fft.rfft(y * np.hanning(y.size), size))
    low = int(expected_hz * 0.9 * size / rate)
    peak = low + int(np.argmax(spectrum[low:int(expected_hz * 1.1 * size / rate)]))
    a, b, c = np.log(spectrum[peak - 1:peak + 2])
    frequency = (peak + 0.5 * (a - c) / (a - 2 * b + c)) * rate / size
    t = 2 * np.pi * np.arange(y.size) / rate

    def best(*basis):
        basis = np.stack(basis, 1)
        gains = np.linalg.solve(basis.T @ basis, basis.T @ y)
        return gains, basis @ gains

    # The spectrum's peak is good to 90 dB only; Gauss-Newton steps on the fit itself refine it.
    for _ in range(4):
        sine, cosine = np.sin(frequency * t), np.cos(frequency * t)
        (a, b), _fit = best(sine, cosine)
        frequency += best(sine, cosine, t * (a * cosine - b * sine))[0][2]
    _gains, fit = best(np.sin(frequency * t), np.cos(frequency * t))
    return {"pitch": 1200 * np.log2(frequency / expected_hz),
            "tone to residual": db(np.sum(fit ** 2) / np.sum((y - fit) ** 2))}


def above(y, rate, frequency):
    """Both channels' mean, above a frequency."""
    return sosfiltfilt(butter(6, frequency, "high", fs=rate, output="sos"), y.mean(0))


def bursts(y, rate, times, above_hz=5000, around=0.1):
    """The energy above a frequency around each of some times: its centre and its RMS duration in ms,
    and the share of it that comes more than 5 ms before the time, over all of them."""
    energy = above(y, rate, above_hz) ** 2
    half = int(around * rate)
    ms = np.arange(-half, half) * 1000 / rate
    starts = [round(at * rate) - half for at in times]
    pieces = np.array([energy[i:i + 2 * half] for i in starts if 0 <= i <= energy.size - 2 * half])
    sums = np.maximum(pieces.sum(1), 1e-30)
    centres = pieces @ ms / sums
    durations = np.sqrt((pieces * (ms - centres[:, None]) ** 2).sum(1) / sums)
    return centres, durations, db(pieces[:, ms < -5].sum() / sums.sum())


def attacks(x, y, way, times):
    """Of attacks that are the only sound above 5 kHz: smear is the median of their RMS durations, jitter
    and offset the deviation and the mean of their centres (against the file's own), early the share of
    energy more than 5 ms before them."""
    above_hz, rate = 5000 * max(1, way.pitch()), way.device_rate
    centres, durations, early = bursts(y, rate, times / way.speed, above_hz)
    own, _durations, _early = bursts(x, way.rate, times)
    return {"smear": np.median(durations), "jitter": np.std(centres), "early energy": early,
            "offset": np.mean(centres) - np.mean(own) / way.pitch(),
            "peaks per attack": peaks(y, way, times, above_hz)}


def envelope(x, low, high, ms, rate):
    """The energy between two frequencies over time, of both channels, averaged over some ms."""
    band = butter(2, [low, high], "band", fs=rate, output="sos")
    energy = np.sum(sosfiltfilt(band, x) ** 2, 0)
    return np.maximum(uniform_filter1d(energy, int(ms * rate / 1000)), 0)


def attack_in_band(x, y, speed, times, rate, low, high):
    """attack_shapes() of one band; None if fewer than three attacks rise by 10 dB in it."""
    window = 4 if low >= 1000 else 10
    ex, ey = (envelope(z, low, high, window, rate) for z in (x, y))
    ms = rate // 1000
    after = np.arange(0, 120 * ms, ms)  # the places looked at for dips
    rises, starts, courses = [], [], []
    for at, gap in zip(times, np.diff(times, append=np.inf)):
        i, u = int(at * rate), int(at / speed * rate)
        before, peak = ex[i - int(40 * ms * speed) - 6 * ms:i - 6 * ms].mean(), ex[i:i + 12 * ms].max()
        if np.any((times < at) & (times > at - 0.06)) or peak < max(10 * before, 1e-4 * ex.max()):
            continue
        floor = peak * 1e-5
        rises.append(db((ey[u - 40 * ms:u - 8 * ms].mean() + floor) / (before + floor)))
        starts.append(db(ey[u:u + 8 * ms].mean() / ex[i:i + 8 * ms].mean()))
        source = i + np.maximum(np.minimum(after, 20 * ms), after * speed).astype(int)
        course = db((ey[u + after] + floor) / (ex[source] + floor))
        courses.append(np.where(after < (gap / speed - 0.03) * rate, course, np.nan))
    if len(rises) < 3:
        return None
    seen = np.array(courses)[:, np.isfinite(courses).any(0)]
    return np.median(rises), np.median(starts), uniform_filter1d(np.nanmean(seen, 0), 8)[8:].min()


def attack_shapes(x, y, way, times):
    """The worst band's: level 40 to 8 ms before an attack, and of its first 8 ms, against the file's own
    (medians); the deepest mean dip within 120 ms, against the file with all but the first 20 ms slowed."""
    inside = times[(times > 0.1) & (times < x.shape[1] / way.rate - 0.2)]
    shapes = [attack_in_band(x, y, way.speed, inside, way.rate, *band) for band in BANDS_HZ]
    before, first, dip = zip(*filter(None, shapes))
    return {"before an attack": max(before), "first 8 ms": max(first, key=abs), "dip after": min(dip)}


def peaks(y, way, times, above_hz=5000):
    """How many peaks an attack has, on average: within 9 dB of the highest, with 4 dB between them, above
    a frequency, from 40 ms before to 60 ms after it. Attacks nearer to each other are left out."""
    rate, counts = way.device_rate, []
    level = db(envelope(y, above_hz, 18000, 3, rate))
    for at in times:
        u = int(at / way.speed * rate)
        piece = level[max(0, u - int(0.04 * rate)):u + int(0.06 * rate)]
        if np.sum(np.abs(times - at) / way.speed < 0.11) == 1 and piece.size >= 0.05 * rate:
            # The silence at the end makes what has risen until there a peak too.
            found, _ = find_peaks(np.append(piece, -200), height=piece.max() - 9, prominence=4)
            counts.append(max(1, found.size))
    return np.mean(counts) if counts else np.nan


def roughness(y, rate):
    """How much of the envelope's energy from 3 to 12 kHz (its mean: 0 dB) changes 12 to 40 times a second."""
    y = y[0, int(0.15 * y.shape[1]):int(0.85 * y.shape[1])]
    energy = sosfilt(butter(2, [3000, 12000], "band", fs=rate, output="sos"), y) ** 2
    course = energy[:energy.size // 64 * 64].reshape(-1, 64).mean(1)
    slow = sosfiltfilt(butter(2, 6, "low", fs=rate / 64, output="sos"), course)
    window = np.hanning(course.size)
    power = 2 * np.abs(np.fft.rfft((course / np.maximum(slow, 1e-12) - 1) * window)) ** 2
    frequency = np.fft.rfftfreq(course.size, 64 / rate)
    return db(power[(frequency >= 12) & (frequency < 40)].sum() / (course.size * np.sum(window ** 2)))


def thirds(x, rate):
    """The energy of each third of an octave, 62 Hz to 16 kHz."""
    size = 8192
    frames = np.lib.stride_tricks.sliding_window_view(x, size, axis=1)[:, ::size // 4]
    power = (np.abs(np.fft.rfft(frames * np.hanning(size), axis=2)) ** 2).mean(1).sum(0)
    frequency = np.fft.rfftfreq(size, 1 / rate)
    centres = 1000 * 2 ** (np.arange(-12, 13) / 3)
    edges = np.searchsorted(frequency, np.outer(centres, (2 ** (-1 / 6), 2 ** (1 / 6))))
    return np.array([power[low:high].sum() for low, high in edges])


def levels(x, y, way):
    """Mean and worst difference of a third of an octave's level, of those within 50 dB of the loudest,
    and that of the level of side (left - right) against mid."""
    own, heard = thirds(x, way.rate), thirds(y, way.rate)
    counts = own > own.max() * 1e-5
    change = db(heard[counts] / own[counts])

    def width(z):
        return db((np.sum((z[0] - z[1]) ** 2) + 1e-12) / np.sum((z[0] + z[1]) ** 2))

    return {"thirds of an octave, mean": np.mean(np.abs(change)),
            "worst third of an octave": change[np.argmax(np.abs(change))],
            "side against mid": width(y) - width(x)}
