"""What the sound promises: what is played, what of it is measured, and the limits."""

import statistics
from typing import Callable, NamedTuple

import numpy as np

from . import measures, renderers, signals
from .renderers import Way
from .signals import RATE

SLOW = 0.25, 0.5, 0.75, 0.9
MATERIALS = {name: getattr(signals, name) for name in ("band", "crash", "castanets", "wash", "speech")}
PASSES, REGION_S = 100, (0.5, 0.75)


class Limit(NamedTuple):
    """side is "<=", ">=", or "+-" for a figure that should be near 0."""
    side: str
    limit: float | None
    unit: str = "dB"
    worse: float | None = None  # by how much it may be worse than R3 alone's in the same run

    def badness(self, figure):
        return {"<=": figure, ">=": -figure, "+-": abs(figure)}[self.side]

    def is_kept(self, figure, by_r3):
        return ((self.limit is None or self.badness(figure) <= self.badness(self.limit)) and
                (self.worse is None or self.badness(figure) <= self.badness(by_r3) + self.worse))

    def __str__(self):
        parts = [] if self.limit is None else [f"{self.limit:g}"]
        if self.worse is not None:
            parts.append(f"R3 {-self.worse if self.side == '>=' else self.worse:+g}")
        return f"{self.side} {' and '.join(parts)} {self.unit}"


class Case(NamedTuple):
    title: str
    limits: dict[str, Limit]  # by figure
    measure: Callable[[], dict[str, dict[str, float]]]  # who: figure: value


def compared(title, limits, make, way, measure):
    """The player beside the others. make() gives samples and, where there are attacks, their times."""
    def measured():
        samples, *times = make()
        return {who: measure(samples, heard, way, *times)
                for who, heard in renderers.by_all(samples, way).items()}
    return Case(f"{title} at {way}", limits, measured)


def alone(title, limits, measure, *arguments):
    return Case(title, limits, lambda: {"Ambrel": measure(*arguments)})


def tone(frequency, way, **limit):
    limits = {"tone to residual": Limit(">=", **limit), "pitch": Limit("+-", 0.1, "cents")}
    return compared(f"{frequency} Hz", limits,
                    lambda: (signals.tone(frequency, length=3 if way.speed < 0.1 else 6),), way,
                    lambda _x, y, _way: measures.tone(y, way.device_rate, frequency * way.pitch()))


def tones():
    for frequency in 1000, 3000:
        for speed in 0.25, 0.5:
            yield tone(frequency, Way(speed), limit=None, worse=-10)
    for speed, least in (0.05, 47), (0.25, 54), (0.5, 63), (0.75, 73), (1.5, 73), (2, 73), (3, 72):
        yield tone(440, Way(speed), limit=least)
    for speed, cents, least in (1, 100, 70), (1, -700, 72), (0.5, 300, 55):
        yield tone(440, Way(speed, cents), limit=least)


def attack(way, limits):
    return compared("attacks", limits, lambda: signals.attacks(way.rate), way, measures.attacks)


def attacks(*rates):
    limits = {"smear": Limit("<=", 1.6, "ms"), "jitter": Limit("<=", 0.4, "ms"),
              "offset": Limit("+-", 0.5, "ms"), "early energy": Limit("<=", -60)}
    return (attack(Way(speed, 0, *rates), limits) for speed in SLOW)


def transposed_attacks():
    limits = {"smear": Limit("<=", 2.5, "ms"), "early energy": Limit("<=", -40),
              "peaks per attack": Limit("<=", 1, "")}
    return (attack(Way(0.5, cents), limits) for cents in (300, -300, 1200, -1200))


def other_rates():
    for rates in (RATE, 48_000), (RATE, 96_000), (96_000, 96_000):
        yield from attacks(*rates)
    for device_rate in 48_000, 96_000:
        yield tone(440, Way(0.5, 0, RATE, device_rate), limit=50)


def limits_of(name):
    """Left out is what says nothing of a material: between castanets there is silence, a voice has no
    single peaks and no sides, and only the wash has a texture of its own."""
    left_out = {"castanets": ("dip after", "worst third of an octave", "roughness"),
                "speech": ("peaks per attack", "side against mid", "roughness"),
                "wash": ()}.get(name, ("roughness",))
    limits = {"before an attack": Limit("<=", 2, worse=0.5), "first 8 ms": Limit("+-", 2.5, worse=0.5),
              "dip after": Limit(">=", None, worse=0.5), "peaks per attack": Limit("<=", 1.1, ""),
              "worst third of an octave": Limit("+-", 3 if name == "band" else None, worse=0.5),
              "side against mid": Limit("+-", None, worse=0.5), "roughness": Limit("<=", None, worse=0.5)}
    return {figure: limit for figure, limit in limits.items() if figure not in left_out}


