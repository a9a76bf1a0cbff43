"""The page of the fleet in a headless Chromium, with what Prometheus has recorded of a thousand devices.

Its screenshots are kept in the build folder, in fleet-page/."""

from __future__ import annotations

import json
import subprocess
import sys
import time
import urllib.parse
import urllib.request
from collections.abc import Iterator
from pathlib import Path

import pytest

from conftest import BUILD, REPOSITORY
from testbed.browser import Browser
from testbed.device import wait_until
from testbed.fleet import free_tcp_port, reachable

DEVICES = 1000
ROAMER = "02:AA:BB:CC:DD:EE"
SCREENS = {"desk": (1440, 900), "phone": (390, 844)}
TILES = "[...document.querySelectorAll('.tile')]"
DRAWN = "document.body?.dataset?.drawn"


class Recorded:
    """A Prometheus that serves the page and what was recorded of a fleet."""

    def __init__(self, folder: Path):
        recording = folder / "fleet.om"
        with recording.open("w") as output:
            subprocess.run([sys.executable, REPOSITORY / "testbed/recorded_fleet.py", str(DEVICES), "1"], stdout=output, check=True)
        subprocess.run(["promtool", "tsdb", "create-blocks-from", "openmetrics", recording, folder / "data"], check=True,
                       stdout=subprocess.DEVNULL)
        # The moment that the page is shown at: all of this takes a while.
        self.at = int(time.time()) - 90
        self.base = f"http://127.0.0.1:{free_tcp_port()}"
        (folder / "prometheus.yml").write_text("global: {}\n")
        with (folder / "prometheus.log").open("wb") as log:
            self.process = subprocess.Popen(
                ["prometheus", f"--config.file={folder}/prometheus.yml", f"--storage.tsdb.path={folder}/data",
                 f"--web.listen-address={self.base.removeprefix('http://')}", f"--web.user-assets={REPOSITORY}/share/fleet"],
                stdout=log, stderr=log)
        wait_until(lambda: reachable(f"{self.base}/-/ready"), "Prometheus to start", 60)

    def value(self, query: str) -> float:
        """One number that was recorded."""
        parameters = urllib.parse.urlencode({"query": query, "time": self.at})
        with urllib.request.urlopen(f"{self.base}/api/v1/query?{parameters}") as answer:
            return float(json.load(answer)["data"]["result"][0]["value"][1])

    def address(self, view: str, **options: object) -> str:
        return f"{self.base}/user/index.html#/{view}?{urllib.parse.urlencode({'at': self.at, **options})}"


@pytest.fixture(scope="module")
def recorded(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Recorded]:
    served = Recorded(tmp_path_factory.mktemp("recorded"))
    yield served
    served.process.terminate()
    served.process.wait()


@pytest.fixture(scope="module")
def shared_browser(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Browser]:
    with Browser(tmp_path_factory.mktemp("browser")) as started:
        yield started


@pytest.fixture
def browser(shared_browser: Browser) -> Iterator[Browser]:
    """The browser on a desk; a test whose page has logged an error fails."""
    shared_browser.faults.clear()
    shared_browser.screen(*SCREENS["desk"])
    yield shared_browser
    assert shared_browser.faults == []


def show(browser: Browser, address: str) -> None:
    browser.open("about:blank")
    browser.wait("location.href === 'about:blank'")
    browser.open(address)
    browser.wait(DRAWN, 60)


def names(browser: Browser) -> list[str]:
    return browser.value(f"{TILES}.map((tile) => tile.querySelector('.name').textContent)")


def test_wall_shows_every_device_and_agrees_with_prometheus(browser: Browser, recorded: Recorded) -> None:
    show(browser, recorded.address(""))
    # Two seconds on an idle machine; others may use this one.
    assert float(browser.value(DRAWN)) < 20_000
    tiles = browser.value(TILES + """.map((tile) => [tile.dataset.state,
        ...["name", "stations", "signal", "traffic", "firmware", "alerts"].map((part) => tile.querySelector("." + part).textContent)])""")
    assert len(tiles) == DEVICES
    silent = recorded.value("count(instance:zolarc_up:max == 0)")
    assert [tile[0] for tile in tiles[: int(silent) + 1]] == ["silent"] * int(silent) + ["warning"]
    assert tiles[0][2:] == ["silent", "", tiles[0][4], "ZOLARC v1.4_b260310", "Device silent"]
    stations, megabits = recorded.value("sum(instance:zolarc_stations:count)"), recorded.value("sum(instance:zolarc_transmit:bps)") / 1e6
    summary = browser.value("document.querySelector('.summary').textContent")
    assert summary.startswith(f"1,000 devices{stations:,.0f} stations↓ {megabits / 1000:.1f} Gbit/s"), summary
    first = next(tile for tile in tiles if tile[1] == "Warehouse 1")
    worst = recorded.value('instance:zolarc_signal_dbm:min{instance="192.0.2.1"}')
    assert first[2:4] == ["40 stations", f"−{-worst:.0f} dBm"]
    # Nothing comes from anywhere else, so the page works without a way to the Internet.
    assert browser.value("performance.getEntriesByType('resource').every(({ name }) => name.startsWith(location.origin))")


