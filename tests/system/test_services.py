"""The network services over SNMP: the commands that each SET runs, and what they leave on the device."""

from __future__ import annotations

import re

import pytest

from testbed.device import Agent, Device
from testbed.snmp import SnmpError

START = "uci show dhcp | grep 'start'"
DNS = 'uci show network | grep "lan.dns"'
TURN_DHCP_ON = ("uci set dhcp.lan.ignore=0;uci commit dhcp;/etc/init.d/dnsmasq enable;killall dnsmasq;"
                "/etc/init.d/dnsmasq start")
A = "10.1.2.77"

# OID, value, what the agent runs to read the object before it writes it, the command lines of the SET
SETS: list[tuple[str, str, object, list[str], list[str]]] = [
    ("10.1.0", "i", 2, ['uci show dhcp | grep "lan.ignore"'],
     ["uci set dhcp.lan.ignore=1;uci commit dhcp;/etc/init.d/dnsmasq disable;/etc/init.d/dnsmasq stop"]),
    ("10.1.0", "i", 1, ['uci show dhcp | grep "lan.ignore"'], [START, TURN_DHCP_ON]),
    ("10.2.0", "a", A, ['uci show network | grep "lan.ipaddr"', START], ["uci set dhcp.lan.start=77;uci commit dhcp"]),
    ("10.3.0", "a", "10.1.2.80", [START, 'uci show dhcp | grep "limit"', 'uci show network | grep "lan.ipaddr"'],
     [START, "uci set dhcp.lan.limit=4;uci commit dhcp"]),
    ("10.3.0", "a", "10.1.2.75", [START, 'uci show dhcp | grep "limit"', 'uci show network | grep "lan.ipaddr"'],
     [START, "uci set dhcp.lan.limit=0;uci commit dhcp"]),
    ("10.4.0", "a", A, [], [f"uci set dhcp.lan.netmask={A};uci commit dhcp"]),
    ("10.5.0", "a", A, [], [f"uci set network.lan.gateway={A};uci commit network"]),
    # The device starts with two servers: each SET keeps the other one.
    ("10.6.0", "a", A, [], [DNS, f'uci set network.lan.dns="{A} 192.0.2.53";uci commit network']),
    ("10.7.0", "a", "0.0.0.0", [], [DNS, f'uci set network.lan.dns="{A} 0.0.0.0";uci commit network']),
    ("10.6.0", "a", "1.1.1.1", [], [DNS, "uci set network.lan.dns=1.1.1.1;uci commit network"]),
    ("10.8.0", "i", 44640, ['uci show dhcp | grep "lan.leasetime"'],
     ["uci set dhcp.lan.leasetime=44640m;uci commit dhcp"]),
    ("8.1.1.0", "i", 1, ["uci show network.lan.proto"], ["uci set network.lan.proto=dhcp"]),
    ("8.1.1.0", "i", 0, ["uci show network.lan.proto"], ["uci set network.lan.proto=static"]),
    *[("8.2.1.0", "i", number, ["uci show network.wan.proto"], [f"uci set network.wan.proto={word};uci commit network"])
      for number, word in enumerate(["static", "dhcp", "pptp", "pppoe", "l2tp"])],
    # The commit in the third line is joined to the list, and it is meant so.
    *[(oid, "s", "1.1.1.1;9.9.9.9", [f"uci show network.{name}.dns"],
       [f"uci delete network.{name}.dns", f"uci set network.{name}.dns='1.1.1.1 9.9.9.9'",
        f"uci set network.{name}.dns='1.1.1.1 9.9.9.9'uci commit network"])
      for oid, name in (("8.1.5.0", "lan"), ("8.2.5.0", "wan"))],
    ("14.3.0", "i", 2, [], ["/etc/init.d/sysntpd disable;/etc/init.d/sysntpd stop"]),
    ("14.3.0", "i", 1, [], ["/etc/init.d/sysntpd enable;/etc/init.d/sysntpd start"]),
    *[("14.4.0", "i", number, ['uci show system | grep "system.ntp.enable_server"'],
       [f"uci set system.ntp.enable_server={flag};uci commit system"]) for number, flag in ((1, 1), (2, 0))],
    # Empty fields are counted but not taken: a server behind one is added again.
    *[("14.5.0", "s", value, ["uci show system.ntp.server"],
       ['uci set system.ntp.server="";' + "".join(f'uci add_list system.ntp.server="{server}";' for server in servers)
        + "uci commit system"])
      for value, servers in (("one", ["one"]), ("0.pool;1.pool", ["0.pool", "1.pool"]), ("a;;b", ["a", "b", "b"]),
                             ("a;b;", ["a", "b", "b"]), (";a", ["a", "a"]), (";", ["", ""]))],
    ("15.1.0", "i", 65535, ["uci show system | grep log_size"],
     ["uci set system.@system[0].log_size=65535;uci commit system"]),
    ("15.2.0", "a", A, ["uci show system | grep log_ip"], [f"uci set system.@system[0].log_ip={A};uci commit system"]),
    ("15.3.0", "i", 0, ["uci show system | grep log_port"], ["uci set system.@system[0].log_port=0;uci commit system"]),
    ("17.1.0", "i", 2, ["uci show snmpd.main.enabled"],
     ["/etc/init.d/snmpd disable;uci set snmpd.main.enabled=0;uci commit snmpd"]),
    ("17.1.0", "i", 1, ["uci show snmpd.main.enabled"],
     ["/etc/init.d/snmpd enable;uci set snmpd.main.enabled=1;uci commit snmpd"]),
    ("17.2.0", "s", "see", ["uci show snmpd.main.v2read"], ["uci set snmpd.main.v2read='see';uci commit snmpd"]),
    ("17.3.0", "s", "w" * 64, ["uci show snmpd.main.v2write"],
     [f"uci set snmpd.main.v2write='{'w' * 64}';uci commit snmpd"]),
    ("17.4.0", "i", 0, [], []),
    *[("17.5.1.0", "i", number, ["uci show snmpd.main.trapen"], [f"uci set snmpd.main.trapen={flag};uci commit snmpd"])
      for number, flag in ((2, 0), (1, 1))],
    ("17.5.2.0", "a", A, ["uci show snmpd.main.trapip"], [f"uci set snmpd.main.trapip={A};uci commit snmpd"]),
    ("17.5.3.0", "i", 65535, ["uci show snmpd.main.trapport"], ["uci set snmpd.main.trapport=65535;uci commit snmpd"]),
]

