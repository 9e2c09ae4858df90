"""Runs the benchmarks of two builds by turns and prints how much faster the second one is.

compare.py BASE NOW FILTER ROUNDS [BENCHMARK OPTIONS ...]: BASE and NOW are folders with bench_* programs, of which those with
FILTER in their names run. A line for each benchmark: its best time in NOW, the best time in BASE over it (above 1 is faster
now), and the least and the greatest ratio of all rounds, within which a difference says little.
"""

import json
import pathlib
import subprocess
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def times(program, options):
    """Nanoseconds by benchmark: what it measured itself where it does, else processor time."""
    run = subprocess.run([program, "--benchmark_format=json", *options], stdout=subprocess.PIPE, text=True)
    if run.returncode != 0:
        sys.exit(f"{program} failed")
    found = {}
    for result in json.loads(run.stdout)["benchmarks"] if run.stdout.strip() else []:
        if result.get("run_type") == "aggregate" or result.get("error_occurred"):
            continue
        kind = "real_time" if "manual_time" in result["name"] else "cpu_time"
        found[result["name"]] = result[kind] * NANOSECONDS[result["time_unit"]]
    return found


def readable(nanoseconds):
    unit = max((unit for unit, size in NANOSECONDS.items() if nanoseconds >= size), key=NANOSECONDS.get, default="ns")
    return f"{nanoseconds / NANOSECONDS[unit]:.3g} {unit}"


base, now, wanted, rounds, options = (pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3], int(sys.argv[4]),
                                      sys.argv[5:])
programs = sorted(p.name for p in now.glob(f"bench_*{wanted}*") if (base / p.name).exists())
if not programs:
    sys.exit(f"no benchmark program that both builds have has '{wanted}' in its name")
print(f"{'benchmark':<58}{'now':>10}{'ratio':>8}   spread")
for program in programs:
    pairs = {}
    for turn in range(rounds):
        both = [base, now] if turn % 2 == 0 else [now, base]
        measured = {folder: times(folder / program, options) for folder in both}
        for name in measured[now].keys() & measured[base].keys():
            pairs.setdefault(name, []).append((measured[base][name], measured[now][name]))
    for name, values in sorted(pairs.items()):
        ratios = [before / after for before, after in values if after > 0]
        if not ratios:
            continue
        shown = name.removesuffix("/manual_time")
        before, after = (min(each) for each in zip(*values))
        print(f"{shown:<58}{readable(after):>10}{before / after:>8.2f}   {min(ratios):.2f} to {max(ratios):.2f}", flush=True)
