"""What follows from the declarations is what is stored."""

from __future__ import annotations

from pathlib import Path

import pytest

import conftest  # noqa: F401  (finds the tools)
from tools import made
from tools.model import load


@pytest.mark.parametrize("file", made.ALL, ids=lambda file: file.path.name)
def test_nothing_is_stale(file: made.Made, build_dir: Path) -> None:
    stale = file.stale(load(build_dir / "list-objects"), build_dir)
    assert not stale, stale
