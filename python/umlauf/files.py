"""Recordings in files of all kinds.

The kind is found by content first, then by name. What this library reads itself (sound files, text tables, raw samples,
signal files) and NumPy files need nothing more; other kinds need a package each, which umlauf[formats] installs.
"""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, NamedTuple

from . import _core
from ._extras import need
from ._recording import Recording

if TYPE_CHECKING:
    from collections.abc import Callable, Iterator, Sequence

    import numpy
    from numpy.typing import NDArray

    Path = str | os.PathLike[str]
    Channel = int | str | None
    Numbers = NDArray[Any]

__all__ = ["channels", "read"]


class _Column(NamedTuple):
    """A channel of a measurement file, not yet read."""

    name: str
    unit: str
    load: Callable[[], Numbers]
    """Samples [n]"""
    times: Callable[[], Numbers] | None
    """[n] s of the samples, where the file tells them"""
    rate: float | None = None
    start_time: float = 0.0


class _Kind(NamedTuple):
    name: str
    starts: tuple[bytes, ...]
    endings: tuple[str, ...]
    columns: Callable[[str], Sequence[_Column]]


def read(
    path: Path,
    channel: Channel = None,
    *,
    rate: float | None = None,
    resample: float | None = None,
    raw: str | None = None,
    raw_channels: int = 1,
    unit: str = "",
    scale: float = 1.0,
    offset: float = 0.0,
) -> Recording:
    """One channel of a recording in a file; its samples are read when they are asked for.

    channel: its name, or its number from 1; None: the first one.
    rate: [samples/s] where the file tells none, or in place of its times.
    resample: samples that are not evenly spaced are interpolated to this rate [samples/s]; without, they are refused.
    raw: samples without a header are "f32", "i16", "i32" or "u32", of `raw_channels` interleaved channels.
    scale, offset, unit: samples become sample * scale + offset, in this unit.
    """
    name = os.fspath(path)
    kind = None if raw is not None else _kind(name)
    if kind is None:
        return _read_plain(name, channel, rate, raw, raw_channels, unit, scale, offset)
    column = _choose(kind.columns(name), channel, name)
    recording = _recording(column, rate, resample, name)
    if scale == 1 and offset == 0:
        recording.unit = unit or recording.unit
        return recording
    import numpy as np

    scaled = recording.samples * np.float32(scale) + np.float32(offset)
    return Recording(scaled, recording.rate, name=recording.name, unit=unit, start_time=recording.start_time)


def channels(path: Path) -> list[str]:
    """Names of the channels of a recording that `read` takes, in the order of their numbers."""
    name = os.fspath(path)
    kind = _kind(name)
    return _core.file_channels(name) if kind is None else [each.name for each in kind.columns(name)]


def _read_plain(
    path: str,
    channel: Channel,
    rate: float | None,
    raw: str | None,
    raw_channels: int,
    unit: str,
    scale: float,
    offset: float,
) -> Recording:
    if isinstance(channel, int) and channel < 1:
        raise ValueError("channels count from 1")
    found = _core.FileChannel(
        path,
        channel=channel if isinstance(channel, int) else None,
        column=channel if isinstance(channel, str) else None,
        raw=raw,
        raw_channels=raw_channels,
        rate=rate,
        scale=scale,
        offset=offset,
        unit=unit,
    )
    name = f"{os.path.basename(path)}, {found.name}"
    if isinstance(channel, str) and channel != found.name:
        name = channel
    return Recording(found, found.rate, name=name, unit=found.unit, start_time=found.start_time)


def _kind(path: str) -> _Kind | None:
    """None for what the library reads itself."""
    with open(path, "rb") as file:
        start = file.read(1024)
    if start.startswith(b"PK\x03\x04") and b".npy" in start:
        start = b"\x93NUMPY"  # an archive of such
    for kind in _kinds():
        if any(start.startswith(each) for each in kind.starts):
            return kind
    if start[:4] in (b"RIFF", b"RIFX", b"RF64", b"riff", b"fLaC", b"OggS", b"FORM", b"caff", b".snd"):
        return None
    for kind in _kinds():
        if path.lower().endswith(kind.endings):
            return kind
    return None


def _choose(columns: Sequence[_Column], channel: Channel, path: str) -> _Column:
    if not columns:
        raise _core.Error(f"{path} holds no channel that could be a recording")
    names = [each.name for each in columns]
    if channel is None:
        return columns[0]
    if isinstance(channel, int):
        if 1 <= channel <= len(columns):
            return columns[channel - 1]
        raise ValueError(f"{path} has no channel {channel}; it has 1 to {len(columns)}: {_listed(names)}")
    if channel in names:
        return columns[names.index(channel)]
    raise ValueError(f'{path} has no channel "{channel}"; it has {_listed(names)}')


