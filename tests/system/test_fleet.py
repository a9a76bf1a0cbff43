"""Three simulated devices with everything that watches them: what is shown agrees with the devices, and faults are told."""

from __future__ import annotations

import contextlib
import json
import os
import re
import subprocess
import urllib.parse
import urllib.request
from collections.abc import Iterator
from pathlib import Path

import pytest

from conftest import BUILD, MIB_BASE, MIB_FILE, REPOSITORY
from testbed.browser import Browser
from testbed.device import Device, wait_until
from testbed.fleet import SNMPV3, Fleet, Member
from testbed.snmp import free_udp_port

PATIENCE = 120
# The commands of what the exporter's modules ask for.
ASKED = "uci |cat /etc/openwrt_release|top |iwconfig |wlanconfig |brctl "


@pytest.fixture(scope="module")
def fleet(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Fleet]:
    with Fleet(tmp_path_factory.mktemp("fleet") / "fleet", BUILD, 3, store=True) as started:
        yield started


def ask(url: str) -> object:
    with urllib.request.urlopen(url, timeout=20) as answer:
        return json.load(answer)


def recorded(fleet: Fleet, query: str) -> dict[tuple[str, ...], float]:
    """The values of a query by their labels, in the order of the labels' names, without the metric's."""
    text = urllib.parse.urlencode({"query": query})
    result = ask(f"http://127.0.0.1:{fleet.prometheus}/api/v1/query?{text}")["data"]["result"]  # type: ignore[index]
    return {tuple(value for name, value in sorted(sample["metric"].items()) if name != "__name__"): float(sample["value"][1])
            for sample in result}


def told(fleet: Fleet) -> set[tuple[str, str]]:
    """What Alertmanager would tell people at the moment: alert and device."""
    alerts = ask(f"http://127.0.0.1:{fleet.alertmanager}/api/v2/alerts?active=true&inhibited=true")
    return {(alert["labels"]["alertname"], alert["labels"]["instance"]) for alert in alerts}  # type: ignore[attr-defined]


def snmp(program: str, member: Member, *arguments: str) -> list[str]:
    """What a stock client prints as the user that watches."""
    command = [program, *SNMPV3, "-t", "20", "-M", f"{MIB_BASE}:{MIB_FILE.parent}", "-m", "ZOLARC-MIB", "-OqvtUe", member.target,
               *arguments]
    done = subprocess.run(command, capture_output=True, text=True, check=True)
    return [line.strip('"') for line in done.stdout.splitlines()]


def test_what_is_shown_agrees_with_the_devices(fleet: Fleet, tmp_path: Path) -> None:
    member = fleet.members[0]
    names = ["apName.0", "fwVersion.0", "zolHealthStations.0"]
    wait_until(lambda: "No Such" not in snmp("snmpwalk", member, "zolStationSignal")[0], "the first collection", PATIENCE)
    name, firmware, stations = snmp("snmpget", member, *names)
    signals = sorted(int(value) for value in snmp("snmpwalk", member, "zolStationSignal"))
    one = f'{{instance="{member.instance}"}}'
    wait_until(lambda: recorded(fleet, f"instance:zolarc_signal_dbm:min{one} and on (instance) instance:zolarc_device:info"), "the first scrapes", PATIENCE)
    with Browser(tmp_path) as browser:
        browser.screen(1440, 900)
        browser.open(fleet.page)
        tile = f"[...document.querySelectorAll('.tile')].find((tile) => tile.href.includes('{member.instance}'))"
        browser.wait(f"{tile}?.querySelector('.signal').textContent", PATIENCE)
        parts = f"['name', 'stations', 'signal', 'firmware'].map((part) => {tile}.querySelector('.' + part).textContent)"
        wait_until(lambda: "–" not in browser.value(parts), "all figures of the tile", PATIENCE)
        assert browser.value(parts) == [name, f"{stations} stations", f"−{-signals[0]} dBm", firmware]
        browser.screenshot(BUILD / "fleet-page/live-wall.png")
        browser.value(f"{tile}.click()")
        rows = "[...document.querySelectorAll('.scroll table')[0].tBodies[0].rows]"
        browser.wait(f"document.querySelector('.scroll table')?.tBodies[0].rows.length === {stations}", PATIENCE)
        table = browser.value(f"{rows}.map((row) => [row.querySelector('small').textContent, row.cells[1].textContent, row.cells[3].textContent])")
        addresses = snmp("snmpwalk", member, "zolStationIp")
        assert sorted(row[1] for row in table) == sorted(addresses)
        assert [row[2] for row in table] == [f"−{-signal} dBm" for signal in signals]
        channel = snmp("snmpget", member, "wlanChannel.0")[0]
        browser.wait(f"document.querySelector('.card dd').textContent === '{channel}'", PATIENCE)
        browser.screenshot(BUILD / "fleet-page/live-device.png")
        assert browser.faults == []


