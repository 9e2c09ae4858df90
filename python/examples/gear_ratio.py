"""The ratio of a gear and the slip of its belt, from the tachos of both shafts.

gear_ratio.py DRIVING.wav DRIVEN.wav
"""

import sys

import numpy as np

import umlauf


def main(driving: str, driven: str) -> None:
    fast = umlauf.speed(driving, pulses_per_rev=60, gap="auto").angle
    slow = umlauf.speed(driven, pulses_per_rev=60, gap="auto").angle
    time = np.linspace(max(fast.begin, slow.begin), min(fast.end, slow.end), 11)
    turned = np.diff(np.asarray(fast(time))) / np.diff(np.asarray(slow(time)))
    print(f"ratio {turned.mean():.5f}, from {turned.min():.5f} to {turned.max():.5f} over ten parts")


if __name__ == "__main__":
    main(*sys.argv[1:])
