"""Speeds, signals and units from the recordings of rotating machinery."""

from ._core import Curve, CurveArray, Error, Pairs, Unit, __version__, read_signal, write_signal

__all__ = ["Curve", "CurveArray", "Error", "Pairs", "Unit", "__version__", "read_signal", "write_signal"]

for _each in (Curve, CurveArray, Error, Pairs, Unit):
    _each.__module__ = __name__
del _each
