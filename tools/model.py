"""What the declarations say of the objects: the registry's figures joined with the documentation comments over them.

A comment stands over the declaration, its tags first and each on a line of its own:

    /// @units dBm
    /// @syntax Integer32 (0..26)
    /// The transmit power (option txpower); 0 stands for the most that the radio can do.
    ZOL_INTEGER(wlan_txpower, .oid = {3, 1, 15}, .accepts = range(0, 26));

@syntax is needed only where the SYNTAX clause is not what the registry's figures say. A table's comment begins with
"@table <its name>"; "@index <columns>" follows where the rows are not simply counted. A notification's comment lists
what it carries with "@objects <names>". "@held" says that a GET runs no command, where the frame does not know.
"""

from __future__ import annotations

import dataclasses
import re
import subprocess
from collections.abc import Iterator
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parent.parent

Range = tuple[int, int]
WHOLE: list[Range] = [(-(2**31), 2**31 - 1)]
NOTIFICATION = "NOTIFICATION-TYPE"


class Undocumented(Exception):
    """A declaration or its comment says too little or too much; the text names it."""


def descriptor(name: str) -> str:
    """The name of an object in the MIB file: zol_rx_invalidNwid is zolRxInvalidNwid there."""
    first, *others = name.split("_")
    return first + "".join(part[0].upper() + part[1:] for part in others)


def parse_ranges(text: str) -> list[Range]:
    """The intervals of "0 | 300..24000"."""
    bounds = [part.strip().split("..") for part in text.split("|") if part.strip()]
    return [(int(bound[0]), int(bound[-1])) for bound in bounds]


@dataclasses.dataclass(frozen=True)
class Comment:
    """A documentation comment: its tags and its sentences, which are one text."""

    tags: dict[str, str]
    text: str


@dataclasses.dataclass(frozen=True)
class Table:
    """A table; `index` names the columns that its INDEX consists of."""

    name: str
    oid: tuple[int, ...]
    description: str
    index: tuple[str, ...]
    rows: int

    @property
    def stem(self) -> str:
        return self.name.removesuffix("Table")

    @property
    def counted(self) -> bool:
        """Whether the index is the row's number and an instance of 0, which are no objects of the registry."""
        return self.index == (f"{self.stem}Row", f"{self.stem}Instance")


@dataclasses.dataclass(frozen=True)
class Object:
    """A scalar, a column of `table`, or a notification. The OID is the one below zolarcProducts: 1 is the tree's root."""

    name: str
    declared_as: str
    oid: tuple[int, ...]
    type: str
    access: str
    accepts: list[Range]
    syntax: str
    units: str
    description: str
    table: Table | None
    carries: tuple[str, ...]
    held: bool

    @property
    def place(self) -> str:
        """The OID below the root of the tree, for objects that are in it: "3.1.6"."""
        return ".".join(map(str, self.oid[1:]))

    @property
    def labels(self) -> dict[int, str]:
        """The names of an enumeration's values, where the SYNTAX itself tells them."""
        return {int(number): label for label, number in re.findall(r"([\w-]+)\s*\(\s*(-?\d+)\s*\)", self.syntax)
                if "{" in self.syntax}


def comments(folder: Path) -> Iterator[tuple[str, Comment, str]]:
    """Every documentation comment over something with arguments: where it stands, itself, and what it stands over."""
    block = re.compile(r"((?:^[ ]*///.*\n)+)(?:^[ ]*// .*\n)*(?=[ ]*(\w+\([^;]*))", re.MULTILINE)
    for path in sorted(folder.rglob("*.[ch]pp")):
        for found in block.finditer(path.read_text()):
            tags: dict[str, str] = {}
            sentences = []
            for line in (line.strip().removeprefix("///").strip() for line in found[1].splitlines()):
                tag = re.match(r"@(units|syntax|table|index|objects|held)\b *(.*)", line)
                if tag:
                    tags[tag[1]] = tag[2]
                else:
                    sentences.append(line)
            yield str(path.relative_to(folder.parent)), Comment(tags, " ".join(sentences)), found[2]


class Documentation:
    """The comments, by the name of what they stand over."""

    def __init__(self, folder: Path, names: set[str], modules: set[str]):
        self.of_object: dict[str, Comment] = {}
        self.of_table: dict[str, Comment] = {}
        for place, comment, declaration in comments(folder):
            known, found = (modules, self.of_table) if "table" in comment.tags else (names, self.of_object)
            name = next((word for word in re.findall(r"\w+", declaration) if word in known), None)
            if name is None and comment.tags:
                raise Undocumented(f"{place}: the comment {comment.text!r} stands over no object")
            if name is not None and found.setdefault(name, comment) is not comment:
                raise Undocumented(f"{place}: {name} has a second comment: {comment.text!r}")


def read_table(module: str, entry: tuple[int, ...], rows: int, documentation: Documentation) -> Table:
    comment = documentation.of_table.get(module)
    if comment is None:
        raise Undocumented(f"{module}: the table has no documentation comment with @table over its declaration")
    name = comment.tags["table"]
    stem = name.removesuffix("Table")
    index = tuple(re.findall(r"\w+", comment.tags.get("index", f"{stem}Row {stem}Instance")))
    return Table(name, entry[:-1], comment.text, index, rows)


def default_syntax(kind: str, access: str, accepts: list[Range]) -> str | None:
    """The SYNTAX that the registry's figures stand for; None where they do not tell it."""
    text = " | ".join(f"{low}..{high}" for low, high in accepts)
    if kind == "OCTET STRING":
        return f"ZolarcText (SIZE ({text}))" if access == "read-write" and text else None
    if kind != "INTEGER":
        return kind
    return "Integer32" if not text or accepts == WHOLE else f"Integer32 ({text})"


def load(list_objects: Path, folder: Path = REPOSITORY / "mib") -> list[Object]:
    """All objects in the order of the tree, from the program `list-objects` and the comments below `folder`."""
    printed = subprocess.run([list_objects], capture_output=True, text=True, check=True).stdout
    lines = [line.split("\t") for line in printed.splitlines()]
    documentation = Documentation(folder, {fields[1] for fields in lines}, {fields[6] for fields in lines})
    objects = []
    tables: dict[str, Table] = {}
    missing = []
    for oid, name, kind, access, accepts, rows, module in lines:
        arcs = tuple(int(arc) for arc in oid.split("."))
        table = None
        if int(rows) > 0:
            table = tables.setdefault(module, read_table(module, arcs[:-1], int(rows), documentation))
        comment = documentation.of_object.get(name, Comment({}, ""))
        ranges = parse_ranges(accepts)
        syntax = comment.tags.get("syntax", default_syntax(kind, access, ranges))
        if syntax is None or not comment.text:
            missing.append(f"{name}: " + ("no description" if not comment.text else "its size is not known: @syntax"))
            continue
        carries = tuple(re.findall(r"\w+", comment.tags.get("objects", "")))
        objects.append(Object(descriptor(name), name, arcs, kind, access, ranges, syntax, comment.tags.get("units", ""),
                              comment.text, table, carries, "held" in comment.tags))
    if missing:
        raise Undocumented("\n".join(["the documentation comment over the declaration is missing:", *missing]))
    return objects
