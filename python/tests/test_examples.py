"""The examples run as a user runs them, their page shows them as they are, and their types are right."""

import re
import subprocess
import sys

import pytest


def test_examples_run_and_their_page_is_true(program, sources, tmp_path):
    subprocess.run([sys.executable, sources / "docs" / "make_examples.py", program, tmp_path], check=True)
    made, kept = (
        (each / "python-examples.md").read_text(encoding="utf-8") for each in (tmp_path, sources.parent / "docs")
    )
    for expected in [
        "58 teeth on 60 pitches",
        "channels: tacho, bearing",
        "order 2.5: 1.9",
        "measured  1000.0 rpm, told  1000.0 rpm",
        "3.0 s: ",
        "ratio 2.4999",
        "power from",
    ]:
        assert expected in made
    printed = re.compile(r"^```\n.*?^```\n", re.DOTALL | re.MULTILINE)
    assert printed.sub("", made) == printed.sub("", kept), "run python/docs/make_examples.py"
    for picture in re.findall(r"images/python/[a-z-]+\.png", made):
        assert 2000 < (tmp_path / picture).stat().st_size < 60_000 and (sources.parent / "docs" / picture).exists()


@pytest.mark.parametrize("what", [["-p", "umlauf"], ["examples"], ["docs"]], ids=["package", "examples", "docs"])
def test_types_are_right(sources, tmp_path, what):
    config = sources.parent / "pyproject.toml"
    command = [sys.executable, "-m", "mypy", "--strict", "--config-file", config, f"--cache-dir={tmp_path}"]
    what = what if what[0] == "-p" else [sources / what[0]]
    run = subprocess.run([*command, *what], capture_output=True, text=True, cwd=tmp_path, check=False)
    assert run.returncode == 0, run.stdout
