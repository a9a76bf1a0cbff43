"""The associated stations as an agent lists them that collects them in the background, and its traps."""

from __future__ import annotations

import re
import threading

from conftest import ends_well, fast_clock
from testbed.device import Agent, Device, wait_until

TABLE = "5.1"
MAC, SSID, SIGNAL, TX_RATE, TX_BYTES, ASSOCIATED = "1", "2", "3", "6", "15", "21"


def column(agent: Agent, number: str) -> list[object]:
    return [value.value for value in agent.walk(f"{TABLE}.{number}")]


def stations(agent: Agent) -> list[str]:
    """The MAC addresses of the table, row by row."""
    return [mac.hex(":") for mac in column(agent, MAC)]  # type: ignore[union-attr]


def listed(agent: Agent, expected: list[str]) -> None:
    wait_until(lambda: stations(agent) == expected, f"the table to list {expected}, not {stations(agent)}")


def test_stations_appear_with_everything_that_is_known_of_them(device: Device) -> None:
    # Neither interface exists for the kernel, so that the rows are in the order of the addresses.
    rows = ["00:0b:6b:0a:01:02", "02:aa:bb:cc:01:0f", "02:aa:bb:cc:dd:ee", "f4:5c:89:10:20:30"]
    agent = device.start_agent()
    assert [value.oid for value in agent.walk(TABLE)] == []
    listed(agent, rows)
    expected = {
        "2": [b"Harbour Lobby", b"warehouse", b"warehouse", b"Harbour Lobby"],
        "3": [-48, -70, -77, -61],
        "4": [b"-51,-52", b"-71,-77", b"-78,-84", b"-63,-66"],
        "5": [-95] * 4,
        "6": [130, 26, 13, 65],
        "7": [117, 26, 6, 58],
        "8": [98, 66, 41, 87],
        "9": ["192.168.1.101", "192.168.1.104", "192.168.1.103", "192.168.1.102"],
        "12": [10412, 4011, 93, 512],
        "13": [2210334, 512334, 8812, 71224],
        "14": [20100, 3920, 120, 911],
        "15": [18233114, 702334, 11934, 402113],
        "16": [3, 1, 1, 5],
        "17": [3] * 4,
        "18": [12] * 4,
        "19": [7, 0, 0, 0],
        "20": [3, 1, 1, 3],
        "21": [2, 1, 1, 3],
    }  # fmt: skip
    for number, values in expected.items():
        assert column(agent, number) == values, f"column {number}"
    for text, minutes in zip(column(agent, "10"), [3, 13, 10, 6], strict=True):
        assert re.fullmatch(rf"0 Days 00:{minutes:02d}:\d\d", text.decode())  # type: ignore[union-attr]

    walked = agent.walk(TABLE)
    assert len(walked) == 20 * 4
    assert agent.bulkwalk(TABLE) == walked
    assert agent.get(f"{TABLE}.3.1").oid == f"{TABLE}.3.1.0"
    assert agent.get(f"{TABLE}.3.5.0").type.startswith("noSuch")
    assert agent.get(f"{TABLE}.11.1.0").type.startswith("noSuch")
    assert agent.getnext(f"{TABLE}.10.4.0").oid == f"{TABLE}.12.1.0"


def test_the_table_and_the_traps_follow_the_stations(device: Device) -> None:
    first = device.stations.list()
    # What is not bridged is not searched.
    device.set_state("interfaces/ath2", bridge=None)
    receiver = device.start_trapd()
    agent = device.start_agent(conf=receiver.sink, env=fast_clock(20))

    def heard(joined: int, lost: int) -> None:
        def count() -> tuple[int, int]:
            kinds = [(trap.generic, trap.specific) for trap in receiver.traps()]
            # The first one tells that the agent has started.
            return kinds.count((0, 0)) - 1, kinds.count((6, 2))

        wait_until(lambda: count() == (joined, lost), f"{joined} joined and {lost} lost, not {count()}")

    # Somebody asks all the time, as a manager may.
    stop = threading.Event()
    answers: list[int] = []

    def ask() -> None:
        while not stop.is_set():
            answers.append(len(agent.walk(TABLE)))
            stop.wait(0.1)

    manager = threading.Thread(target=ask)
    manager.start()
    try:
        listed(agent, first)
        heard(4, 0)
        device.stations.write(first[0], signal=-33, tx_rate="6.0", counters={"tx_bytes": 105, "tx_assoc": 10})
        # A collection under way may have read some of it before.
        changed = {SIGNAL: -33, TX_RATE: 6, TX_BYTES: 105, ASSOCIATED: 10}
        wait_until(lambda: {number: column(agent, number)[0] for number in changed} == changed, "the row to change")

        for mac in first[1:]:
            device.stations.leave(mac)
        listed(agent, first[:1])
        heard(4, 3)
        device.stations.join("00:00:00:00:00:01", "ath0")
        device.stations.join("fe:00:00:00:00:01", "ath1")
        listed(agent, ["00:00:00:00:00:01", first[0], "fe:00:00:00:00:01"])
        assert column(agent, SSID)[2] == b"warehouse"
        heard(6, 3)

        # Of ten stations the last two that are found are never listed: the first interface comes first, and there the
        # smaller addresses. The list knows no interface of the kernel, its rows are in the order of the addresses.
        more = [f"00:00:00:00:00:{number:02x}" for number in range(2, 7)]
        for mac in more:
            device.stations.join(mac, "ath0")
        for mac in ("00:00:00:00:00:aa", "00:00:00:00:00:bb"):
            device.stations.join(mac, "ath1")
        listed(agent, ["00:00:00:00:00:01", *more, "00:00:00:00:00:aa", first[0]])
        heard(11, 3)
    finally:
        stop.set()
        manager.join()
    # Each walk saw whole rows of a list that was changed at once; the columns may be of different moments.
    assert answers and max(answers) <= 20 * 8
    ends_well(agent)
