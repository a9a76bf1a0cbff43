"""The device and maintenance objects: what each answers, what each runs, and what reaches the device."""

from __future__ import annotations

import contextlib
import re

import pytest

from testbed.device import Agent, Device, wait_until
from testbed.snmp import SnmpError


def test_a_host_name_survives_without_its_option(device: Device, agent: Agent) -> None:
    agent.set("2.1.0", "s", "kept")
    device.uci("delete system.@system[0].hostname")
    assert agent.get("2.1.0").text == "kept"


def test_applying_changes_ends_the_agent_after_its_answer(device: Device, agent: Agent) -> None:
    device.write("/etc/precious", "kept")
    device.host_path("/tmp/snmp_log").symlink_to("/etc/precious")
    assert agent.set("1.3.0", "i", 1).value == 1
    assert agent.wait() == 0
    assert device.read("/etc/precious") == "kept"
    assert re.fullmatch(r"\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\] snmpd applying change\.\.\.\n", device.read("/var/snmp_log"))


def test_settings_on_the_agents_own_handlers(device: Device, agent: Agent) -> None:
    starts = {"3.1.8.0": 1, "3.1.11.0": 1, "3.1.12.0": 1, "3.1.17.0": 0, "3.1.18.0": 0, "16.1.0": 1}
    for oid, start in starts.items():
        assert agent.get(oid).value == start
        # Where a long has eight bytes this handler of the agent refuses every value; on the device it stores it.
        with contextlib.nullcontext() if device.machine else pytest.raises(SnmpError, match="wrongLength"):
            agent.set(oid, "i", 5)
    assert agent.get("16.2.0").text == "http://127.0.0.1/redirect"
    for url in ("", "http://192.168.1.1/login", "x" * 120):
        agent.set("16.2.0", "s", url)
        assert agent.get("16.2.0").text == url
    for length in (121, 1200):
        with pytest.raises(SnmpError, match="wrongLength"):
            agent.set("16.2.0", "s", "y" * length)
    assert agent.get("16.2.0").text == "x" * 120
    assert device.command_lines() == []


def test_a_token_presets_and_a_get_replaces_it(device: Device) -> None:
    agent = device.start_agent(conf="stats_latitude 12\nap_name " + "n" * 40 + "\nwlan_status0 2")
    assert agent.get("2.12.0").value == 12
    assert agent.get("1.4.1.0").value == 1
    assert agent.get("2.1.0").text == "ap-lobby"


@pytest.mark.parametrize("bundle", [True, False])
def test_reloading_and_asking_much_leave_the_agent_as_it_was(device: Device, bundle: bool) -> None:
    agent = device.start_agent(None if bundle else device.modules())
    wait_until(lambda: agent.zombies() == 0, "no zombie")
    before = [(value.oid, value.type) for value in agent.walk("1")]
    for _ in range(5):
        agent.hup()
    assert [(value.oid, value.type) for value in agent.walk("1")] == before
    descriptors, memory = agent.open_fds(), agent.rss_kib()
    for _ in range(5):
        agent.hup()
    ours = [line for line in agent.log().splitlines() if "duplicate registration" in line and ".32473." in line]
    assert ours == []
    # A sanitizer keeps what was freed.
    assert device.sanitized or agent.rss_kib() - memory < 2048
    memory = agent.rss_kib()
    for _ in range(500):
        agent.get_many(["2.12.0", "1.2.0", "2.6.0", "2.11.0", "3.1.8.0"] * 4)
    assert device.sanitized or agent.rss_kib() - memory < 512
    wait_until(lambda: agent.open_fds() <= descriptors + 2, "no descriptor left open")
    wait_until(lambda: agent.zombies() == 0, "no zombie left")
