"""Runs what bench_spectra runs, over the same samples: reads "TASK SAMPLES" line by line, and answers each line with the
processor seconds of one run. A task that cannot be done is answered with 0."""

import sys
import time

import numpy as np
from scipy import signal

RATE = 48000.0
known = {}


def noise(n):
    """The same whole numbers as in spectra.cpp."""
    if n not in known:
        known.clear()
        i = np.arange(n, dtype=np.uint64)
        known[n] = (((i * i * np.uint64(7) + i * np.uint64(131)) % np.uint64(1009)) / 1009 - 0.5).astype(np.float32)
    return known[n]


sos = signal.butter(4, 1000, fs=RATE, output="sos")
tasks = {
    "welch": lambda x: signal.welch(x, RATE, "hann", 4096),
    "cross": lambda x: signal.csd(x[:-3], x[3:], RATE, "hann", 4096),
    "spectrogram": lambda x: signal.spectrogram(x, RATE, "hann", 4096, 3072, detrend="constant"),
    "sosfilt": lambda x: signal.sosfilt(sos, x),
    "sosfiltfilt": lambda x: signal.sosfiltfilt(sos, x),
    "peaks": lambda x: signal.find_peaks(x, height=0.3, distance=5, prominence=0.2),
}
for line in sys.stdin:
    task, n = line.split()
    x = noise(int(n))
    start = time.process_time()
    if task in tasks:
        tasks[task](x)
        print(time.process_time() - start, flush=True)
    else:
        print(0, flush=True)
