"""A running measurement: a thousand pulses a second, block by block.

live.py prints one line for each half second.
"""

import numpy as np

import umlauf

RATE = 50_000


def blocks(seconds: float) -> list[np.ndarray]:
    """In place of a converter card: 60 teeth at about 1000 rpm in blocks of 10 ms."""
    t = np.arange(int(seconds * RATE)) / RATE
    turns = 16.7 * t + 0.5 * np.sin(t)
    return np.split(np.sin(2 * np.pi * 60 * turns).astype(np.float32), int(seconds * 100))


def main() -> None:
    stream = umlauf.SpeedStream(RATE, 60, learning=RATE // 10)
    latest: list[float] = []
    for number, block in enumerate(blocks(3.0), start=1):
        latest.extend(stream.process(block).rpm)
        if number % 50 == 0:
            print(f"{number / 100:4.1f} s: {len(latest)} pulses, mean {np.nanmean(latest):7.2f} rpm")
            latest.clear()
    print(f"levels {stream.levels[0]:.2f} and {stream.levels[1]:.2f}, {len(stream.finish().rpm)} pulses held back")


if __name__ == "__main__":
    main()
