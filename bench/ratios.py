"""Prints the ratios of all benchmarks as a table in Markdown, with the library limited to each of some instruction sets.

ratios.py FOLDER FILTER TARGETS [BENCHMARK OPTIONS ...]: the bench_* programs in FOLDER with FILTER in their names; TARGETS as
Highway names them, with commas between. Ratios are the counters vs_..., of_..., x_... and ratio; above 1 is faster than the
yardstick that they name.
"""

import json
import os
import pathlib
import re
import subprocess
import sys

folder, wanted, targets, options = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3].split(","), sys.argv[4:]
programs = sorted(folder.glob(f"bench_*{wanted}*"))
if not programs:
    sys.exit(f"no benchmark program has '{wanted}' in its name")

print("| benchmark | beside | " + " | ".join(targets) + " |")
print("|---|---|" + "--:|" * len(targets))
for program in programs:
    rows = {}
    for target in targets:
        run = subprocess.run([program, "--benchmark_format=json", *options], stdout=subprocess.PIPE, text=True,
                             env=os.environ | {"UMLAUF_BENCH_TARGET": target})
        if run.returncode != 0:
            sys.exit(f"{program} failed")
        for result in json.loads(run.stdout)["benchmarks"] if run.stdout.strip() else []:
            name = re.sub(r"/(manual_time|min_time:[\d.]+|iterations:\d+)", "", result["name"])
            for counter, value in result.items():
                if re.fullmatch(r"(vs|of|x)_.+|ratio", counter):
                    rows.setdefault((name, counter.partition("_")[2] or counter), {})[target] = value
    for (name, beside), values in rows.items():
        cells = (f"{values[target]:.2f}" if target in values else "" for target in targets)
        print(f"| {name} | {beside.replace('_', ' ')} | " + " | ".join(cells) + " |", flush=True)
