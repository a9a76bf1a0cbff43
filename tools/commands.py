"""Finds out what every object runs, on the simulated access point: the text of doc/commands.md."""

from __future__ import annotations

import re
import tempfile
from collections.abc import Callable
from pathlib import Path

from testbed.device import Device, wait_until
from tools.model import WHOLE, Object

INTRODUCTION = """\
# What every object runs

Each line below is run by the shell when the object is read or set. Selected indices are 0, rows are the first, and the values
that are set are examples. A SET first reads the object as well. An object that runs nothing holds a value of its own; what the
tables of stations and the ports' rates show has been collected before.

`tools/update` makes this file, and a test compares it with what the library does.

| object | GET | SET |
| --- | --- | --- |
"""

# Where the smallest number or a text of "x" does not show what there is to see.
EXAMPLES = {
    "reboot_device": 1, "reset_ap": 1, "apply_change": 1, "snmp_restart": 1, "wlan_channel": 11, "wlan_datarate": 1,
    "wlan_opmode": 1, "wlan_txpower": 17, "wlan_ssid": "my net", "wlan_countrycode": 276, "security_authtype": 4,
    "security_cipher": 1, "maclist_enabled": 1, "maclist_macaddr": "02:00:00:00:00:01;02:00:00:00:00:02",
    "dns_servers": "192.0.2.1;192.0.2.2", "wan_dnsservers": "192.0.2.1;192.0.2.2", "autoreb_param": "--by-time=03:30",
    "dhcp_ipstart": "192.168.1.100", "dhcp_ipend": "192.168.1.149", "dhcp_leaseperiod": 720,
    "ntpserver_candidates": "0.pool.example.net;1.pool.example.net", "apc_download": 1, "apc_confirm": 1,
    "apc_discovery": "transmit_antenna 3 /lib/bramo/apc_set_ap x", "bandwidth_download": 2, "bandwidth_upload": 2,
    "vlan_addoredit": 1, "vlan_delete": 1, "vlan_applied": 1, "vlan_id": 10, "vlantrunk_id": 10,
}  # fmt: skip

# What belongs to single stations, and what ends the agent.
CLIENTS = ("13.4.", "13.5.")
RESTARTS = ("1.3.0", "17.4.0")

KINDS = {"INTEGER": "i", "IpAddress": "a", "OCTET STRING": "s"}


def example(item: Object) -> object:
    if item.declared_as in EXAMPLES:
        return EXAMPLES[item.declared_as]
    if item.type == "IpAddress":
        return "192.0.2.1"
    lowest = item.accepts[0][0]
    return lowest if item.type == "INTEGER" else "x" * max(lowest, 1)


class Host:
    """An agent, started again where a SET has ended it, and what it makes the device run."""

    def __init__(self, device: Device):
        self.device = device
        # Nothing samples where modules are loaded one by one: the journal holds what requests have run.
        self.modules = device.modules()
        self.agent = device.start_agent(self.modules)

    def lines_of(self, request: Callable[[], object]) -> list[str]:
        self.device.clear_journal()
        request()
        return [re.sub(r"\[[0-9/]+ [0-9:]+\]", "[...]", line) for line in self.device.command_lines()]

    def get(self, oid: str) -> list[str]:
        return self.lines_of(lambda: self.agent.get(oid))

    def set(self, oid: str, kind: str, value: object) -> list[str]:
        def change() -> None:
            self.agent.set(oid, kind, value)
            if oid in RESTARTS:
                self.agent.wait()

        read = self.get(oid)
        lines = self.lines_of(change)
        if oid in RESTARTS:
            self.agent = self.device.start_agent(self.modules)
        return lines[len(read) :] if lines[: len(read)] == read else lines


class SamplingHost(Host):
    """The same with stations in its list, for what belongs to them: the packages of qos."""

    def __init__(self, device: Device):
        self.device = device
        self.agent = device.start_agent()
        wait_until(lambda: self.agent.walk("13.4"), "a station to be listed")

    def lines_of(self, request: Callable[[], object]) -> list[str]:
        return [line for line in super().lines_of(request) if "qos" in line]


def cell(commands: list[str]) -> str:
    return "<br>".join(f"`` {line} ``".replace("|", "\\|").replace("\n", "⏎") for line in commands)


def row(host: Host, item: Object) -> str:
    instance = f"{item.place}.1.0" if item.table else f"{item.place}.0"
    written: list[str] = []
    # The agent's own handlers only store, and refuse what they have no handler for.
    if item.access == "read-write" and item.accepts != WHOLE and (item.accepts or item.type == "IpAddress"):
        written = host.set(instance, KINDS[item.type], example(item))
    return f"| {item.name} | {cell(host.get(instance))} | {cell(written)} |\n"


def render(objects: list[Object], build: Path) -> str:
    # The list names the agent's section as the older uci does.
    with (tempfile.TemporaryDirectory() as folder, Device.create(Path(folder, "one"), build, "2014") as device,
          Device.create(Path(folder, "two"), build, "2014") as sampled):
        host, sampling = Host(device), SamplingHost(sampled)
        return INTRODUCTION + "".join(row(sampling if item.place.startswith(CLIENTS) else host, item)
                                      for item in objects if item.oid[0] == 1)
