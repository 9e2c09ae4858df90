"""Median processor seconds of rota-order for SECONDS of CHANNELS channels at 50 kHz, run-up 600 to 6000 rpm: resampling over
the angle, and the whole order map of resolution 0.1: orders_rota.py SECONDS CHANNELS"""

import statistics
import sys
import time

import numpy as np
import rota

rate, seconds, channels = 50000.0, float(sys.argv[1]), int(sys.argv[2])
t = np.arange(int(rate * seconds)) / rate
rpm = 600 + 5400 * t / seconds
x = np.random.default_rng(1).standard_normal((t.size, channels)).astype(np.float32)


def measured(call):
    times = []
    for _ in range(5):
        start = time.process_time()
        call()
        times.append(time.process_time() - start)
    return statistics.median(times)


print(measured(lambda: rota.angle.angular_resample(x, rate, rpm, max_order=60)))
print(measured(lambda: rota.maps.rpm_order_map(x, rate, rpm, order_resolution=0.1, max_order=60, overlap=0.75)))
