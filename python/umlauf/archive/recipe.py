"""What is to be evaluated of every recording of an archive: a TOML file, checked when it is read.

A recipe holds names, numbers and patterns, no code. Whatever it says about a result is part of its hash, by which
results of one recipe are told from those of another; comments, order and the table [run] are not.
"""

from __future__ import annotations

import dataclasses
import difflib
import hashlib
import json
import math
import os
import re
from dataclasses import dataclass, field
from functools import cached_property
from pathlib import Path
from typing import TYPE_CHECKING, Any

from .columns import Column, columns_of

if TYPE_CHECKING:
    from collections.abc import Callable, Iterator, Mapping, Sequence

    Check = Callable[[Any], Any]

__all__ = [
    "CanTable",
    "CombTable",
    "Files",
    "LevelsTable",
    "OrdersTable",
    "ReadRule",
    "Recipe",
    "RecipeError",
    "Run",
    "SpeedTable",
]


MOST_COMB_ORDERS = 16


class RecipeError(ValueError):
    """What is wrong with a recipe, a line each."""


class _Wrong(Exception):
    """One value that does not fit; the text says what would."""


# Checks: each returns the value to keep


def _number(least: float = -math.inf, above: float = -math.inf) -> Check:
    def check(value: Any) -> float:
        if isinstance(value, bool) or not isinstance(value, int | float) or not math.isfinite(value):
            raise _Wrong("is to be a number")
        if value < least or value <= above:
            raise _Wrong(f"is to be {'at least' if least > -math.inf else 'above'} {max(least, above):g}")
        return float(value)

    return check


def _count(least: int = 0) -> Check:
    def check(value: Any) -> int:
        if isinstance(value, bool) or not isinstance(value, int) or value < least:
            raise _Wrong(f"is to be a whole number from {least} on")
        return value

    return check


def _text(value: Any) -> str:
    if not isinstance(value, str):
        raise _Wrong("is to be a text")
    return value


def _switch(value: Any) -> bool:
    if not isinstance(value, bool):
        raise _Wrong("is to be true or false")
    return value


def _choice(*known: str) -> Check:
    def check(value: Any) -> str:
        if value not in known:
            raise _Wrong(f"is to be {', '.join(known[:-1])} or {known[-1]}{_suggested(value, known)}")
        return str(value)

    return check


def _each(check: Check) -> Check:
    def check_all(value: Any) -> tuple[Any, ...]:
        return tuple(check(each) for each in (value if isinstance(value, list) else [value]))

    return check_all


def _channel(value: Any) -> int | str:
    return _text(value) if isinstance(value, str) else int(_count(1)(value))


def _gap(value: Any) -> float | str:
    return "auto" if value == "auto" else float(_number(above=1)(value))


def _spikes(value: Any) -> tuple[float, int, int]:
    part, run_in, dead = value if isinstance(value, list) and len(value) == 3 else (value, 5, 0)
    return float(_number(above=0)(part)), int(_count()(run_in)), int(_count()(dead))


def _range(value: Any) -> tuple[float, float]:
    if not isinstance(value, list) or len(value) != 2:
        raise _Wrong("is to be two numbers, from and to")
    low, high = (float(_number(above=0)(each)) for each in value)
    if low > high:
        raise _Wrong("is to be two numbers, the smaller one first")
    return low, high


def _key(check: Check, default: Any = dataclasses.MISSING) -> Any:
    return field(default=default, metadata={"check": check})


_PATTERNS = _each(_text)


@dataclass(frozen=True)
class Files:
    """Which files are recordings, and what their names tell."""

    include: tuple[str, ...] = _key(_PATTERNS, ())
    """Patterns of names; none: every ending that recordings have."""
    exclude: tuple[str, ...] = _key(_PATTERNS, ())
    key: str = _key(_text, "")
    """"{bench}/{engine}_{run:int}.*": the end of the path; what stands in braces becomes a column."""

    @cached_property
    def fields(self) -> dict[str, str]:
        """Names of the key fields and their types: text, int or float."""
        return {name: kind or "text" for name, kind in re.findall(r"\{(\w+)(?::(\w+))?\}", self.key)}

    @cached_property
    def _expression(self) -> re.Pattern[str]:
        text = ""
        for part in re.split(r"(\{\w+(?::\w+)?\}|\*\*|\*|\?)", self.key):
            if part.startswith("{"):
                text += f"(?P<{part[1:-1].partition(':')[0]}>[^/]+?)"
            else:
                text += {"**": ".*", "*": "[^/]*", "?": "[^/]"}.get(part, re.escape(part))
        return re.compile(f"(?:^|/){text}$")

    def keys(self, path: str) -> dict[str, str | int | float | None]:
        """The key fields of a path; None where it does not fit."""
        found = self._expression.search(path) if self.key else None
        return {name: _converted(found and found[name], kind) for name, kind in self.fields.items()}