def test_every_fault_is_told_and_its_repair_too(fleet: Fleet) -> None:
    noisy, hung, silent = fleet.members
    expected = {("ZolarcNoiseFloor", noisy.instance), ("ZolarcRadioOff", noisy.instance), ("ZolarcCommandsLate", hung.instance),
                ("ZolarcDeviceSilent", silent.instance)}
    assert not told(fleet) & expected
    for member, fault in ((noisy, "noisy"), (noisy, "radio off"), (hung, "hung"), (silent, "silent")):
        member.seed(fault)
    # The longer an alert lasts, the earlier its device is repaired.
    for member in (hung, silent, noisy):
        mine = {alert for alert in expected if alert[1] == member.instance}
        wait_until(lambda: mine <= told(fleet), f"{mine} to be told", PATIENCE)  # noqa: B023: it is not kept
        member.repair()
    assert re.search(r"127\.0\.1\.2: commands of top do not end in time \(\d+ so far\)", fleet.notifications.read_text())
    wait_until(lambda: not told(fleet) & expected, "every alert to be over", PATIENCE)


def test_notifications_become_lines_and_alerts(fleet: Fleet) -> None:
    here, there, _ = fleet.members
    mac = "02:00:00:00:EE:01"
    here.join(mac, "wanderer", -58)
    line = '{}: station ' + mac + ' has {} "Harbour Lobby" at ath0'

    def noted(member: Member, what: str) -> bool:
        return line.format(member.instance, what) in fleet.notifications.read_text()

    wait_until(lambda: noted(here, "joined"), "the station to be noted", 60)
    here.leave(mac)
    there.join(mac, "wanderer", -61)
    wait_until(lambda: noted(here, "left") and noted(there, "joined"), "its roaming to be noted", 60)


def test_every_kind_of_notification_is_readable(fleet: Fleet, tmp_path: Path) -> None:
    log = tmp_path / "notifications.log"

    def notify(event: str, **variables: object) -> str:
        """Hands a notification over as snmptrapd does, and returns the line that it became."""
        lines = ["<UNKNOWN>", "UDP: [127.0.9.9]:161->[127.0.0.1]:162", f"SNMPv2-SMI::internet.6.3.1.1.4.1.0 {event}",
                 *(f"ZOLARC-MIB::zolNotify{name}.0 {value}" for name, value in variables.items())]
        alertmanager = f"http://127.0.0.1:{fleet.alertmanager}"
        subprocess.run([REPOSITORY / "share/prometheus/zolarc-notified", alertmanager, log], input="\n".join(lines) + "\n",
                       text=True, check=True)
        return log.read_text().splitlines()[-1].partition("127.0.9.9: ")[2]

    station = {"Mac": "0:b:6b:a:1:2", "Ssid": '"hall; `reboot` $(reboot)\nZOLARC-MIB::zolNotifyMac.0 forged', "Interface": "ath0"}
    assert notify("ZOLARC-MIB::zolStationJoined", **station, Signal="-48 dBm") == (
        'station 00:0B:6B:0A:01:02 has joined ""hall; `reboot` $(reboot)" at ath0 with -48 dBm')
    assert notify("ZOLARC-MIB::zolStationLeft", **station | {"Ssid": "hall"}, Connected="0:1:02:03.00") == (
        'station 00:0B:6B:0A:01:02 has left "hall" at ath0 after 0:1:02:03.00')
    assert notify("ZOLARC-MIB::zolNotificationsSummed", MoreJoined=7, MoreLeft=5, MoreOthers=1) == (
        "more than can be told one by one: 7 stations have joined, 5 have left, 1 other events")
    assert notify("ZOLARC-MIB::zolGuardRefused", Object="apName") == (
        "a value for apName was refused: it would have run commands of its own")
    assert notify("ZOLARC-MIB::zolCommandsLate", Program='t"op\\', Late=3) == 'commands of t"op\\ do not end in time (3 so far)'
    mine = {("ZolarcGuardRefused", "127.0.9.9"), ("ZolarcCommandsLate", "127.0.9.9")}
    wait_until(lambda: mine <= told(fleet), "both alerts")
    assert notify("ZOLARC-MIB::zolCommandsInTime", Late=3) == "commands end in time again (3 were late)"
    wait_until(lambda: mine & told(fleet) == {("ZolarcGuardRefused", "127.0.9.9")}, "the alert to be over")
    assert notify("SNMPv2-SMI::internet.6.3.1.1.5.1") == "the agent has started"


