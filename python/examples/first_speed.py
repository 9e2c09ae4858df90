"""Speed of a shaft from the recording of its tacho, with a picture.

first_speed.py RECORDING PICTURE
"""

import sys

import umlauf


def main(recording: str, picture: str) -> None:
    result = umlauf.speed(recording, pulses_per_rev=60, gap="auto")
    print(f"{len(result)} pulses, mean {result.mean:.1f} rpm, {result.min:.0f} to {result.max:.0f} rpm")
    print(f"a wheel of {result.wheel.teeth:g} teeth on {result.wheel.pitches:g} pitches")
    for warning in result.warnings:
        print("doubtful:", warning.text)
    result.plot().figure.savefig(picture)


if __name__ == "__main__":
    main(*sys.argv[1:])