def _converted(text: str | None, kind: str) -> str | int | float | None:
    if text is None or kind == "text":
        return text
    try:
        return int(text) if kind == "int" else float(text)
    except ValueError:
        return None


@dataclass(frozen=True)
class ReadRule:
    """How some recordings are to be read; arguments as of `umlauf.read`."""

    files: tuple[str, ...] = _key(_PATTERNS, ("*",))
    rate: float | None = _key(_number(above=0), None)
    resample: float | None = _key(_number(above=0), None)
    raw: str | None = _key(_choice("f32", "i16", "i32", "u32"), None)
    raw_channels: int = _key(_count(1), 1)
    unit: str = _key(_text, "")
    scale: float = _key(_number(), 1.0)
    offset: float = _key(_number(), 0.0)


@dataclass(frozen=True)
class SpeedTable:
    """Speed of a tacho; arguments as of `umlauf.speed`."""

    name: str
    files: tuple[str, ...] = _key(_PATTERNS, ("*",))
    channel: int | str = _key(_channel, 1)
    """A number from 1, a name, or a pattern that fits one name."""
    pulses_per_rev: float = _key(_number(above=0), 1.0)
    gap: float | str | None = _key(_gap, None)
    upper: float | None = _key(_number(), None)
    lower: float | None = _key(_number(), None)
    edges: str = _key(_choice("rising", "falling", "both"), "rising")
    divider: int = _key(_count(1), 1)
    min_pulse: int = _key(_count(), 0)
    spike_filter: tuple[float, int, int] | None = _key(_spikes, None)
    ttl: bool = _key(_switch, False)
    curve: float | None = _key(_number(above=0), None)
    """[s] step of a speed curve to keep."""


@dataclass(frozen=True)
class CombTable:
    """Speed of a shaft without a tacho; arguments as of `umlauf.speed_from_vibration`."""

    name: str
    files: tuple[str, ...] = _key(_PATTERNS, ("*",))
    channel: int | str = _key(_channel, 1)
    """Of the vibration."""
    orders: tuple[float, ...] = _key(_each(_number(above=0)), ())
    start: tuple[float, float] | None = _key(_range, None)
    lowest: float = _key(_number(above=0), 300.0)
    highest: float = _key(_number(above=0), 6000.0)
    steepest: float = _key(_number(above=0), 1000.0)
    resolution: float = _key(_number(above=0), 2.0)
    overlap: float = _key(_number(least=0), 0.75)
    curve: float | None = _key(_number(above=0), None)
    """[s] step of a speed curve to keep."""

    def wrong(self) -> Iterator[str]:
        """What does not fit together."""
        if not 1 <= len(self.orders) <= MOST_COMB_ORDERS:
            yield f"orders: are to be 1 to {MOST_COMB_ORDERS}"
        if self.lowest >= self.highest:
            yield f"lowest: is to be below highest, which is {self.highest:g}"
        elif self.start and not self.lowest <= self.start[0] <= self.start[1] <= self.highest:
            yield f"start: is to lie between lowest and highest, {self.lowest:g} and {self.highest:g}"
        if self.overlap > 0.95:
            yield "overlap: is to be from 0 to 0.95"


@dataclass(frozen=True)
class OrdersTable:
    """Orders of a vibration over the speed of a table [speed.NAME] or [comb.NAME]; arguments as of `umlauf.orders`."""

    name: str
    files: tuple[str, ...] = _key(_PATTERNS, ("*",))
    speed: str = _key(_text, "")
    channel: int | str = _key(_channel, 1)
    torsional: bool = _key(_switch, False)
    """Of the speed itself; without a channel."""
    tracks: tuple[float, ...] = _key(_each(_number(above=0)), ())
    max_order: float = _key(_number(above=0), 60.0)
    resolution: float = _key(_number(above=0), 0.1)
    overlap: float = _key(_number(least=0), 0.5)
    axis: str = _key(_choice("time", "revolution", "speed"), "time")
    step: float = _key(_number(least=0), 0.0)
    bandwidth: float = _key(_number(above=0), 0.25)
    method: str = _key(_choice("segments", "vold-kalman"), "segments")
    map: bool = _key(_switch, False)
    """Keep the map."""


