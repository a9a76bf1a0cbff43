"""The status module on a simulated device whose ports, addresses, load and clock change while it is asked."""

from __future__ import annotations

import datetime
import platform
import re

import pytest

from testbed.device import Agent, Device
from testbed.snmp import SnmpError

REBOOT = "1.1.0"
KERNEL = "2.4.0"
UPTIME = "2.5.0"
BUSY = "2.8.0"
IDLE = "2.9.0"
LAN_ADDRESS = "8.1.2.0"
CLOCK = "14.1.0"


def text(agent: Agent, oid: str) -> str:
    return agent.get(oid).text


def test_values_follow_the_device(device: Device) -> None:
    device.set_state("", uptime="90061.93 12.00")
    device.override("top", output="CPU:  1.5% usr  2.0% sys  0.0% nic 96.5% idle  0.0% io  0.0% irq  0.0% sirq\n")
    device.set_state("interfaces/eth0.1", rx_bytes=3_000_000_000)
    agent = device.start_agent()

    def numbers() -> dict[str, object]:
        ports = [f"9.{port}.{column}" for port in (1, 2) for column in (1, 4, 5, 6, 7)]
        addresses = [f"8.{side}.{column}" for side in (1, 2) for column in (2, 3, 4)]
        values = agent.get_many([f"{oid}.0" for oid in ["1.1", *addresses, *ports]])
        return {value.oid.removesuffix(".0"): value.value for value in values}

    expected = {
        "1.1": 0,
        "8.1.2": "192.168.1.1", "8.1.3": "255.255.255.0", "8.1.4": "192.168.1.254",
        "8.2.2": "198.51.100.2", "8.2.3": "255.255.255.252", "8.2.4": "198.51.100.1",
        "9.1.1": 1, "9.1.4": 3_000_000_000 - 2**32, "9.1.5": 8810023, "9.1.6": 0, "9.1.7": 0,
        "9.2.1": 1, "9.2.4": 402113, "9.2.5": 298114, "9.2.6": 0, "9.2.7": 0,
    }  # fmt: skip
    assert numbers() == expected
    assert (text(agent, BUSY), text(agent, IDLE)) == ("3.5%", "96.5%")
    assert text(agent, UPTIME) == "1 Days 01:01:01"
    assert agent.get("9.2.3.0").value == bytes.fromhex("000a521b2c2f")
    assert {agent.get(f"9.{port}.{rate}.0").type for port in (1, 2) for rate in (8, 9)} == {"INTEGER"}

    device.set_state("", uptime="86400.00 1.00")
    device.override("top", output="")
    device.uci("set network.lan.ipaddr=10.0.0.7")
    device.uci("delete network.wan.gateway")
    device.set_state("interfaces/eth0.1", up=0)
    device.set_state("interfaces/eth0.2", rx_bytes=402114)
    down = {"9.1.1": 0, "9.1.4": 0, "9.1.5": 0}
    assert numbers() == {**expected, **down, "8.1.2": "10.0.0.7", "8.2.4": "0.0.0.0", "9.2.4": 402114}
    assert (text(agent, BUSY), text(agent, IDLE)) == ("0.0%", "0.0%")
    assert text(agent, UPTIME) == "1 Days 00:00:00"


def test_the_real_tools_are_understood(device: Device) -> None:
    agent = device.start_agent(env={"TZ": "XAP-5:30"})
    assert text(agent, KERNEL) == platform.release()[:19]
    assert re.fullmatch(r"\d{1,3}\.\d%", text(agent, BUSY))
    # One measurement, asked twice; busybox cuts each of its seven shares to a whole number.
    device.override("top", output=device.run('top -b -n 1 | grep "CPU:"').stdout)
    assert sum(float(text(agent, oid).rstrip("%")) for oid in (BUSY, IDLE)) == pytest.approx(100, abs=7)

    def local_time() -> datetime.datetime:
        there = datetime.datetime.now(datetime.timezone(datetime.timedelta(hours=5, minutes=30)))
        return there.replace(tzinfo=None, microsecond=0)

    before = local_time()
    shown = datetime.datetime.strptime(text(agent, CLOCK), "%Y/%m/%d %H:%M:%S")
    assert before <= shown <= local_time()


def test_a_port_goes_down_and_comes_back(device: Device) -> None:
    def now(seconds: float) -> None:
        device.set_state("", uptime=f"{seconds:.2f} 0.00")

    (device.state / "dmesg").write_text("")
    now(10)
    agent = device.start_agent()

    def ports() -> list[tuple[object, str]]:
        return [(agent.get(f"9.{port}.1.0").value, text(agent, f"9.{port}.2.0")) for port in (1, 2)]

    never = (0, "0 Days 00:00:00")
    assert ports() == [never, never]
    # eth0.1 is the switch's port 2, eth0.2 its port 1.
    device.link(2, True, at=10)
    now(7209)
    assert ports() == [(1, "0 Days 01:59:59"), never]
    # Whole hours to the second count as not connected.
    now(7210)
    assert ports() == [(0, "0 Days 02:00:00"), never]
    device.link(1, True, at=7210)
    now(7211)
    assert ports() == [(1, "0 Days 02:00:01"), (1, "0 Days 00:00:01")]
    device.link(2, False, at=7212)
    now(90000)
    assert ports() == [never, (1, "0 Days 22:59:50")]
    device.link(2, True, at=90000)
    now(90061)
    assert ports() == [(1, "0 Days 00:01:01"), (1, "0 Days 23:00:51")]
    # An interface that is down has no link, whatever the kernel said of its port.
    device.set_state("interfaces/eth0.2", up=0)
    assert ports()[1] == never


def test_sets_that_pass_and_sets_that_are_refused(device: Device, agent: Agent) -> None:
    for value in (0, -1):
        agent.set(REBOOT, "i", value)
        assert agent.get(REBOOT).value == value
    # The setters of these are handed out, and yet the agent lets nothing through.
    for oid, kind, text_sent in ((LAN_ADDRESS, "a", "10.0.0.1"), (CLOCK, "s", "2024/01/31 10:20:30"), (KERNEL, "s", "4.4")):
        with pytest.raises(SnmpError, match="notWritable"):
            agent.set(oid, kind, text_sent)
    assert device.calls("reboot") == device.calls("date") == []
    assert not [line for line in device.command_lines() if "uci set network" in line]
    assert agent.get(REBOOT).value == -1

    agent.set(REBOOT, "i", 1)
    assert "reboot" in device.command_lines()
    assert agent.get(REBOOT).value == 1


def test_presets_of_the_configuration_show_until_the_device_answers(device: Device) -> None:
    device.override("uname", output="")
    plain = device.start_agent()
    assert text(plain, KERNEL) == "3.3.8"
    preset = device.start_agent(conf="reboot_device 1\nld_version 3.3.8-of-the-operator\n")
    assert text(preset, KERNEL) == "3.3.8-of-the-ope..."
    assert preset.get(REBOOT).value == 1
    assert "Unknown token" not in preset.log()
