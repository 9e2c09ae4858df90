"""What an archive costs beside the evaluation itself: scheduling, bookkeeping, a restart; and what two workers gain.

    python bench/archive/bench_archive.py [--quick] [NAME ...]

Prints one line for each figure, with the load of the machine, and beside the time that passed the time that was spent
computing, which depends less on that load. Needs umlauf[archive]; files go to a temporary folder.
"""

from __future__ import annotations

import argparse
import os
import resource
import statistics
import tempfile
import time
from pathlib import Path
from typing import Any
from unittest import mock

import numpy as np

import umlauf.archive
from umlauf.archive import Recipe, evaluate, evaluation, pool, work
from umlauf.archive.measure import Result
from umlauf.archive.source import Found, find

LEVELS = Recipe.of({"levels": {"all": {"channel": 1}}})
SPEED = Recipe.of(
    {
        "speed": {"drive": {"channel": 1, "pulses_per_rev": 60}},
        "orders": {"body": {"speed": "drive", "channel": 2, "tracks": [1, 2], "max_order": 20}},
        "levels": {"body_level": {"channel": 2}},
    }
)


def told(name: str, text: str) -> None:
    print(f"{name:12} {text}  (load {os.getloadavg()[0]:.1f})", flush=True)


def wav(path: Path, seconds: float, rate: int = 50_000) -> None:
    """Tacho of 60 teeth and a vibration, 32 bit float; run-ups and coast-downs between 600 and 3000 rpm."""
    count = int(rate * seconds)
    head = b"WAVEfmt " + np.array([16], "<u4").tobytes() + np.array([3, 2], "<u2").tobytes()
    head += np.array([rate, 8 * rate], "<u4").tobytes() + np.array([8, 32], "<u2").tobytes()
    head += b"data" + np.array([8 * count], "<u4").tobytes()
    with path.open("wb") as file:
        file.write(b"RIFF" + np.array([len(head) + 8 * count], "<u4").tobytes() + head)
        for at in range(0, count, 1 << 20):
            t = np.arange(at, min(at + (1 << 20), count)) / rate
            turns = 30 * t - 20 / 0.16 * np.sin(0.16 * t)
            frames = np.stack([np.sin(2 * np.pi * 60 * turns), np.sin(2 * np.pi * 2 * turns)], 1)
            file.write(frames.astype("<f4").tobytes())


def many(folder: Path, count: int) -> Path:
    """Small recordings: 64 samples each, a thousand to a folder."""
    for i in range(count):
        path = folder / f"{i // 1000:04d}" / f"run_{i}.npy"
        if i % 1000 == 0:
            path.parent.mkdir(parents=True)
        path.write_bytes(b"\x93NUMPY" + b"%256d" % i)
    return folder


def nothing(path: str, name: str, recipe: Recipe, parts: object = ()) -> Result:
    return Result()


class Clock:
    """Time that passed, and that this process (client and scheduler) and the workers of a client computed."""

    def __init__(self, client: Any = None) -> None:
        self._client = client
        self._before = self._now()

    def _now(self) -> tuple[float, float, float]:
        workers = sum(self._client.run(time.process_time).values()) if self._client else 0.0
        return time.perf_counter(), time.process_time(), workers

    def read(self) -> tuple[float, float, float]:
        passed, here, workers = (after - before for after, before in zip(self._now(), self._before, strict=True))
        return passed, here, workers


def no_operation(number: int) -> int:
    return number


