"""Long recordings in pieces, each of which is small enough for one worker, and what joins them without a seam.

Speeds are joined by the library (`umlauf/rotation/RotationPieces.h`): the same pulses as in one go, edges to 0.01
samples, speeds to 1e-6. Levels are sums over all samples. Orders need the speed of the whole recording; they are
found behind the join, in one pass that keeps a block at a time.
"""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any, NamedTuple

import umlauf

from .. import _core
from .._speed import _settings
from .source import fits, is_local

if TYPE_CHECKING:
    from collections.abc import Sequence

    from .recipe import Recipe, SpeedTable
    from .source import Found

__all__ = ["Piece", "Sums", "joined", "pieces_of", "search", "sums_of"]

OVERLAP = 1 << 20
"""[samples] from which on before its begin a piece is searched."""
MOST_PIECES = 1024
IN_PLACE = (".wav", ".w64", ".rf64", ".flac", ".aif", ".aiff", ".au", ".caf")
"""Endings of recordings that can be read from anywhere on."""


class Sums(NamedTuple):
    """Of the samples of a piece that are finite numbers."""

    number: int
    min: float
    max: float
    sum: float
    squares: float


class Piece(NamedTuple):
    """What was found in a piece, by table of the recipe; what is missing is found when the pieces are joined."""

    speeds: dict[str, tuple[Any, ...] | None]
    sums: dict[str, Sums]
    hashes: list[bytes] | None
    """Of the parts of the file that it answers for; None: it could not be read."""


def pieces_of(recording: Found, recipe: Recipe, threads: int = 1) -> int:
    """Into how many pieces a recording is split, as many for each of the threads that there are; 0: it stays whole."""
    size = recipe.run.piece * (1 << 20)
    raw = any(rule.raw and fits(recording.name, rule.files) for rule in recipe.read)
    if recording.size <= size or not is_local(recording.root) or not (recipe.speed or recipe.levels):
        return 0
    if not raw and not recording.name.lower().endswith(IN_PLACE):
        return 0
    pieces = min(MOST_PIECES, math.ceil(recording.size / size))
    return pieces + -pieces % min(max(1, threads), pieces)


def search(recording: umlauf.Recording, index: int, count: int, table: SpeedTable) -> tuple[Any, ...] | None:
    """Pulses in piece `index` of `count`; None where the recording has to be measured in one go."""
    file = recording._file
    if file is None or file.frames is None:
        return None
    begin, end = (file.frames * i // count for i in (index, index + 1))
    return _core.search_speed_piece(settings_of(table), file, begin, end, OVERLAP)


def joined(recording: umlauf.Recording, pieces: Sequence[Any], table: SpeedTable) -> umlauf.Speed:
    """The speed of a recording all of whose pieces were searched."""
    assert recording._file is not None
    return umlauf.Speed(
        _core.join_speed_pieces(settings_of(table), recording._file, list(pieces), OVERLAP), recording.name
    )


def speed_arguments(table: SpeedTable) -> dict[str, Any]:
    """Of `umlauf.speed`."""
    keys = ("pulses_per_rev", "gap", "upper", "lower", "edges", "divider", "min_pulse", "spike_filter", "ttl")
    return {key: getattr(table, key) for key in keys}


def settings_of(table: SpeedTable) -> _core.SpeedSettings:
    return _settings(**speed_arguments(table))


def sums_of(recording: umlauf.Recording, index: int, count: int) -> Sums:
    """Over piece `index` of `count`; umlauf.Error where it is one of several and cannot be read by itself."""
    file = recording._file
    if file is not None and file.frames is not None:
        begin, end = (file.frames * i // count for i in (index, index + 1))
        return _sums(file.statistics(begin, end))
    if count > 1:
        raise umlauf.Error("the recording cannot be read from somewhere within")
    return _sums(_core.statistics(recording.samples))


def added(sums: Sequence[Sums]) -> Sums:
    return Sums(
        sum(each.number for each in sums),
        min((each.min for each in sums if each.number), default=math.inf),
        max((each.max for each in sums if each.number), default=-math.inf),
        math.fsum(each.sum for each in sums),
        math.fsum(each.squares for each in sums),
    )


def _sums(found: tuple[int, float, float, float, float]) -> Sums:
    number, least, greatest, mean, deviation = found
    return Sums(number, least, greatest, number * mean, number * (mean * mean + deviation * deviation))
