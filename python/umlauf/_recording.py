"""What a recording is in Python."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING

from . import _core

if TYPE_CHECKING:
    from collections.abc import Callable

    import numpy
    from numpy.typing import ArrayLike, NDArray

    Path = str | os.PathLike[str]


class Recording:
    """One channel of a recording: samples at a constant rate.

    Made by `read`, or of samples at hand: Recording(samples, 50_000, unit="V"). The samples of a file are read when
    they are asked for; what only passes through them (`speed`) reads sound files and tables in blocks.
    """

    name: str
    unit: str
    rate: float
    """[samples/s]"""
    start_time: float
    """[s] of the first sample"""

    def __init__(
        self,
        samples: ArrayLike | Callable[[], NDArray[numpy.float32]] | _core.FileChannel,
        rate: float,
        *,
        name: str = "",
        unit: str = "",
        start_time: float = 0.0,
    ) -> None:
        if not 0 < rate < float("inf"):
            raise ValueError("the sample rate must be a number above 0")
        self._samples: NDArray[numpy.float32] | None = None
        self._load: Callable[[], NDArray[numpy.float32]] | None = None
        self._file: _core.FileChannel | None = None
        if isinstance(samples, _core.FileChannel):
            self._file = samples
            self._load = samples.read
        elif callable(samples):
            self._load = samples
        else:
            self._samples = _row(samples)
        self.rate = float(rate)
        self.name = name
        self.unit = unit
        self.start_time = float(start_time)

    @property
    def samples(self) -> NDArray[numpy.float32]:
        """[n] float32"""
        if self._samples is None:
            assert self._load is not None
            self._samples = self._load()
        return self._samples

    @property
    def time(self) -> NDArray[numpy.float64]:
        """[n] s of the samples"""
        import numpy as np

        return self.start_time + np.arange(len(self)) / self.rate

    @property
    def duration(self) -> float:
        """[s]"""
        return len(self) / self.rate

    def __len__(self) -> int:
        if self._samples is None and self._file is not None and self._file.frames is not None:
            return self._file.frames
        return len(self.samples)

    @property
    def known_unit(self) -> _core.Unit:
        """`unit` as a unit that this library knows, else none."""
        try:
            return _core.Unit(self.unit or "-")
        except ValueError:
            return _core.Unit()

    def to_curve(self) -> _core.Curve:
        """The samples as a curve over time in s; a unit that is not known is left out."""
        unit = self.known_unit
        return _core.Curve(self.samples, x0=self.start_time, dx=1 / self.rate, name=self.name, x_unit="s", y_unit=unit)

    def __repr__(self) -> str:
        unit = f" in {self.unit}" if self.unit else ""
        return f"<Recording {self.name!r}{unit} at {self.rate:g} samples/s>"


def _row(samples: ArrayLike) -> NDArray[numpy.float32]:
    """One channel as float32, where it lies if it is that already."""
    import numpy as np

    array = np.ma.filled(samples, np.nan) if isinstance(samples, np.ma.MaskedArray) else np.asarray(samples)
    if array.ndim != 1 or array.dtype.kind not in "biuf":
        raise ValueError("samples are one channel of real numbers; take one: samples[:, 0]")
    return array.astype(np.float32, copy=False)


def as_recording(recording: Recording | ArrayLike | Path, rate: float | None) -> Recording:
    """A recording from what a user hands in."""
    if isinstance(recording, Recording):
        if rate is not None and rate != recording.rate:
            raise ValueError(f"the recording has {recording.rate:g} samples/s; leave out rate")
        return recording
    if isinstance(recording, str | os.PathLike):
        from .files import read

        return read(recording, rate=rate)
    if rate is None:
        raise ValueError("samples have no sample rate of their own; give rate=")
    return Recording(recording, rate)