@dataclass(frozen=True)
class LevelsTable:
    """Range, mean and root mean square of a channel."""

    name: str
    files: tuple[str, ...] = _key(_PATTERNS, ("*",))
    channel: int | str = _key(_channel, 1)


@dataclass(frozen=True)
class CanTable:
    """Signals of CAN messages in streams of 32-bit words; arguments as of `umlauf.can`."""

    name: str
    files: tuple[str, ...] = _key(_PATTERNS, ("*.u32",))
    rate: float = _key(_number(above=0), 0.0)
    channels: int = _key(_count(1), 1)
    channel: int = _key(_count(1), 1)
    second: int | None = _key(_count(1), None)
    database: str = _key(_text, "")
    """Path of the description, beside the recipe."""
    bus: str = _key(_text, "")
    offsets: str = _key(_choice("top", "msb", "lsb"), "top")
    signals: tuple[str, ...] = _key(_PATTERNS, ())
    """"Message.Signal"."""
    description: bytes = b""
    """What the file holds."""


@dataclass(frozen=True)
class Run:
    """Where recordings and results are and who evaluates them: not part of what is evaluated."""

    source: tuple[str, ...] = _key(_PATTERNS, ())
    out: str = _key(_text, "")
    scheduler: str = _key(_text, "")
    """Address of a scheduler; none: workers of this machine."""
    tls_ca: str = _key(_text, "")
    tls_cert: str = _key(_text, "")
    tls_key: str = _key(_text, "")
    workers: int | None = _key(_count(), None)
    memory: str = _key(_text, "")
    """Of each worker: "2GiB"."""
    attempts: int = _key(_count(1), 3)
    timeout: float = _key(_number(least=0), 3600.0)
    """[s] of evaluation after which a worker is ended, and has lost its recording; 0: never."""
    piece: float = _key(_number(above=0), 512.0)
    """[MiB] longer recordings are split."""


@dataclass(frozen=True)
class Recipe:
    """A recipe that was checked. Made by `Recipe.load` and `Recipe.of`; does not change."""

    title: str = ""
    files: Files = Files()
    read: tuple[ReadRule, ...] = ()
    speed: tuple[SpeedTable, ...] = ()
    comb: tuple[CombTable, ...] = ()
    orders: tuple[OrdersTable, ...] = ()
    levels: tuple[LevelsTable, ...] = ()
    can: tuple[CanTable, ...] = ()
    run: Run = field(default=Run(), compare=False)

    @classmethod
    def load(cls, path: str | os.PathLike[str]) -> Recipe:
        """The recipe in a TOML file. RecipeError says everything that is wrong with it."""
        try:
            return cls.of(_toml(Path(path).read_text("utf-8")), Path(path).parent)
        except (UnicodeDecodeError, RecipeError) as error:
            raise RecipeError(f"{path}:\n{error}") from None

    @classmethod
    def of(cls, tables: Mapping[str, Any] | str, folder: str | os.PathLike[str] = ".") -> Recipe:
        """The recipe in the text of a TOML file, or in its tables; `folder`: of the files that it names."""
        if isinstance(tables, str):
            tables = _toml(tables)
        return _Reader(Path(folder)).recipe(tables)

    @cached_property
    def hash(self) -> str:
        """16 hexadecimal digits, other ones for whatever changes the results."""
        tables = dataclasses.asdict(self).items()
        plain = {key: value for key, value in tables if value and key not in ("title", "run")}
        text = json.dumps(plain, sort_keys=True, default=lambda data: hashlib.blake2b(data, digest_size=16).hexdigest())
        return hashlib.blake2b(text.encode(), digest_size=8).hexdigest()

    @cached_property
    def columns(self) -> tuple[Column, ...]:
        """The columns that its results have, the same for every recording."""
        return columns_of(self)


_TABLES: dict[str, type] = {
    "speed": SpeedTable,
    "comb": CombTable,
    "orders": OrdersTable,
    "levels": LevelsTable,
    "can": CanTable,
}
_SINGLE: dict[str, type] = {"files": Files, "run": Run}


