"""Runs with nothing but what the wheel asks for: no test framework, no file formats."""

import subprocess
import sys

import umlauf

assert umlauf.Unit("km/h").factor("m/s") > 0.27
assert "/site-packages/" in umlauf.__file__, umlauf.__file__

samples = [(i % 50 < 25) * 1.0 for i in range(20_000)]
assert abs(umlauf.speed(samples, pulses_per_rev=60, rate=50_000).mean - 1000) < 0.1
try:
    umlauf.Recording(samples, 50_000).to_curve()
    umlauf.speed(samples, rate=50_000).to_pandas()
except ImportError as error:
    assert "pip install umlauf[pandas]" in str(error), error

# By processor time: other work on the machine does not count.
code = "import time; t = time.process_time(); import umlauf; print(time.process_time() - t)"
best = min(float(subprocess.check_output([sys.executable, "-I", "-c", code])) for _ in range(3))
assert best < 0.1, f"import takes {best:.3f} s"
modules = subprocess.check_output([sys.executable, "-I", "-c", "import sys, umlauf; print(*sys.modules)"], text=True)
assert "numpy" not in modules.split(), "import loads numpy before it is needed"
