"""Measures the library on the simulated device; see ./bench and doc/performance.md."""

from __future__ import annotations

import argparse
import contextlib
import os
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from collections.abc import Callable, Iterator
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(REPOSITORY))

from testbed.device import Agent, Device, wait_until  # noqa: E402

ROOT = (1, 3, 6, 1, 4, 1, 32473, 8, 1)
CHANNEL = (*ROOT, 3, 1, 6, 0)
# Subtrees beside the tree, for the other ways to answer.
PERSISTENT = (1, 3, 6, 1, 4, 1, 32473, 99, 1, 0)
EXTEND_OUTPUT = (1, 3, 6, 1, 4, 1, 8072, 1, 3, 2, 3, 1, 1, 1, ord("b"))
COMMAND = ["uci", "show", "wireless.wifi0.channel"]

PERSIST_SCRIPT = """#!/bin/sh
while read request; do
  case "$request" in
    PING) echo PONG ;;
    get|getnext)
      read oid
      value=$(uci show wireless.wifi0.channel)
      echo "$oid"; echo integer; echo "${value#*=}" ;;
    *) echo NONE ;;
  esac
done
"""


# A client that costs next to nothing: SNMPv2c GET and GETNEXT, BER by hand, one socket.

def ber(tag: int, body: bytes) -> bytes:
    length = bytes([len(body)]) if len(body) < 128 else bytes([0x82]) + len(body).to_bytes(2, "big")
    return bytes([tag]) + length + body


def ber_oid(oid: tuple[int, ...]) -> bytes:
    body = bytes([oid[0] * 40 + oid[1]])
    for arc in oid[2:]:
        septets = [arc & 0x7F]
        while arc := arc >> 7:
            septets.append(arc & 0x7F | 0x80)
        body += bytes(reversed(septets))
    return ber(6, body)


def parts(data: bytes) -> Iterator[tuple[int, bytes]]:
    while data:
        tag, length, start = data[0], data[1], 2
        if length & 0x80:
            start += length & 0x7F
            length = int.from_bytes(data[2:start], "big")
        yield tag, data[start:start + length]
        data = data[start + length:]


