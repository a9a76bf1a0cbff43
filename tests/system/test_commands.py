"""The list of what every object runs is what every object runs."""

from __future__ import annotations

import difflib
import subprocess
from pathlib import Path

from conftest import REPOSITORY


def test_the_list_is_true(build_dir: Path) -> None:
    command = [REPOSITORY / "tools/list-commands", build_dir]
    made = subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()
    stored = (REPOSITORY / "doc/commands.md").read_text().splitlines()
    difference = "\n".join(difflib.unified_diff(stored, made, "doc/commands.md", "what is run", lineterm="", n=0))
    assert not difference, difference
