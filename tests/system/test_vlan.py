"""VLANs are added, edited and deleted over SNMP, and the configuration files and the tables follow."""

from __future__ import annotations

import re

import pytest

from testbed.device import FIRST_MODULE, Agent, Device

Section = dict[str, str | list[str]]

ID, USED, PRIORITY, DHCPC, ADDRESS, NETMASK, FLAGS, TAGGING, DESCRIPTION = (f"22.2.{arc}.0" for arc in range(1, 10))
TRUNK_ID, TRUNK_PRIORITY, TRUNK_FLAGS = (f"22.3.{arc}.0" for arc in range(1, 4))
ADD_OR_EDIT, DELETE = "22.4.0", "22.5.0"


@pytest.fixture
def agent(device: Device) -> Agent:
    """An agent without the background tasks of the whole library: the journal holds what it was asked to do."""
    started = device.start_agent([FIRST_MODULE, *(name for name in device.modules() if name.startswith("vlan"))])
    device.clear_journal()
    return started


def sections(device: Device, package: str) -> list[Section]:
    """The sections of a configuration file, as they stand in it."""
    found: list[Section] = []
    for line in device.read(f"/etc/config/{package}").splitlines():
        if line.startswith("config "):
            found.append({})
        elif match := re.fullmatch(r"\s+(option|list) (\w+) '(.*)'", line):
            kind, name, value = match.groups()
            if kind == "list":
                found[-1].setdefault(name, []).append(value)  # type: ignore[union-attr]
            else:
                found[-1][name] = value
    return found


def flags(seed: int) -> list[str]:
    return [str((seed + 1) * 2654435761 >> bit & 1) for bit in range(32)]


def write(agent: Agent, number: int, variant: int) -> tuple[Section, Section]:
    """Adds or edits the managed VLAN `number` and the trunk VLAN of this id; what their sections must hold then."""
    description, address = f"Pier {number}, berth {variant}", f"10.{variant}.{number}.1"
    agent.set_many([
        (ID, "i", number), (USED, "i", 1 + variant % 2), (PRIORITY, "i", variant), (DHCPC, "i", 1 + number % 2),
        (ADDRESS, "a", address), (NETMASK, "a", "255.255.255.0"), (FLAGS, "s", ";".join(flags(variant))),
        (TAGGING, "i", 1 + number % 2), (DESCRIPTION, "s", description), (TRUNK_ID, "i", number),
        (TRUNK_PRIORITY, "i", 7 - variant), (TRUNK_FLAGS, "s", ";".join(flags(variant + 8))), (ADD_OR_EDIT, "i", 1),
    ])  # fmt: skip
    managed: Section = {
        "vlanid": str(number), "desc": description, "bridge": "All Others", "dhcpc": ("yes", "no")[number % 2],
        "priority": str(variant), "tagging": ("wifi", "ether")[number % 2], "vlan_used": ("on", "off")[variant % 2],
        "wifibridge0": "ath0", "ip": address, "netmask": "255.255.255.0", "wifibridge": flags(variant),
    }  # fmt: skip
    return managed, {"vlanid": str(number), "wifibridge10": "ath0", "priority": str(7 - variant), "bridge": "All Others",
                     "wifibridge1": flags(variant + 8)}


def test_vlans_come_change_and_go(device: Device, agent: Agent) -> None:
    first = sections(device, "vlan"), sections(device, "vlansw")
    written = {number: write(agent, number, number - 101) for number in (101, 102, 103, 104)}
    for number in (103, 101):
        written[number] = write(agent, number, 6)
    for number in (102, 104):
        agent.set_many([(ID, "i", number), (TRUNK_ID, "i", number), (DELETE, "i", 1)])
        del written[number]
    written[105] = write(agent, 105, 5)
    device.uci("commit")  # as the next change would: the flags wait for it
    for kind, package in enumerate(("vlan", "vlansw")):
        assert sections(device, package) == first[kind] + [both[kind] for both in written.values()]


def test_the_tables_show_32_rows(device: Device, agent: Agent) -> None:
    for package, flag in (("vlan", "wifibridge"), ("vlansw", "wifibridge1")):
        text = "".join(f"config vlan\n\toption vlanid {n}\n\toption desc 'Pier {n}'\n\tlist {flag} {n % 2}\n\tlist {flag} 1\n"
                       for n in range(200, 240))
        device.write(f"/etc/config/{package}", text)
    # The first managed section is in no row.
    for table, start, flags_column in (("23", 201, "7"), ("24", 200, "3")):
        shown = {value.oid: value.value for value in agent.walk(table)}
        for row in range(1, 33):
            number = start + row - 1
            assert shown.pop(f"{table}.1.1.{row}.0") == number
            assert shown.pop(f"{table}.1.{flags_column}.{row}.0") == f"{number % 2};1".encode()
            assert table == "24" or shown.pop(f"{table}.1.9.{row}.0") == f"Pier {number}".encode()
        assert not [oid for oid in shown if int(oid.split(".")[3]) > 32]
    agent.set(ID, "i", 239)
    assert agent.get(FLAGS).value == b"1;1", "the last section is found as well"


def test_a_get_shows_what_is_configured_and_leaves_what_is_staged(device: Device, agent: Agent) -> None:
    staged = [(PRIORITY, "i", 6), (FLAGS, "s", "1;1;0"), (TRUNK_PRIORITY, "i", 4), (TRUNK_FLAGS, "s", "0;0;1")]
    agent.set_many([*staged, (ID, "i", 20), (TRUNK_ID, "i", 100)])

    def shown() -> list[object]:
        return [agent.get(oid).value for oid, _, _ in staged]

    assert shown() == [3, b"0;1;1", 5, b"1;0;1"]
    device.write("/etc/config/vlan", "config vlan\n\toption vlanid 0\n\nconfig vlan\n\toption vlanid 020\n"
                 + "\tlist wifibridge 1\n" * 40)
    device.uci("delete vlansw.@vlan[0].wifibridge1")
    assert shown() == [0, (b"1;" * 33)[:66], 5, b""], "what a section lacks is not what is staged"
    agent.set_many([(ID, "i", 21), (TRUNK_ID, "i", 101)])
    assert shown() == [6, b"1;1;0", 4, b"0;0;1"]
