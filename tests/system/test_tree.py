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
    beside = host != "single modules"
    if not beside:
        expected = expected.partition(whole_tree.FIRST_BESIDE)[0]
    try:
        wait_until(lambda: whole_tree.walk(agent, beside=beside) == expected, "the tree to be as expected")
    except TimeoutError:
        pytest.fail(made.TREE.difference(whole_tree.walk(agent, beside=beside), load(device.build / "list-objects")))


def test_the_edges_of_tables_are_the_same_however_the_library_is_hosted(device: Device) -> None:
    """The bundle registers columns, a module its cells."""
    edges = [f"{column}{tail}" for column in ("4.1.1.1", "4.1.1.16", "13.6.1.3", "23.1.1")
             for tail in ("", ".0", ".1", ".1.0", ".1.0.0", ".1.1", ".16.0", ".17.0", ".97.0",
                          ".4294967295.0")]

    def answers(host: str) -> list[tuple[str, str]]:
        agent = start(device, host)
        found = [*agent.get_many(edges), *map(agent.getnext, edges)]
        agent.stop()
        return [(value.oid, value.type) for value in found]

    assert answers("bundle") == answers("single modules")
