"""Recordings of every kind of file come back as they were written."""

import sys

import numpy as np
import pytest

import umlauf

RATE = 2000.0
TIME = np.arange(500) / RATE
VALUES = np.sin(TIME * 40).astype(np.float32)
OTHER = np.cos(TIME * 40).astype(np.float32)


def write_csv(path, time):
    path.write_text(
        "time;volt;other\n" + "".join(f"{t:.6f};{v};{o}\n" for t, v, o in zip(time, VALUES, OTHER, strict=True))
    )


def write_npz(path, time):
    np.savez(path, time=time, volt=VALUES, other=OTHER)


def write_parquet(path, time):
    import pandas as pd

    pd.DataFrame({"time": time, "volt": VALUES, "other": OTHER}).to_parquet(path)


def write_mdf(path, time):
    from asammdf import MDF, Signal

    with MDF(version="4.10") as file:
        file.append([Signal(v, time, name=n, unit="V") for n, v in [("volt", VALUES), ("other", OTHER)]])
        file.save(path, overwrite=True)


def write_tdms(path, time):
    from nptdms import ChannelObject, TdmsWriter

    properties = {"wf_increment": 1 / RATE, "unit_string": "V"}
    with TdmsWriter(path) as file:
        file.write_segment(
            [ChannelObject("g", n, v, properties=properties) for n, v in [("volt", VALUES), ("other", OTHER)]]
        )


def write_hdf5(path, time):
    import h5py

    with h5py.File(path, "w") as file:
        for name, column in [("time", time), ("volt", VALUES), ("other", OTHER)]:
            file[name] = column
        file["volt"].attrs["unit"] = "V"


def write_mat(path, time):
    from scipy.io import savemat

    savemat(path, {"time": time, "volt": VALUES, "other": OTHER})


def write_uff(path, time):
    text = ""
    for name, values in [("volt", VALUES), ("other", OTHER)]:
        text += "    -1\n    58\n" + "".join(f"{line:<80}\n" for line in [name, "NONE", "NONE", "NONE", "NONE"])
        text += "    1         0    0         0       NONE         1   1       NONE         1   1\n"
        text += f"         4{len(values):10d}         1{0:13.5e}{1 / RATE:13.5e}{0:13.5e}\n"
        for quantity, label, unit in [(17, "Time", "s"), (0, "Volt", "V"), (0, "NONE", "NONE"), (0, "NONE", "NONE")]:
            text += f"{quantity:10d}    0    0    0 {label:>20} {unit:>20}\n"
        rows = [values[i : i + 4] for i in range(0, len(values), 4)]
        text += "".join("".join(f"{v:20.12e}" for v in row) + "\n" for row in rows) + "    -1\n"
    path.write_text(text)


def write_signal(path, time):
    umlauf.write_signal(umlauf.Curve(VALUES, dx=1 / RATE, name="volt", y_unit="V"), path)


WITH_TIMES = {
    "csv": write_csv,
    "npz": write_npz,
    "parquet": write_parquet,
    "mf4": write_mdf,
    "h5": write_hdf5,
    "mat": write_mat,
}
ALL = {**WITH_TIMES, "tdms": write_tdms, "uff": write_uff, "usig": write_signal}


@pytest.mark.parametrize("ending", ALL)
def test_every_kind_gives_its_samples_back(tmp_path, ending):
    path = tmp_path / f"recording.{ending}"
    ALL[ending](path, TIME)
    recording = umlauf.read(path, "volt")
    assert recording.rate == pytest.approx(RATE, rel=1e-6)
    np.testing.assert_allclose(recording.samples, VALUES, rtol=1e-6, atol=1e-7)
    assert recording.samples.dtype == np.float32 and len(recording) == len(VALUES)
    if ending not in ("csv", "npz", "parquet", "mat"):
        assert recording.unit == "V"
    if ending != "usig":
        assert umlauf.channels(path)[:2] in (["volt", "other"], ["other", "volt"])
        np.testing.assert_allclose(umlauf.read(path, "other").samples, OTHER, rtol=1e-6, atol=1e-7)
    with pytest.raises(ValueError, match="volt"):
        umlauf.read(path, "no such channel")
    with pytest.raises(ValueError):
        umlauf.read(path, 99)
    # The content counts, not the name.
    np.testing.assert_allclose(umlauf.read(path.rename(tmp_path / "blob"), "volt").samples, VALUES, atol=1e-6)