SWITCHES = ["10.1.0", "14.3.0", "14.4.0", "17.1.0", "17.5.1.0", "18.1.0"]
REFUSED: list[tuple[str, str, object, str]] = [
    *[(oid, "i", value, "wrongValue") for oid in SWITCHES for value in (0, 3)],
    *[(oid, "i", value, "wrongValue") for oid in ("15.1.0", "15.3.0", "17.5.3.0") for value in (-1, 65536)],
    *[(oid, "s", value, "wrongLength")
      for oid, most in (("8.1.5.0", 256), ("8.2.5.0", 256), ("14.5.0", 256), ("17.2.0", 64), ("17.3.0", 64))
      for value in ("", "x" * (most + 1))],
    ("10.8.0", "i", 14, "wrongValue"), ("10.8.0", "i", 44641, "wrongValue"), ("8.1.1.0", "i", 2, "wrongValue"),
    ("8.2.1.0", "i", 5, "wrongValue"), ("8.2.1.0", "i", -1, "wrongValue"), ("14.2.0", "i", -2, "wrongValue"),
    ("14.2.0", "i", 405, "wrongValue"), ("17.4.0", "i", 2, "wrongValue"), ("10.2.0", "i", 1, "wrongType"),
    ("14.2.0", "a", A, "wrongType"), ("14.5.0", "i", 1, "wrongType"), ("18.2.0", "i", 1, "wrongType"),
    ("18.2.0", "s", "--by-time=3:30", "wrongLength"), ("9.1.3.0", "x", "001122334455", "notWritable"),
]


