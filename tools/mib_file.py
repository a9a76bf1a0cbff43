"""Writes the MIB file from the model of the objects and the hand-written template, which holds what no declaration knows:
the module's head, its textual conventions, the nodes between the root and the objects, and the groups."""

from __future__ import annotations

import re
import textwrap

from tools.model import NOTIFICATION, REPOSITORY, WHOLE, Object, Range, Table, Undocumented, parse_ranges

TEMPLATE = REPOSITORY / "share/mibs/ZOLARC-MIB.template"

# What may be imported, in the order of the modules.
IMPORTS = {
    "SNMPv2-SMI": ["MODULE-IDENTITY", "OBJECT-TYPE", "NOTIFICATION-TYPE", "Integer32", "Counter32", "Counter64", "Gauge32",
                   "TimeTicks", "IpAddress", "enterprises"],
    "SNMPv2-TC": ["TEXTUAL-CONVENTION", "MacAddress", "TruthValue", "DateAndTime"],
    "SNMPv2-CONF": ["MODULE-COMPLIANCE", "OBJECT-GROUP", "NOTIFICATION-GROUP"],
}

NODE = re.compile(r"(?:-- (.*)\n)?(\w+)( +)OBJECT IDENTIFIER ::= \{ (\w+) (\d+) \}\n")


def wrapped(text: str, width: int = 100) -> str:
    """A quoted text below its keyword; what is quoted in it stands in single quotes."""
    text = text.replace('"', "'")
    return textwrap.fill(f'"{text}"', width, initial_indent=" " * 8, subsequent_indent=" " * 9, break_on_hyphens=False)


def names(members: list[str], indent: str = " " * 8) -> str:
    return textwrap.fill(", ".join(members), 100, initial_indent=indent, subsequent_indent=indent)


def clause(keyword: str, value: str) -> str:
    return textwrap.fill(f"    {keyword:<11} {value}", 96, subsequent_indent=" " * 26, break_on_hyphens=False) + "\n"


def definition(name: str, kind: str, clauses: list[tuple[str, str]], description: str, parent: str, arc: int,
               index: tuple[str, ...] = ()) -> str:
    body = "".join(clause(keyword, value) for keyword, value in clauses if value)
    index_clause = f"    INDEX       {{ {', '.join(index)} }}\n" if index else ""
    return (f"{name} {kind}\n{body}    DESCRIPTION\n{wrapped(description)}\n{index_clause}"
            f"    ::= {{ {parent} {arc} }}\n")


def object_type(name: str, syntax: str, access: str, description: str, parent: str, arc: int, units: str = "",
                index: tuple[str, ...] = ()) -> str:
    clauses = [("SYNTAX", syntax), ("UNITS", units and f'"{units}"'), ("MAX-ACCESS", access), ("STATUS", "current")]
    return definition(name, "OBJECT-TYPE", clauses, description, parent, arc, index)


def table_definitions(table: Table, columns: list[Object], parent: str) -> list[str]:
    """The table, its entry, and the sequence of its columns, without the columns themselves."""
    entry = f"{table.stem}Entry"
    sequence = entry[0].upper() + entry[1:]
    members = [(column.name, re.sub(r" *[({].*", "", column.syntax)) for column in columns]
    if table.counted:
        members += [(name, "Integer32") for name in table.index]
    width = max(len(name) for name, _ in members)
    fields = ",\n".join(f"    {name:<{width}}  {syntax}" for name, syntax in members)
    return [
        object_type(table.name, f"SEQUENCE OF {sequence}", "not-accessible", table.description, parent, table.oid[-1]),
        object_type(entry, sequence, "not-accessible", "One row.", table.name, 1, index=table.index),
        f"{sequence} ::= SEQUENCE {{\n{fields}\n}}\n",
    ]


def index_definitions(table: Table) -> list[str]:
    """The index columns of a table whose rows are counted."""
    number, instance = table.index
    entry = f"{table.stem}Entry"
    return [
        object_type(number, f"Integer32 (1..{table.rows})", "not-accessible", "The row.", entry, 254),
        object_type(instance, "Integer32 (0)", "not-accessible", "Always 0: a cell is named like a scalar.", entry, 255),
    ]


def nodes(listed: str) -> dict[tuple[int, ...], tuple[str, str]]:
    """The nodes that the template lists, by OID below zolarcProducts, with their text in the MIB file."""
    known: dict[str, tuple[int, ...]] = {"zolarc": (1,), "zolarcProducts": ()}
    found = {(1,): ("zolarc", "")}
    for comment, name, _, parent, arc in NODE.findall(listed):
        known[name] = (*known[parent], int(arc))
        heading = f"-- {comment}\n\n" if comment else ""
        found[known[name]] = (name, f"{heading}{name} OBJECT IDENTIFIER ::= {{ {parent} {arc} }}\n")
    return found


