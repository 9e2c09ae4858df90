"""Typed signals: samples of several channels as they were measured, with a key and a description."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

from . import _core

if TYPE_CHECKING:
    from collections.abc import Sequence

    from numpy.typing import ArrayLike, NDArray


class Key(NamedTuple):
    """What a quantity belongs to: a number for each element, -1 where it is not set. Keys sort field by field."""

    mode: int = -1
    """Test step."""
    instrument: int = -1
    channel: int = -1
    location: int = -1
    parameter: int = -1
    """Of the instrument."""
    sensor: int = -1

    def __str__(self) -> str:
        """Six numbers with blanks, as the library writes keys."""
        return " ".join(map(str, self))

    @classmethod
    def parse(cls, text: str) -> Key:
        """From such a text."""
        fields = [int(each) for each in text.split()]
        if len(fields) != 6 or not all(-(2**31) <= each < 2**31 for each in fields):
            raise ValueError(f'a key is six whole numbers, not "{text}"')
        return cls(*fields)


class Axis(NamedTuple):
    """Places of samples: start, start + step, …"""

    start: float
    step: float
    length: int
    unit: _core.Unit


class Channel(NamedTuple):
    """What the samples of a channel mean: sample * gauge in `unit`."""

    unit: _core.Unit
    gauge: float = 1.0
    identifier: int = -1
    """Of the signal in its application; -1: none."""


class TypedSignal:
    """Samples of several channels as they were measured: 16- or 32-bit integers, or float32. Does not change."""

    def __init__(
        self,
        samples: ArrayLike,
        channels: Sequence[Channel | _core.Unit | str] | Channel | _core.Unit | str = "-",
        *,
        start: float = 0.0,
        step: float = 1.0,
        unit: _core.Unit | str = "s",
        key: Key | Sequence[int] = (),
    ) -> None:
        """samples: [n] or [n, channels]; int16, int32, uint32 and float32 stay as they are, others become float32.

        channels: a description, or the unit, of each. start, step, unit: of the axis.
        """
        import numpy as np

        array = np.asarray(samples)
        array = array[:, np.newaxis] if array.ndim == 1 else array
        if array.ndim != 2 or array.dtype.kind not in "biuf":
            raise ValueError("samples are real numbers, [n] or [n, channels]")
        type_name = str(array.dtype) if str(array.dtype) in ("int16", "int32", "uint32") else "float32"
        told = [channels] if isinstance(channels, Channel | _core.Unit | str) else list(channels)
        described = [_channel(each) for each in told * (array.shape[1] if len(told) == 1 else 1)]
        plain = np.ascontiguousarray(array, dtype=type_name)
        fields = Key(*key)
        self._data = _core.TypedData.new(plain, type_name, start, step, unit, described, fields)

    @classmethod
    def from_bytes(cls, record: bytes, dtype: str = "float32") -> TypedSignal:
        """From its flat record, which does not tell the type of its samples. umlauf.Error for what is none."""
        signal = cls.__new__(cls)
        signal._data = _core.TypedData.read(bytes(record), dtype)
        return signal

    def to_bytes(self) -> bytes:
        """The flat record, as docs/file-formats-typed.md has it."""
        return self._data.write()

    @property
    def samples(self) -> NDArray[Any]:
        """[n, channels] as they were measured; of several axes, the slowest first"""
        return self._data.samples

    @property
    def values(self) -> NDArray[Any]:
        """As `samples`, times the gauges of their channels, in the units of these"""
        import numpy as np

        values: NDArray[Any] = self.samples * np.array([each.gauge for each in self.channels])
        return values

    @property
    def axes(self) -> tuple[Axis, ...]:
        """The slowest first; most signals have one."""
        return tuple(Axis(*each) for each in self._data.axes)

    @property
    def channels(self) -> tuple[Channel, ...]:
        return tuple(Channel(*each) for each in self._data.channels)

    @property
    def key(self) -> Key:
        return Key(*self._data.key)

    def __repr__(self) -> str:
        shape = " x ".join(str(each) for each in self.samples.shape)
        return f"<TypedSignal of {shape} {self.samples.dtype}, key {self.key}>"


def _channel(told: Channel | _core.Unit | str) -> Channel:
    if isinstance(told, Channel):
        return told
    return Channel(_core.Unit(told) if isinstance(told, str) else told)
