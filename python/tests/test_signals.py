"""Units, curves, points, curve arrays and signal files, beside NumPy."""

import gc
import math

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import umlauf
from umlauf import Curve, CurveArray, Pairs, Unit

floats = st.floats(-1e6, 1e6, width=32)
values = hnp.arrays(np.float32, st.integers(1, 60), elements=floats)


@pytest.mark.parametrize(
    ("unit", "to", "factor"),
    [
        ("km/h", "m/s", 1 / 3.6),
        ("kHz", "Hz", 1000),
        ("km²", "m²", 1e6),
        ("rpm", "Hz", 1 / 60),
        ("mV", "kV", 1e-6),
    ],
)
def test_units_convert_numbers_and_arrays(unit, to, factor):
    assert Unit(unit).factor(to) == pytest.approx(factor, rel=1e-6)
    assert Unit(unit).convert(2.0, to) == 2 * Unit(unit).factor(to)
    array = np.arange(6, dtype=np.float64).reshape(2, 3)
    np.testing.assert_allclose(Unit(unit).convert(array, Unit(to)), array * factor, rtol=1e-6)
    assert str(Unit(unit)) == unit and Unit(str(Unit(unit))) == Unit(unit)
    assert hash(Unit(unit)) == hash(Unit(unit))


def test_units_refuse_what_is_none():
    assert Unit("V") != Unit("Pa") and Unit("V") != "V"
    for text in ["furlong", "", "(V"]:
        with pytest.raises(ValueError, match="no known unit"):
            Unit(text)
    with pytest.raises(ValueError, match="cannot be converted"):
        Unit("V").factor("Pa")
    with pytest.raises(ValueError, match="no known unit"):
        Curve([1, 2], y_unit="furlong")
    ohm = Unit("kOhm", register=True)
    assert ohm.factor("Ohm") == 1000
    assert Unit("m") / Unit("s") == Unit("m/s") and Unit("V") ** 2 == Unit("V²")


def test_units_are_those_of_pint():
    import pint

    for text in ["mV", "km²", "m/s²", "Nm", "kNm", "km/h", "rpm", "rad/s²", "g", "bar", "°C", "%", "-", "µm", "mm/s"]:
        theirs = Unit(text).to_pint()
        assert Unit.from_pint(theirs) == Unit(text), text
        for other in ["V", "m²", "g", "Nm", "mph", "Pa", "m"]:
            if Unit(other).to_pint().dimensionality != theirs.dimensionality or "°" in text or text == "bar":
                continue
            assert (1 * theirs).to(Unit(other).to_pint()).magnitude == pytest.approx(Unit(text).factor(other), rel=1e-6)
    registry = pint.UnitRegistry()
    power = Unit("Nm") * Unit("rad/s")
    assert power.to_pint(registry) == registry.newton * registry.meter * registry.radian / registry.second
    assert Unit.from_pint(3 * registry.kilopascal) == Unit("kPa") and Unit.from_pint(1 / registry.second) == Unit("Hz")
    for unit in [registry.gram, registry.meter**0.5, registry.furlong]:
        with pytest.raises(ValueError):
            Unit.from_pint(unit)
    for text in ["dB(Pa)", "x"]:
        with pytest.raises(ValueError, match="pint"):
            Unit(text).to_pint()


@pytest.mark.parametrize("kind", ["float32", "float64", "int16", "list", "reversed", "step", "unaligned", "masked"])
def test_arrays_of_any_kind_come_in(kind):
    plain = np.arange(-3, 4, dtype=np.float32)
    given_array = {
        "float32": plain,
        "float64": plain.astype(np.float64),
        "int16": plain.astype(np.int16),
        "list": plain.tolist(),
        "reversed": plain[::-1].copy()[::-1],
        "step": np.repeat(plain, 3)[::3],
        "unaligned": np.frombuffer(b"x" + plain.tobytes(), np.float32, offset=1),
        "masked": np.ma.masked_array(plain, plain > 2),
    }[kind]
    expected = np.where(plain > 2, np.nan, plain) if kind == "masked" else plain
    np.testing.assert_array_equal(Curve(given_array).values, expected)
    if isinstance(given_array, np.ndarray):
        given_array = given_array.view()
        given_array.flags.writeable = False
    np.testing.assert_array_equal(Curve(given_array).values, expected)


@pytest.mark.parametrize("bad", [np.zeros((2, 2)), np.array(["a"]), np.array([1j]), None, 3.0])
def test_what_is_no_row_of_numbers_is_refused(bad):
    with pytest.raises((ValueError, TypeError)):
        Curve(bad)


