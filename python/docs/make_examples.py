"""Makes docs/python-examples.md: every example with its code, what it prints and its pictures.

make_examples.py PROGRAM FOLDER: PROGRAM is the program `umlauf`, which simulates recordings; python-examples.md and
images/python go into FOLDER. Pictures have few colours, to be small.
"""

import subprocess
import sys
import tempfile
from pathlib import Path

import asammdf
import numpy as np
from PIL import Image

import umlauf

SOURCES = Path(__file__).resolve().parent.parent / "examples"

EXAMPLES = (
    ("First speed", "first_speed", ["run.wav", "first-speed.png"]),
    (
        "MDF in, orders out",
        "measurement_file",
        ["run.mf4", "tacho", "bearing", "orders.csv", "map.usig", "tracks.png"],
    ),
    ("Orders of a run-up", "orders_of_a_run_up", ["map.png", "waterfall.png"]),
    ("Encoder and CAN", "encoder_and_can", ["edges.u32", "traffic.u32", "net.dbc", "encoder-and-can.png"]),
    ("A thousand pulses a second, live", "live", ["live.png"]),
    ("Gear ratio and synchronous average", "gear_ratio", ["fast.wav", "run.wav", "average.png"]),
    ("From NumPy to a signal file and back", "numpy_to_signal_file", ["torque.usig", "power.png"]),
)

HEAD = """# Examples in Python

Made by `python/docs/make_examples.py` from the examples in `python/examples/`, which also run in the tests. The
recordings are simulated; [python.md](python.md) tells what the package has.
"""


def make_recordings(program: str, folder: Path) -> None:
    """What the examples read."""
    for name, faster in [("run.wav", 1), ("fast.wav", 2.5)]:
        speeds = ["--from", str(600 * faster), "--to", str(1200 * faster), "--duration", "4"]
        shaken = ["--orders", "1:1", "--gear-mesh", "23:0.3", "--vibration-noise", "0.02"]
        command = [program, "simulate", str(folder / name), *speeds, "--teeth", "60", "--missing", "2", *shaken]
        subprocess.run(command, check=True)

    with asammdf.MDF(version="4.10") as file:
        for channel, name, unit in [(1, "tacho", "V"), (2, "bearing", "m/s²")]:
            recording = umlauf.read(folder / "run.wav", channel)
            file.append(asammdf.Signal(recording.samples, recording.time, name=name, unit=unit))
        file.save(folder / "run.mf4", overwrite=True)

    # An encoder that turns at 1000 rpm, later faster, and messages that tell it in steps of 0.5 rpm.
    rate, t = 50_000, np.arange(0.0, 4.0, 1e-4)
    turned = np.cumsum(1000 + 300 * np.clip(t - 1, 0, 2)) / 60 * 1e-4
    edges = np.interp(np.arange(0.05, turned[-1] * 60), turned * 60, t) * rate
    words = np.zeros(4 * rate + 1, np.uint32)
    ticks = (edges % 1 / (rate * 7.8125e-08)).astype(np.uint32)
    words[edges.astype(int)] = (ticks << 8 | 0xA0) << 16
    words.astype("<u4").tofile(folder / "edges.u32")
    words = np.zeros(80_000, np.uint32)
    for start in range(5000, 80_000, 2000):
        told = 1000 + 300 * np.clip(start / 20_000 - 1, 0, 2)
        words[start : start + 4] = [0xAA080055, 0x123, int(2 * told), 0]
    words.astype("<u4").tofile(folder / "traffic.u32")
    (folder / "net.dbc").write_text(
        'VERSION ""\nBU_: E\nBO_ 291 Engine: 8 E\n SG_ Speed : 0|16@1+ (0.5,0) [0|0] "rpm" E\n'
    )


def page_of(title: str, name: str, arguments: list[str], work: Path, images: Path) -> str:
    """The section of an example, which runs."""
    code = (SOURCES / f"{name}.py").read_text(encoding="utf-8")
    command = [sys.executable, str(SOURCES / f"{name}.py"), *arguments]
    run = subprocess.run(command, cwd=work, capture_output=True, text=True, check=False)
    if run.returncode != 0:
        raise SystemExit(f"{name}: {run.stderr}")
    text = f"## {title}\n\n```python\n{code}```\n\nIt prints\n\n```\n{run.stdout}```\n\n"
    for picture in (each for each in arguments if each.endswith(".png")):
        with Image.open(work / picture) as image:
            image.convert("RGB").quantize(96).save(images / picture, optimize=True)
        text += f"![{title}](images/python/{picture})\n\n"
    return text


def main(program: str, folder: str) -> None:
    """Writes page and pictures."""
    images = Path(folder) / "images" / "python"
    images.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as name:
        work = Path(name)
        make_recordings(program, work)
        (work / "matplotlibrc").write_text("backend: agg\nsavefig.dpi: 80\n")
        sections = [page_of(*example, work, images) for example in EXAMPLES]
    page = HEAD + "\n" + "".join(sections)
    (Path(folder) / "python-examples.md").write_text(page.rstrip() + "\n", encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
