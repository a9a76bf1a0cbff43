"""The network services over SNMP: the commands that each SET runs, and what they leave on the device."""

from __future__ import annotations

import re

from testbed.device import Agent, Device


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
