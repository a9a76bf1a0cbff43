"""A simulated access point: a root file system of its own, run in a private namespace.

A device lives in one folder: `root` (its file system), `state` (what its hardware is like), `journal` (every command
that was run), `snmpd.log`. See README.md.
"""

from __future__ import annotations

import contextlib
import dataclasses
import json
import os
import re
import shlex
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path
from typing import IO, Any, Callable

from testbed.snmp import TRAP_FORMAT, Client, NoResponse, Trap, Value, answers, free_udp_port, parse_traps
from testbed.state import Stations, default_leases, write_default_state, write_values, write_whole

LIBRARY = "libnetsnmpzolarc.so.15"
BUNDLE = "netsnmpzolarc"
# The module that reads the enterprise number, which all others need.
FIRST_MODULE = "zol_AssociatedClients"

_HERE = Path(__file__).resolve().parent
_PATH = "/usr/sbin:/usr/bin:/sbin:/bin"
_BUSYBOX = Path("/usr/bin/busybox")
_SNMPD = ["/usr/sbin/snmpd", "-f", "-Le", "-I", "-smux", "-C", "-c", "{conf}"]
_AGENT_PROGRAMS = (Path("/usr/sbin/snmpd"), Path("/usr/sbin/snmptrapd"))
# Where a device has an agent of its own.
_OWN_AGENT = "/opt/agent"
_EMULATOR = f"{_OWN_AGENT}/emulator"
# Where an emulated program's memory begins in that of its emulator.
_GUEST_BASE = 1 << 32


def wait_until(condition: Callable[[], Any], what: str, timeout: float = 60.0) -> Any:
    """Waits for `condition` to hold and returns what it answered. Raises TimeoutError naming `what`."""
    deadline = time.monotonic() + timeout
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise TimeoutError(what)
        time.sleep(0.01)


def _programs_folder(build: Path) -> Path:
    """Where a build has left the device's programs: in its testbed folder, or right there when built by itself."""
    for folder in (build / "testbed", build):
        if (folder / "standin").exists():
            return folder
    raise FileNotFoundError(f"{build} holds no programs of the simulated device: build it first")


UCI_YEARS = (2014, 2025)


def uci_year(program: Path) -> int:
    """Which year's `uci` a program is: the newer one prints values in quotes."""
    with tempfile.TemporaryDirectory() as folder:
        (Path(folder) / "sample").write_text("config sample 'a'\n\toption b 'c'\n")
        shown = subprocess.run([program, "-c", folder, "show", "sample.a.b"], capture_output=True, text=True, check=True)
    return UCI_YEARS[shown.stdout == "sample.a.b='c'\n"]


def _uci_program(programs: Path, wanted: str) -> Path:
    """The configuration command of a year, or the program of that path."""
    known = dict(zip(map(str, UCI_YEARS), ("uci", "uci-2025")))
    program = programs / known[wanted] if wanted in known else Path(wanted).resolve()
    if not os.access(program, os.X_OK):
        raise FileNotFoundError(f"no configuration command {program}")
    return program


@dataclasses.dataclass(frozen=True)
class Machine:
    """A kind of machine whose programs are run by an emulator; what they start are this machine's own programs."""

    name: str
    emulator: Path
    """A static program, so that it runs in the device."""
    libraries: Path
    """Its C library and the loader of its programs."""

    @property
    def registered(self) -> bool:
        """Whether the kernel starts such programs by itself, in any root file system."""
        with contextlib.suppress(OSError):
            entry = Path(f"/proc/sys/fs/binfmt_misc/qemu-{self.name}").read_text()
            return entry.startswith("enabled") and re.search(r"^flags:.*F", entry, re.MULTILINE) is not None
        return False


# By what stands in the head of a program: its class and byte order, and its machine.
_MACHINES = {
    (b"\x01\x02", b"\x00\x08"): Machine("mips", Path("/usr/bin/qemu-mips-static"), Path("/usr/mips-linux-gnu/lib")),
    (b"\x01\x01", b"\x08\x00"): Machine("mipsel", Path("/usr/bin/qemu-mipsel-static"),
                                        Path("/usr/mipsel-linux-gnu/lib")),
}


