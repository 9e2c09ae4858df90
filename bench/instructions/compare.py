"""Counts the instructions of the hot paths and compares them with what they were.

compare.py PROGRAM COUNTS COMPILER [--renew]: PROGRAM is hot_paths, COUNTS the file with a section for each compiler and
instruction set, COMPILER what this build was made with. Exit code 0: no path takes more than MARGIN above its count; 1: one
does; 77: there is nothing to compare with, which is said. Counts are the same whatever else the machine does.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

TARGET = "AVX2"  # what callgrind knows and nearly every machine has
MARGIN = 0.03


def not_compared(why):
    print(f"NOT COMPARED, instruction counts are unchecked: {why}")
    sys.exit(77)


def count(program):
    """Instructions by path, in the order in which the program runs them."""
    valgrind = shutil.which("valgrind")
    if valgrind is None:
        not_compared("valgrind is not installed (script/bootstrap --test installs it)")
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run([valgrind, "--tool=callgrind", "--toggle-collect=HotPath", "--dump-after=HotPath",
                              f"--callgrind-out-file={folder}/out", program, TARGET], capture_output=True, text=True)
        if run.returncode == 77:
            not_compared(f"this processor has no {TARGET}")
        if run.returncode != 0:
            sys.exit(f"{program} failed under callgrind:\n{run.stderr}")
        names = run.stdout.split()
        counts = {}
        for part, name in enumerate(names, 1):
            text = pathlib.Path(folder, f"out.{part}").read_text()
            counts[name] = int(next(line for line in text.splitlines() if line.startswith("totals:")).split()[1])
        return counts


def read(path):
    sections, name = {}, None
    for line in path.read_text().splitlines() if path.exists() else []:
        if line.startswith("["):
            name = line.strip("[]")
            sections[name] = {}
        elif line and not line.startswith("#"):
            key, value = line.split()
            sections[name][key] = int(value)
    return sections


def write(path, sections):
    lines = ["# Instructions of the hot paths by compiler and instruction set; compare.py --renew writes them."]
    for name in sorted(sections):
        lines += [f"[{name}]", *(f"{key} {value}" for key, value in sections[name].items())]
    path.write_text("\n".join(lines) + "\n")


program, counts_path, compiler = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
section = f"{compiler}, {TARGET}"
sections = read(counts_path)
if "--renew" not in sys.argv and section not in sections:
    not_compared(f"there are counts of {', '.join(sorted(sections)) or 'nothing'}, and this is {section}")
now = count(program)
before = sections.get(section, {})
if "--renew" in sys.argv:
    write(counts_path, sections | {section: now})

failed = before and set(before) != set(now)
if failed:
    print("The paths are not those that were counted: renew the counts.")
for name in now:
    ratio = now[name] / before[name] if name in before else 1.0
    note = ""
    if ratio > 1 + MARGIN:
        note, failed = "  MORE than the margin allows", True
    elif ratio < 1 - MARGIN:
        note = "  less: renew the counts, so that it stays"
    print(f"{name:<22}{now[name]:>12}{ratio:>8.3f}{note}")
sys.exit(1 if failed and "--renew" not in sys.argv else 0)
