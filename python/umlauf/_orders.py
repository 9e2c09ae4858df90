"""Orders of a vibration: what turns with multiples of the speed of a shaft."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Literal, NamedTuple

from . import _core
from ._recording import Recording, as_recording

if TYPE_CHECKING:
    import os
    from collections.abc import Sequence

    import numpy
    from numpy.typing import ArrayLike, NDArray

    from ._speed import Speed

    Axis = Literal["time", "revolution", "speed"]
    Scaling = Literal["rms", "amplitude", "power", "density"]
    Method = Literal["segments", "vold-kalman"]


class OrderTrack(NamedTuple):
    """Amplitude and phase of one order."""

    order: float
    time: NDArray[numpy.float64]
    """[n] s, middle of each segment"""
    revolution: NDArray[numpy.float64]
    """[n] rev"""
    rpm: NDArray[numpy.float64]
    """[n] rpm, negative backward"""
    amplitude: NDArray[numpy.float64]
    """[n] peak, in the unit of the samples"""
    phase: NDArray[numpy.float64]
    """[n] degrees, -180 to 180, of cos(2 pi order revolution + phase)"""
    unit: str = ""
    """of the amplitude"""

    def plot(self, ax: Any = None, over: Axis = "time") -> Any:
        """Draws the amplitude over time, revolution or speed on matplotlib axes; returns the axes."""
        from ._plot import plot_tracks

        return plot_tracks([self], over, ax, "")


class SynchronousAverage(NamedTuple):
    """What turns with the shaft, and what is left."""

    curve: _core.Curve
    """Over one revolution, or so many as were asked for."""
    rms: float
    residual_rms: float


class Orders:
    """Orders of one channel. Made by `orders` and `torsional`.

    Values are root mean squares unless `scaling` says otherwise; with `reference`, in the unit of the samples, they
    are levels in dB.
    """

    def __init__(self, data: _core.OrderData, name: str, tracks: tuple[float, ...]) -> None:
        self._data = data
        self._tracks = tracks
        self.name = name

    def map(self, scaling: Scaling = "rms", reference: float | None = None) -> _core.CurveArray:
        """Spectra over orders, by time [s], revolution or speed [rpm]."""
        return self._data.map(scaling, reference)

    def spectrum(self, scaling: Scaling = "rms", reference: float | None = None) -> _core.Curve:
        """Mean over all revolutions, by powers."""
        return self._data.spectrum(scaling, reference)

    def overall(self, scaling: Scaling = "rms", reference: float | None = None) -> _core.Pairs:
        """Level of all orders together."""
        return self._data.overall(scaling, reference)

    def track(self, order: float) -> OrderTrack:
        """One of the orders that were named in `tracks`."""
        time, revolution, rpm, amplitude, phase = self._data.track(order).T
        return OrderTrack(order, time, revolution, rpm, amplitude, phase, str(self._data.unit))

    @property
    def tracks(self) -> tuple[OrderTrack, ...]:
        """All orders that were named."""
        return tuple(self.track(order) for order in self._tracks)

    @property
    def average(self) -> SynchronousAverage:
        """Time-synchronous average; ValueError unless it was asked for."""
        return SynchronousAverage(*self._data.average())

    @property
    def averaged(self) -> bool:
        """Whether a time-synchronous average was asked for."""
        return self._data.averaged

    def plot(
        self,
        ax: Any = None,
        scaling: Scaling = "rms",
        reference: float | None = None,
        *,
        kind: Literal["map", "waterfall"] = "map",
    ) -> Any:
        """Draws the map on matplotlib axes, as colours or as lines one behind the other; returns the axes."""
        from ._plot import plot_map, plot_waterfall

        drawings = {"map": plot_map, "waterfall": plot_waterfall}
        if kind not in drawings:
            raise ValueError(f'maps are drawn as "map" or "waterfall", not "{kind}"')
        return drawings[kind](self.map(scaling, reference), ax, self.name)

    def plot_tracks(self, ax: Any = None, over: Axis = "time") -> Any:
        """Draws the amplitudes of all tracks on matplotlib axes; returns the axes."""
        from ._plot import plot_tracks

        return plot_tracks(self.tracks, over, ax, self.name)

    def __repr__(self) -> str:
        return f"<Orders of {self.name!r}, tracks {list(self._tracks)}>"


def orders(
    vibration: Recording | ArrayLike | str | os.PathLike[str],
    speed: Speed,
    *,
    rate: float | None = None,
    tracks: Sequence[float] = (),
    max_order: float = 60,
    resolution: float = 0.1,
    overlap: float = 0.5,
    axis: Axis = "time",
    step: float = 0,
    bandwidth: float = 0.25,
    method: Method = "segments",
    average: int = 0,
    unit: str | _core.Unit | None = None,
) -> Orders:
    """Orders of a vibration over the rotation that `speed`, `encoder` or `speed_from_vibration` found.

    vibration: a `Recording`, the path of one, or samples [n] with `rate`. Its start time tells how it lies beside the
        tacho.
    tracks: orders to follow, with a noise bandwidth of `bandwidth` orders, by least squares in segments; or by a
        Vold-Kalman filter (`method`), whose bandwidth lies between the points of -3 dB: it tells orders apart that are
        as close as half a bandwidth, at more cost.
    max_order, resolution: of the map [orders]. overlap: of its segments, 0 to 0.99.
    axis, step: what the map is over; rows within a step [s, rev or rpm] are averaged, 0: none are.
    average: revolutions of a time-synchronous average; 0: none is made.
    unit: of the samples, in place of that of the recording.
    """
    source = as_recording(vibration, rate)
    told = unit if unit is not None else source.known_unit
    settings = _settings(tracks, max_order, resolution, overlap, axis, step, bandwidth, method, average)
    if source._file is not None and source._samples is None:
        data = settings.analyse(speed._data, told, source._file)
    else:
        data = settings.analyse(speed._data, told, source.samples, source.rate, source.start_time)
    return Orders(data, source.name, tuple(tracks))


def torsional(
    speed: Speed,
    *,
    tracks: Sequence[float] = (),
    max_order: float = 20,
    resolution: float = 0.1,
    overlap: float = 0.5,
    axis: Axis = "time",
    step: float = 0,
    bandwidth: float = 0.25,
    method: Method = "segments",
    average: int = 0,
) -> Orders:
    """Torsional vibration: orders of the speed of the shaft itself [rpm]. Arguments as of `orders`."""
    settings = _settings(tracks, max_order, resolution, overlap, axis, step, bandwidth, method, average)
    return Orders(settings.analyse_torsion(speed._data), speed.name, tuple(tracks))


def _settings(
    tracks: Sequence[float],
    max_order: float,
    resolution: float,
    overlap: float,
    axis: Axis,
    step: float,
    bandwidth: float,
    method: Method,
    average: int,
) -> _core.OrderSettings:
    return _core.OrderSettings(
        max_order=max_order,
        resolution=resolution,
        overlap=overlap,
        axis=axis,
        step=step,
        tracks=list(tracks),
        bandwidth=bandwidth,
        method=method,
        average=average,
    )
