"""Evaluates an archive: what is missing, changed or was evaluated otherwise, and nothing else.

A window of calls is under way at a time, a few for each thread of the workers, so that neither the scheduler nor this
process fills up; small recordings share a call. A worker that dies takes a call with it: the recordings of it are done
again, each by itself, in the end with nothing beside it, until one that always kills its worker is a row with an error.
"""

from __future__ import annotations

import contextlib
import os
import queue
import time
from collections import deque
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any

import umlauf

from .pieces import pieces_of
from .pool import DaskPool, LocalPool, Pool, connected, local_workers
from .progress import Progress, State
from .recipe import Recipe
from .source import Found, find
from .store import Store
from .work import Job, digest_of, evaluate_batch, failed_row, join_pieces, merged, microseconds, search_piece

if TYPE_CHECKING:
    from collections.abc import Callable, Iterable, Iterator, Mapping
    from typing import Literal

    Source = str | os.PathLike[str] | Iterable[str | os.PathLike[str]]

__all__ = ["Interrupted", "Summary", "evaluate"]

SECONDS_OF_CALL = 1.0
SECONDS_OF_LAST = 0.1
"""Calls get shorter towards the end, but not shorter: each takes some hundredths of that from who sends it."""
CALLS_PER_SECOND = 200.0
"""That a scheduler is to have at most: calls of many workers are longer."""
LEAST_COST = 1e-3
"""[s] of the smallest recording"""
ROWS_OF_PART = 10_000
SECONDS_OF_PART = 20.0
FEW_PARTS = 8
MOST_BYTES = 256 << 20
"""Of rows that a run puts together at its end: all of them are in memory then."""


class Interrupted(KeyboardInterrupt):
    """A run that was stopped by hand; `summary` says how far it came. The same call goes on from there."""

    def __init__(self, summary: Summary) -> None:
        super().__init__(f"stopped with {summary.evaluated} recordings evaluated; run it again to go on")
        self.summary = summary


@dataclass(frozen=True)
class Summary:
    """What a run did."""

    out: str
    recipe: str
    """Hash of the recipe: the name of the folder that its rows lie in."""
    found: int
    """Recordings in the sources."""
    unchanged: int
    """Those of them that were evaluated before."""
    evaluated: int
    errors: int
    """Rows of this run with an error."""
    bytes: int
    """Of the recordings that were evaluated."""
    seconds: float

    def table(self) -> Any:
        """The rows of the recipe as a table of pyarrow, also those of earlier runs."""
        return Store(self.out).read(self.recipe)


def evaluate(
    source: Source,
    recipe: Recipe | str | os.PathLike[str] | Mapping[str, Any],
    out: str | os.PathLike[str],
    client: Any = None,
    *,
    workers: int | None = None,
    memory: str = "",
    attempts: int = 3,
    again: Literal["errors", "all"] | None = None,
    progress: bool | Callable[[State], None] = False,
) -> Summary:
    """Evaluates the recordings of an archive that were not evaluated yet, and writes a row for each of them.

    source: folders, patterns and URLs of any file system that fsspec knows.
    recipe: a TOML file, its tables, or a `Recipe`.
    out: folder or URL of the Parquet dataset; see `read`.
    client: of distributed; None: that of the scheduler in [run] of the recipe, else `workers` processes of this machine
        with `memory` each ("2GiB"). 0 workers: this process, one recording after the other.
    attempts: a recording that takes its worker with it so many times is a row with an error.
    again: evaluates those anew that are there already: those with errors, or all.
    progress: True tells it on standard error; a function is handed the state.

    Raises RecipeError, umlauf.Error where the workers cannot work at all, and `Interrupted` on Ctrl-C.
    """
    if not isinstance(recipe, Recipe):
        recipe = Recipe.load(recipe) if isinstance(recipe, str | os.PathLike) else Recipe.of(recipe)
    store = Store(out)
    began = time.monotonic()
    known = _Known(store, recipe, again)
    found = find(source, recipe)
    todo = [each for each in found if not known.has(each)]
    told = Progress(len(todo), progress)
    if todo:
        store.begin(recipe)
        limit = 0.0 if client is None and workers == 0 else recipe.run.timeout
        run = _Run(Job(recipe, store.url, limit), store, known, told, attempts)
        run.finish(run.without(todo), client, workers, memory)
    state = told.state
    summary = Summary(
        store.url,
        recipe.hash,
        len(found),
        len(found) - len(todo),
        state.done,
        state.errors,
        state.bytes,
        time.monotonic() - began,
    )
    if todo and run.interrupted:
        raise Interrupted(summary)
    return summary


