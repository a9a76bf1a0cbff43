"""The simulated device itself: that it is closed off, prints what the parsers look for, and is driven by its state."""

from __future__ import annotations

import re
import subprocess
import time
from pathlib import Path

import pytest

from testbed.device import Device, wait_until
from testbed.snmp import NoResponse, SnmpError, Trap

COMMAND_LINE = Path(__file__).resolve().parents[2] / "testbed/device"
STATION = "02:00:0a:00:00:0b"


def processes_of(device: Device) -> list[str]:
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                command = (entry / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
            except OSError:
                continue
            if f"--bind {device.root} " in command:
                found.append(command)
    return found


def test_nothing_of_the_machine_is_within_reach(device: Device) -> None:
    """Dangerous commands are recorded, and the shell could not do harm without the stand-ins either."""
    outside = device.path / "outside"
    outside.write_text("untouched")
    done = device.run(f"""
        grep CapEff /proc/self/status | grep -q 0000000000000000 || echo capabilities
        busybox date -s 2020-01-01 2>/dev/null >&2; busybox date +%Y | grep 2020
        busybox ifconfig lo mtu 1000 2>/dev/null && echo network
        test -e {outside} && echo file
        touch /usr/lib/x /opt/device/x /opt/zolarc/lib/x 2>/dev/null && echo library
        kill -0 {outside.stat().st_uid or 1000} 2>/dev/null && echo process
        ls /usr/bin/env /usr/bin/python3 /usr/sbin/useradd 2>/dev/null
        reboot; mtd -r erase rootfs_data; sysupgrade /tmp/firmware.img; date --set='2024-01-31 10:20:30'
    """)
    assert (done.returncode, done.stdout) == (0, "")
    assert device.calls("reboot") == [["reboot"]]
    assert device.calls("mtd") == [["mtd", "-r", "erase", "rootfs_data"]]
    assert (device.state / "date").read_text() == "2024-01-31 10:20:30\n"
    assert time.gmtime().tm_year > 2024


@pytest.mark.parametrize("text", [
    "true", "echo -e 'a\nb' >/dev/null", "uci show \"wireless\" | grep 'x'  ;  true",
    "echo \"$HOME\" '%s' \\\\ >/dev/null",
])
def test_the_journal_holds_what_was_run_word_for_word(device: Device, text: str) -> None:
    device.run(["/bin/sh", "-c", text])
    device.run(["/bin/sh", "-c", "--", text])
    assert device.command_lines() == [text, text]


def test_the_journal_holds_argument_vectors(device: Device) -> None:
    device.run("""iwinfo ath0 scan ; /etc/init.d/qos start; passwd 'two words' </dev/null; date '+%s
%s' >/dev/null""")
    assert device.calls() == [["iwinfo", "ath0", "scan"], ["/etc/init.d/qos", "start"], ["passwd", "two words"],
                              ["date", "+%s\n%s"]]
    assert device.calls("qos") == device.calls("/etc/init.d/qos") == [["/etc/init.d/qos", "start"]]
    device.clear_journal()
    assert device.records() == []


# Beside what the whole tree shows of them.
@pytest.mark.parametrize(("command", "pattern"), [
    ("iwinfo ath0 info", r"802\.11bgn\n"),
    ("iwinfo ath3 info", r"802\.11an\n"),
    ("iwconfig ath2", "Bit Rate=11 Mb/s"),
    ("iwconfig ath3", "Access Point: Not-Associated\n"),
    ("top -b -n 1", r"Mem: \d+K used, .*\nCPU: +\d+% usr +\d+% sys +\d+% nic +\d+% idle +\d+% io +\d+% irq +\d+% sirq\n"),
    ("printf 'pw\\npw\\n' | passwd admin; cat /state/passwords/admin", "changed by root\npw\n$"),
])
def test_tools_print_what_parsers_look_for(device: Device, command: str, pattern: str) -> None:
    assert re.search(pattern, device.run(command).stdout)


@pytest.mark.parametrize("command", ["iwinfo ath9 info", "iwconfig ath9", "iwconfig eth0.1", "wlanconfig ath9 list sta",
                                     "80211stats -i ath9 -a", "ifconfig ath9", "passwd admin </dev/null"])
def test_tools_fail_as_tools_do(device: Device, command: str) -> None:
    done = device.run(command)
    assert done.returncode == 1 and done.stdout == "" and done.stderr != ""


def test_overrides(device: Device) -> None:
    device.override("iwinfo", output="everything\n")
    device.override("iwinfo ath1 info", output="one line\n", status=3)
    device.override("brctl", status=7)
    device.override("uci", output="snmpd.x='quoted'")
    device.override("top", delay=0.3)
    done = device.run("iwinfo ath0 scan; iwinfo ath1 info; echo $?; brctl show; echo $?; uci show snmpd.x")
    assert done.stdout == "everything\none line\n3\n7\nsnmpd.x='quoted'\n"
    start = time.monotonic()
    device.run("top -b -n 1")
    assert time.monotonic() - start >= 0.3
    for tool in ("iwinfo", "brctl"):
        device.override(tool)
    assert "ESSID" in device.run("iwinfo ath0 info").stdout and device.run("brctl show").returncode == 0


def test_init_scripts_need_no_environment(device: Device) -> None:
    device.run("env -i /etc/init.d/network reload > /dev/null & wait;"
               "/etc/init.d/dnsmasq disable; /etc/init.d/dnsmasq stop")
    assert device.calls() == [["/etc/init.d/network", "reload"], ["/etc/init.d/dnsmasq", "disable"],
                              ["/etc/init.d/dnsmasq", "stop"]]
    services = device.state / "services"
    assert (services / "network/running").read_text() == "1\n"
    assert (services / "dnsmasq/enabled").read_text() == (services / "dnsmasq/running").read_text() == "0\n"


def test_both_names_of_the_firmware_are_one_file(device: Device) -> None:
    device.write("/var/firmware.img", b"\0image")
    assert device.run("md5sum < /tmp/firmware.img").stdout == device.run("md5sum < /var/firmware.img").stdout
    checked = device.run(". /lib/functions.sh; include /lib/upgrade; platform_check_image /tmp/firmware.img")
    assert checked.returncode == 0


def test_an_agent_as_it_comes(device: Device) -> None:
    with device:
        agent = device.start_agent(library=False, conf="syslocation harbour")
        assert agent.get(".1.3.6.1.2.1.1.6.0").text == "harbour"
        assert agent.set(".1.3.6.1.2.1.1.4.0", "s", b"noc, quay 7").value == b"noc, quay 7"
        assert agent.set(".1.3.6.1.2.1.1.4.0", "s", "").value == b""
        assert agent.get("2.1.0").type == "noSuchObject"
        assert agent.walk() == []
        walked = agent.walk(".1.3.6.1.2.1.1")
        assert walked[0].oid == ".1.3.6.1.2.1.1.1.0" and len(walked[0].text) > 16
        # The running time and what is counted differ between two walks.
        assert [value.oid for value in agent.bulkwalk(".1.3.6.1.2.1.1")] == [value.oid for value in walked]
        with pytest.raises(SnmpError) as refused:
            agent.set(".1.3.6.1.2.1.1.1.0", "s", "x")
        assert refused.value.name == "notWritable"
        assert agent.rss_kib() > 1000 and agent.open_fds() > 2 and agent.zombies() == 0
        device.write(agent.configuration, device.read(agent.configuration).replace("harbour", "quay"))
        agent.hup()
        assert agent.get(".1.3.6.1.2.1.1.6.0").text == "quay"
        assert processes_of(device)
    wait_until(lambda: processes_of(device) == [] and not Path(f"/proc/{agent.pid}").exists(), "every process to end")
    with pytest.raises(NoResponse):
        agent.get("2.1.0")


def test_an_agent_that_does_not_start_says_why(device: Device) -> None:
    with pytest.raises(RuntimeError, match="NoSuchTransport"):
        device.start_agent(library=False, conf="agentaddress NoSuchTransport:1")
    # What a sandbox holds ends a moment after it.
    wait_until(lambda: processes_of(device) == [], "every process to end")


def test_traps_are_received(device: Device) -> None:
    receiver = device.start_trapd()
    agent = device.start_agent(library=False, conf=f"{receiver.sink}\ntrap2sink 127.0.0.1:{receiver.port} public")
    agent.stop()
    wait_until(lambda: len(receiver.traps()) == 4, "each to come by SNMPv1 and by SNMPv2c")
    kinds = [(trap.generic, trap.specific) for trap in receiver.traps()]
    assert kinds == [(0, 0), (0, 0), (6, 2), (6, 2)]
    assert receiver.traps()[2] == Trap(".1.3.6.1.4.1.8072.4", 6, 2, "")


def test_from_the_command_line(tmp_path: Path, build_dir: Path) -> None:
    folder = str(tmp_path / "device")

    def call(*arguments: str) -> str:
        done = subprocess.run([COMMAND_LINE, *arguments], capture_output=True, text=True, check=False)
        assert done.returncode == 0, done
        return done.stdout

    call("create", folder, "--build", str(build_dir))
    try:
        assert call("start", folder, "--port", "0", "--plain").startswith("the agent answers on udp:127.0.0.1:")
        assert call("run", folder, "--", "uci", "get", "system.@system[0].hostname") == "ap-lobby\n"
        assert "exec  uci get 'system.@system[0].hostname'\n" in call("journal", folder, "--clear")
        assert call("journal", folder) == ""
        call("station", folder, "join", STATION, "--interface", "ath1", "--set", "signal=-55")
        assert "[02:00:0A:00:00:0B]  -55 dBm" in call("run", folder, "iwinfo", "ath1", "assoclist")
    finally:
        call("stop", folder)
    wait_until(lambda: processes_of(Device(folder)) == [], "every process to end")
    assert call("stop", folder) == "no agent was running\n"
