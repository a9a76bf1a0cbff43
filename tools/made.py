"""The files that follow from the objects' declarations. `tools/update` writes them, and tests say which one is stale."""

from __future__ import annotations

import dataclasses
import difflib
import re
from collections.abc import Callable
from pathlib import Path

from tools import commands, manual, mib_file, snmp_yml, whole_tree
from tools.model import REPOSITORY, Object


@dataclasses.dataclass(frozen=True)
class Made:
    """A file, and how it is made from the objects of the library in a build folder."""

    path: Path
    render: Callable[[list[Object], Path], str]

    def difference(self, made: str, objects: list[Object]) -> str:
        """What a test says of the file as it is stored; nothing where it is what it should be."""
        stored = self.path.read_text()
        if stored == made:
            return ""
        names = {name for item in objects for name in (item.name, item.declared_as)}
        difference = difflib.unified_diff(stored.splitlines(), made.splitlines(), "stored", "now", lineterm="", n=0)
        about = ", ".join(changed_objects(stored, made, names))
        return "\n".join([f"{self.path.relative_to(REPOSITORY)}: run tools/update, what it says of {about} is stale",
                          *difference])


MIB = Made(REPOSITORY / "share/mibs/ZOLARC-MIB.txt.in", lambda objects, _: mib_file.render(objects))
MANUAL = Made(manual.PAGE, manual.render)
COMMANDS = Made(REPOSITORY / "doc/commands.md", commands.render)
TREE = Made(REPOSITORY / "tests/system/whole_tree.txt", whole_tree.render)
EXPORTER = Made(REPOSITORY / "share/prometheus/snmp.yml", lambda objects, _: snmp_yml.render(objects, apart=False))
EXPORTER_SINCE_0_23 = Made(REPOSITORY / "share/prometheus/snmp-auths.yml",
                           lambda objects, _: snmp_yml.render(objects, apart=True))
ALL = [MIB, MANUAL, COMMANDS, TREE, EXPORTER, EXPORTER_SINCE_0_23]


def changed_objects(stored: str, made: str, names: set[str]) -> list[str]:
    """The objects about which two texts differ: those that a change adds or takes away, or else those in its lines, or
    else the last one above."""
    old, new = stored.splitlines(), made.splitlines()

    def named(lines: list[str]) -> set[str]:
        return {word for line in lines for word in re.findall(r"\w+", line) if word in names}

    found: set[str] = set()
    for tag, first, last, new_first, new_last in difflib.SequenceMatcher(None, old, new, autojunk=False).get_opcodes():
        if tag != "equal":
            before, after = named(old[first:last]), named(new[new_first:new_last])
            above = next((one for one in map(named, ([line] for line in reversed(new[:new_first]))) if one), {"no object"})
            found |= before ^ after or before or above
    return sorted(found)
