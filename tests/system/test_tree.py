"""The whole tree of a device on which there is something of everything, by name, however the library is hosted."""

from __future__ import annotations

import pytest

from conftest import start_subagent
from testbed.device import Agent, Device, wait_until
from tools import made, whole_tree
from tools.model import load


def start(device: Device, host: str) -> Agent:
    if host == "bundle":
        return device.start_agent()
    if host == "AgentX":
        return start_subagent(device)[0]
    sampling = "dlmod sampling_host /opt/zolarc/lib/tests/sampling_host.so"
    first, *others = device.modules()
    # Any order will do behind the first module.
    return device.start_agent([first, *reversed(others)], conf=sampling)


@pytest.mark.parametrize("host", ["bundle", "AgentX", "single modules"])
def test_the_whole_tree(device: Device, host: str) -> None:
    whole_tree.prepare(device)
    agent = start(device, host)
    whole_tree.fill(agent)
    expected = made.TREE.path.read_text()
    try:
        wait_until(lambda: whole_tree.walk(agent) == expected, "the tree to be as expected")
    except TimeoutError:
        pytest.fail(made.TREE.difference(whole_tree.walk(agent), load(device.build / "list-objects")))
