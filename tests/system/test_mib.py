"""The MIB file and the tokens' manual page: up to date; the MIB file is well-formed and names what an agent answers."""

from __future__ import annotations

import re
import subprocess
from collections.abc import Callable
from pathlib import Path

import pytest

from conftest import MIB_BASE, MIB_FILE
from testbed.device import Agent
from tools import made
from tools.model import load


@pytest.fixture
def smi_tool(tmp_path: Path) -> Callable[..., str]:
    """Runs one of libsmi's programs on the MIB file."""
    configuration = tmp_path / "smi.conf"
    configuration.write_text(f"path :{MIB_BASE}\n")

    def run(program: str, *options: str) -> str:
        command = [program, "-c", configuration, *options, MIB_FILE]
        done = subprocess.run(command, capture_output=True, text=True, check=True)
        return done.stdout + done.stderr

    return run


@pytest.mark.parametrize("file", [made.MIB, made.MANUAL, made.EXPORTER, made.EXPORTER_SINCE_0_23], ids=lambda file: file.path.name)
def test_is_what_the_declarations_say(build_dir: Path, file: made.Made) -> None:
    objects = load(build_dir / "list-objects")
    stale = file.difference(file.render(objects, build_dir), objects)
    assert not stale, stale


def test_is_flawless_at_the_strictest_level(smi_tool: Callable[..., str]) -> None:
    assert smi_tool("smilint", "-l", "6", "-s") == ""


@pytest.mark.parametrize(("program", "arguments", "pattern"), [
    ("snmpset", ["wlanChannel.0", "i", "11"], r"ZOLARC-MIB::wlanChannel\.0 = INTEGER: 11\n"),
    ("snmpset", ["lanProto.0", "=", "dhcp"], r"ZOLARC-MIB::lanProto\.0 = INTEGER: dhcp\(1\)\n"),
    ("snmpget", ["wlanTxpower.0", "eth2Mac.0"], r"ZOLARC-MIB::wlanTxpower\.0 = INTEGER: 0 dBm\n"
                                                r"ZOLARC-MIB::eth2Mac\.0 = STRING: 0:a:52:1b:2c:2f\n"),
    ("snmptable", ["wlanInterfaceTable"], r"SNMP table: ZOLARC-MIB::wlanInterfaceTable\n\n"
                                          r" +zolWlanMac zolAcktimeoutCurrent (.*)\n"
                                          r" 0:a:52:1b:2c:30 +64 microseconds .*\n 6:a:52:1b:2c:30 .*\n a:a:5.*\n"),
])
def test_objects_go_by_their_names(agent: Agent, program: str, arguments: list[str], pattern: str) -> None:
    assert re.fullmatch(pattern, agent.by_name(program, *arguments))
