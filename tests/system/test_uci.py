"""The device's configuration command, run on private folders of configuration files and staged changes."""

from __future__ import annotations

import subprocess
from pathlib import Path

import pytest

SAMPLE = """
# What stands here is a comment.
config wifi-device 'wifi0'
	option channel '6'
	option country 840 # so is this

config wifi-iface
	option device "wifi0"
	option ssid 'my net'
	list maclist '02:00:00:00:00:01'
	list maclist '02:00:00:00:00:02'
	option empty ''

config wifi-iface 'guest'
	option ssid "say \\"hi\\" \\\\ 'there'"

config wifi-iface
	option ssid one\\ word; option hidden 1
"""


class Uci:
    """The command on folders of its own."""

    def __init__(self, program: Path, folder: Path, **files: str):
        self.program = program
        self.configuration = folder / "config"
        self.staged = folder / "staged"
        self.configuration.mkdir()
        for name, text in files.items():
            (self.configuration / name).write_text(text)

    def command(self, *arguments: str) -> list[str]:
        return [str(self.program), "-c", str(self.configuration), "-P", str(self.staged), *arguments]

    def run(self, *arguments: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run(self.command(*arguments), capture_output=True, text=True, check=False)

    def __call__(self, *arguments: str) -> str:
        done = self.run(*arguments)
        assert (done.returncode, done.stderr) == (0, ""), arguments
        return done.stdout

    def file(self, name: str) -> str:
        return (self.configuration / name).read_text()


@pytest.fixture
def program(build_dir: Path) -> Path:
    return next(path for path in (build_dir / "testbed/uci", build_dir / "uci") if path.exists())


@pytest.fixture
def uci(program: Path, tmp_path: Path) -> Uci:
    return Uci(program, tmp_path, wireless=SAMPLE, other="config thing 'a'\n\toption x '1'\n")


@pytest.mark.parametrize(("command", "expected"), [
    ("show wireless", """\
wireless.wifi0=wifi-device
wireless.wifi0.channel=6
wireless.wifi0.country=840
wireless.@wifi-iface[0]=wifi-iface
wireless.@wifi-iface[0].device=wifi0
wireless.@wifi-iface[0].ssid=my net
wireless.@wifi-iface[0].maclist=02:00:00:00:00:01 02:00:00:00:00:02
wireless.guest=wifi-iface
wireless.guest.ssid=say "hi" \\ 'there'
wireless.@wifi-iface[2]=wifi-iface
wireless.@wifi-iface[2].ssid=one word
wireless.@wifi-iface[2].hidden=1
"""),
    ("show wireless.wifi0", "wireless.wifi0=wifi-device\nwireless.wifi0.channel=6\nwireless.wifi0.country=840\n"),
    ("show wireless.wifi0.channel", "wireless.wifi0.channel=6\n"),
    # One entry is printed under its section's own name; the counter in it grows by two for an anonymous section.
    ("show wireless.@wifi-iface[0].ssid", "wireless.cfg033579.ssid=my net\n"),
    ("show wireless.@wifi-iface[1].ssid", "wireless.guest.ssid=say \"hi\" \\ 'there'\n"),
    ("show wireless.@wifi-iface[-1].hidden", "wireless.cfg063579.hidden=1\n"),
    ("show wireless.cfg063579.hidden", "wireless.cfg063579.hidden=1\n"),
    ("show -q wireless.wifi0.channel", "wireless.wifi0.channel=6\n"),
    ("show wireless.wifi0.channel -q", "wireless.wifi0.channel=6\n"),
    ("get wireless.wifi0", "wifi-device\n"),
    ("get wireless.@wifi-iface[0].maclist", "02:00:00:00:00:01 02:00:00:00:00:02\n"),
    ("get wireless.@wifi-iface[-3].ssid", "my net\n"),
    ("get -q wireless.@[1].ssid", "my net\n"),
    ("changes", ""),
])
def test_prints(uci: Uci, command: str, expected: str) -> None:
    assert uci(*command.split()) == expected


@pytest.mark.parametrize(("command", "message"), [
    ("get wireless.wifi0.absent", "Entry not found"),
    ("show wireless.@wifi-iface[3]", "Entry not found"),
    ("show wireless.@wifi-iface[-4].ssid", "Entry not found"),
    ("show absent", "Entry not found"),
    ("delete wireless.wifi0.absent", "Entry not found"),
    ("commit absent", "Entry not found"),
    ("set wireless.absent.x=1", "Invalid argument"),
    ("set wireless.@wifi-iface[3].ssid=x", "Invalid argument"),
    ("set wireless.wifi0.channel", "Invalid argument"),
    ("set wireless.wifi0.bad-name=1", "Invalid argument"),
    ("set wireless.a.b.c=1", "Invalid argument"),
    ("add_list wireless.absent.x=1", "Invalid argument"),
    ("get ../etc/passwd", "Invalid argument"),
])
def test_refuses(uci: Uci, command: str, message: str) -> None:
    done = uci.run(*command.split())
    assert (done.returncode, done.stdout, done.stderr) == (1, "", f"uci: {message}\n")
    quiet = uci.run("-q", *command.split())
    assert (quiet.returncode, quiet.stdout, quiet.stderr) == (1, "", "")
    assert uci("changes") == ""


def test_too_many_words_change_nothing(uci: Uci) -> None:
    done = uci.run("set", "other.a.x=2commit", "other")
    assert done.returncode == 255 and done.stderr.startswith("Usage:")
    assert uci("changes") == ""


@pytest.mark.parametrize(("commands", "expected"), [
    (["set other.a.x=2"], "\nconfig thing 'a'\n\toption x '2'\n\n"),
    (["set other.a.x="], "\nconfig thing 'a'\n\n"),
    (["set other.a.absent=", "set other.a.y=1"], "\nconfig thing 'a'\n\toption x '1'\n\toption y '1'\n\n"),
    (["set other.b=thing", "set other.b.y=2"],
     "\nconfig thing 'a'\n\toption x '1'\n\nconfig thing 'b'\n\toption y '2'\n\n"),
    (["set other.a=kind"], "\nconfig kind 'a'\n\toption x '1'\n\n"),
    (["delete other.a"], "\n"),
    (["add other thing", "set other.@thing[1].y=3", "set other.@thing[-1].z=4"],
     "\nconfig thing 'a'\n\toption x '1'\n\nconfig thing\n\toption y '3'\n\toption z '4'\n\n"),
    (["add other thing", "add other thing", "set other.@thing[1].n=1", "set other.@thing[2].n=2",
      "delete other.@thing[1]"], "\nconfig thing 'a'\n\toption x '1'\n\nconfig thing\n\toption n '2'\n\n"),
    (["add_list other.a.l=1", "add_list other.a.l=2", "add_list other.a.l="],
     "\nconfig thing 'a'\n\toption x '1'\n\tlist l '1'\n\tlist l '2'\n\tlist l ''\n\n"),
    (["add_list other.a.x=2"], "\nconfig thing 'a'\n\tlist x '1'\n\tlist x '2'\n\n"),
    (["add_list other.a.l=1", "add_list other.a.l=2", "del_list other.a.l=1"],
     "\nconfig thing 'a'\n\toption x '1'\n\tlist l '2'\n\n"),
    (["add_list other.a.l=1", "set other.a.l=", "add_list other.a.l=9"],
     "\nconfig thing 'a'\n\toption x '1'\n\tlist l '9'\n\n"),
    (["rename other.a=b", "rename other.b.x=y"], "\nconfig thing 'b'\n\toption y '1'\n\n"),
    (["set other.b=thing", "reorder other.b=0"], "\nconfig thing 'b'\n\nconfig thing 'a'\n\toption x '1'\n\n"),
])
def test_writes_on_commit_only(uci: Uci, commands: list[str], expected: str) -> None:
    before = uci.file("other")
    for command in commands:
        uci(*command.split())
    assert uci.file("other") == before
    staged = uci("show", "other")
    uci("commit", "other")
    assert uci.file("other") == expected
    assert uci("changes") == ""
    # What was shown before the commit is what is there after it.
    assert uci("show", "other") == staged


def test_add_prints_the_new_name_and_a_second_one_differs(uci: Uci) -> None:
    names = [uci("add", "wireless", "wifi-iface").strip() for _ in range(3)]
    assert len(set(names)) == 3 and all(name.endswith("3579") for name in names)
    assert names[0] == "cfg083579"
    uci("set", f"wireless.{names[1]}.ssid=second")
    assert uci("get", "wireless.@wifi-iface[4].ssid") == "second\n"


def test_changes_are_listed_and_reverted(uci: Uci) -> None:
    for command in ("set other.a.x=2", "delete other.a.x", "set other.a.y=3", "add_list other.a.l=4",
                    "set wireless.@wifi-iface[0].ssid=new net"):
        uci(*command.split(" ", 1))
    assert uci("changes") == ("other.a.x=2\n-other.a.x\nother.a.y=3\nother.a.l+=4\n"
                              "wireless.cfg033579.ssid=new net\n")
    uci("revert", "other.a.x")
    assert uci("changes", "other") == "other.a.y=3\nother.a.l+=4\n"
    assert uci("get", "other.a.x") == "1\n"
    uci("revert", "wireless.@wifi-iface[0]")
    assert uci("changes", "wireless") == ""
    uci("revert", "other")
    assert uci("changes") == ""


@pytest.mark.parametrize("value", [
    "plain", "two words", " blanks around ", "it's", 'say "hi"', "back\\slash\\", "#comment; not",
    "$(reboot) `x` $HOME", "line\nbreak", "\ttab", "Hafencafé", "a=b=c", "'", "''", "--x", "x" * 5000,
])
def test_values_survive(uci: Uci, value: str) -> None:
    uci("set", f"other.a.x={value}")
    uci("add_list", f"other.a.l={value}")
    assert uci("get", "other.a.x") == value + "\n"
    uci("commit", "other")
    assert uci("get", "other.a.x") == value + "\n"
    assert uci("get", "other.a.l") == value + "\n"


@pytest.mark.parametrize(("text", "reason"), [
    ("config thing 'a'\n\toption x 'unterminated\n", "unterminated '"),
    ("config thing 'a'\n\toption x \"unterminated\n", 'unterminated "'),
    ("config thing 'a'\n\toption x\n", "insufficient arguments"),
    ("config thing 'a'\n\toption x 1 2\n", "too many arguments"),
    ("option x 1\n", "option/list command found before the first section"),
    ("config thing 'a'\nconfiguration thing 'b'\n", "invalid command"),
    ("config thing 'a b'\n", "invalid character in name field"),
    ("config thing a\nconfig kind a\n", "section of different type overwrites prior section with same name"),
])
def test_a_broken_file_is_refused_and_kept(uci: Uci, text: str, reason: str) -> None:
    uci("set", "other.a.x=staged")
    (uci.configuration / "other").write_text(text)
    for command in ("show other", "set other.a.x=2", "commit other", "commit"):
        done = uci.run(*command.split())
        assert done.returncode == 1
        assert done.stderr.startswith(f"uci: Parse error ({reason}) at line "), command
    assert uci.file("other") == text
    # Once it is repaired the change that was staged before is still there.
    (uci.configuration / "other").write_text("config thing 'a'\n")
    assert uci("get", "other.a.x") == "staged\n"


def test_the_faulty_line_is_named(uci: Uci) -> None:
    (uci.configuration / "other").write_text("config thing 'a'\n\n\toption x '1'\n\tnonsense\n")
    assert "at line 4, byte 9\n" in uci.run("show", "other").stderr


def test_commit_keeps_the_mode_and_leaves_nothing_behind(uci: Uci) -> None:
    (uci.configuration / "other").chmod(0o640)
    uci("set", "other.a.x=2")
    uci("commit")
    assert (uci.configuration / "other").stat().st_mode & 0o777 == 0o640
    assert sorted(path.name for path in uci.configuration.iterdir()) == ["other", "wireless"]


def test_concurrent_processes_lose_nothing(uci: Uci) -> None:
    uci_command = " ".join(uci.command())
    writers = [subprocess.Popen(["sh", "-e", "-c", f"""
        for n in $(seq 40); do {uci_command} add_list other.a.l={writer}-$n; {uci_command} commit other; done"""])
               for writer in range(6)]
    assert {process.wait() for process in writers} == {0}
    items = uci("get", "other.a.l").split()
    assert sorted(items) == sorted(f"{writer}-{n}" for writer in range(6) for n in range(1, 41))
    assert uci("changes") == ""


def test_the_sample_configuration_reads_back(program: Path, tmp_path: Path) -> None:
    folder = Path(__file__).resolve().parents[2] / "testbed/root/etc/config"
    uci = Uci(program, tmp_path, **{file.name: file.read_text() for file in folder.iterdir()})
    # The section that holds the enterprise number is anonymous; its place in the file makes its name.
    assert uci("show", "snmpd.cfg10e48a.enterpriseid") == "snmpd.cfg10e48a.enterpriseid=32473\n"
    before = uci("show")
    for file in folder.iterdir():
        uci("set", f"{file.name}.marker=marker")
    uci("commit")
    for file in folder.iterdir():
        uci("delete", f"{file.name}.marker")
    uci("commit")
    assert uci("show") == before
    for file in folder.iterdir():
        assert uci.file(file.name) == file.read_text(), "the sample is not written as the command writes it"
