"""Every station beside the tree: the table, the notifications and the agent's health, however the library is hosted."""

from __future__ import annotations

import re
import time
from collections import Counter

import pytest

from conftest import AGENTX_MASTER, MIB_BASE, MIB_FILE, fast_clock
from testbed.device import Agent, Device, Program, wait_until
from testbed.snmp import SnmpError, free_udp_port

EXTENSIONS = ".1.3.6.1.4.1.32473.8.2"
TABLE, HEALTH = f"{EXTENSIONS}.1.1", f"{EXTENSIONS}.2"
COMMANDS, LATE, REFUSED, JOINED, LEFT, COLLECTIONS, COLLECTION_TIME, STATIONS = 1, 4, 5, 8, 9, 10, 11, 13
CONF = "zolarcCollect 1\nzolarcNotifications named"


def health(agent: Agent, number: int) -> int:
    return agent.get(f"{HEALTH}.{number}.0").value  # type: ignore[return-value]


def index(mac: str) -> str:
    return ".".join(str(octet) for octet in bytes.fromhex(mac.replace(":", "")))


class Receiver(Program):
    """snmptrapd, which prints a line of names and values for each notification."""

    def __init__(self, device: Device):
        self.port = free_udp_port()
        configuration = "/etc/snmp/named.conf"
        form = r"told|%v\n"
        device.write(configuration, f"disableAuthorization yes\nformat1 v1|%N|%w|%q|%v\\n\nformat2 {form}\n")
        for folder in (MIB_BASE, MIB_FILE.parent):
            for file in folder.iterdir():
                device.write(f"/mibs/{file.name}", file.read_bytes())
        command = ["/usr/sbin/snmptrapd", "-f", "-n", "-Le", "-M", "/mibs", "-m", "ZOLARC-MIB", "-C", "-c", configuration,
                   f"udp:127.0.0.1:{self.port}"]
        super().__init__(device, command, device.path / "named.log", env={"SNMP_PERSISTENT_DIR": "/tmp/named"},
                         detached=False)
        wait_until(lambda: "NET-SNMP version" in self.log(), "the receiver to start")

    def told(self) -> list[str]:
        """Each notification's name and what it carries: "zolStationLeft zolNotifyMac.0 = STRING: ...". """
        lines = re.findall(r"^told\|.*?OID: ZOLARC-MIB::(\w+)\t(.*)$", self.log(), re.MULTILINE)
        return [f"{name} {carried}".replace("ZOLARC-MIB::", "") for name, carried in lines]

    def count(self) -> Counter[str]:
        """How many of each, the sums of what was not told one by one included."""
        counted: Counter[str] = Counter()
        for line in self.told():
            name = line.split()[0]
            sums = re.findall(r"zolNotifyMore(\w+)\.0 = Gauge32: (\d+)", line)
            counted[name] += 1
            counted.update({f"zolStation{what}": int(number) for what, number in sums if what != "Others"})
        return counted


@pytest.mark.parametrize("host", ["bundle", "AgentX"])
def test_stations_by_name(device: Device, host: str) -> None:
    receiver = Receiver(device)
    sinks = f"trap2sink 127.0.0.1:{receiver.port} public\ntrapsink 127.0.0.1:{receiver.port} public"
    if host == "bundle":
        agent = device.start_agent(conf=f"{CONF}\n{sinks}")
    else:
        device.write("/etc/snmp/sub.conf", CONF + "\n")
        agent = device.start_agent(library=False, conf=f"{AGENTX_MASTER}\n{sinks}")
        device.start_zolarcd("--agentx", "unix:/tmp/agentx", "--config", "/etc/snmp/sub.conf")
    wait_until(lambda: agent.walk(TABLE), "the stations")
    mac = "00:0b:6b:0a:01:02"
    row = [agent.get(f"{TABLE}.{column}.{index(mac)}") for column in range(1, 23)]
    assert [(value.type, value.value) for value in row if value.type != "Timeticks"] == [
        ("noSuchObject" if host == "bundle" else row[0].type, None), ("OCTET STRING", b"ath0"),
        ("OCTET STRING", b"Harbour Lobby"), ("INTEGER", 0), ("INTEGER", -48), ("INTEGER", -95), ("OCTET STRING", b"-51,-52"),
        ("Gauge32", 130000), ("Gauge32", 117000), ("Gauge32", 98), ("IpAddress", "192.168.1.101"), ("OCTET STRING", b"laptop"),
        ("Counter64", 18233114), ("Counter64", 2210334), ("Counter64", 20100), ("Counter64", 10412), ("Counter32", 0),
        ("Counter32", 7), ("Counter32", 0), ("Gauge32", 0), ("Gauge32", 0)]
    assert "scanner-7" in agent.by_name("snmptable", "-Ob", "-Ci", "zolStationTable")
    assert re.fullmatch(r"ZOLARC-MIB::zolHealthStations.0 = Gauge32: 4\n", agent.by_name("snmpget", "zolHealthStations.0"))

    if host == "bundle":
        agent.hup()
        wait_until(lambda: agent.walk(TABLE), "the stations again")
    # Somebody leaves, joins, and moves on to another interface.
    device.stations.leave(mac)
    device.stations.join("02:00:00:00:00:07", "ath1", signal=-70)
    device.stations.move("f4:5c:89:10:20:30", "ath1")
    wait_until(lambda: (health(agent, JOINED), health(agent, LEFT)) == (2, 2), "the changes")
    wait_until(lambda: len(receiver.told()) >= 4, "the notifications")
    carried = (r"zolNotifyMac\.0 = STRING: 2:0:0:0:0:7\tzolNotifySsid\.0 = STRING: warehouse\t"
               r"zolNotifyInterface\.0 = STRING: ath1\tzolNotifySignal\.0 = INTEGER: -70 dBm\tzolNotifyConnected\.0 = .*")
    assert any(re.fullmatch("zolStationJoined " + carried, line) for line in receiver.told()), receiver.log()
    assert receiver.count() == {"zolStationJoined": 2, "zolStationLeft": 2}
    # As SNMPv1 its enterprise is the extensions' root and its number the specific trap's.
    assert receiver.log().count("\nv1|ZOLARC-MIB::zolarcExtensions|6|ZOLARC-MIB::zolStation") == 4, receiver.log()