def test_each_set_runs_its_commands_and_a_refused_one_none(device: Device, agent: Agent) -> None:
    for oid, kind, value, reads, commands in SETS:
        device.clear_journal()
        agent.set(oid, kind, value)
        assert device.shell_lines() == reads + commands, (oid, value)
    before = {package: device.read(f"/etc/config/{package}") for package in ("dhcp", "network", "system", "snmpd")}
    for oid, kind, value, error in REFUSED:
        with pytest.raises(SnmpError) as refusal:
            agent.set(oid, kind, value)
        assert refusal.value.name == error, (oid, value)
    assert before == {package: device.read(f"/etc/config/{package}") for package in before}


def test_the_lans_protocol_and_dns_servers_wait_for_a_commit(device: Device, agent: Agent) -> None:
    before = device.read("/etc/config/network")
    agent.set("8.1.1.0", "i", 1)
    agent.set("8.1.5.0", "s", "1.1.1.1;9.9.9.9")
    assert (agent.get("8.1.1.0").value, agent.get("8.1.5.0").text) == (1, "1.1.1.1;9.9.9.9")
    assert device.read("/etc/config/network") == before
    agent.set("10.5.0", "a", A)
    assert "\toption proto 'dhcp'\n" in device.read("/etc/config/network")
    assert "\toption dns '1.1.1.1 9.9.9.9'\n" in device.read("/etc/config/network")


def test_a_pool_that_starts_at_nothing_is_replaced(device: Device, agent: Agent) -> None:
    device.uci("set dhcp.lan.start=0")
    device.uci("commit dhcp")
    agent.set("10.1.0", "i", 1)
    assert device.shell_lines()[1:] == [START, "uci set dhcp.lan.start=100;uci commit dhcp", START,
                                        "uci set dhcp.lan.limit=150;uci commit dhcp", TURN_DHCP_ON]
    assert (agent.get("10.2.0").value, agent.get("10.3.0").value) == ("192.168.1.100", "192.168.1.249")


def test_a_device_moves_to_another_network(device: Device, agent: Agent) -> None:
    moves = [
        ("8.1.1.0", "i", 0), ("8.1.5.0", "s", "10.9.0.53;10.9.0.54"), ("10.5.0", "a", "10.9.0.1"),
        ("10.1.0", "i", 1), ("10.2.0", "a", "10.9.0.20"), ("10.3.0", "a", "10.9.0.69"), ("10.4.0", "a", "255.255.0.0"),
        ("10.8.0", "i", 90), ("8.2.5.0", "s", "192.0.2.1"), ("8.2.1.0", "i", 3),
        ("14.2.0", "i", 404), ("14.4.0", "i", 1), ("14.5.0", "s", "ntp1.example.net;ntp2.example.net"),
        ("15.1.0", "i", 128), ("15.2.0", "a", "10.9.0.5"), ("15.3.0", "i", 1514),
        ("17.2.0", "s", "look"), ("17.3.0", "s", "touch"), ("17.5.1.0", "i", 1), ("17.5.2.0", "a", "10.9.0.6"),
        ("17.5.3.0", "i", 1162)]
    for oid, kind, value in moves:
        agent.set(oid, kind, value)

    def section(package: str, name: str) -> dict[str, list[str]]:
        """The options of a section as its file holds them."""
        text = re.search(rf"\nconfig {name}\n((?:\t.*\n)*)", device.read(f"/etc/config/{package}"))
        options: dict[str, list[str]] = {}
        for key, value in re.findall(r"\t(?:option|list) (\w+) '(.*)'", text[1] if text else ""):
            options.setdefault(key, []).append(value)
        return options

    lan, wan = section("network", "interface 'lan'"), section("network", "interface 'wan'")
    assert (lan["proto"], lan["gateway"], lan["dns"]) == (["static"], ["10.9.0.1"], ["10.9.0.53 10.9.0.54"])
    assert (wan["proto"], wan["dns"]) == (["pppoe"], ["192.0.2.1"])
    assert section("dhcp", "dhcp 'lan'") == {"interface": ["lan"], "start": ["20"], "limit": ["50"], "ignore": ["0"],
                                             "leasetime": ["90m"], "netmask": ["255.255.0.0"]}
    system = section("system", "system")
    assert (system["timezone"], system["zonename"]) == (["WFT-12"], ["Pacific/Wallis"])
    assert (system["log_size"], system["log_ip"], system["log_port"]) == (["128"], ["10.9.0.5"], ["1514"])
    assert section("system", "timeserver 'ntp'") == {"enable_server": ["1"],
                                                     "server": ["ntp1.example.net", "ntp2.example.net"]}
    assert section("snmpd", "snmpd 'main'") == {"enabled": ["1"], "v2read": ["look"], "v2write": ["touch"],
                                                "trapen": ["1"], "trapip": ["10.9.0.6"], "trapport": ["1162"]}
    assert device.calls("dnsmasq") == [["/etc/init.d/dnsmasq", "enable"], ["/etc/init.d/dnsmasq", "start"]]
    # The pool's addresses are told in the network of the LAN, whose own address is not changed by these objects.
    told = {**{oid: value for oid, _, value in moves}, "10.2.0": "192.168.1.20", "10.3.0": "192.168.1.69"}
    for value in agent.get_many(list(told)):
        assert (value.text if isinstance(value.value, bytes) else value.value) == told[value.oid], value.oid