@pytest.mark.parametrize("ending", WITH_TIMES)
def test_uneven_times_are_refused_or_resampled(tmp_path, ending):
    path = tmp_path / f"recording.{ending}"
    uneven = TIME.copy()
    uneven[300:] += 0.02
    WITH_TIMES[ending](path, uneven)
    with pytest.raises(ValueError, match="equidistant|evenly"):
        umlauf.read(path, "volt")
    if ending == "csv":
        assert umlauf.read(path, "volt", rate=RATE).rate == RATE
        return
    resampled = umlauf.read(path, "volt", resample=RATE)
    np.testing.assert_allclose(resampled.samples[:300], VALUES[:300], atol=1e-6)
    np.testing.assert_allclose(resampled.samples[341:], VALUES[301:], atol=1e-5)


def test_channels_of_sound_files_have_numbers(tmp_path):
    from scipy.io import wavfile

    path = tmp_path / "stereo.wav"
    wavfile.write(path, int(RATE), np.stack([VALUES, OTHER], axis=1))
    assert umlauf.channels(path) == ["channel 1 of 2", "channel 2 of 2"]
    for channel, expected in [(None, VALUES), (1, VALUES), (2, OTHER), ("channel 2 of 2", OTHER)]:
        recording = umlauf.read(path, channel)
        np.testing.assert_array_equal(recording.samples, expected)
        assert recording.name == f"stereo.wav, channel {2 if expected is OTHER else 1} of 2"
    for match, arguments in [
        ("no names", {"channel": "volt"}),
        ("rate", {"channel": 1, "rate": 5}),
        ("3", {"channel": 3}),
    ]:
        with pytest.raises(ValueError, match=match):
            umlauf.read(path, **arguments)


def test_plain_files_and_what_is_none(tmp_path):
    VALUES.tofile(tmp_path / "raw.f32")
    recording = umlauf.read(tmp_path / "raw.f32", raw="f32", rate=RATE, scale=2, unit="V")
    np.testing.assert_array_equal(recording.samples, VALUES * 2)
    assert recording.unit == "V" and recording.duration == len(VALUES) / RATE
    np.save(tmp_path / "plain.npy", VALUES)
    with pytest.raises(ValueError, match="rate="):
        umlauf.read(tmp_path / "plain.npy")
    np.testing.assert_array_equal(umlauf.read(tmp_path / "plain.npy", rate=RATE).samples, VALUES)
    for error, name, content in [
        (FileNotFoundError, "none", None),
        (umlauf.Error, "empty", b""),
        (umlauf.Error, "junk", b"\x00\xff" * 99),
    ]:
        if content is not None:
            (tmp_path / name).write_bytes(content)
        with pytest.raises(error):
            umlauf.read(tmp_path / name)


def test_a_missing_package_says_what_helps(tmp_path, monkeypatch):
    (tmp_path / "a.tdms").write_bytes(b"TDSm" + bytes(100))
    monkeypatch.setitem(sys.modules, "nptdms", None)
    with pytest.raises(ImportError, match=r"pip install umlauf\[tdms\]"):
        umlauf.read(tmp_path / "a.tdms")


def test_recordings_are_curves_too():
    recording = umlauf.Recording(VALUES, RATE, name="volt", unit="V", start_time=1.5)
    curve = recording.to_curve()
    assert curve.y_unit == umlauf.Unit("V") and curve.x0 == 1.5 and curve.name == "volt"
    np.testing.assert_array_equal(curve.values, VALUES)
    assert umlauf.Recording(VALUES, RATE, unit="furlongs").to_curve().y_unit == umlauf.Unit("-")
    np.testing.assert_allclose(recording.time, TIME + 1.5)
    with pytest.raises(ValueError):
        umlauf.Recording(np.zeros((2, 2)), RATE)
