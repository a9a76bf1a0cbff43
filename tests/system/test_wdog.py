"""The watchdog program: on the device, set over SNMP and on its console; its pings in a network of its own."""

from __future__ import annotations

import contextlib
import itertools
import os
import pty
import re
import subprocess
from pathlib import Path

import pytest

from conftest import REPOSITORY
from testbed.device import Agent, Device, machine_of, wait_until
from testbed.snmp import free_udp_port
from test_openwrt import RC_COMMON

OFF = "~;1;6:n;~;2;1:0;s;e"


def reboots(device: Device) -> int:
    return len(device.calls("reboot"))


def let_hours_pass(device: Device) -> None:
    """Until the watchdog reboots: it may have read its schedule when an hour of it was over already."""
    hours = itertools.count(1)

    def has_rebooted_within(seconds: float) -> bool:
        device.be_up(3600 * next(hours))
        with contextlib.suppress(TimeoutError):
            return bool(wait_until(lambda: reboots(device), "the reboot", seconds))
        return False

    wait_until(lambda: has_rebooted_within(2), "a reboot after so many hours")


def watchdogs(agent: Agent) -> list[int]:
    """The processes of that name where the agent is."""
    space = os.readlink(f"/proc/{agent.pid}/ns/pid")
    found = []
    for entry in Path("/proc").iterdir():
        try:
            if entry.name.isdigit() and (entry / "comm").read_text() == "wdog\n" and os.readlink(entry / "ns/pid") == space:
                found.append(int(entry.name))
        except OSError:
            pass
    return found


def holdings(process: int) -> set[str]:
    """The process's folder, and the names of the files that it has open."""
    found = set()
    for link in [Path(f"/proc/{process}/cwd"), *Path(f"/proc/{process}/fd").iterdir()]:
        with contextlib.suppress(FileNotFoundError):
            found.add(os.readlink(link).rpartition("/")[2] or "/")
    return found


def boot(device: Device) -> subprocess.Popen[bytes]:
    """Starts the watchdog as the device does it."""
    device.write("/etc/init.d/wdog", (REPOSITORY / "packaging/openwrt/files/wdog.init").read_text())
    device.write("/tmp/rc.common", RC_COMMON)
    script = "busybox syslogd -O /var/messages; . /tmp/rc.common; . /etc/init.d/wdog; start; exec sleep 600"
    return device.popen(["/bin/busybox", "sh", "-c", script])


def test_a_schedule_set_over_snmp_reboots_at_its_time(device: Device) -> None:
    device.be_up(5000)
    (device.state / "clock").write_text("20\n")
    port = free_udp_port()
    agent = device.start_agent([], port=port, program=["/opt/zolarc/lib/zolarcd", "--config", "{conf}", "--address",
                                                       f"udp:127.0.0.1:{port}"])
    agent.set("18.2.0", "s", "--by-time=12:01")
    agent.set("18.1.0", "i", 1)
    wait_until(lambda: [holdings(running) for running in watchdogs(agent)] == [{"/", "null", "wdog.lock"}],
               "one watchdog that has inherited nothing")
    agent.set("17.4.0", "i", 1)  # the agent starts again
    wait_until(lambda: reboots(device), "the reboot at 12:01")
    assert re.fullmatch(r"\[2026/01/05 12:0[1-5]:\d\d] wdog: reboot, scheduled for 12:01\n", device.read("/var/snmp_log"))
    agent.stop()

    # The clock of the next start shows the same day: what was done in it is forgotten for the test.
    device.write("/etc/wdog.state", "")
    device.be_up(30)
    device.clear_journal()
    started = boot(device)
    wait_until(lambda: device.calls("wdog")[1:], "the watchdog to be started")
    assert device.calls("wdog") == [["wdog", "--dry-run"], ["wdog", "--daemon"]]
    with pytest.raises(TimeoutError):
        wait_until(lambda: reboots(device), "no reboot in the first 600 seconds", 5)
    started.kill()
    device.be_up(5000)
    started = boot(device)
    wait_until(lambda: reboots(device), "the reboot after a boot")
    wait_until(lambda: "wdog: reboot, scheduled for 12:01" in device.read("/var/messages"), "the line of syslog")
    started.kill()


