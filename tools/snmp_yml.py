"""Writes the modules of Prometheus' SNMP exporter from the model of the objects."""

from __future__ import annotations

import json
import re
from collections.abc import Iterable, Iterator

from tools.mib_file import TEMPLATE
from tools.model import Object

ENTERPRISE = 32473
HEAD = """\
# Modules of Prometheus' SNMP exporter, made by tools/update from the objects' declarations.
# {layout}
# Where devices have another enterprise number than {enterprise}, replace it: sed -i 's/4\\.1\\.{enterprise}\\./4.1.NUMBER./'
"""
BEFORE = "For exporters up to 0.22, such as Debian 12's: each module holds the credentials. Change the first; the others follow it."
SINCE = "For exporters since 0.23, which keep credentials apart: scrape with auth=zolarc and module=zolarc_..."

# The user of the sample configuration who may read all but secrets.
CREDENTIALS = {"security_level": "authPriv", "username": "watcher", "password": "CHANGE-authentication-passphrase",
               "auth_protocol": "SHA", "priv_protocol": "AES", "priv_password": "CHANGE-privacy-passphrase"}

# What is asked for in one request: so many objects, or rows of a column.
REPETITIONS = 20

# A slow command is given up by the device itself, after its deadline.
PATIENCE = {"max_repetitions": REPETITIONS, "retries": 1, "timeout": "9s"}

# What each module asks for. Scalars and cells are asked for by name, since a walk would read, and pay for, a cell beyond the
# end of every column. Only columns that run no command are walked.
MODULES = {
    "zolarc_status": ["apName", "apModel", "fwVersion", "uptimes", "cpuPercentUsed", "ramUsed", "eth1RxRate", "eth1TxRate",
                      "eth2RxRate", "eth2TxRate"],
    "zolarc_radio": ["wlanIndex", "wlanChannel", "wlanStatus0", "wlanStatus1", "zolWlanMac", "zolAssocCount", "zolBitRate",
                     "zolTxexcessRetries"],
    "zolarc_stations": ["zolStationInterface", "zolStationSsid", "zolStationRadio", "zolStationSignal", "zolStationNoise",
                        "zolStationTxRate", "zolStationRxRate", "zolStationIp", "zolStationName", "zolStationConnected",
                        "zolStationTxOctets", "zolStationRxOctets", "zolStationTxPackets", "zolStationTxRetries",
                        "zolStationTxKbps", "zolStationRxKbps"],
    "zolarc_health": ["zolHealthCommands", "zolHealthShells", "zolHealthReused", "zolHealthLate", "zolHealthRefused",
                      "zolHealthSets", "zolHealthSetsRefused", "zolHealthJoined", "zolHealthLeft", "zolHealthCollections",
                      "zolHealthCollectionTime", "zolHealthCollectionAge", "zolHealthStations", "zolHealthVersion",
                      "zolHealthBuild", "zolHealthUptime"],
}

# A row's texts that stand beside its numbers as labels, so that sums by network or radio need no join.
LABELS = {"wlanInterfaceTable": ["zolWlanMac"], "zolStationTable": ["zolStationInterface", "zolStationSsid", "zolStationRadio"]}

# Numbers that are told as texts.
NUMBERS = {
    "cpuPercentUsed": {"": "([0-9.]+)%"},
    "ramUsed": {"": "([0-9]+) KB"},
    "uptimes": {"Days": "([0-9]+) Days .*", "Hours": ".* ([0-9]+):[0-9]+:[0-9]+", "Minutes": ".*:([0-9]+):[0-9]+",
                "Seconds": ".*:([0-9]+)"},
}

TYPES = {"Counter32": "counter", "Counter64": "counter", "Gauge32": "gauge", "TimeTicks": "gauge", "Integer32": "gauge",
         "IpAddress": "InetAddressIPv4", "ZolarcMacAddress": "PhysAddress48", "MacAddress": "PhysAddress48",
         "ZolarcText": "DisplayString"}


def dotted(found: Object) -> str:
    return f"1.3.6.1.4.1.{ENTERPRISE}.8." + ".".join(map(str, found.oid))


def labels(found: Object) -> dict[int, str]:
    """The names of an enumeration's values, also where its syntax is a textual convention."""
    convention = rf"^{found.syntax} ::= TEXTUAL-CONVENTION.*?\n    SYNTAX +INTEGER {{(.*?)}}" if found.syntax.isalpha() else "(?!)"
    enumeration = re.search(convention, TEMPLATE.read_text(), re.MULTILINE | re.DOTALL)
    if not enumeration or "::=" in enumeration[0].partition("::=")[2]:
        return found.labels
    return {int(number): label for label, number in re.findall(r"(\w+) *\((-?\d+)\)", enumeration[1])}