def scheduling(folder: Path, quick: bool) -> None:
    """Calls alone, then what a recording pays for its way over a worker."""
    count = 500 if quick else 3000
    with pool.local_workers(2) as client:
        client.gather(client.map(no_operation, range(100), pure=False))
        clock = Clock(client)
        client.gather(client.map(no_operation, range(count), pure=False))
        passed, here, workers = (each / count * 1e3 for each in clock.read())
        told(
            "scheduling",
            f"{passed:.2f} ms a call, {here:.2f} ms computing in client and scheduler ({1e3 / here:.0f} calls/s), "
            f"{workers:.2f} ms in workers",
        )
    recordings = folder / "small"
    recordings.mkdir()
    for i in range(count):
        wav(recordings / f"{i}.wav", 0.01)
    with pool.local_workers(1) as client:
        evaluate(recordings, SPEED, folder / "warm", client)
        clock = Clock()
        evaluate(recordings, LEVELS, folder / "alone", workers=0)
        alone = clock.read()
        clock = Clock(client)
        evaluate(recordings, LEVELS, folder / "distributed", client)
        distributed = clock.read()
    told(
        "scheduling",
        f"a recording of 4 kB: {distributed[0] / count * 1e3:.2f} ms over one worker, {alone[0] / count * 1e3:.2f} ms "
        f"without; computing {sum(distributed[1:]) / count * 1e3:.2f} ms and {alone[1] / count * 1e3:.2f} ms",
    )


def driver(folder: Path, quick: bool) -> None:
    """The run itself before ten thousand simulated workers, whose calls take no time."""
    count = 50_000 if quick else 500_000
    found = [Found(f"/archive/{i}.wav", f"{i}.wav", 8 << 20, float(i), "/archive") for i in range(count)]

    class Simulated(pool.LocalPool):
        def threads(self) -> int:
            return 10_000

    calls = 0

    def rows(job: work.Job, recordings: tuple[Found, ...], hashes: object) -> list[dict[str, object]]:
        nonlocal calls
        calls += 1
        return [{**work.failed_row(job, each, ""), "error": None, "seconds": 0.5} for each in recordings]

    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    with (
        mock.patch.object(evaluation, "find", lambda *_: found),
        mock.patch.object(evaluation, "evaluate_batch", rows),
        mock.patch.object(evaluation, "DaskPool", lambda client: Simulated()),
    ):
        began, used = time.perf_counter(), time.process_time()
        evaluate("", LEVELS, folder / "out", object())
        seconds, used = time.perf_counter() - began, time.process_time() - used
    memory = (resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before) / 1024
    told(
        "driver",
        f"{count} recordings in {calls} calls: {seconds:.0f} s ({used:.0f} s of it computing, {count / used:.0f} "
        f"recordings/s), {memory:.0f} MiB more",
    )


def throughput(folder: Path, quick: bool) -> None:
    """By turns, since the machine may be busy."""
    recordings = folder / "large"
    recordings.mkdir()
    count = 8 if quick else 60
    for i in range(count):
        wav(recordings / f"{i}.wav", 20)
    size = sum(each.size for each in find(recordings, SPEED))
    ratios, rates, computing = [], [], []
    with pool.local_workers(1) as one, pool.local_workers(2) as two:
        for turn in range(2 if quick else 4):
            seconds = []
            for client in (one, two):
                clock = Clock(client)
                evaluate(recordings, SPEED, folder / f"turn{turn}", client, again="all")
                seconds.append(clock.read())
            if turn:  # the first one warms up
                (alone, _, alone_computing), (both, _, both_computing) = seconds
                ratios.append(alone / both)
                rates.append((size / alone, size / both))
                computing.append(both_computing / alone_computing)
    alone, both = (statistics.median(each) / 1e6 for each in zip(*rates, strict=True))
    told(
        "throughput",
        f"{alone:.0f} MB/s by one worker, {both:.0f} MB/s by two: {statistics.median(ratios):.2f} x "
        f"({min(ratios):.2f} to {max(ratios):.2f}); two compute {statistics.median(computing):.2f} x as long in all",
    )


def bookkeeping(folder: Path, quick: bool) -> None:
    """Recordings that take no time: listing, hashing, rows, files of rows; then nothing to do."""
    count = 10_000 if quick else 100_000
    recordings = many(folder / "many", count)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    began, used = time.perf_counter(), time.process_time()
    with mock.patch.object(work, "measure", nothing):
        evaluate(recordings, LEVELS, folder / "book", workers=0)
    seconds, used = time.perf_counter() - began, time.process_time() - used
    memory = (resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before) / 1024
    size = sum(each.stat().st_size for each in (folder / "book").rglob("part-*"))
    told(
        "bookkeeping",
        f"{count} recordings: {seconds:.1f} s ({used:.1f} s of it computing), {memory:.0f} MiB more, "
        f"{size / count:.0f} bytes a row",
    )
    spent, computing = [], []
    for _ in range(3):
        began, used = time.perf_counter(), time.process_time()
        summary = evaluate(recordings, LEVELS, folder / "book", workers=0)
        spent.append(time.perf_counter() - began)
        computing.append(time.process_time() - used)
        assert summary.evaluated == 0
    each = f"{min(spent) / count * 1e4:.2f} s per 10,000, {min(computing) / count * 1e4:.2f} s of it computing"
    told("restart", f"nothing to do: {min(spent):.2f} s, {each}")
    began = time.perf_counter()
    umlauf.archive.read(folder / "book")
    told("reading", f"{time.perf_counter() - began:.2f} s for {count} rows")