def test_switched_off_over_snmp_nothing_is_left(device: Device, agent: Agent) -> None:
    device.be_up(3000)
    device.write("/etc/wdog.conf", "# mine\n[ping]\nfailures=3\ntargets=192.0.2.1\n")
    agent.stop()
    agent = device.start_agent(device.modules())
    agent.set("18.2.0", "s", "--by-hour=1")
    agent.set("18.1.0", "i", 1)
    first = wait_until(lambda: watchdogs(agent), "the watchdog to start")
    agent.set("18.2.0", "s", "--by-hour=01")
    wait_until(lambda: watchdogs(agent) not in ([], first), "another one in its place")
    let_hours_pass(device)
    agent.set("18.1.0", "i", 2)
    wait_until(lambda: not watchdogs(agent), "the watchdog to end")
    assert "0.3.19=2\n" in device.read("/etc/zolarc.values")
    assert device.read("/etc/wdog.conf") == "# mine\n[ping]\nfailures=0\ntargets=192.0.2.1\n"

    # What SNMP lets through is refused here, and ends nothing.
    agent.set("18.2.0", "s", "--by-time=99:99")
    agent.set("18.1.0", "i", 1)
    assert watchdogs(agent) == []
    agent.stop()
    agent = device.start_agent(device.modules())
    assert (agent.get("18.1.0").value, agent.get("18.2.0").text) == (1, "--by-time=99:99")
    refused = device.run("wdog --daemon --by-hour=2; wdog --daemon --by-hour=0; echo $?; pidof wdog | wc -w; wdog --daemon;"
                         "echo $?; /etc/autoreboot_by_time 99:99; echo $?")
    assert refused.stdout.split() == ["2", "1", "2", "2"]


def talk(device: Device, lines: list[str]) -> str:
    """What the menu prints on a terminal, with a process in the background."""
    ours, theirs = pty.openpty()
    command = [*device.sandbox(), "--", "/bin/busybox", "sh", "-c", "wdog --daemon; wdog; echo $?; sleep 600"]
    process = subprocess.Popen(command, stdin=theirs, stdout=theirs, stderr=theirs)
    os.close(theirs)
    seen = b""
    for line in [*lines, ""]:
        while not seen.endswith((b"> ", b"= ", b"\n0\r\n")):
            seen += os.read(ours, 4096)
        seen += b" "
        os.write(ours, f"{line}\n".encode())
    let_hours_pass(device)
    process.kill()
    process.wait()
    os.close(ours)
    return seen.decode().replace("\r", "")


def test_the_menu_on_a_terminal(device: Device) -> None:
    device.be_up(3590)
    text = talk(device, ["3", "1", "ap's \"quay\" $HOME", "2:10.1.1.1", "4:10.1.1", "~", "4", "2:11", "3:n", "~", "5",
                         "2:look; reboot", "~", "1", "1:hours", "3:1", "6:y", "?", "s", "e"])
    for shown in ("[~] configuration\n1. task monitor\n", "1. host name: ap's \"quay\" $HOME\n", "! gateway: an address",
                  "2. wifi0 channel: 11\n3. wifi1 switch (y, n): n\n4. wifi1 channel: auto\n", "2. read community: *\n",
                  "\nsaved\n"):
        assert shown in text, text
    section = "@system[0]" if device.uci_year == 2025 else "cfg10e48a"
    assert [call for call in device.calls("uci") if call[1] != "show"] == [
        ["uci", *words] for words in (
            ["set", "system.@system[0].hostname=ap's \"quay\" $HOME"], ["commit", "system"],
            ["set", f"snmpd.{section}.sysName=ap's \"quay\" $HOME"], ["commit", "snmpd"],
            ["set", "network.lan.ipaddr=10.1.1.1"], ["commit", "network"],
            ["set", "wireless.wifi0.channel=11"], ["commit", "wireless"],
            ["set", "wireless.wifi1.disabled=1"], ["commit", "wireless"],
            ["set", "snmpd.main.v2read=look; reboot"], ["commit", "snmpd"])]
    assert device.uci("get snmpd.main.v2read") == "look; reboot\n"
    assert set(device.read("/etc/zolarc.values").splitlines()) >= {"0.3.19=1", "0.3.20=--by-hour=1"}


