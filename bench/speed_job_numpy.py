"""Processor seconds of two NumPy forms of the speed of each pulse of a raw float file between two levels.

speed_job_numpy.py FILE RATE PULSES_PER_REVOLUTION UPPER LOWER RUNS; prints the least of so many runs, without and
with reading the file, and the number of pulses, for the usual form (the state is carried forward from sample to
sample) and for the fastest one that we know (only samples outside the levels are looked at)."""

import sys
import time

import numpy as np


def usual_edges(x, upper, lower):
    state = np.zeros(len(x), np.int8)
    state[x > upper] = 1
    state[x < lower] = -1
    known = np.where(state != 0, np.arange(len(x)), 0)
    state = state[np.maximum.accumulate(known, out=known)]
    return np.flatnonzero((state[1:] == 1) & (state[:-1] == -1)) + 1


def fastest_edges(x, upper, lower):
    above = x > upper
    outside = np.flatnonzero(above | (x < lower))
    high = above[outside]
    return outside[1:][high[1:] & ~high[:-1]]


def speeds(find_edges, x, rate, pulses_per_revolution, upper, lower):
    edges = find_edges(x, upper, lower)
    before = x[edges - 1]
    positions = edges - 1 + (upper - before) / (x[edges] - before)
    rpm = 60 * rate / (np.diff(positions) * pulses_per_revolution)
    return len(rpm), rpm.min(), rpm.max(), rpm.mean()


path, (rate, wheel, upper, lower), runs = sys.argv[1], map(float, sys.argv[2:6]), int(sys.argv[6])
for form in usual_edges, fastest_edges:
    in_memory, from_file = [], []
    for _ in range(runs):
        begin = time.process_time()
        samples = np.fromfile(path, np.float32)
        middle = time.process_time()
        found = speeds(form, samples, rate, wheel, np.float32(upper), np.float32(lower))
        end = time.process_time()
        in_memory.append(end - middle)
        from_file.append(end - begin)
    print(min(in_memory), min(from_file), found[0])
