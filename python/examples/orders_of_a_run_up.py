"""Orders of a vibration over a run-up, with a picture of the map and as waterfall.

orders_of_a_run_up.py PICTURE WATERFALL
"""

import sys

import numpy as np

import umlauf

RATE = 20_000


def main(picture: str, waterfall: str) -> None:
    # In place of two channels of a recording: a tacho, and a vibration whose order 2.5 meets a resonance.
    time = np.arange(8 * RATE) / RATE
    turns = 10 * time + 2 * time**2
    frequency = 2.5 * (10 + 4 * time)
    resonance = 1 / np.hypot(1 - (frequency / 60) ** 2, 0.1 * frequency / 60)
    vibration = np.cos(2 * np.pi * turns) + 0.2 * resonance * np.cos(2 * np.pi * 2.5 * turns)

    speed = umlauf.speed(np.sin(2 * np.pi * 60 * turns), pulses_per_rev=60, rate=RATE)
    recording = umlauf.Recording(vibration, RATE, name="bearing", unit="m/s²")
    orders = umlauf.orders(recording, speed, tracks=[1, 2.5], max_order=10, axis="speed", step=50, average=1)
    for track in orders.tracks:
        loudest = track.amplitude.argmax()
        print(f"order {track.order:g}: {track.amplitude[loudest]:.2f} m/s² at {track.rpm[loudest]:.0f} rpm")
    print(f"synchronous {orders.average.rms:.2f} m/s², residual {orders.average.residual_rms:.2f} m/s²")
    orders.plot().figure.savefig(picture)
    orders.plot(kind="waterfall").figure.savefig(waterfall)


if __name__ == "__main__":
    main(*sys.argv[1:])