def test_keys_without_a_terminal(device: Device) -> None:
    done = device.run(["wdog", "--test=1", OFF, "path=/etc"])
    assert (done.returncode, done.stderr) == (0, "")
    screens = done.stdout.split("\n\n")
    assert [screen.splitlines()[0] for screen in screens if screen] == [
        "[~] configuration", *["[1] task monitor"] * 2, "[~] configuration", *["[2] ping watchdog"] * 3]
    assert device.read("/etc/zolarc.values") == "0.3.19=2\n" and "\nfailures=0\n" in device.read("/etc/wdog.conf")
    done = device.run(["wdog", "--test=1", "1;4;2:03:30;6:y;s;e", "path=/etc"])
    assert (done.returncode, done.stdout.count("\n! ")) == (1, 1)
    assert set(device.read("/etc/zolarc.values").splitlines()) == {"0.3.19=1", "0.3.20=--by-time=03:30"}
    forecast = device.run(["wdog", "--dry-run=1767614400"])
    assert forecast.stdout == ("schedule --by-time=03:30\nreboot 2026-01-06 03:30:00 +0000\n"
                               "reboot 2026-01-07 03:30:00 +0000\nreboot 2026-01-08 03:30:00 +0000\nping off\n")
    device.host_path("/etc/zolarc.values").unlink()
    device.host_path("/etc/zolarc.values").mkdir()
    assert device.run(["wdog", "--test=1", "1;6:n;s;~", "path=/etc"]).returncode == 1
    assert device.calls("uci") == []


# In a network without anybody else, as somebody who may do anything there.
ALONE = ["unshare", "--user", "--map-root-user", "--net", "--mount", "sh", "-eu", "-c"]
SETUP = r"""
ip link set lo up
echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all
mount -t tmpfs none /var
mount --bind "$DIR/uptime" /proc/uptime
echo "5000.00 1.00" > "$DIR/uptime"
asked() { awk '/^Icmp: [0-9]/ { print $10 }' /proc/net/snmp; }
until_asked() { more=$(($(asked) + $1)); until [ "$(asked)" -ge $more ]; do sleep 0.05; done; }
up() { echo "$1.00 1.00" > "$DIR/uptime"; }
done_so_far() { wc -l < "$DIR/reboots"; }
has() { until [ "$(done_so_far)" -ge "$1" ]; do sleep 0.05; done; }
# Starts it at an uptime, waits until it must have acted had it meant to, and stops it.
boot() { up "$1"; begin; until_asked 3; stop; }
acts() { up "$1"; begin; has "$2"; stop; }
# What has ended may be waited for by nobody yet.
stop() { read -r pid < "$DIR/pid"; kill "$pid"; while grep -qs '^State:.[^Z]' "/proc/$pid/status"; do sleep 0.02; done; }
begin() { wdog "path=$DIR" --daemon; wdog "path=$DIR" --test=1 6 | sed -n 's/^1.* //p' > "$DIR/pid"; }
configure() { { echo "[ping]"; for pair in "$@"; do echo "$pair"; done; } > "$DIR/wdog.conf"; }
"""
# Answers every echo request after so many seconds.
ANSWER_LATE = r"""
import socket, struct, sys, time
wire = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_ICMP)
print("ready", flush=True)
while True:
    packet, sender = wire.recvfrom(2048)
    if packet[20] != 8:
        continue
    time.sleep(float(sys.argv[1]))
    body = b"\0\0\0\0" + packet[24:]
    total = sum(struct.unpack(f"!{len(body) // 2}H", body))
    total = (total >> 16) + (total & 0xFFFF)
    wire.sendto(body[:2] + struct.pack("!H", ~(total + (total >> 16)) & 0xFFFF) + body[4:], sender)
"""


