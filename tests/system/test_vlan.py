"""VLANs are added, edited and deleted over SNMP, and the configuration files follow step by step."""

from __future__ import annotations

import re
from collections.abc import Callable

import pytest

from testbed.device import FIRST_MODULE, Agent, Device, wait_until

Section = dict[str, str | list[str]]

ID, USED, PRIORITY, DHCPC, ADDRESS, NETMASK, FLAGS, TAGGING, DESCRIPTION = (f"22.2.{arc}.0" for arc in range(1, 10))
TRUNK_ID, TRUNK_PRIORITY, TRUNK_FLAGS = (f"22.3.{arc}.0" for arc in range(1, 4))
ENABLED, ADD_OR_EDIT, DELETE, APPLIED = "22.1.0", "22.4.0", "22.5.0", "22.6.0"


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


class Expected:
    """What a package must hold. The flags of a VLAN reach the file with the next commit only."""

    def __init__(self, device: Device, package: str, flags: str):
        self._device, self._package, self._flags = device, package, flags
        self.sections = sections(device, package)
        self._staged: tuple[Section, list[str]] | None = None

    def _commit(self) -> None:
        if self._staged:
            section, flags = self._staged
            section[self._flags] = flags
            self._staged = None

    def find(self, number: int) -> int | None:
        ids = [section["vlanid"] for section in self.sections]
        return ids.index(str(number)) if str(number) in ids else None

    def write(self, number: int, options: Section, flags: list[str]) -> None:
        self._commit()
        if self.find(number) is None:
            self.sections.append({"vlanid": str(number)})
        section = self.sections[self.find(number) or 0]
        section.update(options)
        self._staged = section, flags
        assert sections(self._device, self._package) == self.sections

    def delete(self, number: int) -> None:
        self._commit()
        del self.sections[self.find(number) or 0]
        assert sections(self._device, self._package) == self.sections


class Editor:
    """Edits VLANs over SNMP and checks the files after each step."""

    def __init__(self, device: Device, agent: Agent):
        self._agent = agent
        self.managed = Expected(device, "vlan", "wifibridge")
        self.trunk = Expected(device, "vlansw", "wifibridge1")
        self._variant = 0

    def stage(self, variant: int) -> None:
        """Stages what the next VLANs have in common."""
        self._variant = variant
        self._agent.set_many([
            (USED, "i", 1 + variant % 2), (PRIORITY, "i", variant), (FLAGS, "s", ";".join(flags(variant))),
            (NETMASK, "a", "255.255.255.0"), (TRUNK_PRIORITY, "i", 7 - variant),
            (TRUNK_FLAGS, "s", ";".join(flags(variant + 8))),
        ])  # fmt: skip

    def write(self, number: int, trunk: bool = True) -> None:
        """Adds or edits the managed VLAN `number` and the trunk VLAN of this id; none of that kind is staged at first."""
        variant = self._variant
        description, address = f"Pier {number}, berth {variant}", f"10.{variant}.{number}.1"
        yes, wifi = number % 2 == 0, number % 3 == 0
        self._agent.set_many([
            *([(TRUNK_ID, "i", number)] if trunk else []),
            (ID, "i", number), (DHCPC, "i", 1 if yes else 2), (ADDRESS, "a", address), (TAGGING, "i", 1 if wifi else 2),
            (DESCRIPTION, "s", description), (ADD_OR_EDIT, "i", 1),
        ])  # fmt: skip
        self.managed.write(number, {
            "desc": description, "bridge": "All Others", "dhcpc": "yes" if yes else "no", "priority": str(variant),
            "tagging": "wifi" if wifi else "ether", "vlan_used": ("on", "off")[variant % 2], "wifibridge0": "ath0",
            "ip": address, "netmask": "255.255.255.0",
        }, flags(variant))  # fmt: skip
        if trunk:
            options: Section = {"wifibridge10": "ath0", "priority": str(7 - variant), "bridge": "All Others"}
            self.trunk.write(number, options, flags(variant + 8))

    def delete(self, number: int) -> None:
        self._agent.set_many([(ID, "i", number), (TRUNK_ID, "i", number), (DELETE, "i", 1)])
        self.managed.delete(number)
        self.trunk.delete(number)


def flags(seed: int) -> list[str]:
    return [str((seed + 1) * 2654435761 >> bit & 1) for bit in range(32)]


def check_tables(agent: Agent, managed: Expected, trunk: Expected) -> None:
    """The first managed section is in no row, the first trunk section is in row 1; 32 rows are shown."""
    columns: dict[int, Callable[[Section], object]] = {
        1: lambda section: int(str(section["vlanid"])), 2: lambda section: 1 if section["vlan_used"] == "on" else 2,
        3: lambda section: int(str(section["priority"])), 4: lambda section: 2 if section["dhcpc"] == "no" else 1,
        5: lambda section: section["ip"], 6: lambda section: section["netmask"],
        7: lambda section: ";".join(section["wifibridge"]).encode(),
        8: lambda section: 1 if section["tagging"] == "wifi" else 2, 9: lambda section: str(section["desc"]).encode(),
    }  # fmt: skip
    trunk_columns = {1: columns[1], 2: columns[3], 3: lambda section: ";".join(section["wifibridge1"]).encode()}
    for table, rows, readers in ((23, managed.sections[1:33], columns), (24, trunk.sections[:32], trunk_columns)):
        expected = [(f"{table}.1.{column}.{row}.0", read(section))
                    for column, read in readers.items() for row, section in enumerate(rows, start=1)]
        assert [(value.oid, value.value) for value in agent.walk(str(table))] == expected