def exporter_type(found: Object) -> str:
    if labels(found):
        return "EnumAsInfo"
    word = re.match(r"\w+", found.syntax)
    assert word
    return TYPES.get(word[0], "DisplayString" if found.type == "OCTET STRING" else "gauge")


def sentence(found: Object) -> str:
    """The first sentence of a description, with the unit."""
    first = re.split(r"\.( |$)", found.description)[0]
    return f"{first} [{found.units}]" if found.units else first


def indexes(found: Object, columns: dict[str, Object]) -> Iterator[dict[str, object]]:
    """What the arcs behind a column's OID are: numbers, or columns of the table."""
    assert found.table
    for name in found.table.index:
        if name in columns and exporter_type(columns[name]) == "PhysAddress48":
            yield {"labelname": name, "type": "PhysAddress48", "fixed_size": 6}
        else:
            yield {"labelname": name, "type": "gauge"}


def lookups(found: Object, columns: dict[str, Object]) -> Iterator[dict[str, object]]:
    """The labels that a row's other columns give to its numbers; the arc that is always 0 gives none."""
    assert found.table
    wanted = LABELS.get(found.table.name, [])
    if found.name not in wanted and not exporter_type(found).endswith(("String", "IPv4")):
        for name in wanted:
            yield {"labels": list(found.table.index), "labelname": name, "oid": dotted(columns[name]),
                   "type": exporter_type(columns[name])}
    if found.table.counted:
        yield {"labels": [], "labelname": found.table.index[1]}


def metric(found: Object, columns: dict[str, Object]) -> dict[str, object]:
    made: dict[str, object] = {"name": found.name, "oid": dotted(found), "type": exporter_type(found), "help": sentence(found)}
    if found.table:
        made["indexes"] = list(indexes(found, columns))
        made["lookups"] = list(lookups(found, columns))
    if labels(found):
        made["enum_values"] = labels(found)
    if found.name in NUMBERS:
        made["regex_extracts"] = {suffix: [{"regex": regex, "value": "$1"}] for suffix, regex in NUMBERS[found.name].items()}
    return made


def questions(found: Iterable[Object]) -> Iterator[tuple[str, str]]:
    """How each object is asked for: ("get" or "walk", OID)."""
    cells = []
    for wanted in found:
        if not wanted.table:
            yield "get", f"{dotted(wanted)}.0"
        elif wanted.table.counted:
            cells += [(row, f"{dotted(wanted)}.{row}.0") for row in range(1, wanted.table.rows + 1)]
        else:
            yield "walk", dotted(wanted)
    # Row by row: the first cell of the first row makes the agent look which rows there are.
    for _, cell in sorted(cells, key=lambda numbered: numbered[0]):
        yield "get", cell


def module(wanted: list[Object], columns: dict[str, Object]) -> dict[str, object]:
    made: dict[str, object] = {"get": [], "walk": []}
    for how, oid in questions(wanted):
        made[how].append(oid)  # type: ignore[attr-defined]
    made["metrics"] = [metric(found, columns) for found in wanted]
    return {key: value for key, value in made.items() if value} | PATIENCE


def yaml(value: object, indent: int = 0) -> str:
    """YAML with a line for every member; what has none inside is written like JSON."""
    margin = "  " * indent
    if isinstance(value, dict) and value and (indent < 2 or any(isinstance(part, (dict, list)) for part in value.values())):
        return "".join(f"\n{margin}{json.dumps(key) if key == '' else key}: {yaml(part, indent + 1).lstrip(' ')}"
                       for key, part in value.items())
    if isinstance(value, list) and value:
        return "".join(f"\n{margin}- {yaml(part, indent + 1).lstrip()}" for part in value)
    if isinstance(value, dict):
        return "{" + ", ".join(f"{key}: {json.dumps(part, ensure_ascii=False)}" for key, part in value.items()) + "}"
    return json.dumps(value, ensure_ascii=False)


def render(objects: list[Object], *, apart: bool) -> str:
    """The modules for exporters that keep credentials apart, or for those before."""
    by_name = {found.name: found for found in objects}
    modules = {name: module([by_name[wanted] for wanted in names if wanted in by_name], by_name)
               for name, names in MODULES.items()}
    if apart:
        text = yaml({"auths": {"zolarc": {"version": 3} | CREDENTIALS}, "modules": modules})
    else:
        # The credentials stand once and are named by the other modules.
        text = yaml({name: {"version": 3, "auth": CREDENTIALS if name == "zolarc_status" else "*"} | made
                     for name, made in modules.items()})
        text = text.replace("auth: {", "auth: &credentials {").replace('auth: "*"', "auth: *credentials")
    text = "\n".join(line.rstrip() for line in text.strip().splitlines())
    return HEAD.format(layout=SINCE if apart else BEFORE, enterprise=ENTERPRISE) + text + "\n"
