"""What a recipe says of one recording. Knows neither datasets nor schedulers."""

from __future__ import annotations

import hashlib
import math
import os
import tempfile
from typing import TYPE_CHECKING, Any, NamedTuple

import umlauf

from .columns import order_name, signal_name
from .pieces import added, joined, speed_arguments, sums_of
from .source import fits, public

if TYPE_CHECKING:
    from collections.abc import Callable, Mapping, Sequence

    from ..files import Path
    from .pieces import Piece
    from .recipe import CanTable, CombTable, LevelsTable, OrdersTable, Recipe, SpeedTable

__all__ = ["Curve", "Result", "content_hash", "hash_of_parts", "measure", "part_hashes", "read_channel"]

Values = dict[str, Any]

HASHED_PART = 64 << 20
"""[bytes] Longer files have the hash of the hashes of such parts."""


class Curve(NamedTuple):
    """Columns to keep beside a row."""

    column: str
    """Of the row, which gets its name."""
    table: Mapping[str, Any]
    """Columns by name."""


class Result:
    """Values of a row, curves beside it, what is doubtful, what went wrong."""

    def __init__(self) -> None:
        self.values: Values = {}
        self.curves: list[Curve] = []
        self.warnings: list[str] = []
        self.errors: list[str] = []

    def attempt(self, what: str, evaluate: Callable[[], None]) -> None:
        """Evaluates; whatever goes wrong with a recording is its error, not that of the run."""
        try:
            evaluate()
        except Exception as error:
            text = public(str(error)) or type(error).__name__
            known = isinstance(error, umlauf.Error | ValueError)
            self.errors.append(f"{what}: {text}" if known else f"{what}: {type(error).__name__}: {text}")


def content_hash(path: Path) -> str:
    """32 hexadecimal digits of what a file holds: the hash of its parts' hashes where it has more than one."""
    return hash_of_parts(part_hashes(path, 0, 1))


def hash_of_parts(hashes: Sequence[bytes]) -> str:
    whole = hashes[0] if len(hashes) == 1 else hashlib.sha256(b"".join(hashes)).digest()
    return whole[:16].hex()