class _Reader:
    """Makes a recipe and collects what is wrong with it."""

    def __init__(self, folder: Path) -> None:
        self._folder = folder
        self._wrong: list[str] = []

    def recipe(self, tables: Mapping[str, Any]) -> Recipe:
        parts: dict[str, Any] = {}
        for key, value in tables.items():
            if key in _TABLES:
                parts[key] = self._named(key, value)
            elif key in _SINGLE:
                parts[key] = self._table(_SINGLE[key], value, f"[{key}]")
            elif key == "read":
                rules = value if isinstance(value, list) else [value]
                parts[key] = tuple(self._table(ReadRule, each, "[[read]]") for each in rules)
            elif key == "title" and isinstance(value, str):
                parts[key] = value
            else:
                known = [*_TABLES, *_SINGLE, "read", "title"]
                self._wrong.append(f"{key}: no such table{_suggested(key, known)}")
        self._told()
        recipe = Recipe(**parts)
        self._fits_together(recipe)
        self._told()
        return recipe

    def _told(self) -> None:
        if self._wrong:
            raise RecipeError("\n".join(self._wrong))

    def _named(self, kind: str, tables: Any) -> tuple[Any, ...]:
        if not isinstance(tables, dict) or not all(isinstance(each, dict) for each in tables.values()):
            self._wrong.append(f"[{kind}]: tables of this kind have a name: [{kind}.NAME]")
            return ()
        for name in tables:
            if not re.fullmatch(r"[A-Za-z]\w*", name):
                self._wrong.append(f"[{kind}.{name}]: names are letters, digits and _, as of columns")
        return tuple(
            self._table(_TABLES[kind], table, f"[{kind}.{name}]", name=name) for name, table in sorted(tables.items())
        )

    def _table(self, kind: type, table: Any, where: str, **given: Any) -> Any:
        if not isinstance(table, dict):
            self._wrong.append(f"{where}: is to be a table")
            return None
        checks = {each.name: each.metadata["check"] for each in dataclasses.fields(kind) if each.metadata}
        for key, value in table.items():
            if key not in checks:
                self._wrong.append(f"{where} {key}: unknown{_suggested(key, checks)}")
                continue
            try:
                given[key] = checks[key](value)
            except _Wrong as wrong:
                self._wrong.append(f"{where} {key}: {wrong}")
        if kind is CanTable and given.get("database"):
            given["description"] = self._description(given["database"], where)
        return kind(**given)

    def _description(self, path: str, where: str) -> bytes:
        try:
            return (self._folder / path).read_bytes()
        except OSError as error:
            self._wrong.append(f"{where} database: {error.strerror}: {path}")
            return b""

    def _fits_together(self, recipe: Recipe) -> None:
        combs = [each.name for each in recipe.comb]
        speeds = [each.name for each in recipe.speed] + combs
        for comb in recipe.comb:
            self._wrong.extend(f"[comb.{comb.name}] {each}" for each in comb.wrong())
        for orders in recipe.orders:
            if orders.speed not in speeds:
                hint = _suggested(orders.speed, speeds) or (f"; there is {', '.join(speeds)}" if speeds else "")
                self._wrong.append(f"[orders.{orders.name}] speed: there is no table [speed.{orders.speed}]{hint}")
            if orders.torsional and orders.speed in combs:
                self._wrong.append(f"[orders.{orders.name}] torsional: a comb has no pulses that would tell it")
            if orders.overlap > 0.99:
                self._wrong.append(f"[orders.{orders.name}] overlap: is to be from 0 to 0.99")
        for can in recipe.can:
            self._wrong.extend(
                f"[can.{can.name}] {key}: is missing" for key in ("rate", "database") if not getattr(can, key)
            )
        if any(kind not in ("text", "int", "float") for kind in recipe.files.fields.values()):
            self._wrong.append("[files] key: fields are {name}, {name:int} or {name:float}")
        elif len(re.findall(r"\{", recipe.files.key)) != len(recipe.files.fields):
            self._wrong.append("[files] key: each field has a name of its own, of letters, digits and _")
        if not (recipe.speed or recipe.comb or recipe.orders or recipe.levels or recipe.can):
            self._wrong.append("nothing is to be evaluated; give a table [speed.NAME], for instance")
        names = [each.name for each in recipe.columns]
        self._wrong.extend(
            f"two results would be the column {each}" for each in {n for n in names if names.count(n) > 1}
        )


def _toml(text: str) -> dict[str, Any]:
    try:
        import tomllib as toml
    except ModuleNotFoundError:
        from .._extras import need

        toml = need("tomli", "archive", "reads recipes")
    try:
        return dict(toml.loads(text))
    except toml.TOMLDecodeError as error:
        raise RecipeError(str(error)) from None


def _suggested(key: Any, known: Sequence[str] | Mapping[str, Any]) -> str:
    near = difflib.get_close_matches(str(key), list(known), 1)
    return f"; did you mean {near[0]}?" if near else ""
