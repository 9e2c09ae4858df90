"""Recordings where they lie: folders, patterns and URLs of any file system that fsspec knows.

What is opened lies below the roots of the sources: a link or a path that leads out of them is told and not followed.
Credentials belong to fsspec's own configuration; those that stand in a URL are used, and stand nowhere else.
"""

from __future__ import annotations

import contextlib
import fnmatch
import functools
import os
import re
import shutil
import stat
import tempfile
from datetime import datetime
from typing import TYPE_CHECKING, Any, NamedTuple

from .._extras import need

if TYPE_CHECKING:
    from collections.abc import Iterable, Iterator, Sequence

    from .recipe import Recipe

__all__ = ["Found", "fetched", "find", "inside", "public"]

ENDINGS = tuple(
    [
        ".wav",
        ".w64",
        ".rf64",
        ".flac",
        ".ogg",
        ".aif",
        ".aiff",
        ".au",
        ".caf",
        ".csv",
        ".txt",
        ".usig",
        ".npy",
        ".npz",
        ".parquet",
        ".mdf",
        ".mf4",
        ".mf3",
        ".tdms",
        ".h5",
        ".hdf5",
        ".mat",
        ".uff",
        ".unv",
        ".u32",
    ]
)
"""Of recordings, where a folder is searched and the recipe names no patterns."""


class Found(NamedTuple):
    """A recording before it is opened."""

    path: str
    """Absolute path or URL, without credentials."""
    name: str
    """Below the root, parted by /."""
    size: int
    mtime: float
    """[s] since 1970; NaN where it is not known"""
    root: str
    """Of the source, as it is opened."""
    error: str = ""
    """Why it is not opened."""

    def __repr__(self) -> str:
        return f"<Found {self.path}>"


def find(sources: str | os.PathLike[str] | Iterable[str | os.PathLike[str]], recipe: Recipe) -> list[Found]:
    """All recordings of the sources, each once, by path. What is not there is one with its error."""
    each: Iterable[Any] = [sources] if isinstance(sources, str | os.PathLike) else sources
    found: dict[str, Found] = {}
    _folder_inside.cache_clear()
    for source in each:
        for one in _find(os.fspath(source), recipe):
            found.setdefault(one.path, one)
    return sorted(found.values())


def public(text: str) -> str:
    """A path, URL or message without user names, passwords and signatures."""
    text = re.sub(r"(\w+://)[^/\s@]+@", r"\1", text)
    return re.sub(r"(\w+://[^\s?]+)\?[^\s'\"]*", r"\1", text)


def inside(path: str, root: str) -> bool:
    """Whether a local path, links followed, lies below a root."""
    real, top = os.path.realpath(path), os.path.realpath(root)
    return os.path.commonpath([real, top]) == top


def fits(name: str, patterns: Sequence[str]) -> bool:
    """Whether a name fits one of the patterns, as a whole or behind its last /."""
    last = name.rpartition("/")[2]
    return any(fnmatch.fnmatchcase(name, each) or fnmatch.fnmatchcase(last, each) for each in patterns)


@contextlib.contextmanager
def fetched(recording: Found) -> Iterator[str]:
    """The local path of a recording; one of a distant file system is there as long as the context."""
    if is_local(recording.root):
        path = os.path.join(recording.root, *recording.name.split("/"))
        if not inside(path, recording.root):
            raise PermissionError("the path leads out of its source")
        yield path
        return
    files, root = _opened(recording.root)
    folder = tempfile.mkdtemp(prefix="umlauf-")
    try:
        path = os.path.join(folder, os.path.basename(recording.name))
        files.get_file(f"{root.rstrip('/')}/{recording.name}", path)
        yield path
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def is_local(url: str) -> bool:
    return "://" not in url and "::" not in url


def _opened(url: str) -> tuple[Any, str]:
    files, root = need("fsspec", "archive", "opens URLs").core.url_to_fs(url)
    return files, root


def _find(source: str, recipe: Recipe) -> Iterator[Found]:
    source = source.removeprefix("file://")
    wanted = _Wanted(recipe)
    try:
        yield from _local(os.path.abspath(source), wanted) if is_local(source) else _distant(source, wanted)
    except Exception as error:  # of whatever file system
        path = public(source)
        yield Found(path, path.rpartition("/")[2], 0, float("nan"), "", f"{type(error).__name__}: {public(str(error))}")


