"""Speed, angle, encoder, CAN and rates, beside the program and beside NumPy."""

import gc
import json
import logging
import subprocess
import threading
from pathlib import Path

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st

import umlauf
from umlauf import PulseFlag

RATE = 20_000


def tacho(seconds: float = 2.0, missing: int = 0, slope: float = 5.0) -> np.ndarray:
    """The voltage of 60 teeth that turn 10 t + slope t² times, 0 in place of missing ones."""
    t = np.arange(int(seconds * RATE)) / RATE
    tooth = np.mod(10 * t + slope * t * t, 1) * 60
    return np.where(tooth < 60 - missing, np.sin(2 * np.pi * tooth), 0).astype(np.float32)


@pytest.fixture(scope="module")
def recording(program: str, tmp_path_factory: pytest.TempPathFactory) -> Path:
    path = tmp_path_factory.mktemp("speed") / "run.wav"
    subprocess.run([program, "simulate", path, "--duration", "3", "--teeth", "60", "--missing", "2"], check=True)
    return path


def test_speed_agrees_with_the_program_to_the_digit(program: str, recording: Path):
    arguments = ["--pulses-per-rev", "60", "--gap", "auto", "--json"]
    told = json.loads(subprocess.check_output([program, "speed", recording, *arguments]))
    for source in [recording, umlauf.read(recording), umlauf.read(recording).samples]:
        rate = told["sample_rate_hz"] if isinstance(source, np.ndarray) else None
        result = umlauf.speed(source, pulses_per_rev=60, gap="auto", rate=rate)
        assert len(result) == told["pulses"] and result.gap_corrected == told["gap_corrected"]
        assert (result.min, result.mean, result.max) == tuple(told["rpm"][k] for k in ("min", "mean", "max"))
        assert result.revolutions.mean == told["revolutions"]["rpm"]["mean"]
        assert result.revolutions.rpm[-1] == told["revolutions"]["rpm"]["last"]
        assert len(result.revolutions) == told["revolutions"]["count"]
        assert np.float32(told["thresholds"]["upper"]) == np.float32(result.thresholds.upper)
        assert (result.wheel.pitches, result.wheel.teeth) == (told["wheel"]["pitches"], told["wheel"]["teeth"])
        assert [gap._asdict() for gap in result.wheel.gaps] == told["wheel"]["gaps"]
        assert [w.code for w in result.warnings] == [w["code"] for w in told["warnings"]]
        assert result.duration == told["duration_s"] and result.rate == told["sample_rate_hz"]


def test_columns_belong_together():
    result = umlauf.speed(umlauf.Recording(tacho(missing=2), RATE, start_time=100), 60, "auto")
    n = len(result)
    assert all(len(each) == n for each in (result.time, result.rpm, result.flags, result.pitches))
    assert len(result.edges) == n + 1 and np.all(np.diff(result.edges) > 0)
    np.testing.assert_allclose(result.time, (result.edge_time[1:] + result.edge_time[:-1]) / 2)
    known = np.isfinite(result.rpm)
    np.testing.assert_array_equal(~known, (result.flags & PulseFlag.FIRST) != 0)
    np.testing.assert_allclose(result.rpm[known], 600 + 600 * (result.time[known] - 100), rtol=0.02)
    np.testing.assert_allclose(result.revolutions.rpm, 600 + 600 * (result.revolutions.time - 100), atol=2)
    curve = result.curve(0.05)
    np.testing.assert_allclose(curve.values, 600 + 600 * (curve.x - 100), atol=8)
    assert curve.y_unit == umlauf.Unit("rpm") and result.pairs().x_unit == umlauf.Unit("s")
    turned = result.angle(np.array([100.5, 101.5]))
    assert np.diff(turned) == pytest.approx(20, abs=1e-3)
    np.testing.assert_allclose(result.angle.time_of(turned), [100.5, 101.5], atol=1e-9)
    assert result.angle.rpm(101.0) == pytest.approx(1200, rel=0.02)


@given(cuts=st.lists(st.integers(0, 40_000), max_size=8), missing=st.sampled_from([0, 2]), given_levels=st.booleans())
def test_a_stream_gives_the_same_whatever_its_blocks(cuts, missing, given_levels):
    samples = tacho(missing=missing)
    gap = "auto" if missing else None
    whole = umlauf.speed(samples, 60, gap, rate=RATE)
    levels = {"upper": whole.thresholds.upper, "lower": whole.thresholds.lower} if given_levels else {}
    stream = umlauf.SpeedStream(RATE, 60, gap, learning=8000, **levels)
    blocks = [stream.process(part) for part in np.split(samples, sorted(cuts))] + [stream.finish()]
    rpm = np.concatenate([block.rpm for block in blocks])
    time = np.concatenate([block.time for block in blocks])
    assert len(rpm) == len(whole)
    np.testing.assert_allclose(time, whole.time, atol=1e-5)
    np.testing.assert_allclose(rpm, whole.rpm, rtol=0.02)