@pytest.fixture
def alone(tmp_path: Path, build_dir: Path):
    (tmp_path / "bin").mkdir()
    machine = machine_of(build_dir / "wdog")
    emulator = f"{machine.emulator} -L {machine.libraries.parent} " if machine else ""
    for name, line in (("reboot", "awk '/^Icmp: [0-9]/ { print $10 }' /proc/net/snmp >> \"$DIR/reboots\""),
                       ("wdog", f"exec {emulator}{build_dir}/wdog \"$@\"")):
        program = tmp_path / "bin" / name
        program.write_text(f"#!/bin/sh\n{line}\n")
        program.chmod(0o755)
    for name in ("uptime", "reboots"):
        (tmp_path / name).touch()

    def run(script: str) -> list[str]:
        environment = {"PATH": f"{tmp_path}/bin:{os.environ['PATH']}", "DIR": str(tmp_path), "ANSWER_LATE": ANSWER_LATE}
        done = subprocess.run([*ALONE, SETUP + script], env=environment, capture_output=True, text=True, check=False,
                              timeout=120)
        assert (done.returncode, done.stderr) == (0, ""), done
        return done.stdout.split()
    return run


def test_a_silent_host_leads_to_the_action_after_so_many_rounds(alone) -> None:
    assert alone("""
        configure failures=3 "targets=127.0.0.1" interval=2 timeout=1 grace=0
        begin; has 1; cat "$DIR/reboots"; grep -c 'wdog: reboot, 3 times no answer from 127.0.0.1' /var/snmp_log
        stop
        configure failures=2 "targets=127.0.0.1 ::1" interval=1 timeout=1 grace=0
        begin; until_asked 4; stop; done_so_far
        """) == ["3", "1", "1"]


def test_an_answer_begins_the_count_anew(alone) -> None:
    asked, early, after = alone("""
        configure failures=2 "targets=nobody.invalid 127.0.0.1" interval=2 timeout=1 grace=0
        /usr/bin/python3 -c "$ANSWER_LATE" 1.4 > "$DIR/late" & late=$!
        until [ -s "$DIR/late" ]; do sleep 0.05; done
        begin; until_asked 4; asked; done_so_far; kill $late; has 1; cat "$DIR/reboots"; stop
        """)
    assert int(asked) >= 4 and early == "0" and 1 <= int(after) - int(asked) <= 4


@pytest.mark.parametrize(("settings", "script", "done"), [
    ("grace=0 limit=2", "acts 10 1; acts 10 2; boot 10; done_so_far; acts 86400 3; done_so_far", ["2", "3"]),
    ("grace=0 limit=0", "boot 86400; done_so_far", ["0"]),
    ("grace=3000", "up 2999; begin; sleep 1.5; asked; up 3000; has 1; stop", ["0"]),
    ("grace=0 limit=3", 'mkdir "$DIR/wdog.state"; boot 86400; done_so_far', ["0"]),
    ('grace=0 limit=0 action=script "script=$DIR/bin/reboot"', "acts 4 1; acts 3 2; acts 2 3; boot 1; done_so_far", ["3"]),
])
def test_no_setting_makes_a_boot_loop(alone, settings: str, script: str, done: list[str]) -> None:
    assert alone(f"configure failures=1 targets=127.0.0.1 interval=1 timeout=1 {settings}\n{script}") == done
