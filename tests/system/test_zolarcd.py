"""The hosting agent: that it starts again over SNMP, serves through another agent, and tells what is wrong."""

from __future__ import annotations

import concurrent.futures
import os
import re
import signal
import subprocess
from pathlib import Path

import pytest

from conftest import AGENTX_MASTER, AGENTX_SOCKET, HANGING, REPOSITORY, ends_well, fast_clock, serves_tree, start_subagent
from testbed.device import BUNDLE, LIBRARY, Agent, Device, Program, sanitizer_environment, wait_until
from testbed.snmp import Client, SnmpError, Value, answers, free_udp_port

ZOLARCD = "/opt/zolarc/lib/zolarcd"
RESTARTS = ("1.3.0", "17.4.0")


def start(device: Device, mode: str, **options: str) -> tuple[Agent, Program]:
    """zolarcd as a master agent or as a subagent: who is asked, and zolarcd itself."""
    if mode == "master":
        program = [ZOLARCD, "--config", "{conf}"]
        agent = device.start_agent(program=program, library=False, env=fast_clock(20), **options)
        return agent, agent
    device.write("/etc/snmp/zolarcd.conf", options.get("conf", ""))
    return start_subagent(device, "--config", "/etc/snmp/zolarcd.conf", env=fast_clock(20))


@pytest.mark.parametrize("mode", ["master", "subagent"])
def test_it_starts_again_over_snmp(device: Device, mode: str) -> None:
    device.override("iwinfo", delay=HANGING)
    agent, zolarcd = start(device, mode)
    wait_until(lambda: device.calls("iwinfo"), "a collection to hang")
    name, descriptors = Path(f"/proc/{zolarcd.pid}/comm").read_text(), zolarcd.open_fds()
    for count in range(2, 7):
        agent.set(RESTARTS[count % 2], "i", 1)
        wait_until(lambda: len(re.findall(r"zolarcd \S+ started", zolarcd.log())) == count, "zolarcd to start again")
        wait_until(lambda: serves_tree(agent), "the tree to be served again")
    assert Path(f"/proc/{zolarcd.pid}/comm").read_text() == name
    assert zolarcd.zombies() == 0
    device.override("iwinfo")
    # Sampling opens none that it keeps.
    wait_until(lambda: zolarcd.open_fds() <= descriptors, "no descriptor left open")
    device.clear_journal()
    wait_until(lambda: device.calls("wlanconfig"), "sampling to run again")
    os.kill(zolarcd.pid, signal.SIGTERM)
    assert zolarcd.wait() == 0, zolarcd.log()


@pytest.mark.parametrize("mode", ["master", "subagent"])
def test_a_reload_gives_presets_anew_and_loses_no_answer(device: Device, mode: str) -> None:
    agent, zolarcd = start(device, mode, conf="stats_latitude 7")
    assert agent.get("2.12.0").value == 7
    agent.set("2.12.0", "i", 8)
    configuration = device.read("/etc/snmp/zolarcd.conf")
    device.write("/etc/snmp/zolarcd.conf", configuration.replace("latitude 7", "latitude 9"))
    device.override("uci", delay=HANGING)
    with concurrent.futures.ThreadPoolExecutor() as pool:
        device.clear_journal()
        channel = pool.submit(agent.get, "3.1.6.0")
        wait_until(lambda: device.calls("uci"), "the command to run")
        os.kill(zolarcd.pid, signal.SIGHUP)
        device.override("uci")
        assert channel.result().value == 6
    wait_until(lambda: "has read the configuration again" in zolarcd.log(), "the reload")
    assert agent.get("2.12.0").value == 9
    device.clear_journal()
    wait_until(lambda: device.calls("wlanconfig"), "sampling to go on")


def test_the_master_agent_comes_and_goes(device: Device) -> None:
    receiver = device.start_trapd()
    device.write("/etc/snmp/zolarcd.conf", "agentXPingInterval 1\n")
    zolarcd = device.start_zolarcd("--agentx", AGENTX_SOCKET, env=fast_clock(20))
    wait_until(lambda: "started" in zolarcd.log(), "zolarcd to wait")
    port = free_udp_port()
    for channel in (11, 6):
        agent = device.start_agent(library=False, conf=f"{AGENTX_MASTER}\n{receiver.sink}", port=port)
        wait_until(lambda: serves_tree(agent), "the subagent to register")
        agent.set("3.1.6.0", "i", channel)
        assert device.uci("get wireless.wifi0.channel") == f"{channel}\n"
        with pytest.raises(SnmpError, match="wrongValue"):
            agent.set_many([("2.1.0", "s", "nothing of it"), ("3.1.6.0", "i", 256)])
        assert agent.get("2.1.0").text == "ap-lobby"
        if channel == 11:
            agent.stop()
    assert zolarcd.log().count("no master agent") == 1
    known = len(receiver.traps())
    device.stations.join("02:00:00:00:00:77")
    wait_until(lambda: any((trap.generic, trap.specific) == (0, 0) for trap in receiver.traps()[known:]), "the trap")


def test_another_agent_asks_for_no_row_twice(device: Device) -> None:
    def walk(agent: Agent) -> tuple[list[Value], list[str]]:
        device.clear_journal()
        return agent.walk("23"), [line for line in device.command_lines() if "vlan" in line]

    agent, zolarcd = start(device, "subagent")
    through_master = walk(agent)
    zolarcd.stop()
    agent.stop()
    assert walk(start(device, "master")[0]) == through_master


