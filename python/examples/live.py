"""A running measurement: a thousand pulses a second, block by block.

live.py PICTURE prints one line for each half second, and draws what came at the end.
"""

import sys

import matplotlib.pyplot as plt
import numpy as np

import umlauf

RATE = 50_000


def blocks(seconds: float) -> list[np.ndarray]:
    """In place of a converter card: 60 teeth at about 1000 rpm in blocks of 10 ms."""
    t = np.arange(int(seconds * RATE)) / RATE
    turns = 16.7 * t + 0.5 * np.sin(t)
    return np.split(np.sin(2 * np.pi * 60 * turns).astype(np.float32), int(seconds * 100))


def main(picture: str) -> None:
    stream = umlauf.SpeedStream(RATE, 60, learning=RATE // 10)
    figure, ax = plt.subplots(figsize=(9, 4), layout="constrained")
    latest: list[umlauf.SpeedBlock] = []
    for number, block in enumerate(blocks(3.0), start=1):
        latest.append(stream.process(block))
        if number % 50 == 0:
            time, rpm = (np.concatenate([getattr(each, name) for each in latest]) for name in ("time", "rpm"))
            print(f"{number / 100:4.1f} s: {len(rpm)} pulses, mean {np.nanmean(rpm):7.2f} rpm")
            ax.plot(time, rpm, ".", ms=2)
            latest.clear()
    print(f"levels {stream.levels[0]:.2f} and {stream.levels[1]:.2f}, {len(stream.finish().rpm)} pulses held back")
    ax.set(xlabel="time in s", ylabel="speed in rpm", title="Half seconds of a running measurement")
    figure.savefig(picture)


if __name__ == "__main__":
    main(*sys.argv[1:])
