"""The tables of interface statistics, neighbouring networks and leases, asked in every way while the device changes."""

from __future__ import annotations

from collections.abc import Callable, Iterator
from pathlib import Path

import pytest

from testbed.device import Agent, Device
from testbed.snmp import Value

CORPUS = Path(__file__).resolve().parents[1] / "fuzz/corpus"

STATISTICS, SURVEY, LEASES = "4.1", "19.1", "11.1"

# What each column runs, and the value of the state folder that it shows; no value for the addresses and the stations.
COLUMNS = [
    ("iwconfig {}", None), ("iwinfo {} info", "ack_timeout"), ("iwinfo {} info", "dfs_status"),
    ("iwconfig {}", "bit_rate"), ("wlanconfig {} list sta", None), ("iwconfig {}", None),
    ("ifconfig {}", "tx_packets"), ("ifconfig {}", "tx_bytes"), ("ifconfig {}", "tx_errors"),
    ("iwconfig {}", "tx_excessive_retries"), ("iwconfig {}", "missed_beacons"), ("ifconfig {}", "rx_packets"),
    ("ifconfig {}", "rx_bytes"), ("ifconfig {}", "rx_errors"), ("iwconfig {}", "rx_invalid_nwid"),
    ("iwconfig {}", "rx_invalid_crypt"), ("iwconfig {}", "rx_invalid_frag"),
]  # fmt: skip


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


def column(agent: Agent, oid: str) -> list[object]:
    return [value.value for value in agent.walk(oid)]


def distinct_figures(device: Device) -> dict[str, object]:
    """Gives every figure of the three bridged interfaces a value of its own; what the table must show then."""
    device.stations.join("02:00:0a:00:00:0b", "ath2")
    expected: dict[str, object] = {}
    for number, (_, state) in enumerate(COLUMNS, start=1):
        for row in (1, 2, 3):
            value: object = 1000 * row + number
            if state is not None:
                device.set_state(f"interfaces/ath{row - 1}", bit_rate_fixed=0, **{state: value})
            elif number == 5:
                value = (2, 2, 1)[row - 1]
            else:
                address = (device.state / f"interfaces/ath{row - 1}/bssid").read_text()
                value = bytes.fromhex(address.replace(":", ""))
            expected[f"{STATISTICS}.{number}.{row}.0"] = value
    return expected


def test_every_way_to_ask_shows_what_the_tools_print(device: Device, tables: Agent) -> None:
    expected = distinct_figures(device)
    assert len(expected) == 51
    walked = tables.walk(STATISTICS)
    # One command for each cell and one for the rows; then the next table is asked for its first cell.
    commands = ["brctl show"] + [command.format(f"ath{row}") for command, _ in COLUMNS for row in range(3)]
    assert device.command_lines()[:-1] == commands
    assert cells(walked) == expected
    assert cells(list(chain(tables, STATISTICS))) == expected
    for repetitions in (1, 7, 60):
        assert cells(tables.bulkwalk(STATISTICS, repetitions)) == expected
    assert {value.oid: value.value for value in tables.get_many(list(expected)[::-1])} == expected

    for table in (SURVEY, LEASES):
        walked = tables.walk(table)
        assert len(cells(walked)) == {SURVEY: 4 * 3 * 6, LEASES: 4 * 4}[table]
        timeless = [value for value in walked if not value.oid.startswith(f"{LEASES}.3.")]
        for values in (list(chain(tables, table)), tables.bulkwalk(table, 400)):
            cells(values)
            assert [value for value in values if not value.oid.startswith(f"{LEASES}.3.")] == timeless

    # The name of a cell without its instance is answered under the whole name.
    assert tables.get(f"{STATISTICS}.4.2") == Value(f"{STATISTICS}.4.2.0", "INTEGER", 2004)
    assert tables.get(f"{STATISTICS}.4.4.0").type == tables.get(f"{STATISTICS}.4.2.1").type == "noSuchInstance"


def test_networks_are_served_as_they_are(tables: Agent) -> None:
    names = [b"north-quay", b"Caf", b"th", b"unknown", b"abcdefghijklmnopqrstuvwxyz012", "Hafencafé-Süd".encode()]
    assert column(tables, f"{SURVEY}.1")[:6] == names
    assert column(tables, f"{SURVEY}.2")[:6] == [1, 6, 11, 11, 3, 13]
    assert column(tables, f"{SURVEY}.3")[:2] == [bytes.fromhex("001d7ea1b2c3"), bytes.fromhex("001d7ea1b2c4")]
    assert column(tables, f"{SURVEY}.4")[:6] == [-62, -71, -80, -85, -90, -77]


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
    assert tables.get(f"{SURVEY}.1.2.0").value is tables.get(f"{LEASES}.4.1.0").value is None

    device.write("/tmp/dhcp.leases", leases)
    for interface in ("ath0", "ath1", "ath2"):
        device.set_state(f"interfaces/{interface}", bridge="br-lan")
    device.set_state("neighbours/08", bssid=None, essid=None, channel=None, signal=None, radio=None)
    (device.state / "neighbours/08").rmdir()
    assert counts() == rows


def test_hostile_output_does_no_harm_to_the_next_walk(device: Device, tables: Agent) -> None:
    leases = device.read("/tmp/dhcp.leases")

    def survey(output: bytes | None) -> None:
        device.override("iwinfo", output=output)

    def lease_file(output: bytes | None) -> None:
        device.write("/tmp/dhcp.leases", leases if output is None else output)

    def figures(output: bytes | None) -> None:
        for tool in ("iwconfig", "ifconfig", "iwinfo", "wlanconfig"):
            device.override(tool, output=output)

    hostile: list[tuple[str, Callable[[bytes | None], None], str, int]] = [
        (STATISTICS, figures, "interface_statistics", 3), (SURVEY, survey, "site_survey", 96),
        (LEASES, lease_file, "dhcp_leases", 32),
    ]  # fmt: skip
    for table, feed, corpus, most in hostile:
        # The remaining time of a lease does not stand still.
        columns = [f"{table}.{number}" for number in (1, 2, 4)]
        before = [column(tables, oid) for oid in columns]
        files = sorted((CORPUS / corpus).iterdir())
        assert files
        for file in files:
            feed(file.read_bytes())
            rows = len(tables.walk(f"{table}.1"))
            assert rows == most if file.name == "more-than-capacity" else rows <= most, file
            cells(tables.bulkwalk(table, 100))
            feed(None)
            assert [column(tables, oid) for oid in columns] == before, file
    assert tables.running()