def machine_of(program: Path) -> Machine | None:
    """The machine that a program or library is made for; None for this one's own, and where there is no such file."""
    head = b""
    with contextlib.suppress(FileNotFoundError), program.open("rb") as file:
        head = file.read(20)
    return _MACHINES.get((head[4:6], head[18:20]))


def _own_agent(prefix: Path) -> tuple[Path, Path]:
    """The folders of an installed net-snmp's daemons and libraries."""
    for below in (prefix, prefix / "usr"):
        if (below / "sbin/snmpd").exists():
            return below / "sbin", below / "lib"
    raise FileNotFoundError(f"{prefix} holds no sbin/snmpd")


def _check_busybox() -> None:
    """The shell must look for commands in PATH. Builds of busybox exist that run their own applets first."""
    if not _BUSYBOX.exists():
        raise FileNotFoundError("busybox is missing (Debian package busybox)")
    found = subprocess.run([_BUSYBOX, "sh", "-c", "type dmesg"], env={"PATH": "/nowhere"}, capture_output=True,
                           check=False)
    if found.returncode == 0:
        raise RuntimeError("this busybox prefers its own applets: Debian's package busybox is needed,"
                           " not busybox-static")


class Device:
    """One simulated access point. Use it as a context manager, or call `close`: no process is left then."""

    def __init__(self, path: Path | str):
        """An existing device."""
        self.path = Path(path).resolve()
        self.root = self.path / "root"
        self.state = self.path / "state"
        self.journal = self.path / "journal"
        self.build = Path((self.path / "build").read_text())
        self.uci_program = Path((self.path / "uci").read_text())
        agent = (self.path / "agent").read_text()
        self.agent = Path(agent) if agent else None
        """Where the net-snmp is installed whose agent it runs; None for this machine's own."""
        self.stations = Stations(self.state)
        self._children: list[Program] = []

    @classmethod
    def create(cls, path: Path | str, build_dir: Path | str, uci: str | None = None,
               agent: Path | str | None = None) -> Device:
        """Makes a new device in the folder `path`.

        `uci` is the year whose configuration command it has, or the path of a real one; None: what ZOL_UCI in the
        environment says, or else 2014.
        `agent`: where the net-snmp is installed whose agent it runs, the one that the build was made for by default. It
        and the build may be those of another machine, which is emulated then."""
        path, build = Path(path).resolve(), Path(build_dir).resolve()
        _check_busybox()
        made_for = build / "net-snmp"
        if agent is None and made_for.exists():
            agent = made_for.read_text().strip()
        own = Path(agent).resolve() if agent else None
        machine = machine_of(build / LIBRARY)
        if machine_of(_own_agent(own)[0] / "snmpd" if own else _AGENT_PROGRAMS[0]) != machine:
            raise ValueError(f"{build} is not made for the machine of the agent")
        programs = _programs_folder(build)
        uci_program = _uci_program(programs, uci or os.environ.get("ZOL_UCI") or str(UCI_YEARS[0]))
        root = path / "root"
        if root.exists():
            raise FileExistsError(f"{path} holds a device already")
        path.mkdir(parents=True, exist_ok=True)
        shutil.copytree(_HERE / "root", root, symlinks=True)
        _install_scripts(root / "etc")
        for folder in ("bin", "sbin", "dev", "proc", "tmp", "root", "state", "opt/device", "opt/zolarc/lib", "usr/bin",
                       "usr/sbin", "usr/lib", "lib/bramo"):
            (root / folder).mkdir(parents=True, exist_ok=True)
        (root / "tmp").chmod(0o1777)
        (root / "var").symlink_to("tmp")
        _link_interpreter(root)
        _link_programs(root, programs)
        _link_libraries(root, own, machine)
        for mounted in ("journal", "bin/busybox", *(str(program)[1:] for program in _AGENT_PROGRAMS)):
            (root / mounted).touch()
        write_default_state(path / "state")
        (root / "tmp/dhcp.leases").write_text(default_leases())
        (path / "journal").touch()
        (path / "build").write_text(str(build))
        (path / "uci").write_text(str(uci_program))
        (path / "agent").write_text(str(own or ""))
        return cls(path)

    def __enter__(self) -> Device:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Stops what was started."""
        while self._children:
            self._children.pop().stop()

    # Files

    def host_path(self, path: str) -> Path:
        """Where a file of the device is found on this machine."""
        return self.root / path.lstrip("/")

    def read(self, path: str) -> str:
        return self.host_path(path).read_text(encoding="utf-8", errors="surrogateescape")

    def write(self, path: str, text: str | bytes) -> None:
        target = self.host_path(path)
        target.parent.mkdir(parents=True, exist_ok=True)
        write_whole(target, text, staging=self.path)

    # Commands

    def sandbox(self, env: dict[str, str] | None = None, *, die_with_parent: bool = True) -> list[str]:
        """The command line that runs what is appended to it inside the device."""
        command = ["bwrap", "--unshare-user-try", "--uid", "0", "--gid", "0", "--unshare-pid", "--unshare-ipc",
                   "--unshare-uts", "--hostname", "ap", "--cap-drop", "ALL"]
        if die_with_parent:
            command.append("--die-with-parent")
        command += ["--bind", str(self.root), "/", "--proc", "/proc", "--dev", "/dev"]
        for folder in ("/usr/lib", "/usr/lib64"):
            if Path(folder).is_dir() and (self.root / folder[1:]).is_dir():
                command += ["--ro-bind", folder, folder]
        command += ["--ro-bind", str(_BUSYBOX.resolve()), "/bin/busybox"]
        for program in _AGENT_PROGRAMS:
            if program.exists():
                command += ["--ro-bind", str(program), str(program)]
        if self.agent:
            daemons, libraries = _own_agent(self.agent)
            command += ["--ro-bind", str(daemons / "snmpd"), "/usr/sbin/snmpd"]
            command += ["--ro-bind", str(libraries), f"{_OWN_AGENT}/lib"]
        if machine := self.machine:
            command += ["--ro-bind", str(machine.libraries), f"{_OWN_AGENT}/libc"]
            command += ["--ro-bind", str(machine.emulator), _EMULATOR]
        command += ["--ro-bind", str(_programs_folder(self.build)), "/opt/device"]
        command += ["--ro-bind", str(self.uci_program), "/opt/device/uci"]
        command += ["--ro-bind", str(self.build), "/opt/zolarc/lib"]
        command += ["--bind", str(self.state), "/state", "--bind", str(self.journal), "/journal"]
        uptime = self.state / "uptime"
        if uptime.exists():
            command += ["--ro-bind", str(uptime), "/proc/uptime"]
        command += ["--chdir", "/", "--clearenv"]
        emulated = {"QEMU_GUEST_BASE": hex(_GUEST_BASE)} if self.machine else {}
        for name, value in {"PATH": _PATH, "HOME": "/root", "MIBS": "", **emulated, **(env or {})}.items():
            command += ["--setenv", name, value]
        return command

    def run(self, command: list[str] | str, *, env: dict[str, str] | None = None, stdin: str | None = None,
            timeout: float = 120.0) -> subprocess.CompletedProcess[str]:
        """Runs a command to its end. A text is given to the device's shell; that it was is not journalled."""
        arguments = ["/bin/busybox", "sh", "-c", command] if isinstance(command, str) else self._emulated(command)
        # Who types a command does so in a shell.
        env = {"DEVICE_BELOW_A_SHELL": "1", **(env or {})}
        return subprocess.run([*self.sandbox(env), "--", *arguments], input=stdin, timeout=timeout, check=False,
                              stdin=subprocess.DEVNULL if stdin is None else None, capture_output=True, text=True,
                              encoding="utf-8", errors="surrogateescape")

    def popen(self, arguments: list[str], *, env: dict[str, str] | None = None, output: IO[bytes] | int | None = None,
              detached: bool = False) -> subprocess.Popen[bytes]:
        """Starts a program. Unless it is detached it ends when this process does."""
        command = [*self.sandbox(env, die_with_parent=not detached), "--", *self._emulated(arguments)]
        return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                start_new_session=detached)

    def _emulated(self, arguments: list[str]) -> list[str]:
        """The command line of a program of the other machine where the kernel does not know how to start it."""
        if self.machine and not self.machine.registered and Path(arguments[0]).name in ("snmpd", "zolarcd"):
            return [_EMULATOR, *arguments]
        return arguments

    @property
    def uci_year(self) -> int:
        """Which year's configuration command it has."""
        return uci_year(self.uci_program)

    def uci(self, command: str) -> str:
        """What a uci command prints, such as "get wireless.wifi0.channel". It is not journalled.

        Raises subprocess.CalledProcessError when it fails."""
        done = self.run(["/opt/device/uci", *shlex.split(command)])
        if done.returncode != 0:
            raise subprocess.CalledProcessError(done.returncode, f"uci {command}", done.stdout, done.stderr)
        return done.stdout

    # Journal

    def records(self) -> list[list[str]]:
        """Every record since the journal was cleared: "sh" and a text, or an argument vector behind "exec", when a shell has
        started it, or "run"."""
        text = self.journal.read_bytes().decode("utf-8", "surrogateescape")
        return [record.split("\x1f") for record in text.split("\x1e")[:-1]]

    def command_lines(self) -> list[str]:
        """Every command line that was run, with `sh -c` or, its words joined by blanks, without a shell."""
        return [record[1].rstrip() if record[0] == "sh" else " ".join(record[1:])
                for record in self.records() if record[0] != "exec"]

    def calls(self, tool: str | None = None) -> list[list[str]]:
        """The argument vectors of the calls of a tool (by name or path), or of all."""
        calls = [record[1:] for record in self.records() if record[0] != "sh"]
        return [call for call in calls if tool is None or tool in (call[0], call[0].rpartition("/")[2])]

    def clear_journal(self) -> None:
        # Emptied in place: the running device has this very file mounted.
        os.truncate(self.journal, 0)

    # State

    def set_state(self, path: str, **values: object) -> None:
        """Writes values of the state folder, for example set_state("interfaces/ath0", channel=11); None removes one."""
        write_values(self.state / path, values)

    def override(self, tool: str, *, output: str | bytes | None = None, status: int | None = None,
                 delay: float | None = None) -> None:
        """Makes a stand-in print `output` and answer `status`, or be slow; `tool` may be a whole command line.

        What is not given is taken away, so that a call with a tool alone ends all overrides of it."""
        name = tool.replace("/", "_")
        for folder, value in (("output", output), ("exit", status), ("delay", delay)):
            file = self.state / folder / name
            if value is None:
                file.unlink(missing_ok=True)
            else:
                write_whole(file, value if isinstance(value, bytes) else str(value))

    def be_up(self, seconds: float) -> None:
        """How long the kernel says that it has been up. Known to an agent that is started after the first call."""
        # Written in place: the running device has this very file mounted. At one length, so that no moment has half of it.
        descriptor = os.open(self.state / "uptime", os.O_WRONLY | os.O_CREAT, 0o644)
        with os.fdopen(descriptor, "wb") as file:
            file.write(f"{seconds:.2f} 1.00".ljust(31).encode() + b"\n")

    def link(self, port: int, up: bool, at: float) -> None:
        """The kernel reports a link change of a switch port, `at` seconds after the start of the device."""
        change = f"port{port} up" if up else f"port:{port} down"
        with (self.state / "dmesg").open("a") as log:
            log.write(f"[{at:12.6f}] Enet:0 {change}\n")

    # Agents

    @property
    def library(self) -> Path:
        return self.build / LIBRARY

    @property
    def machine(self) -> Machine | None:
        """The other machine that the build is made for."""
        return machine_of(self.library)

    @property
    def sanitized(self) -> bool:
        """Whether the library was built with a sanitizer, which keeps freed memory and starts slowly."""
        return bool(sanitizer_environment(self.library))

    def modules(self) -> list[str]:
        """The modules that the library can load one by one, in an order in which they may be loaded.

        Each exports an entry to unload it; the shorter name of its init entry is the tail of that one's."""
        names = set(re.findall(rb"\0deinit_(\w+)(?=\0)", self.library.read_bytes()))
        modules = {name.decode() for name in names} - {BUNDLE}
        return sorted(modules, key=lambda name: (name != FIRST_MODULE, name))

    def start_agent(self, modules: list[str] | None = None, *, conf: str = "", env: dict[str, str] | None = None,
                    port: int | None = None, library: bool = True, program: list[str] | None = None,
                    detached: bool = False, enterprise: int = 32473) -> Agent:
        """Starts an agent with the library and waits until it answers.

        `modules`: None loads the bundle with a single line, a list loads each by a line of its own. `library`: False
        leaves the agent as it comes. `conf` is appended to its configuration. `program` is the command line of another
        agent than snmpd, with "{conf}" where the name of the configuration file belongs."""
        for attempt in range(3):
            try:
                agent = Agent(self, modules, conf=conf, env=env, port=port, library=library, program=program,
                              detached=detached, enterprise=enterprise)
                break
            except RuntimeError as failure:
                # Somebody else may take the port that was free a moment ago.
                if port or attempt == 2 or "Error opening specified endpoint" not in str(failure):
                    raise
        self._children.append(agent)
        return agent

    def start_zolarcd(self, *options: str, env: dict[str, str] | None = None) -> Program:
        """Starts the library's own agent, which logs to zolarcd.log, without waiting for it."""
        environment = {"SNMP_PERSISTENT_DIR": "/tmp/zolarcd", **_agent_environment(self.library, env)}
        started = Program(self, ["/opt/zolarc/lib/zolarcd", *options], self.path / "zolarcd.log", env=environment,
                          detached=False)
        self._children.append(started)
        return started

    def start_trapd(self) -> TrapReceiver:
        """Starts a trap receiver on a loopback port."""
        receiver = TrapReceiver(self)
        self._children.append(receiver)
        return receiver


