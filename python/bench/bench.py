"""How fast the package is beside what people would write or take, in the same run on the same data.

bench.py [MILLIONS]: of samples. Peers come from python/requirements-bench.txt. Each figure is the ratio of the
processor time of the peer to ours, taken by turns: the median, with the smallest and the greatest. Other work on the
machine counts little then.
"""

import statistics
import sys
import threading
import time
from collections.abc import Callable

import numpy as np

import umlauf

RATE = 50_000


def cost(action: Callable[[], object]) -> float:
    """[s] of processor time."""
    start = time.process_time()
    action()
    return time.process_time() - start


def compare(name: str, ours: Callable[[], object], peer: Callable[[], object], turns: int = 7) -> None:
    """Prints the ratio peer / ours."""
    ours(), peer()
    pairs = [(cost(ours), cost(peer)) for _ in range(turns)]
    ratios = sorted(theirs / mine for mine, theirs in pairs)
    best = min(mine for mine, _ in pairs)
    print(f"{name}: {statistics.median(ratios):.1f} x ({ratios[0]:.1f} to {ratios[-1]:.1f}; ours {best * 1e3:.2f} ms)")


def numpy_speed(samples: np.ndarray, upper: float, lower: float) -> np.ndarray:
    """Speeds [rpm] of 60 teeth: rising edges with hysteresis, interpolated."""
    index = np.where(samples > upper, 1, np.where(samples < lower, -1, 0)) * np.arange(1, len(samples) + 1)
    last_high, last_low = np.maximum.accumulate(index), np.maximum.accumulate(-index)
    high = last_high > last_low
    at = np.flatnonzero(high[1:] & ~high[:-1]) + 1
    before, after = samples[at - 1], samples[at]
    edges = at - 1 + (upper - before) / (after - before)
    return RATE / np.diff(edges)


def compare_speed(samples: np.ndarray) -> None:
    def ours() -> umlauf.Speed:
        return umlauf.speed(samples, 60, rate=RATE, upper=0.3, lower=-0.3)

    speeds, reference = ours().rpm[1:], numpy_speed(samples, 0.3, -0.3)
    assert np.allclose(speeds, reference, rtol=1e-3), "the two find different speeds"
    compare("speed, levels given, NumPy", ours, lambda: numpy_speed(samples, 0.3, -0.3))
    found = lambda: umlauf.speed(samples, 60, rate=RATE)  # noqa: E731
    compare("speed, levels found, NumPy", found, lambda: numpy_speed(samples, 0.3, -0.3))

    def on_two_threads() -> None:
        threads = [threading.Thread(target=ours) for _ in range(2)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()

    walls = []
    for _ in range(9):
        start = time.perf_counter()
        ours()
        middle = time.perf_counter()
        on_two_threads()
        walls.append((time.perf_counter() - middle) / (middle - start))
    print(f"two recordings on two threads: {statistics.median(walls):.2f} x the time of one, at best {min(walls):.2f}")


def compare_rates(samples: np.ndarray) -> None:
    import asammdf
    import soxr

    mine = lambda: umlauf.downsample(samples, rate=RATE, to=RATE / 5)  # noqa: E731
    compare("downsampling by 5, soxr HQ", mine, lambda: soxr.resample(samples, RATE, RATE / 5, quality="HQ"))
    t = np.arange(len(samples)) / RATE
    signal, at = asammdf.Signal(samples, t, name="x"), t[::5].copy()
    compare("downsampling by 5, asammdf (interpolates, no filter)", mine, lambda: signal.interp(at))


def compare_orders(samples: np.ndarray, seconds: np.ndarray) -> None:
    from rota.maps import rpm_order_map

    speed = umlauf.speed(samples, 60, rate=RATE)
    rpm = 60 * (20 + np.cos(seconds))
    compare(
        "order map to order 60, rota-order",
        lambda: umlauf.orders(samples, speed, rate=RATE, max_order=60, resolution=0.1, overlap=0.5).map(),
        lambda: rpm_order_map(samples, RATE, rpm, order_resolution=0.1, max_order=60, overlap=0.5),
        3,
    )


def compare_units(samples: np.ndarray) -> None:
    import pint

    registry = pint.UnitRegistry()
    quantity, unit = samples * registry.Unit("km/h"), umlauf.Unit("km/h")
    compare("converting samples, pint", lambda: unit.convert(samples, "m/s"), lambda: quantity.to("m/s"))
    little = 3.0 * registry.Unit("km/h")
    many = range(2000)
    compare(
        "converting 2000 numbers, pint",
        lambda: [unit.convert(3.0, "m/s") for _ in many],
        lambda: [little.to("m/s") for _ in many],
    )


def overhead(samples: np.ndarray) -> None:
    """Of calls that have next to nothing to do."""
    few, unit = samples[:64], umlauf.Unit("rpm")
    rates, speeds = umlauf.Downsampler(2), umlauf.SpeedStream(RATE, 60, upper=0.3, lower=-0.3)
    angle = umlauf.speed(samples[:5000], 60, rate=RATE, upper=0.3, lower=-0.3).angle
    calls: dict[str, Callable[[], object]] = {
        "Unit.factor": lambda: unit.factor("Hz"),
        "angle(t)": lambda: angle(0.01),
        "Curve of 64 samples": lambda: umlauf.Curve(few),
        "Downsampler.process of 64 samples": lambda: rates.process(few),
        "SpeedStream.process of 64 samples": lambda: speeds.process(few),
    }
    for name, call in calls.items():
        best = min(cost(lambda call=call: [call() for _ in range(1000)]) for _ in range(5))  # type: ignore[misc]
        print(f"{name}: {best * 1e3:.2f} us a call")


def main(millions: float) -> None:
    seconds = np.arange(int(millions * 1e6)) / RATE
    samples = np.sin(2 * np.pi * 60 * (20 * seconds + np.sin(seconds))).astype(np.float32)
    compare_speed(samples)
    compare_rates(samples)
    compare_orders(samples[: 10 * RATE], seconds[: 10 * RATE])
    compare_units(samples)
    overhead(samples)


if __name__ == "__main__":
    main(float(sys.argv[1]) if len(sys.argv) > 1 else 5)
