"""The device's configuration command of either year. With ZOL_UCI the real one of its year takes the stand-in's place."""

from __future__ import annotations

import os
import shutil
import subprocess
from pathlib import Path

import pytest

from testbed.device import UCI_YEARS, Device, uci_year

SAMPLE = """
# What stands here is a comment.
config wifi-device 'wifi0'
	option channel '6'
	option country 840 # so is this

config wifi-iface
	option device "wifi0"
	option ssid 'my net'
	list maclist '02:00:00:00:00:01'
	list maclist 'two words'
	option empty ''

config wifi-iface 'guest'
	option ssid "say \\"hi\\" \\\\ 'there'"

config wifi-iface
	option ssid one\\ word
	option hidden 1
"""


class Uci:
    """The command of a year, on a device with two packages."""

    def __init__(self, device: Device, year: int, standin: bool):
        self.device, self.year, self.standin = device, year, standin
        for folder in ("etc/config", "tmp/.uci"):
            shutil.rmtree(device.root / folder, ignore_errors=True)
        self.write(wireless=SAMPLE, other="config thing 'a'\n\toption x '1'\n\toption z '9'\n")

    def write(self, **files: str) -> None:
        for name, text in files.items():
            self.device.write(f"/etc/config/{name}", text)

    def run(self, *arguments: str) -> subprocess.CompletedProcess[str]:
        return self.device.run(["uci", *arguments])

    def __call__(self, *arguments: str) -> str:
        done = self.run(*arguments)
        assert (done.returncode, done.stderr) == (0, ""), arguments
        return done.stdout

    def file(self, name: str) -> str:
        return self.device.read(f"/etc/config/{name}")

    def of_its_year(self, *each: str) -> str:
        return each[UCI_YEARS.index(self.year) % len(each)]


@pytest.fixture(scope="module", params=UCI_YEARS)
def machine(request: pytest.FixtureRequest, tmp_path_factory: pytest.TempPathFactory, build_dir: Path) -> Device:
    program = os.environ.get("ZOL_UCI", "")
    real = os.access(program, os.X_OK) and uci_year(Path(program)) == request.param
    return Device.create(tmp_path_factory.mktemp("machine"), build_dir, program if real else str(request.param))


@pytest.fixture
def uci(machine: Device) -> Uci:
    return Uci(machine, machine.uci_year, machine.uci_program.parent.name == "testbed")


@pytest.mark.parametrize(("command", "expected"), [
    ("show wireless", ("""\
wireless.wifi0=wifi-device
wireless.wifi0.channel=6
wireless.wifi0.country=840
wireless.@wifi-iface[0]=wifi-iface
wireless.@wifi-iface[0].device=wifi0
wireless.@wifi-iface[0].ssid=my net
wireless.@wifi-iface[0].maclist=02:00:00:00:00:01 two words
wireless.guest=wifi-iface
wireless.guest.ssid=say "hi" \\ 'there'
wireless.@wifi-iface[1]=wifi-iface
wireless.@wifi-iface[1].ssid=one word
wireless.@wifi-iface[1].hidden=1
""", """\
wireless.wifi0=wifi-device
wireless.wifi0.channel='6'
wireless.wifi0.country='840'
wireless.@wifi-iface[0]=wifi-iface
wireless.@wifi-iface[0].device='wifi0'
wireless.@wifi-iface[0].ssid='my net'
wireless.@wifi-iface[0].maclist='02:00:00:00:00:01' 'two words'
wireless.guest=wifi-iface
wireless.guest.ssid='say "hi" \\ '\\''there'\\'''
wireless.@wifi-iface[2]=wifi-iface
wireless.@wifi-iface[2].ssid='one word'
wireless.@wifi-iface[2].hidden='1'
""")),
    ("show wireless.wifi0.channel -q", ("wireless.wifi0.channel=6\n", "wireless.wifi0.channel='6'\n")),
    # One entry is printed under its section's own name, which counts what stands before it.
    ("show wireless.@wifi-iface[0].ssid", ("wireless.cfg033579.ssid=my net\n", "wireless.cfg023579.ssid='my net'\n")),
    ("get wireless.@wifi-iface[-1].hidden", ("1\n",)),
    ("get wireless.@wifi-iface[2].ssid", ("one word\n",)),
    ("get wireless.wifi0", ("wifi-device\n",)),
    ("get wireless.@wifi-iface[0].maclist", ("02:00:00:00:00:01 two words\n", "02:00:00:00:00:01 'two words'\n")),
    ("get wireless", ("",)),
    ("changes", ("",)),
])
def test_prints(uci: Uci, command: str, expected: tuple[str, ...]) -> None:
    assert uci(*command.split()) == uci.of_its_year(*expected)


WIFI0 = "wireless.wifi0=wifi-device\nwireless.wifi0.channel=6\nwireless.wifi0.country=840\n"
OTHER = "other.a=thing\nother.a.x=1\nother.a.z=9\n"