def _listed(names: Sequence[str]) -> str:
    most = 40
    rest = f" and {len(names) - most} more" if len(names) > most else ""
    return ", ".join(names[:most]) + rest


def _recording(column: _Column, rate: float | None, resample: float | None, path: str) -> Recording:
    if rate is None and column.rate is None and column.times is None:
        raise ValueError(f"{path} does not tell the sample rate of {column.name}; give rate=")
    told = rate if rate is not None else column.rate
    if told is not None:
        return Recording(
            lambda: _samples(column.load()),
            told,
            name=column.name,
            unit=column.unit,
            start_time=column.start_time,
        )
    assert column.times is not None
    samples, even, start = _evenly(column, resample, path)
    return Recording(samples, even, name=column.name, unit=column.unit, start_time=start)


def _samples(values: Numbers) -> NDArray[numpy.float32]:
    import numpy as np

    array = np.ma.filled(values, np.nan) if isinstance(values, np.ma.MaskedArray) else np.asarray(values)
    if array.ndim != 1 or array.dtype.kind not in "biuf":
        raise _core.Error("the channel holds no row of real numbers")
    return array.astype(np.float32, copy=False)


def _evenly(column: _Column, resample: float | None, path: str) -> tuple[NDArray[numpy.float32], float, float]:
    """Samples, rate and start of a channel with times: as they are where every step is the mean one to 1 %."""
    import numpy as np

    assert column.times is not None
    times, samples = np.asarray(column.times(), dtype=np.float64), _samples(column.load())
    if len(times) != len(samples) or len(times) < 2:
        raise _core.Error(f"{column.name} of {path} needs at least two samples, each with a time")
    steps = np.diff(times)
    if not np.all(steps > 0):
        raise ValueError(f"the times of {column.name} in {path} do not rise; give rate= to leave them out")
    span = float(times[-1] - times[0])
    if resample is not None:
        even = times[0] + np.arange(int(span * resample * (1 + 1e-12)) + 1) / resample
        return np.interp(even, times, samples).astype(np.float32), float(resample), float(times[0])
    step = span / len(steps)
    if np.max(np.abs(steps - step)) > 0.01 * step:
        raise ValueError(
            f"the samples of {column.name} in {path} are not evenly spaced (steps from {steps.min():.6g} to "
            f"{steps.max():.6g} s); give resample= [samples/s] to interpolate them"
        )
    found = 1 / step
    return samples, round(found) if abs(found - round(found)) < 1e-6 * found else found, float(times[0])


# Kinds of files


def _table(names: Sequence[str], load: Callable[[str], Numbers], units: dict[str, str] | None = None) -> list[_Column]:
    """Channels of a table by name; a column called time, or the like, has the times in s."""
    clocks = [n for n in names if n.strip().lower() in ("t", "time", "time_s", "time [s]", "timestamp", "timestamps")]
    times = (lambda: _seconds(load(clocks[0]))) if clocks else None
    return [
        _Column(n, (units or {}).get(n, ""), lambda n=n: load(n), times)  # type: ignore[misc]
        for n in names
        if n not in clocks
    ]


def _seconds(times: Numbers) -> Numbers:
    """Times as they are, dates as seconds from the first one on."""
    import numpy as np

    times = np.asarray(times)
    return (times - times[0]) / np.timedelta64(1, "s") if times.dtype.kind == "M" else times


def _numpy_file(path: str) -> Sequence[_Column]:
    import numpy as np

    file = np.load(path, mmap_mode="r", allow_pickle=False)
    if isinstance(file, np.ndarray):
        if file.dtype.names:
            return _table(file.dtype.names, lambda name: file[name])
        if file.ndim == 1:
            return [_Column("samples", "", lambda: file, None)]
        return [_Column(f"column {i + 1}", "", lambda i=i: file[:, i], None) for i in range(file.shape[1])]  # type: ignore[misc]
    rows = [name for name in file.files if file[name].ndim == 1 and file[name].size > 1]
    rates = [float(file[n]) for n in ("rate", "fs", "sample_rate") if n in file.files and file[n].ndim == 0]
    columns = _table(rows, lambda name: file[name])
    return [each._replace(rate=rates[0], times=None) for each in columns] if rates else columns


def _parquet(path: str) -> Sequence[_Column]:
    parquet = need("pyarrow.parquet", "parquet", "reads Parquet files")
    file = parquet.ParquetFile(path)
    names = [name for name in file.schema_arrow.names if not name.startswith("__index")]
    return _table(names, lambda name: file.read([name]).column(0).to_numpy())


def _mdf(path: str) -> Sequence[_Column]:
    file = need("asammdf", "mdf", "reads MDF files").MDF(path)

    def column(channel: Any, group: int, index: int) -> _Column:
        def signal() -> Any:
            return file.get(group=group, index=index)

        return _Column(channel.name, str(channel.unit or ""), lambda: signal().samples, lambda: signal().timestamps)

    return [
        column(channel, group, index)
        for group, members in enumerate(file.groups)
        for index, channel in enumerate(members.channels)
        if index != file.masters_db.get(group)
    ]


