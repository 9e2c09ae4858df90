"""MDF in, orders out: the orders of a bearing from two channels of a measurement file.

measurement_file.py FILE.mf4 TACHO BEARING TABLE.csv SIGNAL.usig PICTURE
"""

import sys

import numpy as np

import umlauf


def main(file: str, tacho: str, bearing: str, table: str, signal: str, picture: str) -> None:
    print("channels:", ", ".join(umlauf.channels(file)))
    speed = umlauf.speed(umlauf.read(file, tacho), pulses_per_rev=60, gap="auto")
    print(f"{len(speed)} pulses, mean {speed.mean:.1f} rpm")
    orders = umlauf.orders(umlauf.read(file, bearing), speed, tracks=[1, 23], max_order=40)
    rows = np.column_stack([orders.tracks[0].time, *(track.amplitude for track in orders.tracks)])
    np.savetxt(table, rows, delimiter=",", header="time,order 1,order 23", comments="")
    umlauf.write_signal(orders.map(), signal)
    print("map:", umlauf.read_signal(signal))
    orders.plot_tracks().figure.savefig(picture)


if __name__ == "__main__":
    main(*sys.argv[1:])