def oid_of(body: bytes) -> tuple[int, ...]:
    arcs, number = [body[0] // 40, body[0] % 40], 0
    for byte in body[1:]:
        number = number << 7 | byte & 0x7F
        if not byte & 0x80:
            arcs.append(number)
            number = 0
    return tuple(arcs)


class FastClient:
    """One request at a time."""

    GET, GETNEXT = 0xA0, 0xA1

    def __init__(self, port: int):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.connect(("127.0.0.1", port))
        self._socket.settimeout(60)
        self._number = 0

    def ask(self, kind: int, oid: tuple[int, ...]) -> tuple[tuple[int, ...], int, bytes]:
        """The instance's OID, and its type and octets."""
        self._number = self._number % 0x7FFFFF + 1
        number = ber(2, self._number.to_bytes(4, "big"))
        bindings = ber(0x30, ber(0x30, ber_oid(oid) + b"\x05\x00"))
        pdu = ber(kind, number + b"\x02\x01\x00\x02\x01\x00" + bindings)
        self._socket.send(ber(0x30, b"\x02\x01\x01" + ber(4, b"public") + pdu))
        (_, message), = parts(self._socket.recv(65535))
        pdu_body = list(parts(message))[2][1]
        (_, binding), = parts(list(parts(pdu_body))[3][1])
        (_, name), (kind_of_value, value) = parts(binding)
        return oid_of(name), kind_of_value, value

    def walk(self) -> int:
        """Walks the tree and counts its values."""
        oid, count = ROOT, 0
        while True:
            oid, kind, _ = self.ask(self.GETNEXT, oid)
            if oid[:len(ROOT)] != ROOT or kind >= 0x80:
                return count
            count += 1


def medians_us(actions: dict[str, Callable[[], object]], times: int, pause: float = 0) -> dict[str, float]:
    """The median time of each action. They take turns, so that the machine's moods meet all of them."""
    took: dict[str, list[float]] = {name: [] for name in actions}
    for _ in range(times):
        time.sleep(pause)
        for name, action in actions.items():
            begin = time.perf_counter()
            action()
            took[name].append(time.perf_counter() - begin)
    return {name: statistics.median(values) * 1e6 for name, values in took.items()}


def cpu_seconds(agent: Agent) -> float:
    """Of the agent and the commands that it has waited for."""
    fields = Path(f"/proc/{agent.pid}/stat").read_text().rpartition(") ")[2].split()
    return sum(map(int, fields[11:15])) / os.sysconf("SC_CLK_TCK")


class Bench:
    def __init__(self, options: argparse.Namespace, scratch: Path):
        self.options = options
        self.scratch = scratch
        self.rows: list[tuple[str, str, str, str]] = []

    def row(self, what: str, measured: str, ratio: float | None = None, limit: str = "") -> None:
        self.rows.append((what, measured, f"{ratio:.2f}" if ratio is not None else "", limit))
        print(f"{what:58} {measured:>16} {self.rows[-1][2]:>7} {limit:>8}", flush=True)

    @contextlib.contextmanager
    def device(self, build: Path | None = None, *, bare_uci: bool = True) -> Iterator[Device]:
        """A fresh device whose `uci` is started as it is, not by way of the journal."""
        with tempfile.TemporaryDirectory(dir=self.scratch) as folder, \
                Device.create(Path(folder) / "device", build or self.options.build) as device:
            if bare_uci:
                uci = device.root / "sbin/uci"
                uci.unlink()
                shutil.copy2(os.environ.get("ZOL_UCI") or self.options.build / "testbed/uci", uci)
            # What is kept is kept only of files that were at rest.
            time.sleep(3)
            yield device

    def get(self) -> None:
        times = self.options.times
        with self.device() as device:
            shutil.copy2(self.options.build / "testbed/bare_start", device.root / "bin/bare_start")
            device.write("/bin/persist", PERSIST_SCRIPT)
            (device.root / "bin/persist").chmod(0o755)
            agent = device.start_agent(conf="\n".join([
                "pass_persist .1.3.6.1.4.1.32473.99 /bin/persist", "extend -cacheTime 1 b /bin/busybox sh -c '" + " ".join(COMMAND) + "'"]))
            client = FastClient(agent.port)
            starter = subprocess.Popen([*device.sandbox(), "--", "/bin/bare_start", *COMMAND], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE)
            bare: list[float] = []

            def start_bare() -> None:
                starter.stdin.write(b"\n")
                starter.stdin.flush()
                bare.append(float(starter.stdout.readline()))

            figures = medians_us({
                "pass_persist": lambda: client.ask(client.GET, PERSISTENT),
                "fresh": lambda: client.ask(client.GET, CHANNEL),
                "bare, with the way to it": start_bare,
            }, times)
            figures["bare"] = statistics.median(bare)
            starter.kill()
            starter.wait()
            # What extend keeps it keeps for a second at least.
            figures |= medians_us({"extend": lambda: client.ask(client.GET, EXTEND_OUTPUT)}, times // 15, pause=1.1)
        with self.device() as device:
            client = FastClient(device.start_agent(conf="zolarcReuse yes").port)
            client.ask(client.GET, CHANNEL)
            figures |= medians_us({"reuse": lambda: client.ask(client.GET, CHANNEL)}, times)
        for what, name, limit in (("GET, against pass_persist", "fresh", "0.80"), ("GET with reuse, against pass_persist", "reuse", "0.15"),
                                  ("extend, past its cache, against pass_persist", "extend", "")):
            self.row(what, f"{figures[name]:.0f} us", figures[name] / figures["pass_persist"], limit)
        self.row("GET, against the bare start of the command", f"{figures['bare']:.0f} us", figures["fresh"] / figures["bare"], "1.25")

    def walk(self) -> None:
        def figures(build: Path | None, conf: str) -> list[tuple[float, float]]:
            with self.device(build) as device:
                agent = device.start_agent(device.modules() if not conf else None, conf=conf)
                client = FastClient(agent.port)
                took = []
                for _ in range(2):
                    cpu, begin = cpu_seconds(agent), time.perf_counter()
                    client.walk()
                    took.append((time.perf_counter() - begin, cpu_seconds(agent) - cpu))
                return took

        def best(build: Path | None, conf: str) -> list[tuple[float, float]]:
            runs = [figures(build, conf) for _ in range(self.options.walks)]
            return [min(run[i] for run in runs) for i in range(2)]

        plain, reuse = best(None, ""), best(None, "zolarcReuse yes")
        other = best(self.options.against, "") if self.options.against else None
        for name, (seconds, cpu), limit in (("first walk", plain[0], "0.55"), ("second walk", plain[1], ""),
                                            ("first walk with reuse", reuse[0], ""),
                                            ("second walk with reuse", reuse[1], "0.25")):
            self.row(f"{name}: CPU" + (", against the other build" if other else ""), f"{cpu:.2f} s",
                     cpu / other[0][1] if other else None, limit if other else "")
            self.row(f"{name}: time", f"{seconds:.2f} s", seconds / other[0][0] if other else None)
        with self.device(bare_uci=False) as device:
            agent = device.start_agent(conf="zolarcReuse yes\nzolarcExtensions no")
            client = FastClient(agent.port)
            for name in ("first", "second"):
                device.clear_journal()
                client.walk()
                calls = [call[0] for call in device.calls()]
                self.row(f"{name} walk with reuse: commands, of uci", f"{len(calls)}, {calls.count('uci')}")

    def sampling(self) -> None:
        for count in (1, 8, 40, 160):
            for conf in ("zolarcReuse no", "zolarcReuse yes"):
                with self.device(bare_uci=False) as device:
                    for number in range(count):
                        device.stations.join(f"02:00:00:00:{number // 256:02x}:{number % 256:02x}", f"ath{number % 3}")
                    agent = device.start_agent(conf=conf)
                    time.sleep(14)
                    device.clear_journal()
                    cpu = cpu_seconds(agent)
                    time.sleep(self.options.seconds)
                    used = (cpu_seconds(agent) - cpu) / self.options.seconds
                    rate = len(device.command_lines()) / self.options.seconds
                    self.row(f"sampling, {count} stations, {conf}", f"{rate:.1f}/s, {used:.1%} CPU")

    def hang(self) -> None:
        with self.device(bare_uci=False) as device:
            agent = device.start_agent(conf="zolarcDeadline 5")
            client = FastClient(agent.port)
            other = (1, 3, 6, 1, 2, 1, 1, 3, 0)
            silences: list[float] = []
            stop = threading.Event()

            def listen() -> None:
                watcher = FastClient(agent.port)
                while not stop.is_set():
                    begin = time.perf_counter()
                    watcher.ask(watcher.GET, other)
                    silences.append(time.perf_counter() - begin)
                    time.sleep(0.02)

            thread = threading.Thread(target=listen)
            thread.start()
            device.override("uci", delay=600)
            begin = time.perf_counter()
            client.walk()
            total = time.perf_counter() - begin
            stop.set()
            thread.join()
            device.override("uci")
            wait_until(lambda: agent.get("3.1.6.0").type == "INTEGER", "the command to be healthy again", 60)
        self.row("longest silence while every uci hangs (deadline 5 s)", f"{max(silences):.1f} s")
        self.row("a whole walk meanwhile", f"{total:.1f} s")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, default=REPOSITORY / "build")
    parser.add_argument("--against", type=Path, help="another build of the library")
    parser.add_argument("--only", default="get,walk,sampling,hang")
    parser.add_argument("--times", type=int, default=300, help="GETs a median is taken of (default: 300)")
    parser.add_argument("--walks", type=int, default=3, help="runs of a walk, of which the best counts (default: 3)")
    parser.add_argument("--seconds", type=float, default=22, help="how long sampling is watched (default: 22)")
    options = parser.parse_args()
    options.build = options.build.resolve()
    with tempfile.TemporaryDirectory() as scratch:
        bench = Bench(options, Path(scratch))
        for name in options.only.split(","):
            getattr(bench, name)()
    return 0


if __name__ == "__main__":
    sys.exit(main())
