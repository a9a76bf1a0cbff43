"""The threads that collect in the background, under an agent that is reloaded, stopped and kept waiting."""

from __future__ import annotations

import itertools
import os
import signal

import pytest

from conftest import HANGING, ends_well, fast_clock
from testbed.device import Device, wait_until


def collections(device: Device) -> int:
    """How many collections have begun since the journal was cleared."""
    return device.command_lines().count("wlanconfig ath0 list sta")


@pytest.mark.parametrize("ends_by", ["SIGTERM", "a SET"])
def test_a_slow_collection_holds_nothing_up(device: Device, ends_by: str) -> None:
    device.override("iwinfo", delay=HANGING)
    agent = device.start_agent(env=fast_clock(20))
    wait_until(lambda: device.calls("iwinfo"), "a collection to hang")
    for oid in ("2.12.0", "2.1.0", "5.1.1.1.0", "9.1.8.0", "3.1.6.0"):
        agent.get(oid)
    if ends_by == "SIGTERM":
        agent.hup()
        device.clear_journal()
        device.override("iwinfo")
        wait_until(lambda: collections(device) > 0, "sampling to start again behind the command that hung")
        device.override("iwinfo", delay=HANGING)
        device.clear_journal()
        wait_until(lambda: device.calls("iwinfo"), "the next collection to hang")
        os.kill(agent.pid, signal.SIGTERM)
    else:
        agent.set("1.3.0", "i", 1)
    assert agent.wait() == 0


def test_many_collections_leave_the_agent_as_it_was(device: Device) -> None:
    for mac in device.stations.list()[1:]:
        device.stations.leave(mac)
    agent = device.start_agent(env=fast_clock(40))
    wait_until(lambda: collections(device) > 1, "the first collections")
    memory, descriptors = agent.rss_kib(), agent.open_fds()
    device.clear_journal()
    wait_until(lambda: collections(device) > 6, "the next collections")
    assert device.sanitized or agent.rss_kib() - memory < 128
    # What is running at the moment holds one descriptor and may have just ended.
    wait_until(lambda: agent.open_fds() <= descriptors, "no descriptor left open")
    wait_until(lambda: agent.zombies() == 0, "no zombie left")
    # Both of the ports' counters stand still, after a first run that had nothing to compare with.
    wait_until(lambda: agent.get("9.1.8.0").value == 0, "the port's rate to settle")
    octets = itertools.count(2_000_000_000, 1_000_000)

    def has_a_rate() -> bool:
        device.set_state("interfaces/eth0.1", rx_bytes=next(octets))
        return agent.get("9.1.8.0").value != 0

    wait_until(has_a_rate, "the port's rate to follow")
    ends_well(agent)
