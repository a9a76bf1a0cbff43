"""Speaks SNMP to an agent through Net-SNMP's own command line clients, and receives its traps."""

from __future__ import annotations

import dataclasses
import os
import re
import socket
import subprocess
import time
from pathlib import Path

Scalar = int | bytes | str | None


class SnmpError(Exception):
    """The agent refused a request; `name` is the error status as SNMP names it, such as "wrongValue"."""

    def __init__(self, name: str, detail: str):
        super().__init__(f"{name}: {detail}")
        self.name = name


class NoResponse(Exception):
    """The agent did not answer in time, or is not there."""


@dataclasses.dataclass(frozen=True)
class Value:
    """One variable binding.

    `oid` is relative to the client's root, or begins with "." when it lies outside. `type` is the SMI type ("INTEGER",
    "OCTET STRING", "IpAddress", "Timeticks", ...) or an exception ("noSuchObject", "noSuchInstance", "endOfMibView").
    `value` is an int, the octets of an octet string, a text for addresses and object identifiers, None for exceptions.
    """

    oid: str
    type: str
    value: Scalar

    @property
    def text(self) -> str:
        """The octets of an octet string as text."""
        assert isinstance(self.value, bytes), self
        return self.value.decode("utf-8", "surrogateescape")


_BINDING = re.compile(rb"^(\.[0-9.]+) = ", re.MULTILINE)
_EXCEPTIONS = {
    "No Such Object": "noSuchObject",
    "No Such Instance": "noSuchInstance",
    "No more variables": "endOfMibView",
}


def _typed(text: str) -> tuple[str, Scalar]:
    if text == '""':
        return "OCTET STRING", b""
    for beginning, name in _EXCEPTIONS.items():
        if text.startswith(beginning):
            return name, None
    kind, _, rest = text.partition(": ")
    if kind in ("Hex-STRING", "STRING"):
        if kind == "STRING":
            raise ValueError(f"octets expected: {text!r}")
        return "OCTET STRING", bytes.fromhex(rest)
    if kind == "Timeticks":
        return kind, int(rest[rest.index("(") + 1 : rest.index(")")])
    if kind in ("INTEGER", "Counter32", "Gauge32", "Counter64"):
        return kind, int(rest.split()[0])
    return kind, rest.strip()