def shapes(x, y, way, times):
    return {**measures.attack_shapes(x, y, way, times), **measures.levels(x, y, way),
            "peaks per attack": measures.peaks(y, way, times), "roughness": measures.roughness(y, RATE)}


def materials():
    return (compared(name, limits_of(name), make, Way(speed), shapes)
            for name, make in MATERIALS.items() for speed in SLOW)


def recordings(paths):
    limits = {"thirds of an octave, mean": Limit("<=", 0.7), "side against mid": Limit("+-", 0.6)}
    return (compared(path.name, limits, lambda path=path: (signals.decoded(str(path)),), Way(0.5),
                     measures.levels) for path in paths)


def looped(speed):
    """The first pass, which fades in, is left out, and the second is what the others are compared with:
    above 5 kHz, from 2 ms before the attack to 10 ms after."""
    song, (start, end) = signals.looped_attack(REGION_S), REGION_S
    heard, _cpu = renderers.ambrel(song, Way(speed), "--from", str(start), "--to", str(end),
                                   "--passes", str(PASSES))
    times = (end - start) / speed * np.arange(1, PASSES)
    own, centres = (measures.bursts(sound, RATE, at, around=0.05)[0]
                    for sound, at in ((song, [start]), (heard, times)))
    sharp = measures.above(heard, RATE, 5000)
    passes = np.array([sharp[round(at * RATE) - 88:round(at * RATE) + 441] for at in times])
    differences = np.sum((passes - passes[0]) ** 2, 1) / np.sum(passes[0] ** 2)
    return {"difference between attacks": measures.db(differences.max()),
            "furthest off time": max(centres - own, key=abs)}


def loops():
    limits = {"difference between attacks": Limit("<=", -60), "furthest off time": Limit("+-", 1, "ms")}
    return (alone(f"{PASSES} looped attacks at {Way(speed)}", limits, looped, speed)
            for speed in (0.5, 0.75))


def loudest(samples, speed, *options):
    return {"largest sample": np.abs(renderers.ambrel(samples, Way(speed), *options)[0]).max()}


def overdriven(frequency):
    heard, _cpu = renderers.ambrel(signals.tone(frequency, level=2), Way(1))
    residual = measures.tone(heard, RATE, frequency)["tone to residual"]
    return {"largest sample": np.abs(heard).max(), "distortion": 100 * 10 ** (-residual / 20)}


def untouched(song):
    """But for the fades of 3 ms at both ends."""
    heard, _cpu = renderers.ambrel(song, Way(1))
    kept = slice(int(0.003 * RATE) + 1, song.shape[1] - int(0.003 * RATE) - 1)
    return {"changed samples": np.sum(heard[:, kept] != song.astype(np.float32)[:, kept])}


def full_scale():
    limits = {"largest sample": Limit("<=", 1, "")}
    (loud, _times), (band, _times) = signals.attacks(), signals.band()
    for speed in 1, 0.5:
        yield alone(f"attacks 12 dB too loud at {Way(speed)}", limits, loudest, 4 * loud, speed)
    yield alone("band, equaliser at +12 dB", limits, loudest, band, 1, "--eq", "12,12,12,12,12")
    yield alone("band that just reaches full scale", {"changed samples": Limit("<=", 0, "")}, untouched,
                band / np.abs(band).max())
    for frequency in 100, 1000:
        yield alone(f"{frequency} Hz, 6 dB over full scale", limits | {"distortion": Limit("<=", 1, "%")},
                    overdriven, frequency)


def work(way):
    band, _times = signals.band()
    ratios = [renderers.ambrel(band, way)[1] / renderers.r3(band, way)[1] for _ in range(3)]
    return {"work against R3 alone": statistics.median(ratios)}


def everything(paths, rates):
    parts = {"Tones": tones(), "Attacks": attacks(), "Attacks, transposed": transposed_attacks(),
             "Music, drums and speech": materials(), "Recordings": recordings(paths), "Loops": loops(),
             "Full scale": full_scale(),
             "Work": [alone(f"band at {Way(0.5)}", {"work against R3 alone": Limit("<=", 1.6, "times")},
                            work, Way(0.5))]}
    return parts | ({"Other rates": other_rates()} if rates else {})
