"""A channel of an MDF file: its speed as a table, and as a signal file.

measurement_file.py FILE.mf4 CHANNEL TABLE.csv SIGNAL.usig
"""

import sys

import umlauf


def main(file: str, channel: str, table: str, signal: str) -> None:
    print("channels:", ", ".join(umlauf.channels(file)))
    recording = umlauf.read(file, channel)
    print(recording)
    result = umlauf.speed(recording, pulses_per_rev=60, gap="auto")
    result.to_pandas().to_csv(table)
    umlauf.write_signal(result.curve(0.01), signal)
    print(f"mean {result.mean:.1f} rpm; {umlauf.read_signal(signal)}")


if __name__ == "__main__":
    main(*sys.argv[1:])