class _Known:
    """What earlier runs evaluated with a recipe."""

    def __init__(self, store: Store, recipe: Recipe, again: str | None) -> None:
        self._store, self._recipe, self._again = store, recipe.hash, again
        self._seen: dict[str, tuple[int, int | None, str | None, bool]] = {}
        self._rows: dict[str, Any] | None = None
        table = store.read(recipe.hash, ["path", "size", "mtime", "hash", "error"])
        if table is None:
            return
        pa = __import__("pyarrow")
        columns = [table[name] for name in ("path", "size", "hash")]
        columns += [table["mtime"].cast(pa.int64()), table["error"].is_valid()]
        for path, size, digest, mtime, error in zip(*(each.to_pylist() for each in columns), strict=True):
            self._seen[path] = (size, mtime, digest, error)

    def has(self, recording: Found) -> bool:
        """Whether nothing is to be done."""
        if self._again == "all" or recording.path not in self._seen:
            return False
        size, mtime, _, error = self._seen[recording.path]
        if self._again == "errors" and error:
            return False
        return size == recording.size and mtime == microseconds(recording.mtime)

    def hash(self, recording: Found) -> str | None:
        """Of its contents, where results for them would hold; None: it has to be evaluated."""
        if self._again is not None or recording.path not in self._seen:
            return None
        size, _, digest, error = self._seen[recording.path]
        return digest if size == recording.size and not error else None

    def row(self, path: str) -> Any:
        if self._rows is None:
            self._rows = {row["path"]: row for row in self._store.read(self._recipe).to_pylist()}
        return self._rows[path]


@dataclass
class _Call:
    """A call that is under way or waits to be."""

    recordings: tuple[Found, ...]
    losses: int = 0
    """How many workers died on it"""
    split: _Split | None = None
    piece: int = -1
    """Of `split`, from 0 on; behind the last one the join, then the hash of contents that may be the same."""
    future: Any = None


@dataclass
class _Split:
    """A long recording on several workers. What they find stays with them until it is joined."""

    recording: Found
    pieces: int
    futures: dict[int, Any] = field(default_factory=dict)
    """Of pieces, as far as they are done"""
    given_up: bool = False

    def calls(self, pieces: Iterable[int]) -> Iterator[_Call]:
        return (_Call((self.recording,), 0, self, each) for each in pieces)

    @property
    def join(self) -> int:
        return self.pieces

    @property
    def hash(self) -> int:
        return self.pieces + 1


