"""Compares the pulse search of the library for Windows, under Wine, with that for this machine, by turns.

compare.py HOST_PROGRAM COMMAND ...: the programs are those of PulseSearchTime.cpp. Ends well as soon as the best time under
Wine lies within 10 % of the best one here, and with 1 when it does not after many turns.
"""

import subprocess
import sys

LIMIT, TURNS = 1.10, 20


def nanoseconds(*command):
    return float(subprocess.run(command, text=True, capture_output=True, check=True).stdout)


def main():
    host, *wine = sys.argv[1:]
    here = there = float("inf")
    for turn in range(1, TURNS + 1):
        here, there = min(here, nanoseconds(host)), min(there, nanoseconds(*wine))
        if turn >= 3 and there <= LIMIT * here:
            break
    print(f"{there:.4f} ns per sample under Wine, {here:.4f} ns here: {there / here:.3f} times, best of {turn} turns")
    return 0 if there <= LIMIT * here else 1


if __name__ == "__main__":
    sys.exit(main())