def _install_scripts(folder: Path) -> None:
    """The scripts that objects run, as they are packaged but for the journal."""
    for script in (_HERE.parent / "packaging/etc").glob("autoreboot_*"):
        installed = folder / script.name
        installed.write_text(script.read_text().replace("\n", '\njournal "$0" "$@"\n', 1))
        installed.chmod(0o755)


def _link_interpreter(root: Path) -> None:
    """The device's /lib is its own; what programs of this machine are linked with is found through links in it."""
    for entry in Path("/usr/lib").iterdir():
        if entry.name.startswith("ld-") or (entry.is_dir() and "-linux-gnu" in entry.name):
            (root / "lib" / entry.name).symlink_to(f"/usr/lib/{entry.name}")
    if Path("/usr/lib64").is_dir():
        (root / "usr/lib64").mkdir()
        (root / "lib64").symlink_to("usr/lib64")


def _link_libraries(root: Path, agent: Path | None, machine: Machine | None) -> None:
    """What an agent of its own or of another machine is linked with is found in the device's /lib, as on a device."""
    for folder in (_own_agent(agent)[1] if agent else None, machine.libraries if machine else None):
        if folder is None:
            continue
        mounted = f"{_OWN_AGENT}/libc" if machine and folder == machine.libraries else f"{_OWN_AGENT}/lib"
        (root / mounted[1:]).mkdir(parents=True)
        for library in folder.glob("*.so*"):
            (root / "lib" / library.name).symlink_to(f"{mounted}/{library.name}")
    if machine:
        (root / _EMULATOR[1:]).touch()