def test_time_zones_are_set_and_read_by_their_row(device: Device, agent: Agent) -> None:
    # Row 370 runs on into the next one; what the unit tests do for every row is done here for some.
    for row in [-1, 0, *range(13, 405, 51), 370, 404]:
        agent.set("14.2.0", "i", row)
        assert agent.get("14.2.0").value == row
    agent.set("14.2.0", "i", 370)
    assert "option timezone 'CHAST-12:45CHADT,M9.5.0/2:45,M4.1.0/3:45Pacific/Chuuk'" in device.read("/etc/config/system")
    agent.set("14.2.0", "i", -1)
    assert "zonename" not in device.read("/etc/config/system")


def test_the_longest_lists_reach_the_device_whole(device: Device, agent: Agent) -> None:
    servers = [f"{number % 16:x}" for number in range(128)]
    agent.set("14.5.0", "s", ";".join(servers) + ";")
    # The empty field at the end adds the last server again.
    assert device.uci("get system.ntp.server").split() == [*servers, servers[-1]]
    agent.set("8.1.5.0", "s", ";".join(servers) + ";")
    assert device.uci("get network.lan.dns").split() == servers


def test_the_automatic_reboot_follows_its_schedule(device: Device, agent: Agent) -> None:
    agent.set("18.2.0", "s", "--by-time=03:30")
    agent.set("18.1.0", "i", 1)
    agent.set("18.2.0", "s", "--by-hour=9")
    agent.stop()
    agent = device.start_agent(device.modules())
    assert (agent.get("18.1.0").value, agent.get("18.2.0").text) == (1, "--by-hour=9")
    assert [call for call in device.calls() if "autoreboot" in call[0]] == [
        ["/etc/autoreboot_by_time", "03:30"], ["/etc/autoreboot_by_hour", "9"]]
    device.clear_journal()
    agent.set("18.1.0", "i", 2)
    assert device.shell_lines() == ['wdog --test=1 "~;1;6:n;~;2;1:0;s;e" path=/etc', "kill `pidof wdog`"]
    assert device.calls("wdog") == [["wdog", "--test=1", "~;1;6:n;~;2;1:0;s;e", "path=/etc"]]


def test_a_restart_ends_the_agent_after_its_answer(agent: Agent) -> None:
    assert agent.set("17.4.0", "i", 1).value == 1
    assert agent.wait() == 0