@given(values, floats)
def test_curves_calculate_as_arrays_do(y, number):
    curve = Curve(y, dx=0.5, y_unit="V")
    np.testing.assert_array_equal((curve + number).values, y + np.float32(number))
    np.testing.assert_array_equal((number * curve).values, y * np.float32(number))
    np.testing.assert_array_equal((curve - curve).values, np.zeros_like(y))
    np.testing.assert_array_equal(abs(-curve).values, np.abs(y))
    assert (curve + curve).y_unit == Unit("V")
    np.testing.assert_allclose(curve.x, np.arange(len(y)) * 0.5)
    assert len(curve) == len(y) and curve.values.flags.writeable is False


def test_curves_of_different_axes_or_units_do_not_add():
    with pytest.raises(ValueError, match="axes"):
        Curve([1, 2, 3]) + Curve([1, 2])
    with pytest.raises(ValueError, match="convert"):
        Curve([1, 2], y_unit="V") + Curve([1, 2], y_unit="Pa")
    with pytest.raises(ZeroDivisionError):
        Curve([1, 2]) / 0
    kilo = Curve([1, 2], y_unit="kV").convert("V")
    np.testing.assert_array_equal(kilo.values, [1000, 2000])


def test_slices_go_by_x_and_resampling_keeps_the_shape():
    x = np.arange(1000) * 0.01
    curve = Curve(np.sin(x), dx=0.01, x_unit="s")
    part = curve[2.0:3.0]
    assert part.x0 == 2 and len(part) == 100 and part.dx == pytest.approx(0.01)
    np.testing.assert_array_equal(part.values, curve.values[200:300])
    for method, error in [("linear", 2e-5), ("cubic", 1e-6)]:
        fine = curve.resample(0.003, method=method)
        inner = (fine.x > 0.1) & (fine.x < 9.8)
        assert np.abs(fine.values - np.sin(fine.x))[inner].max() < error
    with pytest.raises(ValueError):
        curve[20:30]
    with pytest.raises(ValueError, match="no step"):
        curve[0:1:2]


@given(
    hnp.arrays(np.float32, st.integers(2, 30), elements=st.floats(0, 100, width=32), unique=True).map(np.sort),
    st.floats(-50, 150, width=32),
)
def test_points_look_up_as_numpy_does(x, at):
    y = np.cos(x).astype(np.float32)
    assert Pairs(x, y)(at) == pytest.approx(float(np.interp(at, x, y)), abs=1e-3)


def test_points_combine_on_both_grids():
    a = Pairs([0, 1, 2, 3], [0, 10, 20, 30], x_unit="s", y_unit="V", name="a")
    b = Pairs([0.5, 1.5, 2.5], [1, 2, 3], x_unit="s", y_unit="A")
    product = a * b
    assert product.y_unit == Unit("V") * Unit("A")
    np.testing.assert_allclose(product.x, [0.5, 1, 1.5, 2, 2.5])
    np.testing.assert_allclose(product.y, [5, 15, 30, 50, 75])
    np.testing.assert_allclose((a + Pairs([0, 3], [1, 1])).y, [1, 11, 21, 31])
    np.testing.assert_allclose(a[0.5:2].x, [1, 2])
    np.testing.assert_allclose(a.union(Pairs([2, 5], [7, 7])).y, [0, 10, 20, 30, 7])
    with pytest.raises(ValueError, match="do not meet"):
        a.union(Pairs([5], [7]))
    with pytest.raises(ValueError, match="convert"):
        a + b
    curve = Pairs([0, 1, 3.05], [0, 1, 3.05]).resample(0.5)
    np.testing.assert_allclose(curve.values, np.arange(7) * 0.5, atol=1e-6)
    np.testing.assert_allclose(curve.x, np.arange(7) * 0.5, atol=1e-6)


def test_curve_arrays_cut_across():
    rows = np.arange(12, dtype=np.float32).reshape(3, 4)
    array = CurveArray(rows, [0, 10, 20], dx=0.5, x_unit="Hz", y_unit="V", position_unit="rpm")
    np.testing.assert_array_equal(array.values, rows)
    np.testing.assert_array_equal(array.at(5).values, rows[:2].mean(axis=0))
    np.testing.assert_array_equal(array.at_x(0.5).y, rows[:, 1])
    np.testing.assert_array_equal(array.mean().values, rows.mean(axis=0))
    assert len(array[5:25]) == 2 and array[-1].position == 20
    assert array.at_x(0.5).x_unit == Unit("rpm")
    assert len(CurveArray([array[2], array[0]])) == 3 - 1
    with pytest.raises(IndexError):
        array[3]
    with pytest.raises(ValueError, match="ascend"):
        CurveArray(rows, [0, 2, 1])