def pressure(folder: Path, quick: bool) -> None:
    """Two workers of 1 GiB: what they and this process keep, at most."""
    import psutil

    count = 2000 if quick else 10_000
    recordings = many(folder / "pressed", count)
    for i in range(0, count, 100):
        wav(recordings / f"{i}.wav", 20)
    most = {"workers": 0, "this process": 0}

    def watch(_: umlauf.archive.State) -> None:
        nonlocal watched
        if time.monotonic() - watched < 0.5:
            return
        watched = time.monotonic()
        sizes = [psutil.Process(pid).memory_info().rss for pid in pids]
        most["workers"] = max(most["workers"], *sizes)
        most["this process"] = max(most["this process"], psutil.Process().memory_info().rss)

    watched = 0.0
    with pool.local_workers(2, "1GiB") as client:
        pids = list(client.run(os.getpid).values())
        began = time.perf_counter()
        summary = evaluate(recordings, SPEED, folder / "pressure", client, progress=watch)
        seconds = time.perf_counter() - began
    figures = ", ".join(f"{name} {size / 2**20:.0f} MiB" for name, size in most.items())
    told(
        "pressure", f"{summary.evaluated} recordings, {summary.bytes / 1e6:.0f} MB: {seconds:.0f} s, at most {figures}"
    )


def split(folder: Path, quick: bool) -> None:
    """One long recording in pieces on two workers, and in one go."""
    recordings = folder / "long"
    recordings.mkdir()
    wav(recordings / "long.wav", 300 if quick else 3000)
    tables = {"speed": {"drive": {"pulses_per_rev": 60}}, "levels": {"body": {"channel": 2}}}
    whole, parted = (Recipe.of({**tables, "run": {"piece": piece}}) for piece in (1 << 20, 64 if quick else 512))
    spent: dict[str, list[float]] = {"one go": [], "pieces": []}
    computing: dict[str, list[float]] = {"one go": [], "pieces": []}
    with pool.local_workers(2) as client:
        for turn in range(2 if quick else 6):
            for name, recipe in (("one go", whole), ("pieces", parted)):
                clock = Clock(client)
                evaluate(recordings, recipe, folder / f"long-{name}", client, again="all")
                passed, _, workers = clock.read()
                if turn:
                    spent[name].append(passed)
                    computing[name].append(workers)
    ratios = [one / two for one, two in zip(*spent.values(), strict=True)]
    one, two = (statistics.median(each) for each in spent.values())
    size = (recordings / "long.wav").stat().st_size / 1e6
    more = statistics.median(computing["pieces"]) / statistics.median(computing["one go"])
    told(
        "split",
        f"{size:.0f} MB: {one:.1f} s in one go, {two:.1f} s in pieces on two workers: "
        f"{statistics.median(ratios):.2f} x ({min(ratios):.2f} to {max(ratios):.2f}); "
        f"pieces compute {more:.2f} x as long in all",
    )


BENCHES = {each.__name__: each for each in (scheduling, driver, throughput, bookkeeping, pressure, split)}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("names", nargs="*", metavar="NAME", help=", ".join(BENCHES))
    parser.add_argument("--quick", action="store_true", help="smaller, for a first look")
    arguments = parser.parse_args()
    for name in arguments.names or BENCHES:
        with tempfile.TemporaryDirectory(prefix="umlauf-bench-") as folder:
            BENCHES[name](Path(folder), arguments.quick)


if __name__ == "__main__":
    main()