def _link_programs(root: Path, programs: Path) -> None:
    """Stand-ins where devices have the real tools, busybox for everything else."""
    listing = subprocess.run([programs / "standin", "--list-standins"], capture_output=True, text=True, check=True)
    standins = listing.stdout.split()
    for path in standins:
        (root / path[1:]).symlink_to("/opt/device/standin")
    taken = {path.rpartition("/")[2] for path in standins}
    applets = subprocess.run([_BUSYBOX, "--list"], capture_output=True, text=True, check=True).stdout.split()
    for applet in applets:
        if applet not in taken and applet != "busybox":
            (root / "bin" / applet).symlink_to("busybox")


def sanitizer_environment(library: Path) -> dict[str, str]:
    """What an agent needs that was not built with the sanitizers of the library which it loads."""
    runtimes = re.findall(rb"\0(lib[at]san\.so\.\d+)(?=\0)", library.read_bytes())
    if not runtimes:
        return {}
    # The agent itself frees little of what it holds when it ends.
    # An agent that ends gives up a thread whose command hangs.
    return {"LD_PRELOAD": " ".join(name.decode() for name in set(runtimes)), "ASAN_OPTIONS": "detect_leaks=0",
            "TSAN_OPTIONS": "report_thread_leaks=0"}


def _agent_environment(library: Path | None, env: dict[str, str] | None) -> dict[str, str]:
    """`env`, with what the library of an agent needs beside it."""
    environments = [sanitizer_environment(library) if library else {}, env or {}]
    preloads = " ".join(part["LD_PRELOAD"] for part in environments if "LD_PRELOAD" in part)
    return environments[0] | environments[1] | ({"LD_PRELOAD": preloads} if preloads else {})