class Client:
    """Requests to one agent. Object identifiers without a leading "." are relative to `root`."""

    ROOT = ".1.3.6.1.4.1.{}.8.1"

    def __init__(self, port: int, *, enterprise: int = 32473, scratch: Path, timeout: float = 60.0):
        self.port = port
        self.root = self.ROOT.format(enterprise)
        self.timeout = timeout
        """Seconds to wait for an answer: a request takes as long as the commands that it makes the agent run."""
        self.environment = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "LC_ALL": "C",
            "MIBS": "",
            # Nothing of the user's own settings is read or written.
            "SNMPCONFPATH": str(scratch),
            "SNMP_PERSISTENT_DIR": str(scratch),
        }

    def get(self, oid: str) -> Value:
        return self.get_many([oid])[0]

    def get_many(self, oids: list[str]) -> list[Value]:
        return self._request("snmpget", [], [self._absolute(oid) for oid in oids])

    def getnext(self, oid: str = "") -> Value:
        return self._request("snmpgetnext", [], [self._absolute(oid)])[0]

    def set(self, oid: str, kind: str, value: object) -> Value:
        """Sets one object. `kind` is i, s, x, a or another letter of snmpset; s takes a text or octets."""
        return self.set_many([(oid, kind, value)])[0]

    def set_many(self, bindings: list[tuple[str, str, object]]) -> list[Value]:
        arguments: list[str] = []
        for oid, kind, value in bindings:
            if isinstance(value, bytes):
                kind, value = ("x", value.hex()) if value else ("s", "")
            arguments += [self._absolute(oid), kind, str(value)]
        return self._request("snmpset", ["-c", "private"], arguments)

    def walk(self, oid: str = "") -> list[Value]:
        """All instances below `oid` in the order of the agent, read with GETNEXT."""
        return self._walk("snmpwalk", ["-CI"], oid)

    def bulkwalk(self, oid: str = "", repetitions: int = 10) -> list[Value]:
        """All instances below `oid` in the order of the agent, read with GETBULK."""
        return self._walk("snmpbulkwalk", [f"-Cr{repetitions}"], oid)

    def _walk(self, program: str, options: list[str], oid: str) -> list[Value]:
        values = self._request(program, options, [self._absolute(oid)])
        return [value for value in values if value.value is not None]

    def _alive(self) -> bool:
        """Whether an answer may still come."""
        return True

    def _absolute(self, oid: str) -> str:
        if oid.startswith("."):
            return oid
        return f"{self.root}.{oid}" if oid else self.root

    def _relative(self, oid: str) -> str:
        return oid[len(self.root) + 1 :] if oid.startswith(self.root + ".") else oid

    def _request(self, program: str, options: list[str], arguments: list[str]) -> list[Value]:
        community = [] if "-c" in options else ["-c", "public"]
        command = [program, "-v2c", *community, *options, "-m", "", "-On", "-Oe", "-Ox", "-r", "0"]
        command += ["-t", str(self.timeout), f"udp:127.0.0.1:{self.port}", *arguments]
        client = subprocess.Popen(command, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        while True:
            try:
                output, error_text = client.communicate(timeout=0.5)
                break
            except subprocess.TimeoutExpired:
                if not self._alive():
                    client.kill()
                    client.communicate()
                    raise NoResponse("the agent has ended") from None
        errors = error_text.decode("utf-8", "replace").strip()
        reason = re.search(r"Reason: \(?(\w+)\)?", errors)
        if reason is not None:
            raise SnmpError(reason[1], errors)
        if "Timeout" in errors or "No Response" in errors or "Connection refused" in errors:
            raise NoResponse(errors)
        if client.returncode != 0:
            raise RuntimeError(f"{' '.join(command)}: {errors or output!r}")
        return self._parse(output)

    def _parse(self, output: bytes) -> list[Value]:
        # The parts alternate: what precedes, name, value, name, value...
        parts = _BINDING.split(output)
        names, texts = parts[1::2], parts[2::2]
        values = []
        for name, text in zip(names, texts, strict=True):
            kind, value = _typed(text.decode("utf-8", "replace").strip())
            values.append(Value(self._relative(name.decode()), kind, value))
        return values


def free_udp_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


# A GET of sysUpTime.0 by SNMPv2c with the community "public".
_SYSUPTIME_REQUEST = bytes.fromhex("3026020101040670 75626c6963a0190201010201000201 00300e300c06082b060102010103000500")


def answers(port: int, wait: float) -> bool:
    """Whether an agent answers on a loopback port within `wait` seconds."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.connect(("127.0.0.1", port))
        probe.settimeout(wait)
        try:
            probe.send(_SYSUPTIME_REQUEST)
            return bool(probe.recv(2048))
        except ConnectionRefusedError:
            time.sleep(0.01)
            return False
        except TimeoutError:
            return False


@dataclasses.dataclass(frozen=True)
class Trap:
    """A trap in the terms of SNMPv1: `specific` counts when `generic` is 6."""

    enterprise: str
    generic: int
    specific: int
    variables: str


# One line for each trap; the variables come last because they may hold anything.
TRAP_FORMAT = r"trap|%N|%w|%q|%v\n"
_TRAP_LINE = re.compile(r"^trap\|(.*?)\|(.*?)\|\.?(.*?)\|(.*)$", re.MULTILINE)
_SNMP_TRAP_OID = re.compile(r"\.1\.3\.6\.1\.6\.3\.1\.1\.4\.1\.0 = OID: (\.[0-9.]+)\.(\d+)")
_GENERIC_TRAPS = ".1.3.6.1.6.3.1.1.5"


def parse_traps(log: str) -> list[Trap]:
    """The traps in a receiver's log whose lines have the form TRAP_FORMAT."""
    traps = []
    for enterprise, generic, specific, variables in _TRAP_LINE.findall(log):
        named = _SNMP_TRAP_OID.search(variables)
        if named is None:
            traps.append(Trap(enterprise, int(generic), int(specific or 0), variables))
        elif named[1] == _GENERIC_TRAPS:
            traps.append(Trap(enterprise, int(named[2]) - 1, 0, variables))
        else:
            traps.append(Trap(named[1].removesuffix(".0"), 6, int(named[2]), variables))
    return traps