def test_what_does_not_fit_is_refused_with_a_reason(caplog):
    samples = tacho(0.5)
    for error, match, arguments in [
        (ValueError, "rate", {}),
        (ValueError, "above 0", {"rate": RATE, "pulses_per_rev": 0}),
        (ValueError, "at least 4", {"rate": RATE, "pulses_per_rev": 2, "gap": "auto"}),
        (ValueError, "shorter than", {"rate": RATE, "pulses_per_rev": 60, "gap": 60}),
        (ValueError, "divider", {"rate": RATE, "pulses_per_rev": 60, "gap": 3, "divider": 2}),
        (ValueError, "exchange", {"rate": RATE, "upper": 0, "lower": 1}),
        (ValueError, "rising", {"rate": RATE, "edges": "up"}),
        (umlauf.Error, "no pulses", {"rate": RATE, "upper": 9, "lower": 8}),
    ]:
        with pytest.raises(error, match=match):
            umlauf.speed(samples, **arguments)
    for nothing in [np.zeros(0), np.zeros(1000), np.full(1000, np.nan)]:
        with pytest.raises(umlauf.Error):
            umlauf.speed(nothing, rate=RATE)
    with caplog.at_level(logging.WARNING, "umlauf"):
        noisy = tacho(1) + np.random.default_rng(1).normal(0, 0.8, RATE).astype(np.float32)
        result = umlauf.speed(noisy, 60, rate=RATE, upper=0.1, lower=-0.1)
    assert result.warnings and len(caplog.records) == len(result.warnings)


def test_results_outlive_what_they_came_from():
    columns = []
    for _ in range(50):
        result = umlauf.speed(tacho(0.2), 60, rate=RATE)
        columns.append((result.edges, result.flags, result.rpm, result.curve(0.01).values))
        del result
    gc.collect()
    for each in columns[1:]:
        for a, b in zip(each, columns[0], strict=True):
            np.testing.assert_array_equal(a, b)


def test_threads_get_the_same_and_may_share_a_stream():
    samples = tacho(2)
    expected = umlauf.speed(samples, 60, rate=RATE).rpm
    results = []
    work = lambda: results.append(umlauf.speed(samples, 60, rate=RATE).rpm)  # noqa: E731
    shared = umlauf.SpeedStream(RATE, 60, upper=0.3, lower=-0.3)
    share = lambda: [(shared.process(samples[:999]), shared.levels) for _ in range(50)]  # noqa: E731
    threads = [threading.Thread(target=each) for each in [work, work, share, share]]
    for each in threads:
        each.start()
    for each in threads:
        each.join()
    for each in results:
        np.testing.assert_array_equal(each, expected)


def encoder_words(edges: np.ndarray, n: int) -> np.ndarray:
    """Words of mode 1 at 50 kHz, edges [samples] in the high half."""
    words = np.zeros(n, np.uint32)
    whole = edges.astype(int)
    ticks = ((edges - whole) / (50_000 * 7.8125e-08)).astype(np.uint32)
    words[whole] = (ticks << 8 | 0xA0) << 16
    return words


def test_encoder_streams(tmp_path):
    edges = np.arange(100.3, 90_000, 41.7)
    words = encoder_words(edges, 100_000)
    words.astype("<u4").tofile(tmp_path / "edges.u32")
    for source in [words, words.astype(np.int32), tmp_path / "edges.u32"]:
        result = umlauf.encoder(source, 60, rate=50_000)
        assert result.mean == pytest.approx(60 * 50_000 / 41.7 / 60, rel=1e-4) and result.thresholds is None
        assert abs(len(result) - len(edges)) <= 1
    for match, arguments in [
        ("mode", {"mode": 7}),
        ("clock", {"rate": 12_345}),
        ("low_word", {"mode": 3, "low_word": True}),
    ]:
        with pytest.raises(ValueError, match=match):
            umlauf.encoder(words, 60, **{"rate": 50_000, **arguments})
    with pytest.raises(ValueError, match="integers"):
        umlauf.encoder(np.zeros(10), 60, rate=50_000)
    with pytest.raises(umlauf.Error, match="no pulses"):
        umlauf.encoder(np.zeros(10, np.uint32), 60, rate=50_000)


KCD = """<NetworkDefinition xmlns="http://kayak.2codeornot2code.org/1.0"><Bus name="b">
<Message id="0x123" name="M" length="8">
<Signal name="Speed" offset="0" length="16"><Value slope="0.5" unit="rpm"/></Signal>
</Message></Bus></NetworkDefinition>"""
DBC = """VERSION ""\nBU_: E\nBO_ 291 M: 8 E\n SG_ Speed : 0|16@1+ (0.5,0) [0|0] "rpm" E\n"""


