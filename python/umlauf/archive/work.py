"""What a worker does: it evaluates recordings and gives back their rows, whatever is wrong with these."""

from __future__ import annotations

import contextlib
import hashlib
import logging
import math
import os
import threading
import time
from typing import TYPE_CHECKING, Any, NamedTuple

import umlauf

from .measure import Result, content_hash, hash_of_parts, measure, part_hashes, read_channel
from .pieces import Piece, search, sums_of
from .source import Found, fetched, fits, public
from .store import Store

if TYPE_CHECKING:
    from collections.abc import Iterator, Mapping, Sequence

    from .recipe import Recipe

    Row = dict[str, Any]

__all__ = ["Job", "digest_of", "evaluate_batch", "failed_row", "join_pieces", "row_of", "search_piece"]


class Job(NamedTuple):
    """What is to be done with every recording of a run."""

    recipe: Recipe
    out: str
    seconds: float = 0.0
    """After which a recording is given up, and its worker with it; 0: never"""


def evaluate_batch(job: Job, recordings: Sequence[Found], hashes: Sequence[str | None]) -> list[Row]:
    """Rows of some recordings.

    hashes: of the contents that were evaluated with this recipe before, None: never. A recording that still has it
        comes back without results.
    """
    with quiet():
        store = Store(job.out) if any(True for _ in _curves(job.recipe)) else None
        return [_evaluate(job, each, known, store) for each, known in zip(recordings, hashes, strict=True)]


def _curves(recipe: Recipe) -> Iterator[str]:
    yield from (each.name for each in recipe.speed if each.curve)
    yield from (each.name for each in recipe.comb if each.curve)
    yield from (each.name for each in recipe.orders if each.map)


def _evaluate(job: Job, recording: Found, known: str | None, store: Store | None) -> Row:
    began = time.perf_counter()
    result, digest = Result(), None
    try:
        with limited(job.seconds), fetched(recording) as path:
            digest = content_hash(path)
            if digest == known:
                return {"path": recording.path, "hash": digest, "unchanged": True}
            result = measure(path, recording.name, job.recipe)
    except Exception as error:  # of whatever file system or format
        result.errors.append(f"{type(error).__name__}: {public(str(error))}")
    return row_of(job, recording, digest, result, store, time.perf_counter() - began)


def search_piece(job: Job, recording: Found, index: int, count: int) -> Piece:
    """What is in piece `index` of `count` of a recording. Errors show when the pieces are joined."""
    with quiet():
        speeds, sums, hashes = {}, {}, None
        with contextlib.suppress(Exception), limited(job.seconds), fetched(recording) as path:
            name, recipe = recording.name, job.recipe
            for speed in recipe.speed:
                if fits(name, speed.files):
                    with contextlib.suppress(Exception):
                        channel = read_channel(path, name, speed.channel, recipe)
                        speeds[speed.name] = search(channel, index, count, speed)
            for levels in recipe.levels:
                if fits(name, levels.files):
                    with contextlib.suppress(Exception):
                        channel = read_channel(path, name, levels.channel, recipe)
                        sums[levels.name] = sums_of(channel, index, count)
            hashes = part_hashes(path, index, count)
        return Piece(speeds, sums, hashes)


def digest_of(recording: Found) -> str | None:
    """Of the contents of a recording; None where it cannot be read."""
    with contextlib.suppress(Exception), fetched(recording) as path:
        return content_hash(path)
    return None


def join_pieces(job: Job, recording: Found, pieces: list[Piece]) -> list[Row]:
    """The row of a recording from what was found in its pieces."""
    with quiet():
        began = time.perf_counter()
        result, digest = Result(), None
        try:
            with limited(job.seconds), fetched(recording) as path:
                hashes = [each for piece in pieces for each in piece.hashes or ()]
                whole = all(piece.hashes is not None for piece in pieces)
                digest = hash_of_parts(hashes) if whole else content_hash(path)
                result = measure(path, recording.name, job.recipe, pieces)
        except Exception as error:
            result.errors.append(f"{type(error).__name__}: {public(str(error))}")
        return [row_of(job, recording, digest, result, Store(job.out), time.perf_counter() - began)]


def row_of(
    job: Job, recording: Found, digest: str | None, result: Result, store: Store | None, seconds: float = 0.0
) -> Row:
    """The row of a recording; its curves are written first."""
    if store is not None and result.curves:
        pa = __import__("pyarrow")
        key = hashlib.blake2b(f"{recording.path}\n{digest}".encode(), digest_size=12).hexdigest()
        for curve in result.curves:
            name = f"_curves/{job.recipe.hash}/{key}-{curve.column}.parquet"
            result.attempt(curve.column, lambda n=name, c=curve: store.write_table(n, pa.table(dict(c.table))))  # type: ignore[misc]
            result.values[curve.column] = name
    return {
        **_begin(job, recording),
        "hash": digest,
        "seconds": seconds,
        **result.values,
        "warnings": result.warnings,
        "error": "; ".join(result.errors) or None,
    }


def failed_row(job: Job, recording: Found, error: str) -> Row:
    """The row of a recording that could not be evaluated."""
    return {**_begin(job, recording), "seconds": 0.0, "warnings": [], "error": error}


def _begin(job: Job, recording: Found) -> Row:
    return {
        "path": recording.path,
        "name": recording.name,
        "size": recording.size,
        "mtime": microseconds(recording.mtime),
        "recipe": job.recipe.hash,
        "version": umlauf.__version__,
        "evaluated": microseconds(time.time()),
        **job.recipe.files.keys(recording.path),
    }


def microseconds(seconds: float) -> int | None:
    return None if math.isnan(seconds) else round(seconds * 1e6)


@contextlib.contextmanager
def limited(seconds: float) -> Iterator[None]:
    """Ends this process when the context takes longer: a reader that hangs cannot be stopped in any other way."""
    timer = threading.Timer(seconds, os._exit, [1])
    timer.daemon = True
    if seconds > 0:
        timer.start()
    try:
        yield
    finally:
        timer.cancel()


@contextlib.contextmanager
def quiet() -> Iterator[None]:
    """What is doubtful stands in the rows, and not in the log as well."""
    log = logging.getLogger("umlauf")
    level = log.level
    log.setLevel(logging.CRITICAL)
    try:
        yield
    finally:
        log.setLevel(level)


def merged(row: Mapping[str, Any], old: Mapping[str, Any], job: Job, recording: Found) -> Row:
    """The row of a recording that was only touched: its results of before."""
    return {**old, **_begin(job, recording), "hash": row["hash"]}