def test_wall_is_sorted_filtered_and_walked_by_keys(browser: Browser, recorded: Recorded) -> None:
    show(browser, recorded.address(""))
    browser.value("(() => { const sort = document.querySelector('[aria-label=Order]'); sort.value = 'stations';"
                  " sort.dispatchEvent(new Event('change')) })()")
    browser.wait("document.querySelector('.tile .name').textContent === 'Warehouse 1'")
    browser.press("/")
    browser.type("lobby v1.3")
    wanted = recorded.value('count(instance:zolarc_device:info{apName=~"Lobby.*", fwVersion=~".*v1.3.*"})')
    browser.wait(f"{TILES}.length === {wanted:.0f}")
    assert all(name.startswith("Lobby") for name in names(browser))
    browser.press("Escape")
    browser.wait(f"{TILES}.length === {DEVICES}")
    for key in ("ArrowRight", "ArrowDown", "ArrowLeft"):
        browser.press(key)
    columns = browser.value("getComputedStyle(document.querySelector('.wall')).gridTemplateColumns.split(' ').length")
    focused = f"{TILES}.indexOf(document.activeElement)"
    assert browser.value(focused) == columns - 1
    wanted = names(browser)[columns - 1]
    browser.press("Enter")
    browser.wait(f"document.querySelector('h1')?.textContent === {json.dumps(wanted)}")
    # What the wall was like is kept on the way back.
    browser.press("Escape")
    browser.wait("document.querySelector('.tile .name')?.textContent === 'Warehouse 1'")


def test_device_shows_its_radios_stations_and_courses(browser: Browser, recorded: Recorded) -> None:
    show(browser, recorded.address("device/192.0.2.1"))
    cells = "[...document.querySelector('.scroll table').tBodies[0].rows].map((row) => row.cells[3].textContent)"
    signals = [int(text.removesuffix(" dBm").replace("−", "-")) for text in browser.value(cells)]
    assert len(signals) == 40 and signals == sorted(signals)
    assert signals[0] == recorded.value('min(zolStationSignal{instance="192.0.2.1"})')
    browser.value("[...document.querySelectorAll('th button')].find((head) => head.textContent === 'Signal').click()")
    assert browser.value(cells)[0] == f"−{-signals[-1]} dBm"
    assert browser.value("document.querySelectorAll('.spark path[d*=L]').length") == 40
    # Each plot says in words what it draws.
    described = browser.value("[...document.querySelectorAll('.plot-box:has(canvas)')].map((plot) => plot.ariaLabel)")
    assert [text.partition(".")[0] for text in described] == ["Traffic", "Stations", "Noise", "Retries a packet"]
    assert "dBm" in described[2] and "Mbit/s" in described[0] and "radio 0: from 20 to 20" in described[1]
    browser.press("2")
    browser.wait("document.querySelector('[aria-pressed=true]').textContent === '6 h'")
    assert "range=21600" in browser.value("location.hash")


def test_station_is_found_by_its_address_and_shows_where_it_was(browser: Browser, recorded: Recorded) -> None:
    show(browser, recorded.address("", range=21600))
    browser.press("/")
    browser.type(ROAMER.lower().replace(":", "-"))
    browser.press("Enter")
    browser.wait("document.querySelector('h1')?.textContent === 'scanner-7'")
    visited = browser.value("[...document.querySelectorAll('.lane a')].map((lane) => lane.textContent)")
    assert len(visited) >= 3 and {"Lobby 2", "Quay 3", "Terminal 4", "Office 5"} >= set(visited)
    assert browser.value("document.querySelector('.scroll table').tBodies[0].rows.length") >= len(visited)


def test_failure_of_prometheus_is_told_and_what_was_known_stays(browser: Browser, recorded: Recorded) -> None:
    show(browser, recorded.address(""))
    browser.offline_but("*/api/v1/*")
    browser.value("dispatchEvent(new HashChangeEvent('hashchange'))")
    browser.wait("!document.querySelector('#failure').hidden")
    assert browser.value(f"{TILES}.length") == DEVICES
    browser.offline_but()
    browser.value("dispatchEvent(new HashChangeEvent('hashchange'))")
    browser.wait("document.querySelector('#failure').hidden")
    browser.faults.clear()


@pytest.mark.parametrize("screen", SCREENS)
@pytest.mark.parametrize("dark", [False, True], ids=["light", "dark"])
def test_every_view_fits_the_screen(browser: Browser, recorded: Recorded, screen: str, dark: bool) -> None:
    browser.screen(*SCREENS[screen], dark=dark, phone=screen == "phone")
    for name, view in {"wall": "", "device": "device/192.0.2.1", "station": f"station/{ROAMER}"}.items():
        show(browser, recorded.address(view))
        browser.screenshot(BUILD / f"fleet-page/{name}-{screen}-{'dark' if dark else 'light'}.png")
        assert browser.value("document.documentElement.scrollWidth <= innerWidth"), name
        # Light letters on a dark ground, or the other way round.
        brightness = "(() => getComputedStyle(document.body).{}.match(/\\d+/g).slice(0, 3).reduce((sum, part) => sum + +part, 0))()"
        assert (browser.value(brightness.format("color")) > browser.value(brightness.format("backgroundColor"))) == dark
