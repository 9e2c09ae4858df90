"""How far a run is."""

from __future__ import annotations

import sys
import time
from typing import TYPE_CHECKING, NamedTuple

if TYPE_CHECKING:
    from collections.abc import Callable

__all__ = ["Progress", "State"]


class State(NamedTuple):
    """What there is to tell of a run."""

    found: int
    """Recordings that are to be evaluated"""
    done: int
    errors: int
    bytes: int
    seconds: float
    workers: int

    @property
    def rate(self) -> float:
        """Recordings per second"""
        return self.done / self.seconds if self.seconds > 0 else 0.0

    @property
    def left(self) -> float:
        """[s] at this rate; infinite before the first recording"""
        return (self.found - self.done) / self.rate if self.rate > 0 else float("inf")

    def __str__(self) -> str:
        clock = time.strftime("%H:%M:%S", time.gmtime(self.left)) if self.left < 86400 else f"{self.left / 3600:.0f} h"
        left = f"{clock} left" if self.done else "starting"
        mb = self.bytes / 1e6 / self.seconds if self.seconds > 0 else 0.0
        return (
            f"{self.done} of {self.found} recordings, {self.errors} with errors, "
            f"{self.rate:.1f}/s, {mb:.1f} MB/s, {self.workers} workers, {left}"
        )


class Progress:
    """Counts, and tells: on a terminal every second in one line, elsewhere every half minute in a line each.

    A function is told whenever something is done, or a second has passed.
    """

    def __init__(self, found: int, tell: bool | Callable[[State], None]) -> None:
        self._found = found
        self._terminal = sys.stderr.isatty()
        self._tell: Callable[[State], None] | None = (self._write if tell else None) if isinstance(tell, bool) else tell
        self._every = 0.0 if callable(tell) else 1.0 if self._terminal else 30.0
        self._began = self._told = time.monotonic()
        self.done = self.errors = self.bytes = self.workers = 0

    @property
    def state(self) -> State:
        seconds = time.monotonic() - self._began
        return State(self._found, self.done, self.errors, self.bytes, seconds, self.workers)

    def update(self, end: bool = False) -> None:
        """Tells when it is time to, and at the end."""
        now = time.monotonic()
        if self._tell is None or (now - self._told < self._every and not end):
            return
        self._told = now
        self._tell(self.state)
        if end and self._terminal and self._tell == self._write:
            print(file=sys.stderr)

    def _write(self, state: State) -> None:
        before, behind = ("\r\033[K", "") if self._terminal else ("", "\n")
        print(f"{before}{state}", end=behind, file=sys.stderr, flush=True)
