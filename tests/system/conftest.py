"""Fixtures of the system tests: a fresh device for each test, and an agent that runs the library on it."""

from __future__ import annotations

import os
import signal
import sys
from collections.abc import Iterator
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY))

from testbed.device import LIBRARY, Agent, Device, Program, machine_of, wait_until  # noqa: E402
from testbed.snmp import NoResponse, SnmpError, answers  # noqa: E402

BUILD = Path(os.environ.get("ZOLARC_BUILD", REPOSITORY / "build"))
MIB_FILE = BUILD / "share/mibs/ZOLARC-MIB.txt"
# What the MIB file imports.
MIB_BASE = REPOSITORY / "share/mibs/base"


def pytest_collection_modifyitems(items: list[pytest.Item]) -> None:
    """Where the agent or the machine is another one, expects the failures that differences.txt explains."""
    release = os.environ.get("ZOLARC_AGENT_RELEASE", "")
    machine = machine_of(BUILD / LIBRARY)
    if not (BUILD / "net-snmp").exists():
        return
    for line in (Path(__file__).parent / "differences.txt").read_text().splitlines():
        if line.startswith("#"):
            continue
        where, test, why = (field.strip() for field in line.split("|"))
        expected = pytest.mark.xfail(reason=why, strict=True)
        if where == "all":
            expected = pytest.mark.skip(reason=why)
        elif not release.startswith(where) and (machine is None or machine.name != where):
            continue
        for item in items:
            if test in item.nodeid:
                item.add_marker(expected)


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item: pytest.Item) -> Iterator[None]:
    """A failure comes with what the agents have logged."""
    outcome = yield
    report = outcome.get_result()
    device = getattr(item, "funcargs", {}).get("device")
    if report.failed and isinstance(device, Device):
        for log in sorted(device.path.glob("*.log")):
            report.sections.append((log.name, log.read_text(errors="replace")[-4000:]))


@pytest.fixture(scope="session")
def build_dir() -> Path:
    """The build under test."""
    return BUILD


@pytest.fixture
def device(tmp_path: Path, build_dir: Path) -> Iterator[Device]:
    """A fresh device; whatever is started on it is stopped."""
    with Device.create(tmp_path / "device", build_dir) as fresh:
        yield fresh


@pytest.fixture
def agent(device: Device) -> Agent:
    """An agent on the fresh device with every module loaded by a line of its own.

    So nothing samples in the background: the journal holds what requests have run, and nothing of the start."""
    started = device.start_agent(device.modules())
    device.clear_journal()
    return started


HANGING = 600
"""A command's delay that no client waits for: who answers meanwhile has not waited for the command."""


def fast_clock(speed: int) -> dict[str, str]:
    """The environment of an agent whose clock starts at noon and runs `speed` times as fast as the real one."""
    return {"LD_PRELOAD": "/opt/zolarc/lib/tests/fast_clock.so", "FAST_CLOCK": str(speed)}


AGENTX_SOCKET = "unix:/tmp/agentx"
# Without the two last lines a busy machine makes the agent ask again while the commands of the first request run.
AGENTX_MASTER = f"master agentx\nagentXSocket {AGENTX_SOCKET}\nagentXTimeout 60\nagentXRetries 0"


def serves_tree(agent: Agent) -> bool:
    """Whether an agent answers, and the library's objects are there."""
    try:
        return answers(agent.port, 0.1) and agent.getnext().oid == "1.1.0"
    except (NoResponse, SnmpError):
        return False


def start_subagent(device: Device, *options: str, env: dict[str, str] | None = None) -> tuple[Agent, Program]:
    """A stock agent, and zolarcd as its subagent."""
    master = device.start_agent(library=False, conf=AGENTX_MASTER)
    zolarcd = device.start_zolarcd("--agentx", AGENTX_SOCKET, *options, env=env)
    wait_until(lambda: serves_tree(master), "the subagent to register")
    return master, zolarcd


def ends_well(agent: Agent) -> None:
    """Stops the agent. A sanitizer that has found a fault in the library answers another status."""
    os.kill(agent.pid, signal.SIGTERM)
    assert agent.wait() == 0, agent.log()
