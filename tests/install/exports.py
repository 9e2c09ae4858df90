"""Compares what the library for Windows exports with what the shared object for this machine does.

exports.py SHARED_OBJECT DLL HEADERS: exit code 1 and a line for each difference. Names are compared without their
parameters, whose types differ by system (LONG, std::size_t). What every program makes for itself, templates and inline
functions (weak symbols), is left out; not so the constants of exported classes, which the headers in that folder tell:
for Windows they are in the DLL or nowhere.
"""

import re
import subprocess
import sys
from pathlib import Path


def lines(*command, given=None):
    return subprocess.run(command, input=given, text=True, capture_output=True, check=True).stdout.splitlines()


def plain(symbols):
    """Demangled, without parameters and what stands in front of the name."""
    names = set()
    for name in lines("c++filt", given="\n".join(sorted(symbols))):
        name = re.sub(r"\[abi:\w+\]", "", name)
        if re.match(r"(vtable|typeinfo( name)?|VTT|construction vtable|guard variable|.*thunk to) ?", name):
            continue
        depth, end = 0, len(name)
        for i, c in enumerate(name):
            depth += (c == "<") - (c == ">" and name[i - 1] != "-")
            if c == "(" and depth == 0 and not name.startswith("(anonymous", i):
                end = i
                break
        names.add(re.sub(r"\b(unsigned )?(long long|long|int)\b", "N", name[:end]))
    return names


def constants(folder):
    """Of exported classes in public headers, as Class::name."""
    names = set()
    for header in Path(folder).rglob("*.h"):
        if "internal" in header.parts:
            continue
        exported, private = None, False
        for line in header.read_text(encoding="utf-8").splitlines():
            if begins := re.match(r"(?:class|struct)\s(?:(UMLAUF_API)\s)?(\w+)[^;]*$", line):
                exported, private = begins[2] if begins[1] else None, line.startswith("class")
            elif line.startswith("}"):
                exported = None
            elif access := re.match(r" (public|protected|private):", line):
                private = access[1] == "private"
            elif exported and not private and (found := re.match(r"  static constexpr [\w:]+ (\w+)( =|\{)", line)):
                names.add(f"{exported}::{found[1]}")
    return names


def main():
    shared_object, dll, headers = sys.argv[1:]
    there = {line.split()[2] for line in lines("nm", "--dynamic", "--defined-only", shared_object)
             if line.split()[1] in "TDBR"}
    exported, table = set(), False
    for line in lines("x86_64-w64-mingw32-objdump", "-p", dll):
        table = table and bool(line.strip()) or "[Ordinal/Name Pointer] Table" in line
        found = re.match(r"\s+\[ *\d+\](?: \+base\[ *\d+\])?\s+(?:[0-9a-f]+ )?(\S+)$", line)
        if table and found:
            exported.add(found[1])
    weak = {line.split()[2] for line in lines("nm", "--dynamic", "--defined-only", shared_object)
            if line.split()[1] in "VWu"}
    named = constants(headers)
    wanted, got, may = plain(there) | named, plain(exported), plain(weak)
    faults = [f"the DLL does not export {name}" for name in sorted(wanted - got)]
    faults += [f"only the DLL exports {name}" for name in sorted(got - wanted - may)]
    if not wanted or not got:
        faults.append("nothing is exported")
    print("\n".join(faults) or f"{len(wanted)} names in both")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
