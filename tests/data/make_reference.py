#!/usr/bin/env python3
"""Writes the results that the tests of spectra, filters and algorithms compare with.

    python3 make_reference.py > reference.txt

Made with SciPy 1.17.1 and NumPy 2.4.6. Each block is a line "name count" and then that many numbers. The tests form
the signals x and y themselves (tests/support/Reference.h), by the same whole numbers.
"""
import numpy as np
from scipy import signal

RATE = 1000.0


def noise(i, factor):
    """Deterministic noise in (-0.5, 0.5)."""
    return (i * i * factor + i * 131) % 1009 / 1009 - 0.5


i = np.arange(3000)
x = np.float32(noise(i, 7) + np.sin(2 * np.pi * 50 * i / RATE) + 0.25 + 1e-4 * i)
y = np.float32(noise(i, 11)) + np.roll(x, 3) * np.float32(0.5)
y[:3] = 0
y = np.float32(y)


def show(name, values):
    values = np.ravel(values)
    print(name, len(values))
    for value in values:
        print(f"{value:.9g}")


x64, y64 = x.astype(float), y.astype(float)
for window in ("boxcar", "hann", "hamming", "blackman", "flattop", ("kaiser", 8.6)):
    name = window if isinstance(window, str) else window[0]
    show("window_" + name, signal.get_window(window, 24))
for name, window, n, overlap, detrend in (
        ("hann", "hann", 256, 128, "constant"), ("flattop", "flattop", 250, 100, "linear"),
        ("kaiser", ("kaiser", 8.6), 225, 200, False)):
    show("welch_" + name, signal.welch(x64, RATE, window, n, overlap, detrend=detrend)[1])
show("welch_power", signal.welch(x64, RATE, "hann", 256, 128, scaling="spectrum")[1])
csd = signal.csd(x64, y64, RATE, "hann", 128)[1]
show("csd_real", csd.real)
show("csd_imaginary", csd.imag)
show("coherence", signal.coherence(x64, y64, RATE, "hann", 128)[1])
show("spectrogram", signal.spectrogram(x64[:1000], RATE, "hann", 128, 96, detrend="constant", mode="psd")[2].T[:8])
for kind, edges in (("lowpass", 0.05), ("highpass", 100.0), ("bandpass", (50.0, 150.0)), ("bandstop", (50.0, 150.0))):
    sos = signal.butter(4, np.multiply(edges, 1.0), kind, fs=RATE, output="sos")
    show("sosfilt_" + kind, signal.sosfilt(sos, x64)[::10])
    show("sosfiltfilt_" + kind, signal.sosfiltfilt(sos, x64)[::10])
show("sosfiltfilt_odd", signal.sosfiltfilt(signal.butter(5, 40.0, "lowpass", fs=RATE, output="sos"), x64)[::10])
peaks, found = signal.find_peaks(x64[:400], height=0.5, distance=7, prominence=0.6)
show("peaks", peaks)
show("prominences", found["prominences"])
show("envelope", np.abs(signal.hilbert(x64[:300] - 0.25)))
show("resample", signal.resample(x64[:240], 360))