@pytest.mark.parametrize(("command", "message", "status", "shown"), [
    ("get wireless.wifi0.absent", "Entry not found", 1, ""),
    # The older command shows what it has found on the way.
    ("show wireless.wifi0.absent", "Entry not found", 1, WIFI0),
    ("show other.@thing[3].x", "Entry not found", 1, OTHER),
    ("show absent", "Entry not found", 1, ""),
    ("show other.@[x].y", "Invalid argument", 1, ""),
    ("delete wireless.wifi0.absent", "Entry not found", 1, ""),
    ("commit absent", "Entry not found", 1, ""),
    ("add absent thing", "Entry not found", 3, ""),
    ("set wireless.absent.x=1", "Invalid argument", 1, ""),
    ("set wireless.absent.x=", "Invalid argument", 1, ""),
    ("set wireless.@wifi-iface[3].ssid=x", "Invalid argument", 1, ""),
    ("set wireless.wifi0.channel", "Invalid argument", 1, ""),
    ("set wireless.wifi0.bad-name=1", "Parse error", 1, ""),
    ("get wireless.a.b.c", "Parse error", 1, ""),
    ("add_list wireless.absent.x=1", "Invalid argument", 1, ""),
])
def test_refuses(uci: Uci, command: str, message: str, status: int, shown: str) -> None:
    done = uci.run(*command.split())
    expected = (status, uci.of_its_year(shown, ""), f"uci: {message}\n")
    assert (done.returncode, done.stdout, done.stderr) == expected
    quiet = uci.run("-q", *command.split())
    assert (quiet.returncode, quiet.stderr) == (status, "")
    assert uci("changes") == ""


def test_too_many_words_change_nothing(uci: Uci) -> None:
    done = uci.run("set", "other.a.x=2commit", "other")
    assert done.returncode == 255 and done.stderr.startswith("Usage:")
    assert uci("changes") == ""


@pytest.mark.parametrize(("commands", "expected"), [
    ("set other.a.x=2", ("\toption z '9'\n\toption x '2'\n", "\toption x '2'\n\toption z '9'\n")),
    ("set other.a.x=; set other.a.absent=; set other.absent=", ("\toption z '9'\n",)),
    ("delete other.a.z; set other.b=thing; set other.b.y=2",
     ("\toption x '1'\n\nconfig thing 'b'\n\toption y '2'\n",)),
    ("delete other.a.z; add other thing; set other.@thing[1].y=3; set other.@thing[-1].z=4",
     ("\toption x '1'\n\nconfig thing\n\toption y '3'\n\toption z '4'\n",)),
    ("add_list other.a.x=2; add_list other.a.x=", ("\toption z '9'\n\tlist x '1'\n\tlist x '2'\n\tlist x ''\n",
                                                   "\tlist x '1'\n\tlist x '2'\n\tlist x ''\n\toption z '9'\n")),
    ("delete other.a.z; add_list other.a.l=1; add_list other.a.l=2; del_list other.a.l=1; del_list other.a.x=1",
     ("\toption x '1'\n\tlist l '2'\n",)),
    ("set other.b=thing; rename other.a=c; rename other.c.x=y; reorder other.b=9",
     ("\toption y '1'\n\toption z '9'\n\nconfig thing 'b'\n",)),
])
def test_writes_on_commit_only(uci: Uci, commands: str, expected: tuple[str, ...]) -> None:
    before = uci.file("other")
    for command in commands.split("; "):
        uci(*command.split())
    assert uci.file("other") == before
    staged = uci("show", "other")
    uci("commit", "other")
    name = "c" if "=c;" in commands else "a"
    assert uci.file("other") == f"\nconfig thing '{name}'\n{uci.of_its_year(*expected)}\n"
    assert uci("changes") == ""
    # What was shown before the commit is what is there after it.
    assert uci("show", "other") == staged


def test_changes_are_listed_and_reverted(uci: Uci) -> None:
    for command in ("set other.a.x=2", "delete other.a.x", "set other.a.y=3", "add_list other.a.l=4",
                    "set wireless.@wifi-iface[0].ssid=new net", "set wireless.@wifi-iface[0].ssid=new net"):
        uci(*command.split(" ", 1))
    assert uci("changes") == uci.of_its_year(
        "other.a.x=2\n-other.a.x\nother.a.y=3\nother.a.l+=4\nwireless.cfg033579.ssid=new net\n",
        "other.a.x='2'\n-other.a.x\nother.a.y='3'\nother.a.l+='4'\nwireless.cfg023579.ssid='new net'\n")
    uci("revert", "other.a.x")
    assert uci("get", "other.a.x") == "1\n" and uci("get", "other.a.y") == "3\n"
    uci("revert", "wireless.@wifi-iface[0]")
    uci("revert", "other")
    assert uci("changes") == ""


@pytest.mark.parametrize("value", ["two words", " it's ", 'say "hi"', "back\\slash\\", "#comment; not", "$(reboot) `x`",
                                   "\ttab", "Hafencafé", "a=b=c", "'", "x" * 1500])