def definitions(objects: list[Object], node_at: dict[tuple[int, ...], tuple[str, str]]) -> str:
    """All objects in the order of the tree, each node before the first object below it."""
    parts: list[str] = []
    shown: set[tuple[int, ...]] = {()}
    columns: dict[str, list[Object]] = {}
    for item in objects:
        if item.table:
            columns.setdefault(item.table.name, []).append(item)
    for item in objects:
        above = item.table.oid[:-1] if item.table else item.oid[:-1]
        for path in (above[:length] for length in range(len(above) + 1)):
            if path not in shown:
                if path not in node_at:
                    raise Undocumented(f"{item.name}: {TEMPLATE.name} has no node for {'.'.join(map(str, path))}")
                parts += [node_at[path][1]] if node_at[path][1] else []
                shown.add(path)
        parent = node_at[above][0]
        if item.type == NOTIFICATION:
            clauses = [("OBJECTS", f"{{ {', '.join(item.carries)} }}" if item.carries else ""), ("STATUS", "current")]
            parts.append(definition(item.name, NOTIFICATION, clauses, item.description, parent, item.oid[-1]))
            continue
        if item.table:
            siblings = columns[item.table.name]
            if item is siblings[0]:
                parts += table_definitions(item.table, siblings, parent)
            parent = f"{item.table.stem}Entry"
        parts.append(object_type(item.name, item.syntax, item.access, item.description, parent, item.oid[-1], item.units))
        if item.table and item.table.counted and item is siblings[-1]:
            parts += index_definitions(item.table)
    return "\n".join(parts)


def conventions(template: str) -> dict[str, str]:
    """The SYNTAX of every textual convention of the template."""
    found = re.findall(r"^(\w+) ::= TEXTUAL-CONVENTION\n.*?\n    SYNTAX +(.*?)\n\n", template, re.MULTILINE | re.DOTALL)
    return dict(found)


def shown_values(syntax: str) -> list[Range]:
    """What an object of a SYNTAX can show: numbers, or lengths of a text."""
    if "{" not in syntax:
        inner = re.search(r"\(([^()]*)\)", syntax)
        return parse_ranges(inner[1].replace("SIZE", "")) if inner else WHOLE
    merged: list[Range] = []
    for number in sorted(int(number) for number in re.findall(r"\((-?\d+)\)", syntax)):
        if merged and merged[-1][1] == number - 1:
            merged[-1] = (merged[-1][0], number)
        else:
            merged.append((number, number))
    return merged


def write_syntax(item: Object, known: dict[str, str]) -> str:
    """The SYNTAX of what a SET accepts, empty where that is all that the object can show."""
    syntax = known.get(item.syntax, item.syntax)
    if item.access != "read-write" or not item.accepts or shown_values(syntax) == item.accepts:
        return ""
    if "{" in syntax:
        accepted = [label for label in re.findall(r"[\w-]+\(-?\d+\)", syntax)
                    if any(low <= int(label[label.index("(") + 1 : -1]) <= high for low, high in item.accepts)]
        return f"INTEGER {{ {', '.join(accepted)} }}"
    ranges = " | ".join(str(low) if low == high else f"{low}..{high}" for low, high in item.accepts)
    return f"ZolarcText (SIZE ({ranges}))" if item.type == "OCTET STRING" else f"Integer32 ({ranges})"


def refinements(objects: list[Object], known: dict[str, str]) -> str:
    """The part of the compliance statement that tells what a SET accepts where that is less than a GET can show."""
    parts = []
    for item in objects:
        if accepted := write_syntax(item, known):
            parts.append(f"    OBJECT      {item.name}\n" + clause("SYNTAX      ", item.syntax)
                         + clause("WRITE-SYNTAX", accepted) + '    DESCRIPTION "What a SET accepts."\n')
    return "\n".join(parts)


class Groups:
    """Fills in a group's members: @objects@ and the nodes and tables whose objects belong to it."""

    def __init__(self, objects: list[Object], node_at: dict[tuple[int, ...], tuple[str, str]]):
        self.places = {name: oid for oid, (name, _) in node_at.items()}
        self.places |= {item.table.name: item.table.oid for item in objects if item.table}
        self.remaining = [item for item in objects if item.access != "not-accessible"]

    def members(self, found: re.Match[str]) -> str:
        chosen: list[Object] = []
        for place in re.findall(r"\w+", found[2]):
            oid = self.places[place]
            chosen += [item for item in self.remaining if item.oid[: len(oid)] == oid
                       and (item.type == NOTIFICATION) == (found[1] == "notifications")]
        self.remaining = [item for item in self.remaining if item not in chosen]
        return names([item.name for item in sorted(chosen, key=lambda item: item.oid)])


def render(objects: list[Object]) -> str:
    """The whole file. The enterprise number stays a placeholder, which the build fills in."""
    template = TEMPLATE.read_text()
    head, _, rest = template.partition("@nodes@\n")
    listed, _, tail = rest.partition("@definitions@\n")
    node_at = nodes(listed)
    groups = Groups(objects, node_at)
    tail = tail.replace("@refinements@\n", refinements(objects, conventions(template)))
    tail = re.sub(r"^ *@(objects|notifications) ([\w ]+)@$", groups.members, tail, flags=re.MULTILINE)
    if groups.remaining:
        raise Undocumented(f"{TEMPLATE.name} has no group for {groups.remaining[0].name}")
    mandatory = names(re.findall(r"^(\w+) (?:OBJECT|NOTIFICATION)-GROUP$", tail, re.MULTILINE))
    text = head + definitions(objects, node_at) + tail.replace(" " * 8 + "@groups@", mandatory)
    words = set(re.findall(r"[\w-]+", re.sub(r'"[^"]*"', "", text)))
    imports = []
    for module, offered in IMPORTS.items():
        imports.append(names([name for name in offered if name in words], " " * 4) + f"\n        FROM {module}")
    return text.replace("@imports@", "\n".join(imports) + ";")
