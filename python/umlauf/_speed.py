"""Speed of rotation: results for Python around those of the library."""

from __future__ import annotations

import enum
from functools import cached_property
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

from . import _core
from ._recording import Recording, as_recording

if TYPE_CHECKING:
    import os

    import numpy
    from numpy.typing import ArrayLike, NDArray

    Gap = Literal["auto"] | float | None
    SpikeFilter = float | tuple[float, int, int] | None


class PulseFlag(enum.IntFlag):
    """What is special about a pulse; bits of `flags`."""

    RISING = 1
    """It ended on a rising edge."""
    FIRST = 2
    """It begins with the recording and not with an edge: its speed is unknown."""
    HELD = 4
    """The spike filter put the speed of an earlier pulse in place of its own."""
    GAP_CORRECTED = 8
    """It spans a gap of the wheel, or part of it."""
    GAP_START = 16
    """Its first edge is the last one before a gap."""


class Warning(NamedTuple):
    """What is doubtful about a result."""

    code: str
    """For programs: small letters and hyphens."""
    text: str
    """One sentence that says what to try."""
    places: tuple[tuple[float, float], ...] = ()
    """[s] times that it is about, from and to; empty: all of the recording, or no time in particular"""


class WheelGap(NamedTuple):
    """A gap of a wheel."""

    place: float
    """[pitches] from the first gap to this one"""
    length: float
    """[pitches], 3 where two teeth are missing"""


class Wheel(NamedTuple):
    """A toothed wheel as it was seen."""

    pitches: float
    """Edges of a revolution without gaps: 60 of 60-2 teeth."""
    teeth: float
    """Edges that a revolution has."""
    gaps: tuple[WheelGap, ...]


class Thresholds(NamedTuple):
    """Levels between which a signal changes state."""

    upper: float
    lower: float
    automatic_upper: bool
    automatic_lower: bool
    smallest_swing: float | None
    """None, or the levels lie on a scale of each swing from 0 to 1, and smaller swings are noise."""
    preparation: str
    """What was done to the samples of such a recording: none, median, unwrapped or jumps."""


class Revolutions:
    """Speed over whole revolutions: the figure to trust on uneven wheels."""

    begin: NDArray[numpy.float64]
    """[n] s"""
    end: NDArray[numpy.float64]
    """[n] s"""
    turns: NDArray[numpy.float64]
    """[n] revolutions: 1, or a little more where pulses do not end with the revolution"""
    rpm: NDArray[numpy.float64]
    """[n] rpm"""
    mean: float
    """[rpm] over all of them"""

    def __init__(self, table: NDArray[numpy.float64], mean: float) -> None:
        self.begin, self.end, self.turns, self.rpm = table.T
        self.mean = mean

    @property
    def time(self) -> NDArray[numpy.float64]:
        """[n] s, middle of each"""
        return (self.begin + self.end) / 2

    def __len__(self) -> int:
        return len(self.rpm)