def test_both_kinds_of_notifications_and_what_the_guard_refuses(device: Device) -> None:
    receiver = Receiver(device)
    conf = f"zolarcCollect 1\nzolarcNotifications both\nzolarcGuard yes\ntrapsink 127.0.0.1:{receiver.port} public"
    agent = device.start_agent(conf=conf, env=fast_clock(20))
    wait_until(lambda: agent.walk(TABLE) and len(agent.walk("5.1.1")) == 4, "both tables")
    device.stations.leave("00:0b:6b:0a:01:02")
    both = ("v1|ZOLARC-MIB::zolarcExtensions|6|ZOLARC-MIB::zolStationLeft|", "v1|SNMPv2-SMI::enterprises.8072.4|6|.2|")
    wait_until(lambda: all(f"\n{trap}" in receiver.log() for trap in both), "both to tell of the one who left")
    with pytest.raises(SnmpError, match="wrongValue"):
        agent.set("2.1.0", "s", "two\nlines")
    assert health(agent, REFUSED) == 1
    refused = "zolGuardRefused|ZOLARC-MIB::zolNotifyObject.0 = STRING: apName\n"
    wait_until(lambda: refused in receiver.log(), "the refusal to be told")


def test_reuse_serves_both_tables_with_one_command_each(device: Device) -> None:
    conf = "zolarcReuse yes"
    agent = device.start_agent(conf=conf)
    wait_until(lambda: agent.walk(TABLE) and len(agent.walk("5.1.1")) == 4, "both tables")
    assert [value.value for value in agent.walk("5.1.15")] == [18233114, 702334, 11934, 402113]
    assert [value.value for value in agent.walk("5.1.18")] == [12] * 4
    assert [value.value for value in agent.walk("5.1.7")] == [117, 26, 6, 58]
    before = health(agent, COLLECTIONS)
    started, when = health(agent, COMMANDS), time.monotonic()
    device.clear_journal()
    wait_until(lambda: health(agent, COLLECTIONS) >= before + 2, "two more collections")
    calls = [" ".join(call) for call in device.calls()]
    collections = calls.count("iwinfo ath0 assoclist")
    assert 2 <= collections <= 3
    for text in ("wlanconfig ath0 list sta", "wlanconfig ath2 list sta", "iwinfo ath1 assoclist", "cat /var/dhcp.leases"):
        assert abs(calls.count(text) - collections) <= 1, (text, calls.count(text), collections)
    assert (health(agent, COMMANDS) - started) / (time.monotonic() - when) <= 6


@pytest.mark.parametrize("conf", ["zolarcExtensions no", None])
def test_extensions_can_be_missing(device: Device, conf: str | None) -> None:
    agent = device.start_agent(None if conf else device.modules(), conf=conf or "")
    if conf:
        wait_until(lambda: agent.walk("5.1"), "the eight rows")
    assert agent.getnext(EXTENSIONS).oid.startswith(EXTENSIONS) is False