def _parent_and_name(pid: int) -> tuple[int, str]:
    stat = Path(f"/proc/{pid}/stat").read_text()
    name, _, rest = stat[stat.index("(") + 1 :].rpartition(") ")
    return int(rest.split()[1]), name


def _children_of(parent: int) -> list[int]:
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            with contextlib.suppress(OSError):
                if _parent_and_name(int(entry.name))[0] == parent:
                    found.append(int(entry.name))
    return found


class Program:
    """A program that runs inside the device until it is stopped."""

    def __init__(self, device: Device, arguments: list[str], log: Path, *, env: dict[str, str] | None, detached: bool):
        self.log_file = log
        self._name = Path(arguments[0]).name[:15]
        self._is_emulated = device.machine is not None
        with log.open("ab") as output:
            self.process = device.popen(arguments, env=env, output=output, detached=detached)
        try:
            self.pid: int = wait_until(self._find, f"{self._name} to start, see {log}")
            """Its process number as this machine counts."""
        except BaseException:
            self.process.kill()
            self.process.wait()
            raise

    def _find(self) -> int | None:
        # The sandbox, the first process inside it, the program.
        if self.process.poll() is not None:
            raise RuntimeError(f"{self._name} ended at once:\n{self.log()}")
        for first in _children_of(self.process.pid):
            for child in _children_of(first):
                with contextlib.suppress(OSError):
                    if _parent_and_name(child)[1] in (self._name, Path(_EMULATOR).name):
                        return child
        return None

    def log(self) -> str:
        return self.log_file.read_text(encoding="utf-8", errors="replace")

    def running(self) -> bool:
        return self.process.poll() is None

    def rss_kib(self) -> int:
        """Its resident memory, without that of its emulator."""
        if not self._is_emulated:
            status = Path(f"/proc/{self.pid}/status").read_text()
            return int(re.search(r"VmRSS:\s+(\d+)", status)[1])  # type: ignore[index]
        total, inside = 0, False
        for line in Path(f"/proc/{self.pid}/smaps").read_text().splitlines():
            if mapped := re.match(r"([0-9a-f]+)-[0-9a-f]+ ", line):
                inside = _GUEST_BASE <= int(mapped[1], 16) < 2 * _GUEST_BASE
            elif inside and line.startswith("Rss:"):
                total += int(line.split()[1])
        return total

    def open_fds(self) -> int:
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def zombies(self) -> int:
        """Its children that have ended and were not waited for."""
        count = 0
        for child in _children_of(self.pid):
            with contextlib.suppress(OSError):
                count += ") Z " in Path(f"/proc/{child}/stat").read_text()
        return count

    def wait(self, timeout: float = 60.0) -> int:
        """Waits for the program to end by itself and returns its exit status."""
        return self.process.wait(timeout)

    def stop(self) -> None:
        """Ends the program, and with it everything that it has started."""
        if self.running():
            with contextlib.suppress(ProcessLookupError):
                os.kill(self.pid, signal.SIGTERM)
            try:
                self.process.wait(5)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()