def test_values_survive(uci: Uci, value: str) -> None:
    uci("set", f"other.a.x={value}")
    uci("add_list", f"other.a.l={value}")
    assert uci("get", "other.a.x") == value + "\n"
    uci("commit", "other")
    assert uci("get", "other.a.x") == value + "\n"
    assert uci("get", "other.a.l").strip("'\n") in (value.strip("'"), value.replace("'", "'\\''").strip("'"))


def test_only_the_newer_command_takes_several_lines(uci: Uci) -> None:
    done = uci.run("set", "other.a.x=two\nlines")
    assert done.stderr == uci.of_its_year("uci: Parse error\n", "")
    assert uci("get", "other.a.x") == uci.of_its_year("1\n", "two\nlines\n")


@pytest.mark.parametrize(("text", "reason"), [
    ("config thing 'a'\n\toption x 'open\n", ("(unterminated ') at line 2, byte 15",
                                             "(EOF with unterminated ') at line 2, byte 16")),
    ("config thing 'a'\n\n\toption x 1 2\n", ("(too many arguments) at line 3, byte 13",
                                             "(too many arguments) at line 3, byte 14")),
    ("option x 1\n", ("(option/list command found before the first section) at line 1, byte 0",)),
    ("config thing 'a'\nconfiguration\n", ("(invalid command) at line 2, byte 0",)),
    ("config thing 'a b'\n", ("(invalid character in field) at line 1, byte 13",
                              "(invalid character in name field) at line 1, byte 19")),
])
def test_a_broken_file_is_refused_and_kept(uci: Uci, text: str, reason: tuple[str, ...]) -> None:
    uci("set", "other.a.x=staged")
    uci.write(other=text)
    for command in ("show other", "set other.a.x=2", "commit other"):
        done = uci.run(*command.split())
        assert (done.returncode, done.stderr) == (1, f"uci: Parse error {uci.of_its_year(*reason)}\n"), command
    assert uci.file("other") == text
    # Once it is repaired the change that was staged before is still there.
    uci.write(other="config thing 'a'\n")
    assert uci("get", "other.a.x") == "staged\n"


def test_concurrent_processes_lose_nothing(uci: Uci) -> None:
    if not uci.standin:
        pytest.skip("the real command's commit may lose what another process commits at the same time")
    done = uci.device.run("""for writer in 1 2 3 4; do
        (for n in $(seq 20); do uci add_list other.a.l=$writer-$n; uci commit other; done) & done; wait""")
    assert (done.returncode, done.stderr) == (0, "")
    items = uci("get", "other.a.l").split()
    assert sorted(items) == sorted(f"{writer}-{n}" for writer in range(1, 5) for n in range(1, 21))
    assert uci("changes") == ""


def test_the_sample_configuration_reads_back(uci: Uci) -> None:
    folder = Path(__file__).resolve().parents[2] / "testbed/root/etc/config"
    samples = {file.name: file.read_text() for file in folder.iterdir()}
    uci.write(**samples)
    # The section that holds the enterprise number is anonymous; its place in the file makes its name.
    name = uci.of_its_year("cfg10e48a", "cfg0ee48a")
    assert uci("show", "snmpd.@system[0].enterpriseid").startswith(f"snmpd.{name}.enterpriseid=")
    for change in ("set {}.marker=marker", "delete {}.marker"):
        script = "; ".join(f"uci {change.format(name)}; uci commit {name}" for name in samples)
        assert uci.device.run(script).stderr == ""
    for name, text in samples.items():
        assert uci.file(name) == text, "the sample is not written as the command writes it"


def test_the_tree_is_the_same_with_either(machine: Device, tmp_path: Path, build_dir: Path) -> None:
    with Device.create(tmp_path / "device", build_dir, str(machine.uci_program)) as device:
        device.start_agent().stop()
        # A second start finds the host name as it was.
        agent = device.start_agent()
        assert device.uci("get system.@system[0].hostname") == "ap-lobby\n"
        assert agent.getnext().oid == "1.1.0"
        for oid, text in (("2.1.0", "it's"), ("3.1.4.0", "two words"), ("17.2.0", "read"), ("14.5.0", "one;two;three")):
            agent.set(oid, "s", text)
            assert agent.get(oid).text == text
        assert device.uci("get snmpd.@system[0].sysName") == "it's\n"
        # What is missing is not answered with something else: an option, a section, a radio.
        for missing in ("wireless.wifi0.autoack", "wireless.wifi0.channel", "qos.Default", "system.ntp.server"):
            device.uci(f"delete {missing}")
        absent = {"3.1.21.0": 2, "3.1.6.0": 0, "13.7.1.2.0": "name1", "14.5.0": "one;two;three"}
        assert {oid: agent.get(oid).text if isinstance(value, str) else agent.get(oid).value
                for oid, value in absent.items()} == absent
        agent.set("3.1.1.0", "i", 5)
        assert [agent.get(f"3.1.{arc}.0").value for arc in (6, 9, 10, 13, 15, 16, 21, 22)] == [0, 0, 0, 1, 0, 3, 2, 0]
