"""The status module on a simulated device whose ports, addresses, load and clock change while it is asked."""

from __future__ import annotations

import datetime
import platform
import re

from testbed.device import Agent, Device

KERNEL = "2.4.0"
BUSY = "2.8.0"
IDLE = "2.9.0"
CLOCK = "14.1.0"


def text(agent: Agent, oid: str) -> str:
    return agent.get(oid).text


def test_the_real_tools_are_understood(device: Device) -> None:
    agent = device.start_agent(env={"TZ": "XAP-5:30"})
    assert text(agent, KERNEL) == platform.release()[:19]
    assert re.fullmatch(r"\d{1,3}\.\d%", text(agent, BUSY))
    # One measurement, asked twice. What a virtual machine's host takes is in none of its shares.
    device.override("top", output=device.run('top -b -n 1 | grep "CPU:"').stdout)
    assert 0 < sum(float(text(agent, oid).rstrip("%")) for oid in (BUSY, IDLE)) <= 100

    def local_time() -> datetime.datetime:
        there = datetime.datetime.now(datetime.timezone(datetime.timedelta(hours=5, minutes=30)))
        return there.replace(tzinfo=None, microsecond=0)

    before = local_time()
    shown = datetime.datetime.strptime(text(agent, CLOCK), "%Y/%m/%d %H:%M:%S")
    assert before <= shown <= local_time()


def test_a_port_goes_down_and_comes_back(device: Device) -> None:
    (device.state / "dmesg").write_text("")
    device.be_up(10)
    agent = device.start_agent()

    def ports() -> list[tuple[object, str]]:
        return [(agent.get(f"9.{port}.1.0").value, text(agent, f"9.{port}.2.0")) for port in (1, 2)]

    never = (0, "0 Days 00:00:00")
    assert ports() == [never, never]
    # eth0.1 is the switch's port 2, eth0.2 its port 1.
    device.link(2, True, at=10)
    device.be_up(7209)
    assert ports() == [(1, "0 Days 01:59:59"), never]
    # Whole hours to the second count as not connected.
    device.be_up(7210)
    assert ports() == [(0, "0 Days 02:00:00"), never]
    device.link(1, True, at=7210)
    device.be_up(7211)
    assert ports() == [(1, "0 Days 02:00:01"), (1, "0 Days 00:00:01")]
    device.link(2, False, at=7212)
    device.be_up(90000)
    assert ports() == [never, (1, "0 Days 22:59:50")]
    device.link(2, True, at=90000)
    device.be_up(90061)
    assert ports() == [(1, "0 Days 00:01:01"), (1, "0 Days 23:00:51")]
    # An interface that is down has no link, whatever the kernel said of its port.
    device.set_state("interfaces/eth0.2", up=0)
    assert ports()[1] == never
