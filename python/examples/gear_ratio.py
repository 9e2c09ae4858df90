"""The ratio of a gear from the tachos of both shafts, and what its teeth do in one turn of the driving one.

gear_ratio.py DRIVING.wav DRIVEN.wav PICTURE; the driving shaft has a vibration in its second channel.
"""

import sys

import matplotlib.pyplot as plt
import numpy as np

import umlauf


def main(driving: str, driven: str, picture: str) -> None:
    fast = umlauf.speed(driving, pulses_per_rev=60, gap="auto")
    slow = umlauf.speed(driven, pulses_per_rev=60, gap="auto")
    time = np.linspace(max(fast.angle.begin, slow.angle.begin), min(fast.angle.end, slow.angle.end), 11)
    turned = np.diff(np.asarray(fast.angle(time))) / np.diff(np.asarray(slow.angle(time)))
    print(f"ratio {turned.mean():.5f}, from {turned.min():.5f} to {turned.max():.5f} over ten parts")

    average = umlauf.orders(umlauf.read(driving, 2), fast, average=1).average
    print(f"rms {average.rms:.3f} turns with the shaft, {average.residual_rms:.3f} does not")
    figure, ax = plt.subplots(figsize=(9, 4), layout="constrained")
    ax.plot(average.curve.x, average.curve.values)
    ax.set(xlabel="revolution", ylabel="vibration", title="Synchronous average over one turn")
    figure.savefig(picture)


if __name__ == "__main__":
    main(*sys.argv[1:])
