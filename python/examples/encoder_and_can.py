"""Speed from an encoder stream beside the speed that the control unit tells on the CAN bus.

encoder_and_can.py EDGES.u32 TRAFFIC.u32 DESCRIPTION PICTURE
"""

import sys

import numpy as np

import umlauf


def main(edges: str, traffic: str, description: str, picture: str) -> None:
    shaft = umlauf.encoder(edges, 60, rate=50_000, mode=1)
    messages = umlauf.can.find(traffic, rate=20_000)
    identifiers, counts = np.unique(messages.identifier, return_counts=True)
    print(f"{len(messages)} messages of {len(identifiers)} identifiers, at most {counts.max()} of one")
    told = messages.decode(description)["Engine.Speed"]
    measured = np.asarray(shaft.angle.rpm(told.time))
    for time, rpm, said in zip(told.time[::6], measured[::6], told.values[::6], strict=True):
        print(f"{time:8.3f} s: measured {rpm:7.1f} rpm, told {said:7.1f} {told.unit}")
    ax = shaft.plot()
    ax.step(told.time, told.values, where="post", color="#c4622d", label="told on the bus")
    ax.legend(frameon=False, markerscale=3)
    ax.figure.savefig(picture)


if __name__ == "__main__":
    main(*sys.argv[1:])
