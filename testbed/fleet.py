"""A fleet of simulated access points, with the programs that watch it: the exporter, Prometheus, Alertmanager, snmptrapd.

Everything listens on the loopback only and ends with the process that holds the fleet; `fleet.json` in its folder tells others
where all of it is. Time is short here: intervals, and how long something must last before it is told, are seconds.
"""

from __future__ import annotations

import json
import os
import re
import shutil
import signal
import socket
import subprocess
import time
import urllib.request
from pathlib import Path

from testbed.device import Agent, Device, wait_until
from testbed.snmp import free_udp_port
from testbed.state import write_whole

REPOSITORY = Path(__file__).resolve().parent.parent
SHARE = REPOSITORY / "share"

# The user who may read all but secrets, as in the sample configuration, and what the simulated ones are protected with.
USER = "watcher"
AUTHENTICATION, PRIVACY = "authentication-passphrase", "privacy-passphrase"
CREATE_USER = f"createUser {USER} SHA {AUTHENTICATION} AES {PRIVACY}"
SNMPV3 = ["-v3", "-l", "authPriv", "-u", USER, "-a", "SHA", "-A", AUTHENTICATION, "-x", "AES", "-X", PRIVACY]

# Commands are run no more often than needed, and stations are looked for more often than on a device.
SWITCHES = ["zolarcReuse yes", "zolarcDeadline 3", "zolarcCollect 5", "zolarcNotifications named"]

PLACES = ["Harbour", "Warehouse", "Lobby", "Quay", "Terminal", "Office", "Yard", "Canteen"]
FAULTS = ["radio off", "noisy", "hung", "silent"]

# How a day of watching passes in two minutes. A window must hold two scrapes.
SHORT = {"2m": "10s", "5m": "20s", "10m": "15s", "15m": "1m", "1h": "30s", "1d": "2m"}


def hurried(rules: str) -> str:
    """The rules with short times."""
    return re.sub(r"(?<=for: )\w+|(?<=\[)\w+(?=\])|(?<=offset )\w+", lambda found: SHORT.get(found[0], found[0]), rules)


def free_tcp_port(wanted: int = 0) -> int:
    """`wanted`, or another port where it is taken."""
    with socket.socket() as probe:
        probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            probe.bind(("127.0.0.1", wanted))
        except OSError:
            return free_tcp_port()
        return probe.getsockname()[1]


def reachable(url: str) -> bool:
    try:
        with urllib.request.urlopen(url, timeout=2) as answer:
            return answer.status == 200
    except OSError:
        return False


def sample_views(enterprise: int = 32473) -> list[str]:
    """What the sample configuration lets the watching user see."""
    lines = (REPOSITORY / "doc/snmpd.conf.sample").read_text().splitlines()
    return [line.replace("32473", str(enterprise)) for line in lines if line.startswith(("view ", f"rouser {USER} "))]


class Member:
    """One device of the fleet, from outside of the process that holds it too: its faults are files, and signals."""

    def __init__(self, device: Device, number: int, port: int, agent: int = 0):
        self.device = device
        self.number = number
        self.port = port
        self.agent = agent

    @property
    def instance(self) -> str:
        """Its address on the loopback, which notifications come from too."""
        return f"127.0.1.{self.number}"

    @property
    def target(self) -> str:
        return f"{self.instance}:{self.port}"

    def configure(self, name: str, firmware: str) -> None:
        """A name and a firmware of its own, and nobody associated."""
        config = self.device.read("/etc/config/system")
        self.device.write("/etc/config/system", re.sub(r"option hostname .*", f"option hostname '{name}'", config))
        release = self.device.read("/etc/openwrt_release")
        self.device.write("/etc/openwrt_release", re.sub(r'DESCRIPTION=".*"', f'DESCRIPTION="{firmware}"', release))
        for mac in self.device.stations.list():
            self.device.stations.leave(mac)
        self.device.write("/tmp/dhcp.leases", "")

    def start(self, conf: str) -> Agent:
        lines = [f"agentaddress udp:{self.target}", f"[snmp] clientaddr {self.instance}", CREATE_USER, *sample_views(), *SWITCHES]
        agent = self.device.start_agent(port=self.port, conf="\n".join([*lines, conf]))
        self.agent = agent.pid
        return agent

    def join(self, mac: str, name: str, signal_dbm: int, interface: str = "ath0") -> None:
        octets = {"tx_bytes": 1000, "rx_bytes": 1000, "tx_data": 10, "rx_data": 10, "tx_retries": 0}
        lease = f"{int(time.time()) + 36000} {mac} 192.168.{self.number}.{int(mac[-2:], 16) + 1} {name} 01:{mac}\n"
        with self.device.host_path("/tmp/dhcp.leases").open("a") as leases:
            leases.write(lease)
        self.device.stations.join(mac, interface, signal=signal_dbm, noise=-95, counters=octets)

    def leave(self, mac: str) -> None:
        self.device.stations.leave(mac)
        kept = [line for line in self.device.read("/tmp/dhcp.leases").splitlines(keepends=True) if mac not in line]
        self.device.write("/tmp/dhcp.leases", "".join(kept))

    def seed(self, fault: str) -> None:
        """Makes the device faulty, until `repair`."""
        if fault == "radio off":
            self.device.uci("set wireless.wifi0.disabled=1")
            self.device.uci("commit wireless")
        elif fault == "noisy":
            for mac in self.device.stations.list():
                self.device.stations.write(mac, noise=-71)
        elif fault == "hung":
            self.device.override("top", delay=600)
        elif fault == "silent":
            os.kill(self.agent, signal.SIGSTOP)
        else:
            raise ValueError(f"no fault {fault!r}: {', '.join(FAULTS)}")

    def repair(self) -> None:
        self.device.uci("set wireless.wifi0.disabled=0")
        self.device.uci("commit wireless")
        for mac in self.device.stations.list():
            self.device.stations.write(mac, noise=-95)
        self.device.override("top")
        os.kill(self.agent, signal.SIGCONT)


