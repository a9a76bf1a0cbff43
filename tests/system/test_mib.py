"""The MIB file: that it is well-formed, agrees with the registry object by object, and names what an agent answers."""

from __future__ import annotations

import re
import subprocess
import xml.etree.ElementTree as ElementTree
from collections.abc import Callable
from pathlib import Path

import pytest

from conftest import MIB_BASE, MIB_FILE, snmp_by_name
from testbed.device import Agent
from testbed.snmp import descriptor

# Ranges of 32 bits are no restriction.
WHOLE_RANGE = "-2147483648..2147483647"
TYPES = {"Integer32": "INTEGER", "Enumeration": "INTEGER", "IpAddress": "IpAddress", "OctetString": "OCTET STRING"}


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


class Syntax:
    """A SYNTAX or WRITE-SYNTAX clause, by its basic type and what it accepts."""

    def __init__(self, clause: ElementTree.Element, conventions: dict[str, ElementTree.Element]):
        definition = clause.find("typedef")
        named = clause.find("type")
        if definition is None and named is not None:
            definition = conventions.get(named.get("name", ""))
        if definition is None:
            assert named is not None
            self.type, self.accepts = TYPES[named.get("name", "")], ""
            return
        self.type = TYPES[definition.get("basetype", "")]
        ranges = [(int(part.get("min", "")), int(part.get("max", ""))) for part in definition.findall("range")]
        for number in sorted(int(label.get("number", "")) for label in definition.findall("namednumber")):
            if ranges and ranges[-1][1] == number - 1:
                ranges[-1] = (ranges[-1][0], number)
            else:
                ranges.append((number, number))
        self.accepts = "|".join(f"{low}..{high}" for low, high in ranges)


def objects_of_the_mib(xml: str) -> dict[str, tuple[str, ...]]:
    """OID below the root, type, access, what a SET accepts and the rows of every object that can be asked for."""
    module = ElementTree.fromstring(xml)
    root = next(node.get("oid", "") for node in module.iter("node") if node.get("name") == "zolarc") + "."
    conventions = {definition.get("name", ""): definition for definition in module.iterfind("typedefs/typedef")}
    written = {refined.get("name"): Syntax(refined.find("writesyntax"), conventions).accepts  # type: ignore[arg-type]
               for refined in module.iter("refinement") if refined.find("writesyntax") is not None}
    found = {}
    elements = [(element, "0") for element in module.iter("scalar")]
    for row in module.iter("row"):
        number, instance = row.findall("column")[-2:]
        indices = [index.get("name") for index in row.findall("linkage/index")]
        assert indices == [number.get("name"), instance.get("name")]
        assert Syntax(instance.find("syntax"), conventions).accepts == "0..0"  # type: ignore[arg-type]
        rows = Syntax(number.find("syntax"), conventions).accepts.removeprefix("1..")  # type: ignore[arg-type]
        elements += [(column, rows) for column in row.findall("column")[:-2]]
    for element, rows in elements:
        name = element.get("name", "")
        syntax = Syntax(element.find("syntax"), conventions)  # type: ignore[arg-type]
        access = {"readonly": "read-only", "readwrite": "read-write"}[element.findtext("access", "")]
        accepts = written.get(name, syntax.accepts) if access == "read-write" else ""
        found[name] = (element.get("oid", "").removeprefix(root), syntax.type, access, accepts, rows)
    return found


def objects_of_the_registry(build_dir: Path) -> dict[str, tuple[str, ...]]:
    listing = subprocess.run([build_dir / "list-objects"], capture_output=True, text=True, check=True).stdout
    found = {}
    for line in listing.splitlines():
        oid, name, kind, access, accepts, rows = line.split("\t")
        if access == "read-only" or accepts == WHOLE_RANGE:
            accepts = ""
        found[descriptor(name)] = (oid, kind, access, accepts, rows)
    return found


def test_agrees_with_the_registry(build_dir: Path, smi_tool: Callable[..., str]) -> None:
    described = objects_of_the_mib(smi_tool("smidump", "-f", "xml"))
    registered = objects_of_the_registry(build_dir)
    # The agent refuses to set this one whatever the text.
    assert described["bwidthpkgName"][3] == "0..127" and registered["bwidthpkgName"][3] == ""
    described["bwidthpkgName"] = registered["bwidthpkgName"]
    wrong = {name: (described.get(name, "not in the MIB file"), registered.get(name, "not in the registry"))
             for name in described.keys() | registered.keys() if described.get(name) != registered.get(name)}
    assert wrong == {}, "object: (in the MIB file, in the registry)"


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
    assert re.fullmatch(pattern, snmp_by_name(program, agent, *arguments))