class _Wanted:
    """Which files of a folder are recordings."""

    def __init__(self, recipe: Recipe) -> None:
        self._files = recipe.files
        named = [*(each.files for each in recipe.read), *(each.files for each in recipe.can)]
        self._patterns = [pattern for patterns in named for pattern in patterns if pattern != "*"]

    def __call__(self, name: str) -> bool:
        if any(part.startswith((".", "_")) for part in name.split("/")) or fits(name, self._files.exclude):
            return False
        if self._files.include:
            return fits(name, self._files.include)
        return name.lower().endswith(ENDINGS) or fits(name, self._patterns)


_MAGIC = re.compile(r"[*?\[]")


def _parted(pattern: str) -> tuple[str, str]:
    """The root of a pattern, and the pattern below it."""
    parts = pattern.split("/")
    first = next(i for i, part in enumerate(parts) if _MAGIC.search(part))
    return "/".join(parts[:first]) or "/", "/".join(parts[first:])


def _local(source: str, wanted: _Wanted) -> Iterator[Found]:
    if _MAGIC.search(source) and not os.path.exists(source):
        import glob

        root, pattern = _parted(source)
        for name in glob.iglob(pattern, root_dir=root, recursive=True):
            if not os.path.isdir(os.path.join(root, name)):
                yield _local_file(root, name.replace(os.sep, "/"))
    elif os.path.isdir(source):
        for folder, folders, names in os.walk(source):
            below = os.path.relpath(folder, source).replace(os.sep, "/")
            folders[:] = [each for each in folders if not is_dataset(os.path.join(folder, each))]
            for name in names:
                whole = name if below == "." else f"{below}/{name}"
                if wanted(whole):
                    yield _local_file(source, whole)
    else:
        yield _local_file(os.path.dirname(source), os.path.basename(source))


def is_dataset(folder: str) -> bool:
    """Whether the results of an archive lie in a folder."""
    return os.path.exists(os.path.join(folder, "_archive.json"))


_folder_inside = functools.lru_cache(1024)(inside)


def _local_file(root: str, name: str) -> Found:
    path = os.path.join(root, *name.split("/"))
    shown = path.replace(os.sep, "/")
    try:
        status = os.lstat(path)
        link = stat.S_ISLNK(status.st_mode)
        status = os.stat(path) if link else status
        below = _folder_inside(os.path.dirname(path), root) and (not link or inside(path, root))
    except OSError as error:
        return Found(shown, name, 0, float("nan"), root, f"{type(error).__name__}: {error.strerror}")
    if not below:
        return Found(shown, name, 0, float("nan"), root, "PermissionError: the path leads out of its source")
    return Found(shown, name, status.st_size, status.st_mtime, root)


def _distant(source: str, wanted: _Wanted) -> Iterator[Found]:
    root_url, pattern = _parted(source) if _MAGIC.search(source.partition("?")[0]) else (source, "")
    files, root = _opened(root_url)
    if pattern:
        listed = files.glob(f"{root.rstrip('/')}/{pattern}", detail=True)
    elif files.isdir(root):
        listed = files.find(root, detail=True)
    else:
        root_url, root, listed = root_url.rpartition("/")[0], root.rpartition("/")[0], {root: files.info(root)}
    for path, info in listed.items():
        name = str(path)[len(root.rstrip("/")) :].lstrip("/")
        if info.get("type") == "directory" or not (pattern or wanted(name)):
            continue
        shown = public(str(files.unstrip_protocol(path)))
        error = "PermissionError: the path leads out of its source" if ".." in name.split("/") else ""
        yield Found(shown, name, int(info.get("size") or 0), _mtime(info), root_url, error)


def _mtime(info: dict[str, Any]) -> float:
    for key in ("mtime", "LastModified", "last_modified", "updated", "created"):
        value = info.get(key)
        if isinstance(value, str):
            with contextlib.suppress(ValueError):
                value = datetime.fromisoformat(value.replace("Z", "+00:00"))
        if isinstance(value, datetime):
            return value.timestamp()
        if isinstance(value, int | float):
            return float(value)
    return float("nan")