class Agent(Program, Client):
    """A running agent, and the client that asks it."""

    def __init__(self, device: Device, modules: list[str] | None, *, conf: str, env: dict[str, str] | None,
                 port: int | None, library: bool, program: list[str] | None, detached: bool, enterprise: int):
        Client.__init__(self, port or free_udp_port(), enterprise=enterprise, scratch=device.path)
        self._mib_folders = f"{_HERE.parent}/share/mibs/base:{device.build}/share/mibs"
        loaded = [BUNDLE] if modules is None else modules
        lines = [f"agentaddress udp:127.0.0.1:{self.port}", "rocommunity public 127.0.0.1",
                 "rwcommunity private 127.0.0.1", "dontLogTCPWrappersConnects yes"]
        if library:
            lines += [f"dlmod {module} /opt/zolarc/lib/{LIBRARY}" for module in loaded]
        command = program or _SNMPD
        name = Path(command[0]).name
        self.configuration = f"/etc/snmp/{name}.conf"
        device.write(self.configuration, "\n".join([*lines, conf, ""]))
        command = [word.replace("{conf}", self.configuration) for word in command]
        hosts_library = library or name == "zolarcd"
        environment = {"SNMP_PERSISTENT_DIR": "/tmp/snmp",
                       **_agent_environment(device.library if hosts_library else None, env)}
        Program.__init__(self, device, command, device.path / f"{name}.log", env=environment, detached=detached)
        try:
            wait_until(self._answers, "the agent to answer")
        except Exception as failure:
            self.stop()
            raise RuntimeError(f"{failure}; the agent's log:\n{self.log()}") from None

    def _request(self, program: str, options: list[str], arguments: list[str]) -> list[Value]:
        try:
            return super()._request(program, options, arguments)
        except NoResponse as failure:
            state = "is running" if self.running() else f"ended with status {self.process.returncode}"
            raise NoResponse(f"{failure} (the agent {state}); its log:\n{self.log()}") from None

    def _alive(self) -> bool:
        return self.running()

    def _answers(self) -> bool:
        if not self.running():
            raise RuntimeError(f"the agent ended with status {self.process.returncode}")
        return answers(self.port, 0.5)

    def by_name(self, program: str, *arguments: str) -> str:
        """What a stock client that knows the build's MIB file prints about the objects."""
        community = "private" if program == "snmpset" else "public"
        command = [program, "-v2c", "-c", community, "-t", "20", "-r", "0",
                   "-M", self._mib_folders, "-m", "ZOLARC-MIB", f"udp:127.0.0.1:{self.port}", *arguments]
        done = subprocess.run(command, capture_output=True, text=True, check=False, env=self.environment)
        # The client's own folders are new as well.
        errors = [line for line in done.stderr.splitlines() if not line.startswith("Created directory: ")]
        if done.returncode != 0 or errors:
            raise RuntimeError(f"{' '.join(command)}: {errors or done.stdout}")
        return done.stdout

    def hup(self) -> None:
        """Makes it read its configuration again, and waits until it has and answers."""
        done = "restarted"
        before = self.log().count(done)
        os.kill(self.pid, signal.SIGHUP)
        wait_until(lambda: self.log().count(done) > before or not self.running(), "the agent to read its configuration")
        wait_until(self._answers, "the agent to answer")


