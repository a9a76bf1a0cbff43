"""The tables of interface statistics, neighbouring networks and leases, asked in every way while the device changes."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from testbed.device import Agent, Device
from testbed.snmp import Value

STATISTICS, SURVEY, LEASES = "4.1", "19.1", "11.1"


@pytest.fixture
def tables(device: Device) -> Agent:
    """An agent with these tables alone, so that nothing but their commands runs."""
    agent = device.start_agent(["zol_AssociatedClients", "zol_table", "scanning_table", "dhcpactive_table"])
    device.clear_journal()
    return agent


def cells(values: list[Value]) -> dict[str, object]:
    """The cells of a walk, whose names must grow."""
    names = [[int(arc) for arc in value.oid.split(".")] for value in values]
    assert names == sorted(names) and len({value.oid for value in values}) == len(values)
    return {value.oid: value.value for value in values}


def chain(agent: Agent, table: str) -> Iterator[Value]:
    value = agent.getnext(table)
    while value.oid.startswith(f"{table}."):
        yield value
        value = agent.getnext(value.oid)


def test_every_way_to_ask_shows_the_same(device: Device, tables: Agent) -> None:
    walked = tables.walk(STATISTICS)
    assert len(walked) == 17 * 3
    # One command for each cell and one for the rows; then the next table is asked for its first cell.
    lines = device.command_lines()[:-1]
    assert lines[0] == "brctl show" and len(lines) == 1 + 17 * 3
    assert all(line.split()[1] in ("show", "ath0", "ath1", "ath2") for line in lines)
    assert tables.get_many([value.oid for value in reversed(walked)]) == walked[::-1]
    for table in (STATISTICS, SURVEY, LEASES):
        walked = tables.walk(table)
        timeless = [value for value in walked if not value.oid.startswith(f"{LEASES}.3.")]
        for values in (list(chain(tables, table)), *(tables.bulkwalk(table, repetitions) for repetitions in (1, 7, 400))):
            cells(values)
            assert [value for value in values if not value.oid.startswith(f"{LEASES}.3.")] == timeless
    # The name of a cell without its instance is answered under the whole name.
    assert tables.get(f"{STATISTICS}.4.2").oid == f"{STATISTICS}.4.2.0"
    assert tables.get(f"{STATISTICS}.4.4.0").type == tables.get(f"{STATISTICS}.4.2.1").type == "noSuchInstance"


def test_what_comes_and_goes_shows_at_the_next_walk(device: Device, tables: Agent) -> None:
    rows = {STATISTICS: 3, SURVEY: 18, LEASES: 4}

    def counts() -> dict[str, int]:
        return {table: len(tables.walk(f"{table}.1")) for table in rows}

    # Nothing lives before the first cell was asked for once.
    assert all(tables.get(f"{table}.2.1.0").value is None for table in rows)
    assert counts() == rows

    leases = device.read("/tmp/dhcp.leases")
    device.set_state("interfaces/ath3", bridge="br-lan")
    device.set_state("neighbours/08", bssid="02:00:00:00:00:08", essid="new", channel=9, signal=-50, radio="wifi0")
    device.write("/tmp/dhcp.leases", leases + leases)
    assert tables.get(f"{STATISTICS}.2.4.0").value is tables.get(f"{LEASES}.2.5.0").value is None
    # Its radio is another one, which does not hear the new network but one that the others do not hear.
    assert counts() == {STATISTICS: 4, SURVEY: 3 * 7 + 7, LEASES: 8}

    for interface in ("ath0", "ath1", "ath2", "ath3"):
        device.set_state(f"interfaces/{interface}", bridge=None)
    device.write("/tmp/dhcp.leases", "")
    assert counts() == {STATISTICS: 0, SURVEY: 0, LEASES: 0}
