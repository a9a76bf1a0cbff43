"""A wireless interface configured over SNMP: radio, security and MAC filter, as it stands in /etc/config afterwards."""

from __future__ import annotations

import pytest

from testbed.device import FIRST_MODULE, Agent, Device
from testbed.snmp import SnmpError

BARE = """
config wifi-device 'wifi0'

config wifi-device 'wifi1'

config wifi-iface
	option device 'wifi0'

config wifi-iface
	option device 'wifi1'
"""

CONFIGURED = """
config wifi-device 'wifi0'

config wifi-device 'wifi1'
	option country '276'
	option channel '36'
	option bintval '100'
	option txpower 'max'
	option chainmask '1'
	option hwmode '11ng20'
	option autoack '0'
	option distance '1500'

config wifi-iface
	option device 'wifi0'

config wifi-iface
	option device 'wifi1'
	option mode 'ap'
	option wds '1'
	option ssid 'Harbour Hall'
	option manrate '0x8f8f8f8f'
	option rts '2346'
	option shortgi '0'
	option hidden '1'
	option encryption 'psk2+ccmp'
	option key 'correct-horse-7'
	option auth_server '192.168.1.20'
	option auth_port '1812'
	option auth_secret 'radius-secret'
	option acct_server '192.168.1.21'
	option acct_port '1813'
	option acct_secret 'acct-secret'
	option nasid 'ap-hall'
	option macpolicy 'allow'
	list maclist '02:11:22:33:44:01'
	list maclist '02:11:22:33:44:02'
	list maclist '02:11:22:33:44:03'
"""

# What the manager sets, in the order in which the options are written.
SETTINGS = [
    ("3.1.1.0", "i", 1), ("3.1.2.0", "i", 1), ("3.1.4.0", "s", b"Harbour Hall"), ("3.1.5.0", "i", 276),
    ("3.1.6.0", "i", 36), ("3.1.7.0", "i", 24), ("3.1.9.0", "i", 100), ("3.1.10.0", "i", 2346), ("3.1.13.0", "i", 0),
    ("3.1.14.0", "i", 1), ("3.1.15.0", "i", 0), ("3.1.16.0", "i", 1), ("3.1.20.0", "i", 20), ("3.1.21.0", "i", 2),
    ("3.1.22.0", "i", 1500),
    ("6.1.0", "i", 1), ("6.2.0", "i", 4), ("6.8.0", "i", 1), ("6.9.0", "s", b"correct-horse-7"),
    ("6.10.0", "a", "192.168.1.20"), ("6.11.0", "i", 1812), ("6.12.0", "s", b"radius-secret"),
    ("6.13.0", "a", "192.168.1.21"), ("6.14.0", "i", 1813), ("6.15.0", "s", b"acct-secret"),
    ("6.16.0", "s", b"ap-hall"),
    ("12.1.0", "i", 1), ("12.2.0", "i", 1),
    ("12.3.0", "s", b"02:11:22:33:44:01;02:11:22:33:44:02;02:11:22:33:44:03"),
]  # fmt: skip


def test_a_radio_is_configured_from_nothing(device: Device, agent: Agent) -> None:
    device.write("/etc/config/wireless", BARE)
    for setting in SETTINGS:
        agent.set(*setting)
    assert device.read("/etc/config/wireless").strip() == CONFIGURED.strip()
    answers = {value.oid: value.value for value in agent.get_many([oid for oid, _, _ in SETTINGS])}
    assert answers == {oid: value for oid, _, value in SETTINGS}
    # One SET of several objects is as good as many.
    device.write("/etc/config/wireless", BARE)
    agent.set_many(SETTINGS)
    assert device.read("/etc/config/wireless").strip() == CONFIGURED.strip()


def test_every_type_with_every_cipher(device: Device, agent: Agent) -> None:
    for kind, name in enumerate(["none", "wep-open", "wep-shared", "psk", "psk2", "psk-mixed", "wpa", "wpa2"]):
        for cipher, suffix in enumerate(["", "+ccmp", "+tkip+ccmp"]):
            agent.set_many([("6.2.0", "i", kind), ("6.8.0", "i", cipher)])
            wanted = name + suffix if kind > 2 else name
            assert device.uci("get wireless.@wifi-iface[0].encryption").strip() == wanted
            answers = [value.value for value in agent.get_many(["6.2.0", "6.8.0"])]
            assert answers == [kind, cipher if kind > 2 else 0], wanted


def test_every_rate(device: Device, agent: Agent) -> None:
    legacy = [0x0B, 0x0F, 0x0A, 0x0E, 0x09, 0x0D, 0x08, 0x0C]
    masks = ["auto"] + [f"0x{octet:02x}" + f"{octet:02x}" * 3 for octet in [*legacy, *range(0x80, 0x90)]]
    for rate in range(33):
        agent.set("3.1.7.0", "i", rate)
        assert device.uci("get wireless.@wifi-iface[0].manrate").strip() == masks[min(rate, 24)]
        assert agent.get("3.1.7.0").value == min(rate, 24)


def test_interfaces_that_exist_and_interfaces_that_do_not(device: Device, agent: Agent) -> None:
    modes, names = [0, 1, 0, 3, 4], [b"Harbour Lobby", b"warehouse", b"guest", b"bridge-north", b"uplink"]
    types = [4, 7, 0, 1, 5]
    for index in range(16):
        agent.set_many([("3.1.1.0", "i", index), ("6.1.0", "i", index)])
        expected = [modes[index], names[index], types[index]] if index < 5 else [0, b"unknown", 0]
        assert [value.value for value in agent.get_many(["3.1.2.0", "3.1.4.0", "6.2.0"])] == expected, index
    agent.set("3.1.1.0", "i", 1)
    assert agent.get("3.1.6.0").value == 0, "wifi1 chooses its channel itself"
    for oid, value in [("3.1.1.0", 16), ("3.1.6.0", 0), ("3.1.16.0", 2), ("6.1.0", 16), ("12.1.0", -1)]:
        with pytest.raises(SnmpError, match="wrongValue"):
            agent.set(oid, "i", value)


def test_a_walk_runs_each_command_once(device: Device) -> None:
    own = [name for name in device.modules() if name.startswith(("wlan_", "chann_", "security_", "maclist_"))]
    agent = device.start_agent([FIRST_MODULE, *(name for name in own if not name.startswith("wlan_status"))])
    iface = "uci show wireless.@wifi-iface[0]."
    security = ["encryption", "key", "key1", "key2", "key3", "key4", "encryption", "key", "auth_server", "auth_port",
                "auth_secret", "acct_server", "acct_port", "acct_secret", "nasid"]  # fmt: skip
    walks = {
        "3.1": [
            r'uci show wireless | grep "wifi-iface\[0\]"', "iwinfo ath0 info",
            r'uci show wireless | grep "iface\[0\].ssid="', 'uci show wireless | grep "wifi0.country="',
            "uci show wireless.wifi0.channel", r'uci show wireless | grep "\[0\].manrate"',
            "uci show wireless.wifi0.bintval", iface + "rts", iface + "shortgi",
            r"uci show wireless | grep '\[0\].hidden'", "uci show wireless.wifi0.txpower",
            "uci show wireless.wifi0.chainmask", "uci show wireless | grep 'wifi0.hwmode'",
            "uci show wireless.wifi0.autoack", "uci show wireless.wifi0.distance",
        ],
        "6": [iface + option for option in security],
        "12": [iface + "macpolicy", iface + "maclist"],
    }  # fmt: skip
    for root, commands in walks.items():
        device.clear_journal()
        agent.walk(root)
        assert device.shell_lines() == commands, root