class _Run:
    def __init__(self, job: Job, store: Store, known: _Known, progress: Progress, attempts: int) -> None:
        self._job, self._store, self._known, self._progress = job, store, known, progress
        self._attempts = attempts
        self._rows: list[dict[str, Any]] = []
        self._written = time.monotonic()
        self._events: queue.SimpleQueue[_Call] = queue.SimpleQueue()
        self._calls: dict[int, _Call] = {}
        self._next_ones: deque[_Call] = deque()
        self._alone: deque[_Call] = deque()
        self._per_byte = SECONDS_OF_CALL / (64 << 20)
        """[s] of evaluation, as seen of late"""
        self._left = 0
        """[bytes] that are not handed out yet"""
        self.interrupted = False

    def without(self, todo: list[Found]) -> list[Found]:
        """What is left when the rows of those are written that cannot be opened."""
        for each in todo:
            if each.error:
                self._keep(failed_row(self._job, each, each.error), each)
        return [each for each in todo if not each.error]

    def finish(self, todo: list[Found], client: Any, workers: int | None, memory: str) -> None:
        """Evaluates all of it; whatever happens, the rows that there are get written."""
        try:
            with contextlib.ExitStack() as stack:
                if todo:
                    self._work(todo, _pool(stack, self._job.recipe, client, workers, memory))
        except KeyboardInterrupt:
            self.interrupted = True
        finally:
            self._write()
        with contextlib.suppress(KeyboardInterrupt):  # a second one
            self._progress.update(end=True)
        recipe = self._job.recipe.hash
        if len(self._store.parts(recipe)) > FEW_PARTS and self._store.size(recipe) < MOST_BYTES:
            self._store.compact(recipe)

    def _work(self, todo: list[Found], pool: Pool) -> None:
        new = deque(todo)
        self._left = sum(each.size for each in todo)
        try:
            while True:
                self._fill(new, pool)
                if not self._calls:
                    break
                with contextlib.suppress(queue.Empty):
                    self._take(self._events.get(timeout=0.5), pool)
                if time.monotonic() - self._written > SECONDS_OF_PART or len(self._rows) >= ROWS_OF_PART:
                    self._write()
                self._progress.update()
        finally:
            pool.cancel([each.future for each in self._calls.values()])

    def _fill(self, new: deque[Found], pool: Pool) -> None:
        self._progress.workers = threads = pool.threads()
        while len(self._calls) < 2 * threads + 1 and (call := self._next(new, threads)):
            call.future = self._submit(call, pool)
            self._calls[id(call)] = call
            call.future.add_done_callback(lambda _, call=call: self._events.put(call))

    def _next(self, new: deque[Found], threads: int) -> _Call | None:
        while self._next_ones:
            call = self._next_ones.popleft()
            if call.split is None or not call.split.given_up:
                return call
        if not new:
            return self._alone.popleft() if self._alone and not self._calls else None
        if pieces := pieces_of(new[0], self._job.recipe, threads):
            split = _Split(new.popleft(), pieces)
            self._left -= split.recording.size
            known = self._known.hash(split.recording) is not None
            self._next_ones.extend(split.calls([split.hash] if known else range(pieces)))
            return self._next_ones.popleft()
        return _Call(tuple(self._batch(new, threads)))

    def _batch(self, new: deque[Found], threads: int) -> Iterator[Found]:
        """Recordings for about a second, of many workers for longer; few enough that all workers end together."""
        seconds = max(SECONDS_OF_CALL, threads / CALLS_PER_SECOND)
        most = min(seconds, max(SECONDS_OF_LAST, self._left / (4 * max(1, threads)) * self._per_byte))
        cost = 0.0
        while new and (cost == 0 or cost + self._cost(new[0]) <= most):
            cost += self._cost(new[0])
            self._left -= new[0].size
            yield new.popleft()

    def _cost(self, recording: Found) -> float:
        """[s] that it may take"""
        return LEAST_COST + recording.size * self._per_byte

    def _submit(self, call: _Call, pool: Pool) -> Any:
        if call.split is None:
            hashes = [self._known.hash(each) for each in call.recordings]
            return pool.submit(evaluate_batch, self._job, call.recordings, hashes)
        split = call.split
        if call.piece == split.hash:
            return pool.submit(digest_of, split.recording)
        if call.piece == split.join:
            parts = [split.futures[i] for i in range(split.pieces)]
            return pool.submit(join_pieces, self._job, split.recording, parts)
        return pool.submit(search_piece, self._job, split.recording, call.piece, split.pieces)

    def _take(self, call: _Call, pool: Pool) -> None:
        if self._calls.pop(id(call), None) is None:
            return
        future, call.future = call.future, None
        if future.cancelled():
            raise umlauf.Error("the scheduler is gone; run it again to go on")
        error = future.exception()
        if error is not None and not pool.loss(error):
            raise umlauf.Error(f"the workers cannot evaluate recordings: {type(error).__name__}: {error}") from error
        if call.split is not None and call.piece != call.split.join:
            self._take_piece(call, call.split, future, error)
        elif error is None:
            self._take_rows(call, future.result())
        else:
            self._lost(call)

    def _take_piece(self, call: _Call, split: _Split, future: Any, error: BaseException | None) -> None:
        if error is not None:
            self._lost(call)
        if error is not None or split.given_up:
            return
        if call.piece == split.hash:
            known = self._known.hash(split.recording)
            if future.result() == known:
                self._take_rows(call, [{"hash": known, "unchanged": True}])
            else:
                self._next_ones.extend(split.calls(range(split.pieces)))
            return
        split.futures[call.piece] = future
        if len(split.futures) == split.pieces:
            self._next_ones.extend(split.calls([split.join]))

    def _take_rows(self, call: _Call, rows: list[dict[str, Any]]) -> None:
        for recording, row in zip(call.recordings, rows, strict=True):
            if row.pop("unchanged", False):
                row = merged(row, self._known.row(recording.path), self._job, recording)
            self._keep(row, recording)
        size = sum(each.size for each in call.recordings)
        if call.split is None and size:
            seen = sum(row.get("seconds") or 0.0 for row in rows) / size
            self._per_byte += 0.3 * (seen - self._per_byte)

    def _lost(self, call: _Call) -> None:
        """Its worker died. It may be innocent, so that each recording gets a call of its own, the last time alone."""
        if call.split is not None:
            call.losses += 1
            if call.losses < self._attempts:
                self._next_ones.append(call)
            elif not call.split.given_up:
                call.split.given_up = True
                self._give_up(call.split.recording, call.losses)
            return
        losses = call.losses + 1
        for each in call.recordings:
            if losses >= self._attempts:
                self._give_up(each, losses)
            else:
                (self._alone if losses + 1 == self._attempts else self._next_ones).append(_Call((each,), losses))

    def _give_up(self, recording: Found, losses: int) -> None:
        error = f"WorkerLost: its worker died {losses} times (memory, a crash, the timeout, or killed)"
        self._keep(failed_row(self._job, recording, error), recording)

    def _keep(self, row: dict[str, Any], recording: Found) -> None:
        self._rows.append(row)
        self._progress.done += 1
        self._progress.errors += row.get("error") is not None
        self._progress.bytes += recording.size

    def _write(self) -> None:
        rows, self._rows = self._rows, []
        self._store.append(self._job.recipe.hash, self._job.recipe.columns, rows)
        self._written = time.monotonic()


def _pool(stack: contextlib.ExitStack, recipe: Recipe, client: Any, workers: int | None, memory: str) -> Pool:
    if client is None and workers == 0:
        return LocalPool()
    if client is None and recipe.run.scheduler:
        client = stack.enter_context(connected(recipe.run))
    elif client is None:
        client = stack.enter_context(local_workers(workers, memory))
    return DaskPool(client)
