"""The MIB file, the tokens' manual page and the exporter's modules are up to date, and the MIB file is well-formed."""

from __future__ import annotations

import subprocess
from collections.abc import Callable
from pathlib import Path

import pytest

from conftest import MIB_BASE, MIB_FILE
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
