"""Walks the tree of a simulated access point on which there is something of everything: the tree's expectation."""

from __future__ import annotations

import itertools
import re
import tempfile
import time
from pathlib import Path

from testbed.device import Agent, Device, wait_until
from tools.model import Object

# What the sample device has no value for, set by a manager.
SETTINGS = """
statsLongtitude i -3
statsLatitude i 53
wlanIndex i 1
wlanProfilemode i 7
wlanChannel i 44
wlanDatarate i 24
wlanTxpower i 17
wlanKickclientmaclist s 02:11:22:33:44:77
securityIndex i 1
securityKey1 s 0123456789
securityKey2 s abcde
securityKey3 s 9876543210
securityKey4 s fghij
securityKey s correct-horse-7
maclistIndex i 1
maclistEnabled i 1
maclistMacaddr s 02:11:22:33:44:55;02:11:22:33:44:66
adminPwd s harbour-7
autorebParam s --by-time=03:30
autorebEnable = enabled
bandwidthIndex i 2
apcStatus i 1
apcFailreason s none
apcFilecsum s d41d8cd98f00b204e9800998ecf8427e
apcFwversion s 15
vlanId i 10

bandwidthDownload = express
bandwidthUpload = low
"""

# What moves with the time of day, and what with every run and build.
TIMES = re.compile(r"(?P<object>clientUptime|zolLeaseTime|currentTime)(?P<rest>\S* = STRING: ).*")
FIGURES = re.compile(r"(?P<object>zolStationConnected|zolHealth(Commands|Shells|Reused|Late|Collection\w*|Uptime|Build))"
                     r"(?P<rest>\S* = \w+: ).*")

# How long the answers must stand still to be the device's last word: longer than the tasks that collect sleep.
SETTLED_SECONDS = 13


def prepare(device: Device) -> None:
    """What it runs on is always the same. The ports' counters stand still, so their rates are 0."""
    (device.state / "uptime").write_text("90061.25 1.00\n")
    device.override("uname", output="Linux ap 3.3.8 #1 mips GNU/Linux\n")
    device.override("top", output="Mem: 20480K used, 40960K free, 0K shrd, 2048K buff, 8192K cached\n"
                                  "CPU:  12% usr   5% sys   0% nic  80% idle   2% io   0% irq   1% sirq\n")


def fill(agent: Agent) -> None:
    """Waits for the stations and sets what a manager would set."""
    wait_until(lambda: "clientUptime.4" in agent.by_name("snmpwalk", "clientTable"), "the stations to be listed")
    # The last of the settings are of the client that was selected before.
    for settings in SETTINGS.split("\n\n"):
        words = settings.split()
        names = [f"{name}.0" for name in words[::3]]
        agent.by_name("snmpset", *itertools.chain.from_iterable(zip(names, words[1::3], words[2::3], strict=True)))


# What the first line of what stands beside the tree begins with.
FIRST_BESIDE = "ZOLARC-MIB::zolStation"


def walk(agent: Agent, *, beside: bool = True) -> str:
    """The tree, and what stands beside it, which single modules do not have."""
    answer = TIMES.sub(r"\g<object>\g<rest>(a time)", agent.by_name("snmpwalk", "zolarc"))
    if beside:
        answer += FIGURES.sub(r"\g<object>\g<rest>(a figure)", agent.by_name("snmpwalk", "-Ob", "zolarcExtensions"))
    return answer


def render(_: list[Object], build: Path) -> str:
    with tempfile.TemporaryDirectory() as folder, Device.create(Path(folder, "device"), build) as device:
        prepare(device)
        agent = device.start_agent()
        fill(agent)
        answer, since = walk(agent), time.monotonic()
        while time.monotonic() - since < SETTLED_SECONDS:
            if (now := walk(agent)) != answer:
                answer, since = now, time.monotonic()
        return answer