def test_can_messages_and_their_signals(tmp_path):
    words = np.zeros(5000, np.uint32)
    starts, values = np.array([10, 100, 4996]), np.array([1000, 2000, 65535], np.uint32)
    for start, value in zip(starts, values, strict=True):
        words[start : start + 4] = [0xAA080055, 0x123, value, 0xFFFFFFFF]
    messages = umlauf.can.find(words, rate=1000)
    assert len(messages) == 3 and set(messages.identifier) == {0x123} and not messages.extended.any()
    np.testing.assert_allclose(messages.time, starts / 1000)
    np.testing.assert_array_equal(messages.data[:, :8].copy().view("<u4")[:, 0], values)
    (tmp_path / "net.kcd").write_text(KCD)
    (tmp_path / "net.dbc").write_text(DBC)
    for database in ["net.kcd", "net.dbc"]:
        signal = messages.decode(tmp_path / database)["M.Speed"]
        np.testing.assert_array_equal(signal.values, values * 0.5)
        np.testing.assert_allclose(signal.time, starts / 1000)
        assert signal.unit == "rpm"
    with pytest.raises(umlauf.Error):
        (tmp_path / "bad.kcd").write_text("<no")
        messages.decode(tmp_path / "bad.kcd")


WIDE_DBC = """VERSION ""\nBU_: E\nBO_ 2147483939 W: 8 E
 SG_ Kind M : 0|3@1+ (1,0) [0|0] "" E
 SG_ Signed m0 : 3|13@1- (0.25,-7) [0|0] "N" E
 SG_ Motorola m0 : 23|12@0- (2,1) [0|0] "" E
 SG_ Across m1M : 7|5@0+ (1,0) [0|0] "" E
 SG_ Nested m3 : 24|8@1+ (1,0) [0|0] "" E
 SG_ Real m2 : 32|32@1- (1,0) [0|0] "V" E
BO_ 7 Long: 8 E
 SG_ All : 0|64@1+ (1,0) [0|0] "" E
BO_ 8 Back: 8 E
 SG_ All : 7|64@0- (0.5,0) [0|0] "" E
SIG_VALTYPE_ 2147483939 Real : 1;
SG_MUL_VAL_ 2147483939 Signed Kind 0-0;
SG_MUL_VAL_ 2147483939 Motorola Kind 0-0;
SG_MUL_VAL_ 2147483939 Across Kind 1-1;
SG_MUL_VAL_ 2147483939 Nested Across 3-5, 9-9;
SG_MUL_VAL_ 2147483939 Real Kind 2-2;
"""


def test_signals_of_a_database_are_those_of_its_package(tmp_path):
    import cantools

    random = np.random.default_rng(3)
    payloads = random.integers(0, 1 << 32, (400, 2), dtype=np.uint32)
    payloads[:, 1] &= 0xBFFFFFFF  # finite where it is a floating-point number
    words = np.zeros(4000, np.uint32)
    for i, payload in enumerate(payloads):
        words[10 * i : 10 * i + 4] = [0xAA080055, [0x80000123, 7, 0x80000123, 8][i % 4], *payload]
    (tmp_path / "wide.dbc").write_text(WIDE_DBC)
    database = cantools.database.load_file(tmp_path / "wide.dbc")
    expected: dict[str, list[tuple[float, float]]] = {}
    messages = umlauf.can.find(words, rate=1000)
    assert len(messages) == 400
    for i in range(400):
        message = database.get_message_by_name(["W", "Long", "W", "Back"][i % 4])
        try:
            decoded = message.decode(messages.data[i, :8].tobytes(), decode_choices=False)
        except cantools.database.DecodeError:  # a selection that is not described
            continue
        for name, value in decoded.items():
            expected.setdefault(f"{message.name}.{name}", []).append((i / 100, float(value)))
    signals = messages.decode(database)
    assert set(signals) == set(expected) and len(signals) == 8
    for name, pairs in expected.items():
        values = dict(zip(signals[name].time.round(6), signals[name].values, strict=True))
        assert [values[round(time, 6)] for time, _ in pairs] == pytest.approx([value for _, value in pairs], rel=1e-15)


@given(
    cuts=st.lists(st.integers(0, 3000), max_size=6),
    method=st.sampled_from(["filter", "steep", "mean", "minmax", "linear"]),
)
def test_downsampling_does_not_depend_on_blocks(cuts, method):
    samples = np.random.default_rng(2).normal(size=(3000, 2)).astype(np.float32)
    stream = umlauf.Downsampler(2.5, method=method, channels=2)
    parts = [stream.process(part) for part in np.split(samples, sorted(cuts))] + [stream.flush()]
    for channel in range(2):
        whole = umlauf.downsample(samples[:, channel], rate=1000, ratio=2.5, method=method)
        np.testing.assert_array_equal(np.concatenate(parts)[:, channel], whole.samples)
    assert whole.rate == (800 if method == "minmax" else 400)


def test_downsampling_means_are_means():
    samples = np.arange(12.0)
    np.testing.assert_allclose(umlauf.downsample(samples, rate=8, to=2, method="mean").samples, [1.5, 5.5, 9.5])
    for arguments in [{}, {"to": 2, "ratio": 2}, {"ratio": 0.5}, {"ratio": 2, "method": "best"}]:
        with pytest.raises(ValueError):
            umlauf.downsample(samples, rate=8, **arguments)
