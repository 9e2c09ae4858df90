"""Reports, opened in a browser as a user does."""

import json
import os
import shutil
import subprocess
import sys

import numpy as np
import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

import umlauf

RATE = 20_000
SPOILED = "bearing <img src=x onerror=window.spoiled=1>"


@pytest.fixture(scope="module")
def results():
    """Eight seconds from 600 to 2520 rpm whose order 2.5 meets a resonance."""
    t = np.arange(8 * RATE) / RATE
    turns = 10 * t + 2 * t * t
    vibration = np.cos(2 * np.pi * turns) + np.exp(-((t - 4) ** 2)) * np.cos(2 * np.pi * 2.5 * turns)
    speed = umlauf.speed(umlauf.Recording(np.sin(2 * np.pi * 60 * turns), RATE, name="run-up"), 60)
    recording = umlauf.Recording(vibration, RATE, name=SPOILED, unit="m/s²")
    return [speed, umlauf.orders(recording, speed, tracks=[1, 2.5], max_order=10, average=1)]


@pytest.fixture(scope="module")
def browser(tmp_path_factory):
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium") or pytest.fail("there is no chromium; script/bootstrap --test")
    for each in [
        "headless",
        "no-sandbox",
        "disable-gpu",
        "disable-quic",
        "no-first-run",
        "disable-background-networking",
        "disable-component-update",
        "disable-sync",
        f"user-data-dir={tmp_path_factory.mktemp('browser')}",
        "window-size=1200,900",
    ]:
        options.add_argument(f"--{each}")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    driver = webdriver.Chrome(options=options, service=Service(shutil.which("chromedriver")))
    yield driver
    driver.quit()


def asked_for(browser) -> list[str]:
    """Addresses that the page asked for."""
    messages = [json.loads(each["message"])["message"] for each in browser.get_log("performance")]
    sent = [each["params"] for each in messages if each["method"] == "Network.requestWillBeSent"]
    return [each["request"]["url"] for each in sent if each["documentURL"].startswith("file:")]


def test_a_page_shows_zooms_and_tells_values(results, browser, tmp_path):
    speed, orders = results
    page = tmp_path / "run.html"
    umlauf.report(results, page)
    browser.get(page.as_uri())
    WebDriverWait(browser, 60).until(
        lambda b: len(b.find_elements(By.CSS_SELECTOR, ".js-plotly-plot .xaxislayer-above"))
    )
    assert [each.get_attribute("id") for each in browser.find_elements(By.CLASS_NAME, "js-plotly-plot")] == [
        "speed-1",
        "map-2",
        "spectrum-2",
        "tracks-2",
        "average-2",
    ]
    text = browser.find_element(By.TAG_NAME, "body").text
    assert f"{speed.mean:.2f} rpm" in text and f"{orders.track(2.5).amplitude.max():.4g} m/s²" in text
    assert SPOILED in text and browser.execute_script("return window.spoiled") is None
    drawn = browser.execute_script("return Array.from(document.getElementById('speed-1')._fullData[1].y)")
    np.testing.assert_allclose(drawn, speed.revolutions.rpm)

    def shown() -> list[float]:
        return browser.execute_script("return document.getElementById('speed-1')._fullLayout.xaxis.range")

    # The middle half, dragged; hovering tells the speed there; a button shows all again.
    whole = shown()
    area = browser.find_element(By.CSS_SELECTOR, "#speed-1 .nsewdrag")
    quarter = area.size["width"] // 4
    chain = ActionChains(browser).move_to_element_with_offset(area, -quarter, 0).click_and_hold()
    chain.move_by_offset(quarter, 2).move_by_offset(quarter, 0).release().perform()
    span = whole[1] - whole[0]
    WebDriverWait(browser, 20).until(lambda b: shown() != whole)
    assert shown() == pytest.approx([whole[0] + span / 4, whole[1] - span / 4], abs=0.02 * span)
    ActionChains(browser).move_to_element(area).move_by_offset(3, 1).perform()
    label = WebDriverWait(browser, 20).until(lambda b: b.find_element(By.CSS_SELECTOR, "#speed-1 .hovertext")).text
    at, rpm = (float(each.split()[0]) for each in label.rpartition("pulses")[2].strip().split(": "))
    assert abs(at - sum(whole) / 2) < 0.1 and rpm == pytest.approx(float(speed.angle.rpm(at)), rel=0.05)
    browser.find_element(By.CSS_SELECTOR, "#speed-1 [data-title='Reset axes']").click()
    WebDriverWait(browser, 20).until(lambda b: shown() == pytest.approx(whole, abs=0.01 * span))

    scales = browser.find_elements(By.CSS_SELECTOR, "#map-2 .updatemenu-button")
    ActionChains(browser).scroll_to_element(scales[1]).click(scales[1]).perform()
    visible = "return document.getElementById('map-2')._fullData.map(each => each.visible)"
    WebDriverWait(browser, 20).until(lambda b: b.execute_script(visible) == [False, True])

    assert [each for each in browser.get_log("browser") if each["level"] == "SEVERE"] == []
    assert {each.partition(":")[0] for each in asked_for(browser)} <= {"file", "data", "blob"}


