"""From NumPy to a signal file and back, with units.

numpy_to_signal_file.py SIGNAL.usig PICTURE
"""

import sys

import matplotlib.pyplot as plt
import numpy as np

import umlauf


def main(path: str, picture: str) -> None:
    time = np.arange(0, 2, 0.001)
    torque = umlauf.Curve(5 + np.sin(30 * time), dx=0.001, name="torque", x_unit="s", y_unit="Nm")
    umlauf.write_signal(torque, path)
    back = umlauf.read_signal(path)
    assert isinstance(back, umlauf.Curve)
    part = back[0.5:1.0].resample(0.01, method="band-limited")
    print(f"{back}: mean {back.values.mean():.3f} {back.y_unit}; {part}")
    speed = umlauf.Pairs([0, 2], [100, 200], x_unit="s", y_unit="rad/s")
    power = back.to_pairs() * speed
    print(f"power from {power.y.min():.0f} to {power.y.max():.0f} {power.y_unit}")
    figure, ax = plt.subplots(figsize=(9, 4), layout="constrained")
    ax.plot(power.x, power.y)
    ax.set(xlabel=f"time in {power.x_unit}", ylabel=f"power in {power.y_unit}", title="Torque times speed")
    figure.savefig(picture)


if __name__ == "__main__":
    main(*sys.argv[1:])
