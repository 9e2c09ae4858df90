"""Speeds, signals and units from the recordings of rotating machinery."""

from . import can
from ._core import (
    Curve,
    CurveArray,
    Downsampler,
    Error,
    Pairs,
    ShaftAngle,
    Unit,
    read_signal,
    write_signal,
)
from ._core import version as __version__
from ._orders import Orders, OrderTrack, SynchronousAverage, orders, torsional
from ._rate import downsample
from ._recording import Recording
from ._report import report
from ._speed import (
    PulseFlag,
    Revolutions,
    Speed,
    SpeedBlock,
    SpeedStream,
    Thresholds,
    Warning,
    Wheel,
    WheelGap,
    encoder,
    speed,
)
from ._typed import Axis, Channel, Key, TypedSignal
from ._vibration import FollowedSpeed, Rival, speed_from_vibration
from .files import channels, read

__all__ = [
    "Axis",
    "Channel",
    "Curve",
    "CurveArray",
    "Downsampler",
    "Error",
    "FollowedSpeed",
    "Key",
    "OrderTrack",
    "Orders",
    "Pairs",
    "PulseFlag",
    "Recording",
    "Revolutions",
    "Rival",
    "ShaftAngle",
    "Speed",
    "SpeedBlock",
    "SpeedStream",
    "SynchronousAverage",
    "Thresholds",
    "TypedSignal",
    "Unit",
    "Warning",
    "Wheel",
    "WheelGap",
    "__version__",
    "can",
    "channels",
    "downsample",
    "encoder",
    "orders",
    "read",
    "read_signal",
    "report",
    "speed",
    "speed_from_vibration",
    "torsional",
    "write_signal",
]

for _each in (Curve, CurveArray, Downsampler, Error, Pairs, ShaftAngle, Unit):
    _each.__module__ = __name__
del _each