class Fleet:
    """The running fleet. Use it as a context manager, or call `close`: no process is left then."""

    def __init__(self, folder: Path, build: Path, count: int, *, interval: float = 5.0, port: int = 0, store: bool = False):
        """`store`: with a store for many sites behind Prometheus, on the port `store`."""
        self.folder = folder.resolve()
        self.store = free_tcp_port() if store else 0
        self.interval = interval
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.build = build.resolve()
        self.notifications = self.folder / "notifications.log"
        """What the devices have notified, a line each."""
        self.members: list[Member] = []
        self._programs: list[subprocess.Popen[bytes]] = []
        self.receiver = free_udp_port()
        self.exporter, self.prometheus, self.alertmanager = free_tcp_port(), free_tcp_port(port), free_tcp_port()
        try:
            self._start(count)
        except BaseException:
            self.close()
            raise

    @property
    def page(self) -> str:
        return f"http://127.0.0.1:{self.prometheus}/user/index.html"

    def _start(self, count: int) -> None:
        self._start_receiver()
        # A receiver acknowledges an inform, so that the device sends it again where it was lost.
        receiver = f"trapsess -Ci {' '.join(SNMPV3)} 127.0.0.1:{self.receiver}"
        for number in range(1, count + 1):
            member = Member(Device.create(self.folder / f"ap-{number}", self.build), number, free_udp_port())
            self.members.append(member)
            old = number == 2 and count > 2
            member.configure(f"{PLACES[(number - 1) % len(PLACES)]} {number}", f"ZOLARC v1.{3 if old else 4}_b260310")
            for station in range(2 + 3 * number % 7):
                member.join(f"02:00:00:00:{number:02x}:{station:02x}", f"laptop-{number}-{station}", -45 - 4 * station,
                            f"ath{station % 2}")
            member.start(receiver)
        self._start_watching()

    def _start_receiver(self) -> None:
        """snmptrapd as its sample configuration has it, which writes to notifications.log."""
        text = (SHARE / "prometheus/snmptrapd.conf").read_text().replace("http://127.0.0.1:9093", f"http://127.0.0.1:{self.alertmanager}")
        text = text.replace("/usr/share/zolarc/prometheus", f"{SHARE}/prometheus").rstrip() + f" {self.notifications}\n"
        (self.folder / "snmptrapd.conf").write_text(f"{CREATE_USER}\n{text}")
        self._run("snmptrapd", "-f", "-Le", "-m", "ZOLARC-MIB", "-M", f"{SHARE}/mibs/base:{self.build}/share/mibs", "-C", "-c",
                  f"{self.folder}/snmptrapd.conf", f"udp:127.0.0.1:{self.receiver}")
        wait_until(lambda: "NET-SNMP version" in (self.folder / "snmptrapd.log").read_text(), "snmptrapd to start")

    def _start_watching(self) -> None:
        local = {"127.0.0.1:9116": f"127.0.0.1:{self.exporter}", "127.0.0.1:9093": f"127.0.0.1:{self.alertmanager}",
                 "/etc/prometheus": str(self.folder), "scrape_interval: 1m": f"scrape_interval: {self.interval:g}s",
                 "evaluation_interval: 30s": f"evaluation_interval: {self.interval:g}s", "scrape_timeout: 30s":
                 f"scrape_timeout: {self.interval:g}s", "group_wait: 30s": "group_wait: 1s", "group_interval: 5m": "group_interval: 5s"}
        for name in ("prometheus.yml", "alertmanager.yml", "snmp.yml", "zolarc.rules.yml"):
            text = (SHARE / "prometheus" / name).read_text()
            for found, replacement in local.items():
                text = text.replace(found, replacement)
            if self.store:
                text = text.replace("#remote_write:\n#", "remote_write:\n").replace("store.example.net:8428", f"127.0.0.1:{self.store}")
            text = text.replace("CHANGE-authentication-passphrase", AUTHENTICATION).replace("CHANGE-privacy-passphrase", PRIVACY)
            (self.folder / name).write_text(hurried(text) if name == "zolarc.rules.yml" else text)
        targets = [{"targets": [member.target for member in self.members]}]
        (self.folder / "zolarc-devices.yml").write_text(json.dumps(targets))
        self._run("prometheus-snmp-exporter", f"--config.file={self.folder}/snmp.yml",
                  f"--web.listen-address=127.0.0.1:{self.exporter}")
        # Without a port for a cluster of its own kind, which would be open to everybody.
        self._run("prometheus-alertmanager", f"--config.file={self.folder}/alertmanager.yml", "--cluster.listen-address=",
                  f"--web.listen-address=127.0.0.1:{self.alertmanager}", f"--storage.path={self.folder}/alerts")
        if self.store:
            # It answers what it has just been given, which it does not by itself.
            self._run("victoria-metrics", f"-storageDataPath={self.folder}/store", f"-httpListenAddr=127.0.0.1:{self.store}",
                      "-search.latencyOffset=0s")
        self._run("prometheus", f"--config.file={self.folder}/prometheus.yml", f"--storage.tsdb.path={self.folder}/data",
                  f"--web.listen-address=127.0.0.1:{self.prometheus}", f"--web.user-assets={SHARE}/fleet")
        for port in filter(None, (self.exporter, self.alertmanager, self.prometheus, self.store)):
            wait_until(lambda at=port: reachable(f"http://127.0.0.1:{at}/metrics"), f"port {port} to answer", 60)
        # Others wait for it.
        write_whole(self.folder / "fleet.json", json.dumps({
            "process": os.getpid(), "page": self.page, "prometheus": self.prometheus, "alertmanager": self.alertmanager,
            "members": [[str(member.device.path), member.number, member.port, member.agent] for member in self.members]}))

    def _run(self, *command: str) -> None:
        with (self.folder / f"{command[0]}.log").open("wb") as log:
            # It ends with this process, however that ends.
            self._programs.append(subprocess.Popen(["setpriv", "--pdeathsig", "TERM", *command], stdin=subprocess.DEVNULL,
                                                   stdout=log, stderr=log, cwd=self.folder,
                                                   env=os.environ | {"SNMP_PERSISTENT_DIR": str(self.folder / "snmp")}))

    def __enter__(self) -> Fleet:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Stops what was started."""
        # Prometheus before the store that it still has to tell something.
        while self._programs:
            program = self._programs.pop()
            program.terminate()
            try:
                program.wait(10)
            except subprocess.TimeoutExpired:
                program.kill()
                program.wait()
        for member in self.members:
            if member.agent:
                os.kill(member.agent, signal.SIGCONT)
            member.device.close()

    def pass_time(self, turn: int) -> None:
        """What happens in a second or so: traffic flows, and every few turns a station goes on to another device."""
        for member in self.members:
            for number, mac in enumerate(member.device.stations.list(), start=1):
                down, up = 40_000 * number * (turn + 1), 9_000 * number * (turn + 1)
                member.device.stations.write(mac, counters={"tx_bytes": down, "rx_bytes": up, "tx_data": down // 900,
                                                            "rx_data": up // 300, "tx_retries": down // 9000})
        if turn % 20 == 0 and len(self.members) > 1:
            for roamer in range(1, 3):
                self.roam(f"02:00:00:00:ff:{roamer:02x}", f"scanner-{roamer}", (turn // 20 + roamer) % len(self.members))

    def roam(self, mac: str, name: str, to: int) -> None:
        """A station leaves wherever it is, and comes to a device."""
        for member in self.members:
            if mac in member.device.stations.list():
                member.leave(mac)
        self.members[to].join(mac, name, -52 - 3 * to)


def running(folder: Path) -> dict[str, object] | None:
    """What is known of a fleet that runs in a folder."""
    note = folder / "fleet.json"
    if not note.exists():
        return None
    known = json.loads(note.read_text())
    try:
        # A process of that number may be quite another one by now.
        alive = str(folder).encode() in Path(f"/proc/{known['process']}/cmdline").read_bytes()
    except OSError:
        return None
    return known if alive else None


def members_of(known: dict[str, object]) -> list[Member]:
    return [Member(Device(path), number, port, agent) for path, number, port, agent in known["members"]]  # type: ignore[attr-defined]