def _tdms(path: str) -> Sequence[_Column]:
    file = need("nptdms", "tdms", "reads TDMS files").TdmsFile(path)
    columns = []
    for group in file.groups():
        for channel in group.channels():
            properties = channel.properties
            step = properties.get("wf_increment")
            columns.append(
                _Column(
                    channel.name,
                    str(properties.get("unit_string", "")),
                    lambda c=channel: c[:],  # type: ignore[misc]
                    None,
                    1 / step if step else None,
                    float(properties.get("wf_start_offset", 0.0)),
                )
            )
    return columns


def _hdf5(path: str) -> Sequence[_Column]:
    file = need("h5py", "hdf5", "reads HDF5 files").File(path, "r")
    rows: list[str] = []
    file.visititems(lambda name, item: rows.append(name) if getattr(item, "ndim", 0) == 1 and len(item) > 1 else None)

    def text(name: str) -> str:
        unit = file[name].attrs.get("unit", file[name].attrs.get("units", ""))
        return unit.decode() if isinstance(unit, bytes) else str(unit)

    def told(name: str) -> float | None:
        places = (file[name].attrs, file[name].parent.attrs, file.attrs)
        rates = [at[key] for at in places for key in ("rate", "sample_rate", "fs") if key in at]
        return float(rates[0]) if rates else None

    columns = _table(rows, lambda name: file[name][:], {name: text(name) for name in rows})
    return [each._replace(rate=told(each.name)) for each in columns]


def _mat(path: str) -> Sequence[_Column]:
    with open(path, "rb") as file:
        if file.read(10) == b"MATLAB 7.3":
            return _hdf5(path)
    import numpy as np

    variables = need("scipy.io", "mat", "reads MAT files").loadmat(path, squeeze_me=True)
    arrays = {name: np.asarray(value) for name, value in variables.items() if not name.startswith("__")}
    rows = [name for name, value in arrays.items() if value.ndim == 1 and value.size > 1]
    rates = [
        float(v) for n, v in arrays.items() if n.lower() in ("fs", "rate", "samplerate", "sample_rate") and v.ndim == 0
    ]
    columns = _table(rows, lambda name: arrays[name])
    return [each._replace(rate=rates[0], times=None) for each in columns] if rates else columns


def _uff58(path: str) -> Sequence[_Column]:
    file = need("pyuff", "uff", "reads universal files").UFF(path)

    def columns() -> Iterator[_Column]:
        for index, kind in enumerate(file.get_set_types()):
            if int(kind) != 58:
                continue
            data = file.read_sets(index)
            even = int(data.get("abscissa_spacing", 1)) == 1
            step = float(data.get("abscissa_inc", 0))
            name = str(data.get("id1", "")).strip()
            yield _Column(
                name if name not in ("", "NONE") else f"set {index + 1}",
                str(data.get("ordinate_axis_units_lab", "")).strip().replace("NONE", ""),
                lambda data=data: data["data"].real,  # type: ignore[misc]
                None if even else lambda data=data: data["x"],  # type: ignore[misc]
                1 / step if even and step > 0 else None,
                float(data.get("abscissa_min", 0)),
            )

    return list(columns())


def _signal_file(path: str) -> Sequence[_Column]:
    signal = _core.read_signal(path)
    if isinstance(signal, _core.CurveArray):
        raise _core.Error(f"{path} holds curves over an axis of their own; take read_signal")
    unit = str(signal.y_unit).replace("-", "")
    if isinstance(signal, _core.Pairs):
        return [_Column(signal.name or "signal", unit, lambda: signal.y, lambda: signal.x)]
    return [_Column(signal.name or "signal", unit, lambda: signal.values, None, 1 / signal.dx, signal.x0)]


def _kinds() -> tuple[_Kind, ...]:
    return (
        _Kind("signal file", (b"UMLAUF\r\n",), (".usig",), _signal_file),
        _Kind("NumPy", (b"\x93NUMPY",), (".npy", ".npz"), _numpy_file),
        _Kind("Parquet", (b"PAR1",), (".parquet",), _parquet),
        _Kind("MDF", (b"MDF     ", b"UnFinMF "), (".mdf", ".mf4", ".dat"), _mdf),
        _Kind("TDMS", (b"TDSm",), (".tdms",), _tdms),
        _Kind("HDF5", (b"\x89HDF\r\n\x1a\n",), (".h5", ".hdf5"), _hdf5),
        _Kind("MAT", (b"MATLAB",), (".mat",), _mat),
        _Kind("universal file", (b"    -1\n    58", b"    -1\r\n    58"), (".uff", ".unv"), _uff58),
    )
