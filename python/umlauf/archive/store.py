"""The results of an archive: a Parquet dataset, one row for each recording and recipe.

    OUT/_archive.json               what the folder is
    OUT/RECIPE/_recipe.json         what the recipe with this hash says
    OUT/RECIPE/part-*.parquet       rows, all with the same columns
    OUT/_curves/RECIPE/*.parquet    curves and maps, named by the rows

A file appears whole or not at all: on a disk it is written beside its place and renamed, an object store puts it at
once, and what names curves is written behind them. Files have names of their own, so that several runs may write into
one dataset; of rows for the same recording and recipe the one that was evaluated last holds.
"""

from __future__ import annotations

import contextlib
import dataclasses
import io
import json
import os
import time
import uuid
from typing import TYPE_CHECKING, Any

from .._extras import need
from .columns import schema_of
from .source import is_local

if TYPE_CHECKING:
    from collections.abc import Iterable, Mapping, Sequence

    from .columns import Column
    from .recipe import Recipe

    Row = Mapping[str, Any]

__all__ = ["Store"]


class Store:
    """A dataset of results. Used by one thread at a time; any number of them may share a folder."""

    def __init__(self, url: str | os.PathLike[str]) -> None:
        self.url = os.fspath(url)
        if is_local(self.url):
            self.url = os.path.abspath(self.url)
        self._files, self._root = need("fsspec", "archive", "opens URLs").core.url_to_fs(self.url)
        self._root = self._root.rstrip("/")
        self._local = is_local(self.url)

    def begin(self, recipe: Recipe) -> None:
        """Makes the dataset and notes the recipe, where they are not there yet."""
        self._write_new("_archive.json", b'{"umlauf archive": 1}\n')
        said = dataclasses.asdict(recipe)
        del said["run"]
        text = json.dumps(said, indent=1, default=lambda data: f"{len(data)} bytes", ensure_ascii=False)
        self._write_new(f"{recipe.hash}/_recipe.json", text.encode() + b"\n")

    def _write_new(self, name: str, data: bytes) -> None:
        if not self._files.exists(self._path(name)):
            self.write(name, data)

    def write(self, name: str, data: bytes) -> None:
        """Writes a file whole, or not at all."""
        path = self._path(name)
        if not self._local:
            self._files.pipe_file(path, data)
            return
        folder, last = os.path.split(path)
        os.makedirs(folder, exist_ok=True)
        beside = os.path.join(folder, f"_{uuid.uuid4().hex}-{last}")
        try:
            with open(beside, "xb") as file:
                file.write(data)
                file.flush()
                os.fsync(file.fileno())
            os.replace(beside, path)
        except BaseException:
            if os.path.exists(beside):
                os.remove(beside)
            raise

    def write_table(self, name: str, table: Any) -> None:
        buffer = io.BytesIO()
        need("pyarrow.parquet", "archive", "keeps the results").write_table(table, buffer, compression="zstd")
        self.write(name, buffer.getvalue())

    def append(self, recipe: str, columns: Sequence[Column], rows: Iterable[Row]) -> None:
        """Writes rows as a file of their own."""
        pa = need("pyarrow", "archive", "keeps the results")
        table = pa.Table.from_pylist(list(rows), schema_of(columns))
        if len(table):
            # Names rise with time, for people and for the order of equal rows.
            self.write_table(f"{recipe}/part-{time.time_ns():020d}-{uuid.uuid4().hex[:8]}.parquet", table)

    def recipes(self) -> list[str]:
        """Hashes of the recipes that there are results of; the one that was written last comes last."""
        found = self._files.glob(f"{self._root}/*/part-*.parquet")
        latest: dict[str, str] = {}
        for path in sorted(found, key=lambda path: str(path).rpartition("/")[2]):
            _, recipe, part = str(path).rsplit("/", 2)
            latest[recipe] = part
        return sorted(latest, key=lambda recipe: latest[recipe])

    def parts(self, recipe: str) -> list[str]:
        """Names of its files, in the order in which they were written."""
        return sorted(
            str(path).rpartition("/")[2] for path in self._files.glob(f"{self._root}/{recipe}/part-*.parquet")
        )

    def size(self, recipe: str) -> int:
        """[bytes] of its files"""
        found = self._files.glob(f"{self._root}/{recipe}/part-*.parquet", detail=True)
        return sum(int(each.get("size") or 0) for each in found.values())

    def read(self, recipe: str, columns: Sequence[str] | None = None) -> Any:
        """The rows of a recipe as a table of pyarrow, the latest of each recording, by path."""
        pa = need("pyarrow", "archive", "keeps the results")
        needed = None if columns is None else list(dict.fromkeys([*columns, "path", "evaluated"]))
        tables = self._tables(recipe, needed)
        if not tables:
            return None
        table = pa.concat_tables(tables)
        last: dict[str, tuple[int, int]] = {}
        times = table["evaluated"].cast(pa.int64()).to_pylist()
        for i, (path, at) in enumerate(zip(table["path"].to_pylist(), times, strict=True)):
            if path not in last or last[path][0] <= at:
                last[path] = (at, i)
        table = table.take([last[path][1] for path in sorted(last)])
        return table if columns is None else table.select(columns)

    def _tables(self, recipe: str, columns: Sequence[str] | None) -> list[Any]:
        parquet = need("pyarrow.parquet", "archive", "keeps the results")
        for last in (False, False, True):
            tables = []
            try:
                for part in self.parts(recipe):
                    with self._files.open(self._path(f"{recipe}/{part}"), "rb") as file:
                        tables.append(parquet.read_table(file, columns=columns))
                break
            except FileNotFoundError:  # another run has just put them together
                if last:
                    raise
        return tables

    def compact(self, recipe: str) -> int:
        """Puts the files of a recipe together to one, without rows that others have replaced. Returns how many."""
        parts = self.parts(recipe)
        if len(parts) < 2:
            return len(parts)
        table = self.read(recipe)
        if [each for each in self.parts(recipe) if each in parts] != parts:
            return 0  # another run does the same
        self.write_table(f"{recipe}/part-{time.time_ns():020d}-{uuid.uuid4().hex[:8]}.parquet", table)
        for each in parts:
            self._remove(f"{recipe}/{each}")
        return len(parts)

    def drop(self, recipe: str) -> None:
        """Removes the results of a recipe, curves included."""
        for folder in (recipe, f"_curves/{recipe}"):
            if self._files.exists(self._path(folder)):
                self._files.rm(self._path(folder), recursive=True)

    def _remove(self, name: str) -> None:
        with contextlib.suppress(FileNotFoundError):
            self._files.rm_file(self._path(name))

    def _path(self, name: str) -> str:
        return f"{self._root}/{name}"
