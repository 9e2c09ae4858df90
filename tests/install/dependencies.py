"""Compares docs/dependencies.md with what script/bootstrap installs and with what CMake finds.

dependencies.py SOURCE: exit code 1 and a line for each difference.
"""

import pathlib
import re
import sys

FOLDERS = {"umlauf": "library", "io": "io", "tools": "program", "qt": "qt", "bench": "benches", "tests": "tests"}

source = pathlib.Path(sys.argv[1])
page = (source / "docs/dependencies.md").read_text()
tables, _, rest = page.partition("\nTools:")
tools = set(re.findall(r"`([^`]+)`", rest.partition("\n## ")[0]))
rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in tables.splitlines() if line.startswith("| [") or
        line.startswith("| DejaVu")]
wrong = []


def names(cell):
    return set(re.findall(r"`([^`]+)`", cell))


def compare(what, there, told):
    wrong.extend(f"{what} has {name}, the page has not" for name in sorted(there - told))
    wrong.extend(f"the page has {name}, {what} has not" for name in sorted(told - there))


bootstrap = (source / "script/bootstrap").read_text()
lists = re.findall(r"packages\+?=\((.*?)\)", bootstrap, re.S)
installed = {word for each in lists for line in each.splitlines() for word in line.split("#")[0].split()}
known = set().union(*(names(row[1]) for row in rows)) | {tool for tool in tools if tool == tool.lower()}
compare("script/bootstrap", installed, known)

found = {}  # name in CMake -> who asks for it
for file in [source / "CMakeLists.txt", *(f for top in FOLDERS for f in (source / top).rglob("CMakeLists.txt"))]:
    text = re.sub(r"#.*", "", file.read_text())
    folders = file.relative_to(source).parts
    part = "tests" if "tests" in folders else FOLDERS.get(folders[0])
    asked = re.findall(r"find_package\((\w+)", text) + re.findall(r"find_library\(\w+ (\w+)", text)
    asked += re.findall(r"pkg_check_modules\(\w+ (?:[A-Z_]+ )*([a-z][\w-]*)", text) + re.findall(r"\b[A-Z]+:(\w+)", text)
    if "consumer" not in file.parts:
        for name in asked:
            found.setdefault(name, set()).add(part)
told = {name: row for row in rows for name in names(row[2])}
compare("CMake", set(found), set(told) | {tool for tool in tools if tool != tool.lower()})
for name in sorted(set(found) & set(told)):
    wrong.extend(f"{part} asks for {name}, the page does not say so" for part in sorted(found[name]) if part not in told[name][5])
for row in rows:
    if not all(row[column] for column in (0, 1, 3, 4, 5)):
        wrong.append(f"a column is empty: {row[0]}")
if len(rows) < 10:
    wrong.append("the table is gone")

print("\n".join(wrong))
sys.exit(1 if wrong else 0)
