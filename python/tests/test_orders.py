"""Orders whose amplitude, phase and place are known."""

import json
import subprocess

import numpy as np
import pytest

import umlauf

RATE = 20_000


@pytest.fixture(scope="module")
def run_up():
    """Ten seconds from 600 to 1800 rpm, and a vibration of orders 1 (amplitude 2, 30 degrees) and 2.5 (0.5)."""
    t = np.arange(10 * RATE) / RATE
    turns = 10 * t + t * t
    tacho = np.sin(2 * np.pi * 60 * turns).astype(np.float32)
    speed = umlauf.speed(tacho, 60, rate=RATE)
    # The angle counts from the first edge on.
    angle = turns - np.interp(speed.edge_time[1], t, turns) + float(speed.angle(float(speed.edge_time[1])))
    samples = 2 * np.cos(2 * np.pi * angle + np.deg2rad(30)) + 0.5 * np.cos(2 * np.pi * 2.5 * angle)
    return speed, umlauf.Recording(samples, RATE, name="x", unit="m/s²")


def test_tracks_have_the_amplitude_and_phase(run_up):
    speed, vibration = run_up
    found = umlauf.orders(vibration, speed, tracks=[1, 2.5], max_order=10)
    for track, amplitude, phase in zip(found.tracks, [2, 0.5], [30, 0], strict=True):
        np.testing.assert_allclose(track.amplitude, amplitude, rtol=0.005)
        np.testing.assert_allclose(track.phase, phase, atol=1)
        np.testing.assert_allclose(track.rpm, 600 + 120 * track.time, rtol=0.01)
    with pytest.raises(ValueError, match="tracks="):
        found.track(7)
    # Neighbours that lie closer than segments tell apart.
    near = umlauf.Recording(vibration.samples + 0.5 * np.cos(2 * np.pi * 1.2 * speed.angle(vibration.time)), RATE)
    close = umlauf.orders(near, speed, tracks=[1, 1.2], max_order=10, bandwidth=0.1, method="vold-kalman")
    middle = (close.track(1.2).time > 2) & (close.track(1.2).time < 8)
    np.testing.assert_allclose(close.track(1.2).amplitude[middle], 0.5, rtol=0.02)
    with pytest.raises(ValueError, match="vold-kalman"):
        umlauf.orders(vibration, speed, tracks=[1], method="kalman")


def test_maps_spectra_and_levels_belong_together(run_up):
    speed, vibration = run_up
    found = umlauf.orders(vibration, speed, max_order=10, axis="speed", step=100, average=1)
    rows = found.map("amplitude")
    assert rows.position_unit == umlauf.Unit("rpm") and rows.y_unit == umlauf.Unit("m/s²")
    np.testing.assert_allclose(np.diff(rows.positions), 100, atol=1)
    spectrum = found.spectrum("amplitude")
    assert spectrum(1.0) == pytest.approx(2, rel=0.01) and spectrum(2.5) == pytest.approx(0.5, rel=0.01)
    np.testing.assert_allclose(found.overall().y, np.sqrt(2 + 0.125), rtol=0.02)
    level = found.spectrum("rms", reference=1e-6)
    assert level.y_unit.is_level and level(1.0) == pytest.approx(20 * np.log10(np.sqrt(2) / 1e-6), abs=0.1)
    # Order 2.5 does not come back after one revolution.
    assert found.average.rms == pytest.approx(np.sqrt(2), rel=0.01)
    assert found.average.residual_rms == pytest.approx(np.sqrt(0.125), rel=0.02)
    assert found.plot().get_xlabel() == "order"