def test_users_of_snmpv3_are_kept(device: Device) -> None:
    device.write("/tmp/snmp/snmpd.conf", 'createUser manager SHA "a long passphrase" AES\n')
    agent, zolarcd = start(device, "master", conf="rwuser manager priv")

    def engine() -> str:
        command = ["snmpget", "-v3", "-u", "manager", "-l", "authPriv", "-a", "SHA", "-A", "a long passphrase", "-x",
                   "AES", "-X", "a long passphrase", "-Oqv", "-m", "", "-M", "", f"udp:127.0.0.1:{agent.port}"]
        objects = [".1.3.6.1.6.3.10.2.1.1.0", ".1.3.6.1.6.3.10.2.1.2.0"]  # its identity, how often it has started
        done = subprocess.run([*command, *objects], capture_output=True, text=True, check=True, env=agent.environment)
        return " ".join(done.stdout.split())

    before = engine()
    assert before.endswith(" 1")
    agent.set("17.4.0", "i", 1)
    wait_until(lambda: zolarcd.log().count("started") == 2 and answers(agent.port, 0.1), "zolarcd to start again")
    assert engine() == before[:-1] + "2"
    ends_well(agent)


def test_in_the_background_it_stays_one_process(device: Device) -> None:
    port = free_udp_port()
    device.write("/etc/agent.conf", "rwcommunity private\nrocommunity public\n")
    # A relative name: it must still be found by the second start.
    command = f"cd /etc; {ZOLARCD} -d -c agent.conf -a udp:127.0.0.1:{port}; "
    command += "while pidof zolarcd > now; do mv now pid; sleep 0.1; done"
    sandbox = device.popen(["/bin/busybox", "sh", "-c", command], env=sanitizer_environment(device.library))
    try:
        wait_until(lambda: answers(port, 0.1), "zolarcd to answer")
        number = device.host_path("/etc/pid")
        pid = wait_until(lambda: number.exists() and number.read_text(), "its number")
        agent = Client(port, scratch=device.path)
        device.clear_journal()
        agent.set("1.3.0", "i", 1)
        wait_until(lambda: "uci show snmpd.cfg10e48a.enterpriseid" in device.command_lines(), "the next start")
        wait_until(lambda: answers(port, 0.1), "zolarcd to answer again")
        assert agent.get("2.1.0").text == "ap-lobby"
        number.unlink()
        assert wait_until(lambda: number.exists() and number.read_text(), "its number") == pid
    finally:
        sandbox.kill()
        sandbox.wait()


@pytest.mark.parametrize(("options", "status", "says"), [
    (["--nonsense"], 2, "Try 'zolarcd --help'"),
    (["superfluous"], 2, "unexpected argument 'superfluous'"),
    (["--agentx", AGENTX_SOCKET, "--address", "udp:1161"], 2, "does not listen"),
    (["--config", "/missing"], 1, "cannot read /missing: No such file or directory"),
    (["--config", "/etc"], 1, "cannot read /etc: Is a directory"),
    (["--address", "udp:127.0.0.1:{taken}"], 1, "cannot listen: Address already in use"),
    (["--address", "udp:127.0.0.1:161"], 1, "cannot listen: Permission denied"),
    (["--help"], 0, "--agentx SOCKET"),
    (["--version"], 0, "zolarcd 15."),
])
def test_it_says_what_is_wrong(device: Device, options: list[str], status: int, says: str) -> None:
    taken = device.start_agent(library=False).port if "{taken}" in options[-1] else 0
    command = [ZOLARCD, *(option.format(taken=taken) for option in options)]
    done = device.run(command, env=sanitizer_environment(device.library), timeout=20)
    assert done.returncode == status, done
    assert says in (done.stderr if status else done.stdout)


# The documents.

MAN_PAGE = REPOSITORY / "doc/man/zolarc.conf.5"


def usage(device: Device, configuration: str) -> str:
    """All tokens that the stock agent knows with a configuration, and what it complains of."""
    device.write("/etc/sample.conf", configuration)
    command = ["/usr/sbin/snmpd", "-H", "-C", "-c", "/etc/sample.conf"]
    done = device.run(command, env=sanitizer_environment(device.library))
    return done.stdout + done.stderr


def test_the_man_page_has_every_token(device: Device) -> None:
    load = f"dlmod {BUNDLE} /opt/zolarc/lib/{LIBRARY}\n"
    registered = set(re.findall(r"^\s+(\S+)\s+\1 value$", usage(device, load), re.MULTILINE))
    rows = re.findall(r"^\.It Ic (\S+)(?: Ar text| Ta (number|address|text \d+) Ta(?: (held|start|whole))?)$",
                      MAN_PAGE.read_text(), re.MULTILINE)
    assert registered == {token for token, _, _ in rows} and len(registered) == len(rows)


def test_the_stock_agent_takes_the_sample(device: Device) -> None:
    sample = (REPOSITORY / "doc/snmpd.conf.sample").read_text().replace("/usr/lib/", "/opt/zolarc/lib/")
    # What is commented out is meant to be taken in.
    said = usage(device, re.sub(r"^#(?=\w)", "", sample, flags=re.MULTILINE))
    assert "stats_latitude" in said
    assert re.findall(r"(?im)^\S.*(?:warning|error|unknown|cannot).*", said) == []
