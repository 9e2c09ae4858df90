"""The columns of a table of results: the same for every recording of a recipe."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

from .._extras import need

if TYPE_CHECKING:
    from collections.abc import Sequence

    from .recipe import Recipe


class Column(NamedTuple):
    name: str
    kind: str
    """text, int, float, time or texts"""


FIXED = (
    Column("path", "text"),
    Column("name", "text"),
    Column("size", "int"),
    Column("mtime", "time"),
    Column("hash", "text"),
    Column("recipe", "text"),
    Column("version", "text"),
    Column("evaluated", "time"),
    Column("seconds", "float"),
)
"""What every row begins with: the recording, then how it was evaluated."""

LAST = (Column("warnings", "texts"), Column("error", "text"))

SPEED = (
    Column("rpm_min", "float"),
    Column("rpm_mean", "float"),
    Column("rpm_max", "float"),
    Column("revolution_rpm_mean", "float"),
    Column("revolutions", "int"),
    Column("pulses", "int"),
    Column("duration", "float"),
    Column("pitches", "float"),
    Column("teeth", "float"),
    Column("gaps", "int"),
    Column("gap_corrected", "int"),
    Column("spike_held", "int"),
    Column("upper", "float"),
    Column("lower", "float"),
)
COMB = tuple(
    Column(name, "float")
    for name in ("rpm_min", "rpm_mean", "rpm_max", "duration", "confidence", "lost_share", "rival")
)
LEVELS = tuple(Column(name, "float") for name in ("min", "max", "mean", "rms", "duration"))
TRACK = tuple(Column(name, "float") for name in ("mean", "max", "rpm_at_max"))
CAN_SIGNAL = (*(Column(name, "float") for name in ("min", "mean", "max")), Column("count", "int"))


def order_name(order: float) -> str:
    """Of a track in names of columns: order_2_5 of order 2.5."""
    return f"order_{order:.12g}".replace(".", "_")


def signal_name(signal: str) -> str:
    return "".join(letter if letter.isalnum() else "_" for letter in signal)


def columns_of(recipe: Recipe) -> tuple[Column, ...]:
    """Columns of the results of a recipe, key fields first."""

    def of(table: str, columns: Sequence[Column]) -> list[Column]:
        return [Column(f"{table}_{each.name}", each.kind) for each in columns]

    found = [*FIXED, *(Column(name, kind) for name, kind in recipe.files.fields.items())]
    for speed in recipe.speed:
        found += of(speed.name, SPEED)
        found += of(speed.name, [Column("curve", "text")] if speed.curve else [])
    for comb in recipe.comb:
        found += of(comb.name, COMB)
        found += of(comb.name, [Column("curve", "text")] if comb.curve else [])
    for orders in recipe.orders:
        found += of(orders.name, [Column("overall_rms", "float"), Column("overall_max", "float")])
        for order in orders.tracks:
            found += of(f"{orders.name}_{order_name(order)}", TRACK)
        found += of(orders.name, [Column("map", "text")] if orders.map else [])
    for levels in recipe.levels:
        found += of(levels.name, LEVELS)
    for can in recipe.can:
        found += of(can.name, [Column("messages", "int")])
        for signal in can.signals:
            found += of(f"{can.name}_{signal_name(signal)}", CAN_SIGNAL)
    return (*found, *LAST)


def schema_of(columns: Sequence[Column]) -> Any:
    """The schema of pyarrow for these columns."""
    pa = need("pyarrow", "archive", "keeps the results")
    kinds = {
        "text": pa.string(),
        "int": pa.int64(),
        "float": pa.float64(),
        "time": pa.timestamp("us", tz="UTC"),
        "texts": pa.list_(pa.string()),
    }
    return pa.schema([(each.name, kinds[each.kind]) for each in columns])
