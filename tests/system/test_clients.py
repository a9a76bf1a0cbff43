"""The associated stations as an agent lists them that collects them in the background, and its traps."""

from __future__ import annotations

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
