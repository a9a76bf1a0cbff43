"""The whole tree of a device on which there is something of everything, by name, however the library is hosted."""

from __future__ import annotations

import difflib
import itertools
import re
from pathlib import Path

import pytest

from conftest import snmp_by_name, start_subagent
from testbed.device import Agent, Device, wait_until

EXPECTED = Path(__file__).with_name("whole_tree.txt")

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

# What moves with the time of day.
TIMES = re.compile(r"(?P<object>clientUptime|zolLeaseTime|currentTime)(?P<rest>\S* = STRING: ).*")


@pytest.fixture
def full_device(device: Device) -> Device:
    """What it runs on is always the same. The ports' counters stand still, so their rates are 0."""
    (device.state / "uptime").write_text("90061.25 1.00\n")
    device.override("uname", output="Linux ap 3.3.8 #1 mips GNU/Linux\n")
    device.override("top", output="Mem: 20480K used, 40960K free, 0K shrd, 2048K buff, 8192K cached\n"
                                  "CPU:  12% usr   5% sys   0% nic  80% idle   2% io   0% irq   1% sirq\n")
    return device


def start(device: Device, host: str) -> Agent:
    if host == "bundle":
        return device.start_agent()
    if host == "AgentX":
        return start_subagent(device)[0]
    sampling = "dlmod sampling_host /opt/zolarc/lib/tests/sampling_host.so"
    return device.start_agent(device.modules(), conf=sampling)


@pytest.mark.parametrize("host", ["bundle", "AgentX", "single modules"])
def test_the_whole_tree(full_device: Device, host: str) -> None:
    agent = start(full_device, host)
    wait_until(lambda: "clientUptime.4" in snmp_by_name("snmpwalk", agent, "clientTable"), "the stations to be listed")
    # The last of them are of the client that was selected before.
    for settings in SETTINGS.split("\n\n"):
        words = settings.split()
        names = [f"{name}.0" for name in words[::3]]
        bindings = zip(names, words[1::3], words[2::3], strict=True)
        snmp_by_name("snmpset", agent, *itertools.chain.from_iterable(bindings))

    def walk() -> list[str]:
        return TIMES.sub(r"\g<object>\g<rest>(a time)", snmp_by_name("snmpwalk", agent, "zolarc")).splitlines()

    expected = EXPECTED.read_text().splitlines()
    try:
        wait_until(lambda: walk() == expected, "the tree to be as expected")
    except TimeoutError:
        actual = walk()
        (full_device.path / EXPECTED.name).write_text("\n".join([*actual, ""]))
        difference = "\n".join(difflib.unified_diff(expected, actual, "expected", "answered", lineterm="", n=0))
        pytest.fail(f"all of the answer: {full_device.path / EXPECTED.name}\n{difference}")
