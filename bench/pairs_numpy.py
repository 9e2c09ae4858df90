"""Median processor seconds that the usual NumPy form needs to add two signals of N points each: pairs_numpy.py N"""

import statistics
import sys
import time

import numpy as np


def grid(n, offset, irrational):
    t = np.arange(n, dtype=np.float64)
    x = (t + offset + 0.3 * np.fmod(t * irrational, 1.0)).astype(np.float32).astype(np.float64)
    return x, np.sin(t * 0.01)


def add(a, b):
    x = np.union1d(a[0], b[0])
    return x, np.interp(x, *a) + np.interp(x, *b)


n = int(sys.argv[1])
first = grid(n, 0.0, 2.0**0.5)
second = grid(n, 0.45, 3.0**0.5)
times = []
for _ in range(31):
    start = time.process_time()
    add(first, second)
    times.append(time.process_time() - start)
print(statistics.median(times))