def part_hashes(path: Path, index: int, count: int) -> list[bytes]:
    """Of the parts that piece `index` of `count` answers for, so that several workers hash a long file.

    By SHA-256, which processors have instructions for: others of `hashlib` would take longer than the evaluation.
    """
    hashes = []
    block = memoryview(bytearray(1 << 20))
    with open(path, "rb", buffering=0) as file:
        parts = max(1, -(-os.fstat(file.fileno()).st_size // HASHED_PART))
        for part in range(parts * index // count, parts * (index + 1) // count):
            digest = hashlib.sha256()
            file.seek(part * HASHED_PART)
            left = HASHED_PART
            while left and (read := file.readinto(block[: min(left, len(block))])):
                digest.update(block[:read])
                left -= read
            hashes.append(digest.digest())
    return hashes


def measure(path: str, name: str, recipe: Recipe, pieces: Sequence[Piece] = ()) -> Result:
    """All results of a recording.

    path: where it lies now. name: of it, that the patterns of the tables are for. pieces: what was found in its pieces.
    """
    result = Result()
    task = _Task(path, name, recipe, pieces, {}, result)
    for speed in recipe.speed:
        if fits(name, speed.files):
            result.attempt(speed.name, lambda t=speed: _speed(t, task))  # type: ignore[misc]
    for comb in recipe.comb:
        if fits(name, comb.files):
            result.attempt(comb.name, lambda t=comb: _comb(t, task))  # type: ignore[misc]
    for orders in recipe.orders:
        if fits(name, orders.files) and orders.speed in task.speeds:
            result.attempt(orders.name, lambda t=orders: _orders(t, task))  # type: ignore[misc]
    for levels in recipe.levels:
        if fits(name, levels.files):
            result.attempt(levels.name, lambda t=levels: _levels(t, task))  # type: ignore[misc]
    for can in recipe.can:
        if fits(name, can.files):
            result.attempt(can.name, lambda t=can: _can(t, task))  # type: ignore[misc]
    return result


class _Task(NamedTuple):
    path: str
    name: str
    recipe: Recipe
    pieces: Sequence[Piece]
    speeds: dict[str, umlauf.Speed]
    """By table, as far as they were found."""
    result: Result

    def channel(self, channel: int | str) -> umlauf.Recording:
        return read_channel(self.path, self.name, channel, self.recipe)


def read_channel(path: str, name: str, channel: int | str, recipe: Recipe) -> umlauf.Recording:
    """A channel of a recording, as the recipe says that it is read."""
    options: Values = {}
    for rule in recipe.read:
        if fits(name, rule.files):
            options = {key: value for key, value in vars(rule).items() if key != "files"}
            break
    if isinstance(channel, str) and options.get("raw") is None:
        channel = _chosen(umlauf.channels(path), channel)
    return umlauf.read(path, channel, **options)


def _chosen(names: list[str], pattern: str) -> str:
    if pattern in names:
        return pattern
    fitting = [each for each in names if fits(each, [pattern])]
    if len(fitting) == 1:
        return fitting[0]
    if fitting:
        raise ValueError(f'several channels fit "{pattern}": {", ".join(fitting[:10])}')
    raise ValueError(f'no channel fits "{pattern}"; there is {", ".join(names[:10])}')


def _speed(table: SpeedTable, task: _Task) -> None:
    result = task.result
    recording = task.channel(table.channel)
    parts = [each.speeds.get(table.name) for each in task.pieces]
    if parts and all(each is not None for each in parts):
        speed = joined(recording, parts, table)
    else:
        speed = umlauf.speed(recording, **speed_arguments(table))
    task.speeds[table.name] = speed
    wheel, levels, revolutions = speed.wheel, speed.thresholds, speed.revolutions
    values = {
        "rpm_min": speed.min,
        "rpm_mean": speed.mean,
        "rpm_max": speed.max,
        "revolution_rpm_mean": revolutions.mean if len(revolutions) else None,
        "revolutions": len(revolutions),
        "pulses": len(speed),
        "duration": speed.duration,
        "pitches": wheel.pitches,
        "teeth": wheel.teeth,
        "gaps": len(wheel.gaps),
        "gap_corrected": speed.gap_corrected,
        "spike_held": speed.spike_held,
        "upper": levels.upper if levels else None,
        "lower": levels.lower if levels else None,
    }
    _put(result, table.name, values)
    _told(speed, table, result)


def _comb(table: CombTable, task: _Task) -> None:
    keys = ("orders", "start", "lowest", "highest", "steepest", "resolution", "overlap")
    settings = {key: getattr(table, key) for key in keys}
    speed = umlauf.speed_from_vibration(task.channel(table.channel), **settings)
    task.speeds[table.name] = speed
    values = {
        "rpm_min": speed.min,
        "rpm_mean": speed.mean,
        "rpm_max": speed.max,
        "duration": speed.duration,
        "confidence": speed.confidence.mean(),
        "lost_share": speed.lost_share,
        "rival": speed.rival.score,
    }
    _put(task.result, table.name, values)
    _told(speed, table, task.result)


def _told(speed: umlauf.Speed, table: SpeedTable | CombTable, result: Result) -> None:
    """What is doubtful about a speed, and the curve that is to be kept."""
    result.warnings += [f"{table.name}: {each.text}" for each in speed.warnings]
    if table.curve:
        curve = speed.curve(table.curve)
        result.curves.append(Curve(f"{table.name}_curve", {"time": curve.x, "rpm": curve.values}))


def _orders(table: OrdersTable, task: _Task) -> None:
    import numpy as np

    keys = ("tracks", "max_order", "resolution", "overlap", "axis", "step", "bandwidth", "method")
    settings = {key: getattr(table, key) for key in keys}
    speed, result = task.speeds[table.speed], task.result
    if table.torsional:
        orders = umlauf.torsional(speed, **settings)
    else:
        orders = umlauf.orders(task.channel(table.channel), speed, **settings)
    overall = orders.overall().y
    values: Values = {
        "overall_rms": math.sqrt(np.mean(np.square(overall, dtype=np.float64))) if len(overall) else None,
        "overall_max": overall.max() if len(overall) else None,
    }
    for track in orders.tracks:
        if len(track.amplitude):
            at = int(np.argmax(track.amplitude))
            seen = (np.mean(track.amplitude), track.amplitude[at], track.rpm[at])
            column = order_name(track.order)
            values.update(zip((f"{column}_mean", f"{column}_max", f"{column}_rpm_at_max"), seen, strict=True))
    _put(result, table.name, values)
    if table.map:
        curves = orders.map()
        orders_of_map = [np.asarray(curves[0].x)] * len(curves.positions)
        columns = {"position": curves.positions, "order": orders_of_map, "rms": list(curves.values)}
        result.curves.append(Curve(f"{table.name}_map", columns))


def _levels(table: LevelsTable, task: _Task) -> None:
    recording = task.channel(table.channel)
    parts = [each.sums.get(table.name) for each in task.pieces]
    whole = [each for each in parts if each is not None]
    sums = added(whole) if parts and len(whole) == len(parts) else sums_of(recording, 0, 1)
    if not sums.number:
        raise umlauf.Error("there are no samples")
    values = {
        "min": sums.min,
        "max": sums.max,
        "mean": sums.sum / sums.number,
        "rms": math.sqrt(sums.squares / sums.number),
        "duration": recording.duration,
    }
    _put(task.result, table.name, values)


def _can(table: CanTable, task: _Task) -> None:
    options = {key: getattr(table, key) for key in ("rate", "channels", "channel", "second")}
    messages = umlauf.can.find(task.path, **options)
    values: Values = {"messages": len(messages)}
    with tempfile.TemporaryDirectory(prefix="umlauf-") as folder:
        database = os.path.join(folder, os.path.basename(table.database))
        with open(database, "wb") as file:
            file.write(table.description)
        signals = messages.decode(database, bus=table.bus, offsets=table.offsets)
    for name in table.signals:
        column, signal = signal_name(name), signals.get(name)
        values[f"{column}_count"] = len(signal) if signal else 0
        if signal:
            found = (signal.values.min(), signal.values.mean(), signal.values.max())
            values.update(zip((f"{column}_min", f"{column}_mean", f"{column}_max"), found, strict=True))
    _put(task.result, table.name, values)


def _put(result: Result, table: str, values: Values) -> None:
    """Values of a table, as plain numbers; what is not a finite number is left out."""
    for key, value in values.items():
        if value is None:
            continue
        number = value if isinstance(value, int) else float(value)
        if math.isfinite(number):
            result.values[f"{table}_{key}"] = number
