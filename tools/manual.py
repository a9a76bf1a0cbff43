"""Writes the rows of zolarc.conf(5): the tokens, and below which module they belong.

A list's rows stand between a comment of the manual page and ".El". The comment tells which rows they are: '.\\" tokens of'
and arcs of the tree or names of modules, or '.\\" switches'.
"""

from __future__ import annotations

import re
import subprocess
import textwrap
from pathlib import Path

from tools.model import REPOSITORY, Object

PAGE = REPOSITORY / "doc/man/zolarc.conf.5"
LIST = re.compile(r'^(\.\\" (tokens of|switches)(.*)\n)(?:.*\n)*?(?=\.El$)', re.MULTILINE)


def listed(build: Path, what: str) -> list[list[str]]:
    printed = subprocess.run([build / "list-objects", what], capture_output=True, text=True, check=True).stdout
    # Two handlers print what they are given.
    return [line.split("\t") for line in printed.splitlines() if line.count("\t") == 3]


def switch_rows(build: Path) -> str:
    """Each switch with its values, of which the first one named is the default where it is one of several words."""
    rows = []
    for name, values, initial, sentence in listed(build, "switches"):
        words = values.split("|")
        shown = " | ".join(words) if len(words) > 1 else values.replace("..", " to ")
        default = words[int(initial)] if len(words) > 1 else initial
        wrapped = textwrap.fill(sentence, 79, break_on_hyphens=False)
        rows.append(f".It Ic {name} Ar {shown}\n{wrapped}\nThe default is\n.Li {default} .\n")
    return "".join(rows)


class Tokens:
    """The rows of the tokens that give objects their values."""

    def __init__(self, objects: list[Object], build: Path):
        self.objects = {item.declared_as: item for item in objects}
        source = "".join(path.read_text() for path in sorted((REPOSITORY / "mib").rglob("*.cpp")))
        self.held = {item.declared_as for item in objects if item.held}
        self.held |= set(re.findall(r"^ZOL_(?:HELD|STORED)\((\w+)\)", source, re.MULTILINE))
        self.tokens = listed(build, "tokens")

    def place(self, module: str, name: str) -> tuple[object, ...]:
        """Where a token stands among those of its list: in the order of the tree, what is no object behind them."""
        return (0, self.objects[name].oid) if name in self.objects else (1, name)

    def rows(self, chosen: str) -> str:
        wanted = chosen.split()
        found = [(module, name, kept, note) for module, name, kept, note in self.tokens
                 if module in wanted or (module == name and str(self.objects[name].oid[1]) in wanted)]
        found.sort(key=lambda token: self.place(token[0], token[1]))
        return "".join(self.row(name, kept, note) for _, name, kept, note in found)

    def row(self, name: str, kept: str, note: str) -> str:
        item = self.objects.get(name)
        kind = f"text {kept}" if kept != "0" else "address" if item and item.type == "IpAddress" else "number"
        mark = "held" if name in self.held else note
        return f".It Ic {name} Ta {kind} Ta {mark}".rstrip() + "\n"


def render(objects: list[Object], build: Path) -> str:
    tokens = Tokens(objects, build)

    def rows(found: re.Match[str]) -> str:
        return found[1] + (switch_rows(build) if found[2] == "switches" else tokens.rows(found[3]))

    return LIST.sub(rows, PAGE.read_text())