def test_a_store_for_many_sites_holds_it_too(fleet: Fleet) -> None:
    url = f"http://127.0.0.1:{fleet.store}/api/v1/query?query=instance:zolarc_device:info"
    wait_until(lambda: {sample["metric"]["instance"] for sample in ask(url)["data"]["result"]}  # type: ignore[index]
               == {member.instance for member in fleet.members}, "the store to know every device", PATIENCE)


def test_a_scrape_starts_few_commands(device: Device, tmp_path: Path) -> None:
    member = Member(device, 9, free_udp_port())
    member.configure("Forty", "ZOLARC v1.4_b260310")
    for number in range(40):
        member.join(f"02:00:00:00:28:{number:02x}", f"laptop-{number}", -40 - number, f"ath{number % 2}")
    # Nothing is watched but by this test, and nothing is collected once the stations are known.
    with Fleet(tmp_path / "fleet", BUILD, 0) as watching:
        member.start("zolarcCollect 3600")
        wait_until(lambda: len(snmp("snmpwalk", member, "zolStationSignal")) == 40, "forty stations", PATIENCE)
        url = f"http://127.0.0.1:{watching.exporter}/snmp?target={member.target}&module=zolarc_"
        started = []
        for _ in range(6):
            device.clear_journal()
            for module in ("status", "radio", "stations", "health"):
                with urllib.request.urlopen(url + module, timeout=30) as answer:
                    assert answer.status == 200
            started.append([line for line in device.command_lines() if re.match(ASKED, line)])
    # Sampling for the tree's eight stations goes on beside it and runs some of them too: the least is closest to what a scrape runs.
    least = min(started, key=len)
    assert 0 < len(least) <= 25, least
    # The first scrape has found out what the configuration says; the others ask for none of it again.
    assert not any(line.startswith("uci") for line in started[-1]), started[-1]


def test_command_starts_and_ends_it_all(tmp_path: Path) -> None:
    folder = tmp_path / "fleet"

    def run(action: str, *options: object) -> str:
        command = [REPOSITORY / "testbed/fleet", action, "--folder", folder, "--build", BUILD, *map(str, options)]
        return subprocess.run(command, capture_output=True, text=True, check=True, timeout=PATIENCE).stdout

    printed = run("start", "--count", 1)
    page = re.search(r"http://127\.0\.0\.1:\d+/user/index.html", printed)
    assert page and b"<title>Fleet</title>" in urllib.request.urlopen(page[0]).read()
    listening = subprocess.run(["ss", "-ltnupH"], capture_output=True, text=True, check=True).stdout
    mine = {str(pid) for pid in folder_processes(folder)}
    ours = [line.split()[4] for line in listening.splitlines() if set(re.findall(r"pid=(\d+)", line)) & mine]
    assert len(ours) >= 4 and all(address.startswith("127.0.") for address in ours), ours
    run("fault", "--device", 1, "--fault", "silent")
    run("stop")
    assert folder_processes(folder) == []


def folder_processes(folder: Path) -> list[int]:
    """The processes that speak of a folder in their command line."""
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            if str(folder).encode() in (process / "cmdline").read_bytes() and int(process.name) != os.getpid():
                found.append(int(process.name))
    return found
