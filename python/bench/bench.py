"""How fast the package is beside what people would write with NumPy, in the same run on the same data.

bench.py [MILLIONS]: of samples. Prints ratios; on a machine with other work take the best of several runs.
"""

import sys
import threading
import time
from collections.abc import Callable

import numpy as np

import umlauf

RATE = 50_000


def best(action: Callable[[], object], times: int = 5) -> float:
    """[s] of the fastest run."""

    def once() -> float:
        start = time.perf_counter()
        action()
        return time.perf_counter() - start

    return min(once() for _ in range(times))


def numpy_speed(samples: np.ndarray, upper: float, lower: float) -> np.ndarray:
    """Speeds [rpm] of 60 teeth: rising edges with hysteresis, interpolated."""
    index = np.where(samples > upper, 1, np.where(samples < lower, -1, 0)) * np.arange(1, len(samples) + 1)
    last_high, last_low = np.maximum.accumulate(index), np.maximum.accumulate(-index)
    high = last_high > last_low
    at = np.flatnonzero(high[1:] & ~high[:-1]) + 1
    before, after = samples[at - 1], samples[at]
    edges = at - 1 + (upper - before) / (after - before)
    return RATE / np.diff(edges)


def main(millions: float) -> None:
    t = np.arange(int(millions * 1e6)) / RATE
    samples = np.sin(2 * np.pi * 60 * (20 * t + np.sin(t))).astype(np.float32)
    given = {"pulses_per_rev": 60, "rate": RATE, "upper": 0.3, "lower": -0.3}

    def ours() -> umlauf.Speed:
        return umlauf.speed(samples, **given)

    speeds, reference = ours().rpm[1:], numpy_speed(samples, 0.3, -0.3)
    assert np.allclose(speeds, reference, rtol=1e-3), "the two find different speeds"
    beside = best(lambda: numpy_speed(samples, 0.3, -0.3), 3)
    one = best(ours)
    print(f"speed, levels given: {beside / one:.1f} x NumPy ({len(samples) / one / 1e6:.0f} M samples/s)")
    print(f"speed, levels found: {beside / best(lambda: umlauf.speed(samples, 60, rate=RATE)):.1f} x NumPy")

    def two() -> None:
        threads = [threading.Thread(target=ours) for _ in range(2)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()

    print(f"two recordings on two threads: {best(two) / one:.2f} x the time of one")
    few, unit = samples[:64], umlauf.Unit("rpm")
    stream = umlauf.Downsampler(2)
    for name, call in [
        ("Unit.factor", lambda: unit.factor("Hz")),
        ("Downsampler.process", lambda: stream.process(few)),
    ]:
        print(f"{name} of little: {best(lambda call=call: [call() for _ in range(1000)]) * 1e3:.2f} us a call")


if __name__ == "__main__":
    main(float(sys.argv[1]) if len(sys.argv) > 1 else 10)
