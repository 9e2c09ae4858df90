#!/usr/bin/env python3
"""Compares what each layer of the library includes with what it declares, and what stands on the library with what is public.

layers.py SOURCE_DIR LAYERS_TXT [CXX INCLUDE_DIR ...]: LAYERS_TXT has a line "name|folder|uses" for each layer, from the
ground up. With a compiler, every header has to compile by itself, too. Ends with 1 and a line for each fault.
"""
import pathlib
import re
import subprocess
import sys

# Internal headers that another layer may include: vector instructions live in vekta alone.
FRIENDS = {"umlauf/platform/vekta/internal/FilterKernels.h": {"rate", "orders", "tests"},
           "umlauf/platform/vekta/internal/PulseKernels.h": {"pulses", "tacho", "encoder", "tests"}}
GENERATED = {"umlauf/Export.h", "umlauf/Version.h"}
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"](umlauf/[^>"]+)[>"]', re.M)
# What stands on the library, with the roots that it may include from.
ABOVE = {
    "io": {"umlauf", "umlauf_io"},
    "tools": {"umlauf", "umlauf_io", "tools"},
    "python": {"umlauf", "umlauf_io"},
    "qt": {"umlauf", "umlauf_qt", "unit_converter"},
    "win": {"umlauf", "umlauf_win"},
    "examples": {"umlauf", "umlauf_io"},
    "bench": {"umlauf", "umlauf_io", "tools"},
    "fuzz": {"umlauf", "umlauf_io", "tools"},
    "tests": {"umlauf", "umlauf_io", "tools", "tests"},
}
INCLUDE_ABOVE = re.compile(r'^\s*#\s*include\s*[<"]((\w+)/[^>"]+)[>"]', re.M)
ROOTS = set().union(*ABOVE.values())


def read_layers(path):
    layers = {}
    for line in path.read_text().splitlines():
        name, folder, uses = line.split("|")
        layers[folder] = (name, uses.split())
    return layers


def folder_of(path, layers):
    folder = path.parent.as_posix()
    while folder not in layers and "/" in folder:
        folder = folder.rsplit("/", 1)[0]
    return folder if folder in layers else None


def check_includes(root, layers):
    faults = []
    used = {folder: set() for folder in layers}
    for path in sorted([*root.glob("umlauf/**/*.h"), *root.glob("umlauf/**/*.cpp")]):
        file = path.relative_to(root)
        own = folder_of(file, layers)
        if own is None:
            faults.append(f"{file}: lies in no layer")
            continue
        name, uses = layers[own]
        for included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            if included in GENERATED:
                continue
            if not (root / included).is_file():
                faults.append(f"{file}: includes {included}, which is not there")
                continue
            other = folder_of(pathlib.PurePosixPath(included), layers)
            if other is None or other == own:
                continue
            other_name = layers[other][0]
            used[own].add(other_name)
            if other_name not in uses:
                faults.append(f"{file}: includes {included}, but {name} does not declare {other_name}")
            if "/internal/" in included and name not in FRIENDS.get(included, ()):
                faults.append(f"{file}: includes {included}, which is internal to {other_name}")
    for folder, (name, uses) in layers.items():
        faults += [f"{folder}: declares {other}, but includes nothing of it" for other in uses if other not in used[folder]]
    return faults


def check_above(root):
    """Nothing reaches upward or into the internals of another; a public header names no internal one."""
    faults = []
    for path in sorted(path for folder in ABOVE for ending in ("h", "cpp") for path in root.glob(f"{folder}/**/*.{ending}")):
        file = path.relative_to(root).as_posix()
        allowed = ABOVE[file.split("/")[0]]
        for included, origin in INCLUDE_ABOVE.findall(path.read_text(encoding="utf-8")):
            if origin in ROOTS and origin not in allowed:
                faults.append(f"{file}: includes {included}, which does not lie below it")
            friends = FRIENDS.get(included, {origin.removeprefix("umlauf_")} - {"umlauf"})
            if re.search("/internal/|^umlauf/platform/os/", included) and file.split("/")[0] not in friends:
                faults.append(f"{file}: includes {included}, which is internal")
    for path in sorted([*root.glob("umlauf/**/*.h"), *root.glob("io/**/*.h")]):
        if "internal" not in path.parts and re.search(r"#\s*include.*/internal/", path.read_text(encoding="utf-8")):
            faults.append(f"{path.relative_to(root)}: a public header that includes an internal one")
    return faults


def check_cycles(root):
    """Cycles of files and of folders, found by following includes from each."""
    edges = {}
    for path in [*root.glob("umlauf/**/*.h"), *root.glob("umlauf/**/*.cpp")]:
        file = path.relative_to(root).as_posix()
        for included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            edges.setdefault(file, set()).add(included)
            folders = [re.sub(r"/(internal|posix|windows)$", "", name.rsplit("/", 1)[0]) for name in (file, included)]
            if included not in GENERATED and folders[0] != folders[1]:
                edges.setdefault(folders[0] + "/", set()).add(folders[1] + "/")
    faults, done = [], set()

    def follow(node, trail):
        if node in trail:
            faults.append("a circle: " + " -> ".join([*trail[trail.index(node):], node]))
        elif node not in done:
            for other in sorted(edges.get(node, ())):
                follow(other, [*trail, node])
            done.add(node)

    for node in sorted(edges):
        follow(node, [])
    return faults


def check_headers(root, layers, compiler, include_dirs):
    faults = []
    flags = ["-std=c++20", "-fsyntax-only", "-x", "c++", *(f"-I{folder}" for folder in include_dirs)]
    for path in sorted([*root.glob("umlauf/**/*.h"), *root.glob("io/**/*.h")]):
        file = path.relative_to(root).as_posix().removeprefix("io/")
        if file.endswith("-inl.h") or ("/windows/" in file) != ("mingw" in compiler) and "/os/" in file:
            continue
        run = subprocess.run([compiler, *flags, "-"], input=f'#include "{file}"\n', text=True, capture_output=True)
        if run.returncode != 0:
            faults.append(f"{file}: does not compile by itself\n{run.stderr}")
    return faults


def main():
    root, layers = pathlib.Path(sys.argv[1]), read_layers(pathlib.Path(sys.argv[2]))
    faults = check_includes(root, layers) + check_above(root) + check_cycles(root)
    if len(sys.argv) > 3:
        faults += check_headers(root, layers, sys.argv[3], sys.argv[4:])
    print("\n".join(faults) or f"{len(layers)} layers: everything included is declared, everything declared is included")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
