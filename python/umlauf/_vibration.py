"""The speed of a shaft without a tacho, from its vibration."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple

from . import _core
from ._recording import Recording, as_recording
from ._speed import Speed, _told

if TYPE_CHECKING:
    import os
    from collections.abc import Sequence

    import numpy
    from numpy.typing import ArrayLike, NDArray


class Rival(NamedTuple):
    """The best other course that the speed could have taken."""

    score: float
    """Of that of the course that was found: noise alone has 0.4 or so, from 0.8 on either could be meant."""
    start_rpm: float
    """[rpm] its speed at the begin"""


class FollowedSpeed(Speed):
    """Speed of a shaft by the orders of its vibration. Made by `speed_from_vibration`; takes the place of a `Speed`.

    Its "pulses" are the segments of the spectra: `time` and `rpm` are those of their middles. There are no
    `revolutions`.
    """

    confidence: NDArray[numpy.float32]
    """[n] share of the orders that stand out in each segment, 0 to 1: below 0.5 the speed there is doubtful"""
    lost: tuple[tuple[float, float], ...]
    """[s] where fewer than half of them do, over half a second and more"""
    lost_share: float
    """of all segments, 0 to 1"""
    present: dict[float, float]
    """For each order in which part of the segments it stands out, 0 to 1."""
    rival: Rival

    @property
    def thresholds(self) -> None:
        """There are none."""
        return None


def speed_from_vibration(
    recording: Recording | ArrayLike | str | os.PathLike[str],
    orders: Sequence[float],
    *,
    rate: float | None = None,
    start: tuple[float, float] | None = None,
    lowest: float = 300,
    highest: float = 6000,
    steepest: float = 1000,
    resolution: float = 2,
    overlap: float = 0.75,
) -> FollowedSpeed:
    """Speed of a shaft that has no tacho: where the given orders of its vibration are loud together.

    recording: a `Recording`, the path of one, or samples [n] with `rate` [samples/s].
    orders: 1 to 16 that the vibration is known to have.
    start: range [rpm] of the speed at the begin; None: anywhere. lowest, highest: [rpm] of all of it.
    steepest: greatest change of the speed [rpm/s].
    resolution, overlap: of the spectra [Hz], and of their segments, 0 to 0.95.

    Raises ValueError for arguments that do not fit, umlauf.Error where the orders hardly ever stand out. What is
    doubtful stands in `warnings`: `track-lost`, `order-missing`, `speed-ambiguous`.
    """
    settings = _core.CombSettings(
        orders=list(orders),
        start=start if start is not None else (0.0, 0.0),
        lowest=lowest,
        highest=highest,
        steepest=steepest,
        resolution=resolution,
        overlap=overlap,
    )
    source = as_recording(recording, rate)
    if source._file is not None and source._samples is None:
        found = settings.follow(source._file)
    else:
        found = settings.follow(source.samples, source.rate, source.start_time)
    data, confidence, lost, lost_share, present, rival = found
    result = FollowedSpeed(data, source.name)
    result.confidence, result.lost, result.lost_share = confidence, tuple(lost), lost_share
    result.present = dict(zip(orders, present, strict=True))
    result.rival = Rival(*rival)
    _told(result)
    return result