@given(values, st.sampled_from(["", "Drehzahl", "Prüfstand 2", "x" * 39]))
def test_signal_files_give_everything_back(tmp_path_factory, y, name):
    path = tmp_path_factory.mktemp("signals") / "ä signal.usig"
    header = {"name": name, "x_unit": "s", "y_unit": "km²"}
    signals = [
        Curve(y, x0=-1, dx=0.25, **header),
        Pairs(np.arange(len(y)), y, **header),
        CurveArray(np.stack([y, y]), [1, 2], **header, position_unit="rpm"),
    ]
    signals[0].valid = (-1, 5)
    for signal in signals:
        umlauf.write_signal(signal, path)
        back = umlauf.read_signal(path)
        assert type(back) is type(signal) and back.name == name and back.y_unit == Unit("km²")
        for attribute in ["values", "x", "y", "positions", "valid", "x0", "dx"]:
            if hasattr(signal, attribute):
                np.testing.assert_array_equal(getattr(back, attribute), getattr(signal, attribute))


def test_signal_files_that_are_none_say_why(tmp_path):
    with pytest.raises(FileNotFoundError, match="nothing.usig"):
        umlauf.read_signal(tmp_path / "nothing.usig")
    (tmp_path / "text.usig").write_text("no signal")
    with pytest.raises(umlauf.Error, match="no signal file"):
        umlauf.read_signal(tmp_path / "text.usig")
    with pytest.raises(OSError, match="cannot be created"):
        umlauf.write_signal(Curve([1]), tmp_path / "no" / "such.usig")
    with pytest.raises(TypeError):
        umlauf.write_signal(np.zeros(3), tmp_path / "a.usig")


def test_arrays_outlive_their_signals():
    views = []
    for i in range(200):
        curve = Curve(np.full(10_000, i))
        pairs = Pairs(np.arange(5_000), np.full(5_000, i))
        views += [curve.values, pairs.y[::2]]
        del curve, pairs
        if i % 50 == 0:
            gc.collect()
    assert all(np.all(view == i // 2) for i, view in enumerate(views))
    assert math.isnan(Curve([np.nan, np.inf]).values[0])


@pytest.mark.parametrize("kind", ["int16", "int32", "uint32", "float32", "float64"])
def test_typed_signals_come_back_from_their_records(kind):
    samples = np.arange(12).reshape(6, 2).astype(kind)
    channels = [umlauf.Channel(Unit("Pa"), 0.5, 7), umlauf.Channel(Unit("kV"))]
    signal = umlauf.TypedSignal(samples, channels, start=2, step=0.25, key=[3, 1, -1, 4, -1, 5])
    record = signal.to_bytes()
    assert len(record) == 2640 + 8 + 12 * signal.samples.itemsize
    back = umlauf.TypedSignal.from_bytes(record, str(signal.samples.dtype))
    assert back.to_bytes() == record and back.samples.dtype == ("float32" if kind == "float64" else kind)
    np.testing.assert_array_equal(back.samples, samples)
    np.testing.assert_array_equal(back.values, samples * [0.5, 1.0])
    assert back.axes == (umlauf.Axis(2, 0.25, 6, Unit("s")),) and back.channels == tuple(channels)
    assert str(back.key) == "3 1 -1 4 -1 5" and umlauf.Key.parse(str(back.key)) == back.key > umlauf.Key()
    view = back.samples
    del back
    gc.collect()
    np.testing.assert_array_equal(view, samples)
    for bad in [b"", record[:-1], record + b"x", record[:2640] + bytes(8), bytes(len(record))]:
        with pytest.raises(umlauf.Error):
            umlauf.TypedSignal.from_bytes(bad, str(signal.samples.dtype))


def test_typed_signals_that_cannot_be_are_refused():
    for arguments in [([1j],), (np.zeros((2, 33)),), (np.zeros((2, 3)), ["V", "A"]), (np.zeros((2, 2, 2)),)]:
        with pytest.raises(ValueError):
            umlauf.TypedSignal(*arguments)
    with pytest.raises(ValueError, match="float64"):
        umlauf.TypedSignal.from_bytes(b"", "float64")
    for text in ["1 2 3", "a b c d e f", "1 2 3 4 5 99999999999"]:
        with pytest.raises(ValueError):
            umlauf.Key.parse(text)