class Speed:
    """Speed of rotation of a recording, pulse by pulse. Made by `speed` and `encoder`."""

    def __init__(self, data: _core.SpeedData, name: str) -> None:
        self._data = data
        self.name = name
        """Of the recording."""

    @cached_property
    def time(self) -> NDArray[numpy.float64]:
        """[n] s: middle of each pulse, where its speed holds"""
        return self._data.time

    @cached_property
    def rpm(self) -> NDArray[numpy.float64]:
        """[n] rpm: speed of each pulse, negative backward, NaN where it is unknown"""
        return self._data.rpm

    @property
    def edges(self) -> NDArray[numpy.float64]:
        """[n + 1] samples with a fraction: pulse i goes from edge i to edge i + 1"""
        return self._data.edges

    @property
    def edge_time(self) -> NDArray[numpy.float64]:
        """[n + 1] s of the edges"""
        return self.start_time + self.edges / self.rate

    @property
    def flags(self) -> NDArray[numpy.uint8]:
        """[n] combinations of PulseFlag"""
        return self._data.flags

    @property
    def pitches(self) -> NDArray[numpy.float64]:
        """[n] edges of a full wheel that each pulse stands for: more than 1 at gaps, below 0 backward"""
        return self._data.pitches

    @cached_property
    def revolutions(self) -> Revolutions:
        return Revolutions(self._data.revolutions, self._data.revolution_mean)

    @property
    def wheel(self) -> Wheel:
        pitches, teeth, gaps = self._data.wheel
        return Wheel(pitches, teeth, tuple(WheelGap(*gap) for gap in gaps))

    @property
    def thresholds(self) -> Thresholds | None:
        """None for encoders"""
        levels = self._data.levels
        if levels is None:
            return None
        upper, lower, automatic_upper, automatic_lower, scale = levels
        swing, preparation = scale if scale is not None else (None, "none")
        return Thresholds(upper, lower, automatic_upper, automatic_lower, swing, preparation)

    @property
    def warnings(self) -> tuple[Warning, ...]:
        """What is doubtful about the result, and what to try; empty when nothing is."""
        return tuple(Warning(code, text, tuple(places)) for code, text, places in self._data.warnings)

    @property
    def rate(self) -> float:
        """[samples/s]"""
        return self._data.rate

    @property
    def start_time(self) -> float:
        """[s]"""
        return self._data.start_time

    @property
    def duration(self) -> float:
        """[s]"""
        return self._data.samples / self._data.rate

    @property
    def min(self) -> float:
        """[rpm] slowest pulse"""
        return self._data.speed[0]

    @property
    def mean(self) -> float:
        """[rpm] revolutions over time"""
        return self._data.speed[1]

    @property
    def max(self) -> float:
        """[rpm] fastest pulse"""
        return self._data.speed[2]

    @property
    def gap_corrected(self) -> int:
        """Gaps that were corrected"""
        return self._data.gap_corrected

    @property
    def spike_held(self) -> int:
        """Pulses that the spike filter held"""
        return self._data.spike_held

    @cached_property
    def angle(self) -> _core.ShaftAngle:
        """Angle of the shaft: angle(t) in revolutions, angle.time_of(turns)"""
        return self._data.angle()

    def curve(self, step: float = 0.01) -> _core.Curve:
        """Speed over time [s, rpm]: means over steps of `step` seconds, each at the middle of its step."""
        return self._data.curve(step, self.name)

    def pairs(self) -> _core.Pairs:
        """Speed of each pulse at its middle [s, rpm]."""
        return self._data.pairs(self.name)

    def to_pandas(self) -> Any:
        """A DataFrame of rpm, flags and pitches over time."""
        from ._extras import need

        pd = need("pandas", "pandas", "makes tables")

        index = pd.Index(self.time, name="time")
        return pd.DataFrame({"rpm": self.rpm, "flags": self.flags, "pitches": self.pitches}, index=index)

    def plot(self, ax: Any = None) -> Any:
        """Draws pulses and revolutions over time on matplotlib axes; returns the axes.

        Its warnings stand above the picture, and the times that they are about are shaded.
        """
        from ._plot import plot_speed

        return plot_speed(self, ax)

    def __len__(self) -> int:
        return self._data.pulses

    def __repr__(self) -> str:
        doubt = "".join(f", {each.code}" for each in self.warnings)
        return f"<Speed of {self.name!r}: {len(self)} pulses, mean {self.mean:.2f} rpm{doubt}>"


def _settings(
    pulses_per_rev: float,
    gap: Gap,
    upper: float | None,
    lower: float | None,
    edges: str,
    divider: int,
    min_pulse: int,
    spike_filter: SpikeFilter,
    ttl: bool,
) -> _core.SpeedSettings:
    spikes = (spike_filter, 5, 0) if isinstance(spike_filter, int | float) else spike_filter
    automatic, length = _gap(gap)
    return _core.SpeedSettings(
        pulses_per_rev=pulses_per_rev,
        gap=automatic,
        gap_length=length,
        upper=upper,
        lower=lower,
        edges=edges,
        divider=divider,
        min_pulse=min_pulse,
        spike_filter=spikes,
        ttl=ttl,
    )


def _gap(gap: Gap) -> tuple[bool, float | None]:
    if isinstance(gap, str):
        if gap != "auto":
            raise ValueError(f'gap is "auto", a length in pitches or None, not "{gap}"')
        return True, None
    return False, gap