def test_forty_vlans(device: Device, agent: Agent) -> None:
    editor = Editor(device, agent)
    check_tables(agent, editor.managed, editor.trunk)
    for number in range(101, 140):
        if number % 13 == 10:
            editor.stage(variant=number // 13 - 7)
        editor.write(number, trunk=False)
    assert len(editor.managed.sections) == 41
    assert sections(device, "vlansw") == editor.trunk.sections
    for number in (139, 101, 120, 103, 102, 104, 103):
        editor.write(number)
    for number in (102, 101, 139):
        editor.delete(number)
    check_tables(agent, editor.managed, editor.trunk)


def search(package: str, *numbers: int) -> list[str]:
    return [f'uci show {package} -q | grep "vlan\\[{number}\\].vlanid="' for number in numbers]


def rewrite(option: str, flags: str) -> list[str]:
    """The batches that write 32 flags."""
    adds = [f"uci add_list {option}={flag}" for flag in flags]
    batches = adds[:1], adds[1:9], adds[9:17], adds[17:25], adds[25:]
    return [f"uci delete -q {option}", *(";".join(batch) for batch in batches)]


def test_command_lines(device: Device, agent: Agent) -> None:
    def act(action: str, *staged: tuple[str, str, object]) -> list[str]:
        if staged:
            agent.set_many(list(staged))
        device.clear_journal()
        agent.set(action, "i", 1)
        return device.command_lines()

    # Sections 0 and 1 are there; the switches have never been set.
    edit = [
        'uci set vlan.@vlan[2].desc="Pier 4"', 'uci set vlan.@vlan[2].bridge="All Others"',
        "uci set vlan.@vlan[2].priority=5", 'uci set vlan.@vlan[2].wifibridge0="ath0"',
        "uci set vlan.@vlan[2].ip=10.20.1.254", "uci set vlan.@vlan[2].netmask=255.255.0.0", "uci commit vlan",
    ]  # fmt: skip
    assert act(ADD_OR_EDIT, (ID, "i", 30), (DESCRIPTION, "s", "Pier 4"), (PRIORITY, "i", 5), (ADDRESS, "a", "10.20.1.254"),
               (NETMASK, "a", "255.255.0.0"), (FLAGS, "s", "1;1;0;1")) == [
        *search("vlan", 0, 1, 2), ";".join(["uci add vlan vlan", "uci set vlan.@vlan[2].vlanid=30", *edit]),
        *rewrite("vlan.@vlan[2].wifibridge", "1101" + "0" * 28),
    ]  # fmt: skip
    edit.insert(2, "uci set vlan.@vlan[2].dhcpc=no")
    edit[4:4] = ["uci set vlan.@vlan[2].tagging=wifi", "uci set vlan.@vlan[2].vlan_used=off"]
    trunk = [
        "uci set vlansw.@vlan[1].vlanid=7", "uci set vlansw.@vlan[1].wifibridge10=ath0",
        "uci set vlansw.@vlan[1].priority=3", 'uci set vlansw.@vlan[1].bridge="All Others"', "uci commit vlansw",
    ]  # fmt: skip
    assert act(ADD_OR_EDIT, (DHCPC, "i", 2), (TAGGING, "i", 1), (USED, "i", 2), (TRUNK_ID, "i", 7), (TRUNK_PRIORITY, "i", 3),
               (TRUNK_FLAGS, "s", "0" + ";1" * 31)) == [
        *search("vlan", 0, 1, 2), ";".join(edit), *rewrite("vlan.@vlan[2].wifibridge", "1101" + "0" * 28),
        *search("vlansw", 0, 1), "uci add vlansw vlan;uci set vlansw.@vlan[1].vlanid=7", ";".join(trunk),
        *rewrite("vlansw.@vlan[1].wifibridge1", "0" + "1" * 31),
    ]  # fmt: skip
    assert act(DELETE, (ID, "i", 31)) == [
        *search("vlan", 0, 1, 2, 3), *search("vlansw", 0, 1), "uci delete vlansw.@vlan[1];uci commit vlansw",
    ]  # fmt: skip
    # 0 takes back what was staged.
    agent.set_many([(TRUNK_ID, "i", 100), (USED, "i", 0), (DHCPC, "i", 0), (TAGGING, "i", 0)])
    assert act(DELETE, (TRUNK_ID, "i", 0)) == search("vlan", 0, 1, 2, 3)
    staged = ";".join(act(ADD_OR_EDIT, (ID, "i", 30)))
    assert [option for option in ("dhcpc", "tagging", "vlan_used", "vlansw") if option in staged] == []


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


def test_operation(device: Device, agent: Agent) -> None:
    assert agent.get(ENABLED).value == 2
    agent.set(ENABLED, "i", 1)
    assert agent.get(ENABLED).value == 1
    agent.set(ENABLED, "i", 2)
    assert agent.get(ENABLED).value == 2
    agent.set(APPLIED, "i", 1)
    assert [line for line in device.command_lines() if "show" not in line] == [
        "uci set vlanac.activation.enabled=1;uci commit vlanac",
        "uci set vlanac.activation.enabled=0;uci commit vlanac",
        "uci set vlanac.activation.running=1;uci commit vlanac;env -i /etc/init.d/network reload > /dev/null &",
    ]
    wait_until(lambda: device.calls("network") == [["/etc/init.d/network", "reload"]], "the network to reload")
