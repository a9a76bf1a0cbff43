"""A wireless interface configured over SNMP: radio, security and MAC filter, as it stands in /etc/config afterwards."""

from __future__ import annotations

from testbed.device import Agent, Device

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


def test_interfaces_that_exist_and_interfaces_that_do_not(device: Device, agent: Agent) -> None:
    modes, names = [0, 1, 0, 3, 4], [b"Harbour Lobby", b"warehouse", b"guest", b"bridge-north", b"uplink"]
    types = [4, 7, 0, 1, 5]
    for index in range(16):
        agent.set_many([("3.1.1.0", "i", index), ("6.1.0", "i", index)])
        expected = [modes[index], names[index], types[index]] if index < 5 else [0, b"unknown", 0]
        assert [value.value for value in agent.get_many(["3.1.2.0", "3.1.4.0", "6.2.0"])] == expected, index
    agent.set("3.1.1.0", "i", 1)
    assert agent.get("3.1.6.0").value == 0, "wifi1 chooses its channel itself"
