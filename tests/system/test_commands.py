"""The list of what every object runs is what every object runs."""

from __future__ import annotations

from pathlib import Path

import conftest  # noqa: F401: it lets the tools be found
from tools import made
from tools.model import load


def test_the_list_is_true(build_dir: Path) -> None:
    objects = load(build_dir / "list-objects")
    stale = made.COMMANDS.difference(made.COMMANDS.render(objects, build_dir), objects)
    assert not stale, stale