def speed(
    recording: Recording | ArrayLike | str | os.PathLike[str],
    pulses_per_rev: float = 1,
    gap: Gap = None,
    *,
    rate: float | None = None,
    upper: float | None = None,
    lower: float | None = None,
    edges: Literal["rising", "falling", "both"] = "rising",
    divider: int = 1,
    min_pulse: int = 0,
    spike_filter: SpikeFilter = None,
    ttl: bool = False,
) -> Speed:
    """Speed of rotation from the recording of a tacho.

    recording: a `Recording`, the path of one, or samples [n] with `rate` [samples/s].
    pulses_per_rev: edges of a revolution that count; with a gap those of the wheel without it (60 of 60-2 teeth).
    gap: "auto" finds the gaps of the wheel; a number is the length of one in pitches (3: two teeth missing).
    upper, lower: levels; those that are not given are found.
    divider: only every n-th edge ends a pulse. min_pulse: shorter pulses are merged with the next one [samples].
    spike_filter: holds the speed when it changes by more than this part from pulse to pulse; or (part, run-in,
        dead time).
    ttl: a logic signal: low-pass, levels at 1/3 and 2/3 of the range.

    Raises ValueError for arguments that do not fit, umlauf.Error where there are no pulses. See `Speed.warnings`.
    """
    settings = _settings(pulses_per_rev, gap, upper, lower, edges, divider, min_pulse, spike_filter, ttl)
    source = as_recording(recording, rate)
    if source._file is not None and source._samples is None:
        data = settings.measure(source._file)
    else:
        data = settings.measure(source.samples, source.rate, source.start_time)
    return _told(Speed(data, source.name))


def _told(result: Speed) -> Speed:
    if result.warnings:
        import logging

        for each in result.warnings:
            logging.getLogger("umlauf").warning("%s: %s", result.name or "speed", each.text)
    return result


def encoder(
    words: ArrayLike | str | os.PathLike[str],
    pulses_per_rev: int,
    *,
    rate: float,
    mode: int = 1,
    low_word: bool = False,
    divider: int = 1,
    min_pulse: int = 0,
    gap: Gap = None,
    start_time: float = 0.0,
) -> Speed:
    """Speed of rotation from the 32-bit words of an encoder stream.

    words: uint32 [n], or the path of a file that holds them, little-endian.
    pulses_per_rev: edges (modes 1 and 4) or lines (the others) of a revolution.
    mode: 1 edges, 4 edges in high resolution, 3 and 6 quadrature in standard and high resolution, 2 and 5 the same
        fourfold.
    low_word: modes 1 and 4 have their edges in the low half of the words. divider: mode 1, every n-th edge counts.
    """
    name, words = _words(words)
    automatic, length = _gap(gap)
    data = _core.measure_encoder(
        words,
        rate=rate,
        pulses_per_rev=pulses_per_rev,
        start_time=start_time,
        mode=mode,
        low_word=low_word,
        divider=divider,
        min_pulse=min_pulse,
        gap=automatic,
        gap_length=length,
    )
    return _told(Speed(data, name))


def _words(words: ArrayLike | str | os.PathLike[str]) -> tuple[str, ArrayLike]:
    """Name and words of a stream; those of a file are mapped, not read."""
    import os

    if not isinstance(words, str | os.PathLike):
        return "", words
    import numpy as np

    path = os.fspath(words)
    whole = os.path.getsize(path) // 4
    mapped = np.memmap(path, "<u4", mode="r", shape=(whole,)) if whole else np.zeros(0, np.uint32)
    return os.path.basename(path), mapped


class SpeedBlock(NamedTuple):
    """The pulses that a block closed; `time`, `rpm` and `flags` as of `Speed`."""

    time: NDArray[numpy.float64]
    rpm: NDArray[numpy.float64]
    flags: NDArray[numpy.uint8]


class SpeedStream:
    """Speed of a measurement that is running: hand in the blocks as they come.

    Arguments as of `speed`. Levels that are not given are found in the first `learning` samples, and the gap of a
    wheel in its first eight revolutions; until then blocks close no pulses. Memory does not grow.

    A start that drifts so much that no two levels serve is refused (umlauf.Error): give levels, or take `speed` on the
    whole recording, which knows the swings that follow.
    """

    def __init__(
        self,
        rate: float,
        pulses_per_rev: float = 1,
        gap: Gap = None,
        *,
        upper: float | None = None,
        lower: float | None = None,
        edges: Literal["rising", "falling", "both"] = "rising",
        divider: int = 1,
        min_pulse: int = 0,
        spike_filter: SpikeFilter = None,
        ttl: bool = False,
        start_time: float = 0.0,
        learning: int = 65536,
    ) -> None:
        settings = _settings(pulses_per_rev, gap, upper, lower, edges, divider, min_pulse, spike_filter, ttl)
        self._stream = _core.RotationStream(settings, rate, start_time, learning)

    def process(self, samples: ArrayLike) -> SpeedBlock:
        """The pulses that these samples [n] close. umlauf.Error when no levels serve; nothing comes any more then."""
        return SpeedBlock(*self._stream.take(samples))

    def finish(self) -> SpeedBlock:
        """Ends the measurement: the pulses that were held back."""
        return SpeedBlock(*self._stream.finish())

    @property
    def levels(self) -> tuple[float, float]:
        """Upper and lower level in use."""
        return self._stream.levels