def test_a_shaft_without_a_tacho_tells_its_speed_or_that_it_does_not(program, tmp_path):
    rng = np.random.default_rng(5)
    t = np.arange(12 * 8192) / 8192
    there = (t < 6) | (t > 9)
    turns = 15 * t + 1.5 * t * t
    comb = sum(a * np.cos(2 * np.pi * order * turns) for order, a in [(1, 0.5), (2, 0.7), (4.5, 0.4)])
    samples = (there * comb + rng.normal(0, 0.3, len(t))).astype(np.float32)
    # The clock of the recording begins at 100 s.
    recording = umlauf.Recording(samples, 8192, name="body", start_time=100)
    found = umlauf.speed_from_vibration(recording, [1, 2, 4.5], start=(700, 1200))
    known = (found.time < 105.5) | (found.time > 109.5)
    np.testing.assert_allclose(found.rpm[known], 900 + 180 * (found.time[known] - 100), rtol=0.02)
    assert found.confidence[known].mean() > 0.9 > 0.5 > found.confidence[~known].mean()
    (doubt,) = found.warnings
    assert doubt.code == "track-lost" and doubt.places == found.lost
    assert 105.5 < doubt.places[0][0] < doubt.places[-1][1] < 109.5
    assert found.present[2] > 0.6 and found.rival.score < 0.8 and found.thresholds is None
    assert len(found.revolutions) == 0 and found.mean == pytest.approx(found.rpm.mean(), rel=1e-3)
    # It takes the place of a tacho; what is doubtful is shaded.
    track = umlauf.orders(recording, found, tracks=[2], max_order=10).track(2)
    early = track.time < 105
    np.testing.assert_allclose(track.amplitude[early], 0.7, atol=0.1)
    assert len(found.plot().patches) == len(found.lost)
    with pytest.raises(ValueError, match="comb"):
        umlauf.speed_from_vibration(samples, [], rate=8192)
    with pytest.raises(umlauf.Error, match="stand out"):
        umlauf.speed_from_vibration(rng.normal(size=50_000), [1, 2, 4.5], rate=8192)
    # The program says the same.
    samples.tofile(tmp_path / "body.f32")
    call = [program, "orders", "body.f32", "--raw", "f32", "--rate", "8192", "--max-order", "10", "--json"]
    call += ["--comb", "1,2,4.5", "--start-rpm", "700,1200"]
    done = subprocess.run(call, cwd=tmp_path, capture_output=True, check=True)
    told = json.loads(done.stdout)
    np.testing.assert_allclose(told["speed"]["rpm"], found.rpm, rtol=1e-6)
    np.testing.assert_allclose(told["warnings"][0]["places"], np.array(found.lost) - 100, atol=1e-9)


def test_torsion_and_what_is_refused(run_up):
    speed, vibration = run_up
    turning = umlauf.torsional(speed, tracks=[2], max_order=5)
    assert turning.track(2).amplitude.max() < 5 and turning.map().y_unit == umlauf.Unit("rpm")
    for match, arguments in [("axis", {"axis": "angle"}), ("average=", {})]:
        with pytest.raises(ValueError, match=match):
            _ = umlauf.orders(vibration, speed, **arguments).average
    with pytest.raises(ValueError, match="scaling"):
        turning.map("loud")
    with pytest.raises(umlauf.Error):
        umlauf.orders(vibration, speed, max_order=-1)


def test_pictures_have_names_and_units(run_up):
    speed, vibration = run_up
    found = umlauf.orders(vibration, speed, tracks=[1, 2.5], max_order=10)
    tracks = found.plot_tracks(over="speed")
    assert (tracks.get_xlabel(), tracks.get_ylabel()) == ("speed in rpm", "amplitude in m/s²")
    np.testing.assert_array_equal(tracks.lines[1].get_ydata(), found.track(2.5).amplitude)
    waterfall = found.plot(kind="waterfall")
    rows = found.map()
    assert waterfall.get_ylabel() == "time in s" and len(waterfall.lines) == min(60, len(rows)) + 1
    drawn, row = np.asarray(waterfall.lines[0].get_ydata()), rows[0].values
    np.testing.assert_allclose(np.corrcoef(drawn, row)[0, 1], 1, rtol=1e-6)
    for draw in [lambda: found.plot(kind="cube"), lambda: found.track(1).plot(over="angle")]:
        with pytest.raises(ValueError, match="drawn"):
            draw()
    # What is doubtful stands above the picture, what was held is marked.
    noise = np.random.default_rng(1).normal(0, 0.8, RATE)
    noisy = np.sin(np.arange(RATE) / 8) + noise
    doubtful = umlauf.speed(noisy, rate=RATE, upper=0.1, lower=-0.1, spike_filter=0.3)
    axes = doubtful.plot()
    assert doubtful.warnings and doubtful.warnings[0].text[:30] in axes.texts[0].get_text()
    assert len(axes.lines[-1].get_xdata()) == doubtful.spike_held > 0
    # Where something is doubtful is shaded.
    tacho = np.where(np.abs(np.arange(4 * RATE) - 50_000) < 800, 0, np.sin(np.arange(4 * RATE) / 8))
    gone = umlauf.speed(tacho, rate=RATE, upper=0.5, lower=-0.5)
    (place,) = gone.warnings[0].places
    assert place == pytest.approx((49_200 / RATE, 50_800 / RATE), abs=0.004)
    (shade,) = gone.plot().patches
    assert (shade.get_x(), shade.get_x() + shade.get_width()) == pytest.approx(place)