class TrapReceiver(Program):
    """A running snmptrapd."""

    def __init__(self, device: Device):
        self.port = free_udp_port()
        configuration = "/etc/snmp/snmptrapd.conf"
        device.write(configuration, f"disableAuthorization yes\nformat1 {TRAP_FORMAT}\nformat2 {TRAP_FORMAT}\n")
        command = ["/usr/sbin/snmptrapd", "-f", "-n", "-Le", "-On", "-C", "-c", configuration,
                   f"udp:127.0.0.1:{self.port}"]
        super().__init__(device, command, device.path / "snmptrapd.log", env={"SNMP_PERSISTENT_DIR": "/tmp/snmptrapd"},
                         detached=False)
        wait_until(lambda: "NET-SNMP version" in self.log(), f"the trap receiver to start: {self.log_file}")

    @property
    def sink(self) -> str:
        """The line of an agent's configuration that sends traps here, as SNMPv1."""
        return f"trapsink 127.0.0.1:{self.port} public"

    def traps(self) -> list[Trap]:
        """What has come in so far."""
        return parse_traps(self.log())


def save_agent(device: Device, agent: Agent) -> None:
    """Notes a detached agent, so that another process can stop it."""
    note = {"sandbox": agent.process.pid, "agent": agent.pid, "port": agent.port}
    write_whole(device.path / "agent.json", json.dumps(note))


def stop_saved_agent(device: Device) -> bool:
    """Stops the agent that was noted. @return whether there was one"""
    note = device.path / "agent.json"
    if not note.exists():
        return False
    saved = json.loads(note.read_text())
    note.unlink()
    sandbox = Path(f"/proc/{saved['sandbox']}/cmdline")

    def is_running() -> bool:
        # A process of that number may be quite another one by now.
        try:
            return os.fsencode(str(device.root)) in sandbox.read_bytes()
        except OSError:
            return False

    if not is_running():
        return False
    with contextlib.suppress(ProcessLookupError):
        os.kill(saved["agent"], signal.SIGTERM)
    try:
        wait_until(lambda: not is_running(), "the agent to end", 5)
    except TimeoutError:
        os.kill(saved["sandbox"], signal.SIGKILL)
    return True
