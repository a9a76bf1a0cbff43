"""Stations beside the tree where there are many of them, and where they cannot be asked for."""

from __future__ import annotations

import re
import subprocess

from test_stations import COLLECTION_TIME, COLLECTIONS, CONF, JOINED, LATE, LEFT, STATIONS, TABLE, Receiver, health
from testbed.device import Device, wait_until


def test_collections_that_fail_change_nothing(device: Device) -> None:
    receiver = Receiver(device)
    conf = f"{CONF}\nzolarcDeadline 1\ntrap2sink 127.0.0.1:{receiver.port} public"
    agent = device.start_agent(conf=conf)
    wait_until(lambda: agent.walk(TABLE), "the stations")
    names = [value.oid for value in agent.walk(f"{TABLE}.2")]

    def another_try() -> None:
        device.clear_journal()
        wait_until(lambda: device.calls("wlanconfig"), "another try")

    for broken, leaving in (({"status": 1}, "00:0b:6b:0a:01:02"), ({"delay": 30}, "f4:5c:89:10:20:30")):
        device.override("wlanconfig ath1 list sta", **broken)
        another_try()  # So what was under way before has ended.
        device.stations.leave(leaving)
        another_try()
        another_try()
        wait_until(lambda: "delay" not in broken or health(agent, LATE) > 0, "the command to be late")  # noqa: B023
        assert (health(agent, LEFT), [value.oid for value in agent.walk(f"{TABLE}.2")]) == (0, names)
    wait_until(lambda: receiver.told(), "the late command to be told")
    assert re.fullmatch(r"zolCommandsLate zolNotifyProgram\.0 = STRING: wlanconfig\tzolNotifyLate\.0 = Counter32: \d+",
                        receiver.told()[0])
    device.override("wlanconfig ath1 list sta")
    wait_until(lambda: health(agent, STATIONS) == 2, "the next complete collection")
    wait_until(lambda: receiver.count()["zolStationLeft"] == 2, "both that left to be told")


def test_two_hundred_stations_come_and_go(device: Device) -> None:
    for mac in device.stations.list():
        device.stations.leave(mac)
    device.set_state("interfaces/ath3", bridge="br-lan")

    def station(number: int) -> str:
        return f"02:00:00:00:{number // 256:02x}:{number % 256:02x}"

    for number in range(200):
        device.stations.join(station(number), f"ath{number % 4}", counters={"tx_bytes": number})
    receiver = Receiver(device)
    agent = device.start_agent(conf=f"{CONF}\nmaxGetbulkResponses 1000\ntrap2sink 127.0.0.1:{receiver.port} public")
    wait_until(lambda: health(agent, STATIONS) == 200, "all stations")

    # One PDU after the other, in which each station stands once and whole.
    def ask() -> None:
        command = ["snmpbulkget", "-v2c", "-cpublic", "-On", "-Cn0", "-Cr150", "-r0", "-t20", f"udp:127.0.0.1:{agent.port}",
                   f"{TABLE}.2", f"{TABLE}.3", f"{TABLE}.13"]
        answer = subprocess.run(command, capture_output=True, text=True, check=True, env=agent.environment).stdout
        cells = {column: re.findall(rf"^{TABLE}\.{column}\.(\S+) =", answer, re.MULTILINE) for column in (2, 3, 13)}
        assert cells[2] == cells[3] == cells[13] and len(cells[2]) == 150
        assert len(set(cells[2])) == len(cells[2])

    rss = first = changes = 0
    for collection in range(20):
        for number in range(40):
            device.stations.leave(station(first + number))
            device.stations.join(station(first + 200 + number), f"ath{number % 4}")
        first += 40
        changes += 40
        before = health(agent, COLLECTIONS)
        ask()
        wait_until(lambda: health(agent, COLLECTIONS) > before, "the next collection")
        if collection == 4:
            rss = agent.rss_kib()
    wait_until(lambda: (health(agent, JOINED), health(agent, LEFT)) == (changes, changes), "all changes")
    assert device.sanitized or agent.rss_kib() - rss <= 128
    wait_until(lambda: receiver.count()["zolStationJoined"] == changes, "all that joined to be told")
    assert receiver.count()["zolStationLeft"] == changes
    assert health(agent, COLLECTION_TIME) < 10_000