def test_a_page_is_written_whole_or_not_at_all(results, tmp_path, monkeypatch):
    page = tmp_path / "run.html"
    page.write_text("an older one")
    with pytest.raises(FileNotFoundError, match=r"no folder.run\.html"):
        umlauf.report(results[0], tmp_path / "no folder" / "run.html")
    for nothing in [[], "run.wav", [results[0], 5]]:
        with pytest.raises(ValueError, match="results"):
            umlauf.report(nothing, page)
    with monkeypatch.context() as patch, pytest.raises(OSError, match="full"):
        patch.setattr(os, "fsync", lambda _: (_ for _ in ()).throw(OSError(28, "the disk is full")))
        umlauf.report(results, page)
    assert page.read_text() == "an older one" and os.listdir(tmp_path) == ["run.html"]


def test_long_recordings_keep_their_extremes(tmp_path):
    t = np.arange(600_000) / 50_000
    samples = np.sin(2 * np.pi * 60 * (80 * t + np.sin(t)))
    speed = umlauf.speed(samples, 60, rate=50_000)
    umlauf.report(speed, tmp_path / "long.html")
    text = (tmp_path / "long.html").read_text(encoding="utf-8")
    drawn, found = (int(each) for each in text.partition(" pulses are drawn")[0].rpartition(">")[2].split(" of "))
    assert found == len(speed) - 1 > 50_000 and drawn <= 20_100
    from umlauf._page import _extremes

    at, rpm = _extremes(speed.time, speed.rpm)
    assert (rpm.min(), rpm.max()) == (np.nanmin(speed.rpm), np.nanmax(speed.rpm)) and np.all(np.diff(at) > 0)


def test_doubtful_times_are_shaded(tmp_path):
    tacho = np.where(np.abs(np.arange(4 * RATE) - 50_000) < 800, 0, np.sin(np.arange(4 * RATE) / 8))
    speed = umlauf.speed(tacho, rate=RATE, upper=0.5, lower=-0.5)
    umlauf.report(speed, tmp_path / "gone.html")
    text = (tmp_path / "gone.html").read_text(encoding="utf-8")
    (shape,) = json.loads(text.partition('"shapes":')[2].partition("]")[0] + "]")
    assert (shape["x0"], shape["x1"]) == pytest.approx(speed.warnings[0].places[0])
    assert "lost-pulses" in text


def test_the_command_writes_a_page_or_says_why_not(program, tmp_path):
    def command(*arguments: str) -> subprocess.CompletedProcess[str]:
        call = [sys.executable, "-m", "umlauf", "report", *arguments]
        return subprocess.run(call, cwd=tmp_path, capture_output=True, text=True, check=False)

    run = ["simulate", "run.wav", "--duration", "3", "--teeth", "60", "--missing", "2", "--orders", "2:0.5"]
    subprocess.run([program, *run], cwd=tmp_path, check=True)
    known = ["--pulses-per-rev", "60", "--gap", "auto"]
    done = command("run.wav", "-o", "run.html", *known, "--orders", "2", "--tracks", "1,2", "--max-order", "10")
    assert done.returncode == 0, done.stderr
    text = (tmp_path / "run.html").read_text(encoding="utf-8")
    assert "58 edges on 60 pitches" in text and all(f'id="{each}"' in text for each in ("map-2", "tracks-2"))
    for arguments, reason in [
        (["none.wav", "-o", "a.html"], "none.wav"),
        (["run.wav", "-o", "a.html", "--gap", "wide"], "no number"),
        (["run.wav", "-o", "a.html", *known, "--orders", "9"], "channel"),
    ]:
        done = command(*arguments)
        assert done.returncode == 1 and reason in done.stderr and "Traceback" not in done.stderr
    assert not (tmp_path / "a.html").exists()
