"""The examples run as a user runs them, and their types are right."""

import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import umlauf


@pytest.fixture(scope="module")
def folder(program: str, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """Recordings for the examples."""
    folder = tmp_path_factory.mktemp("examples")
    for name, faster in [("run.wav", 1), ("fast.wav", 2.5)]:
        speeds = ["--from", str(600 * faster), "--to", str(1200 * faster), "--duration", "2"]
        subprocess.run([program, "simulate", folder / name, *speeds, "--teeth", "60", "--missing", "2"], check=True)

    asammdf = pytest.importorskip("asammdf")
    recording = umlauf.read(folder / "run.wav")
    with asammdf.MDF(version="4.10") as file:
        file.append(asammdf.Signal(recording.samples, recording.time, name="tacho", unit="V"))
        file.save(folder / "run.mf4", overwrite=True)

    edges = np.arange(100.3, 90_000, 50.0)
    words = np.zeros(100_000, np.uint32)
    words[edges.astype(int)] = ((edges % 1 / (50_000 * 7.8125e-08)).astype(np.uint32) << 8 | 0xA0) << 16
    words.astype("<u4").tofile(folder / "edges.u32")
    words = np.zeros(20_000, np.uint32)
    for start in range(5000, 20_000, 5000):
        words[start : start + 4] = [0xAA080055, 0x123, 2000, 0]
    words.astype("<u4").tofile(folder / "traffic.u32")
    (folder / "net.dbc").write_text(
        'VERSION ""\nBU_: E\nBO_ 291 Engine: 8 E\n SG_ Speed : 0|16@1+ (0.5,0) [0|0] "rpm" E\n'
    )
    return folder


@pytest.mark.parametrize(
    ("example", "arguments", "expected"),
    [
        ("first_speed", ["run.wav", "speed.png"], "58 teeth on 60 pitches"),
        ("measurement_file", ["run.mf4", "tacho", "speed.csv", "speed.usig"], "channels: tacho"),
        ("orders_of_a_run_up", ["orders.png"], "order 2.5"),
        ("encoder_and_can", ["edges.u32", "traffic.u32", "net.dbc"], "measured  1000.0 rpm, told  1000.0 rpm"),
        ("live", [], "levels"),
        ("gear_ratio", ["fast.wav", "run.wav"], "ratio 2."),
        ("numpy_to_signal_file", ["torque.usig"], "torque"),
    ],
)
def test_example(example, arguments, expected, folder, sources):
    command = [sys.executable, sources / "examples" / f"{example}.py", *arguments]
    run = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    assert run.returncode == 0, run.stderr
    assert expected in run.stdout
    for name in (each for each in arguments if "." in each):
        assert (folder / name).stat().st_size > 0


def test_types_are_right(sources, tmp_path):
    config = sources.parent / "pyproject.toml"
    command = [sys.executable, "-m", "mypy", "--strict", "--config-file", config, f"--cache-dir={tmp_path}"]
    run = subprocess.run([*command, "-p", "umlauf"], capture_output=True, text=True, cwd=tmp_path, check=False)
    assert run.returncode == 0, run.stdout
    run = subprocess.run([*command, sources / "examples"], capture_output=True, text=True, cwd=tmp_path, check=False)
    assert run.returncode == 0, run.stdout
