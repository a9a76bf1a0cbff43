"""The traffic shaper over SNMP: the rules of single clients."""

from __future__ import annotations

import pytest

from testbed.device import Device, wait_until
from testbed.snmp import SnmpError

CLIENT, CLIENT_MAC, CLIENT_ADDRESS, CLIENT_DOWNLOAD, CLIENT_UPLOAD = (f"13.5.1.{arc}.0" for arc in range(1, 6))


def changes(device: Device) -> list[str]:
    """The command lines since the last call that were to change the shaper."""
    lines = [line for line in device.command_lines() if "qos" in line and not line.startswith("uci show")]
    device.clear_journal()
    return lines


def test_a_client_is_put_on_packages_and_released(device: Device) -> None:
    # The first station of the list has no address yet.
    device.stations.join("00:01:02:03:04:05", "ath0")
    administrators = (
        "\nconfig classify\n\toption target 'Priority'\n\toption srchost '192.168.1.102'\n\toption ports '22,53'\n"
        "\nconfig classify\n\toption target 'Normal'\n\toption dsthost '192.168.1.102'\n\toption comment 'tablet'\n"
        "\nconfig classify\n\toption target 'Bulk'\n\toption proto 'udp'\n"
    )
    device.write("/etc/config/qos", device.read("/etc/config/qos") + administrators)
    before = device.uci("show qos")
    agent = device.start_agent()

    def rows() -> dict[object, list[object]]:
        """The rows of the table by address."""
        cells = {value.oid: value.value for value in agent.walk("13.4")}
        numbers = [value for oid, value in cells.items() if oid.startswith("13.4.1.1.")]
        return {cells[f"13.4.1.3.{row}.0"]: [cells[f"13.4.1.{column}.{row}.0"] for column in (1, 2, 4, 5)]
                for row in numbers}

    wait_until(rows, "the stations to be collected")
    assert [row for row, *_ in rows().values()] == [1, 2, 3, 4]
    row, mac, *packages = rows()["192.168.1.102"]
    assert (mac, packages) == (bytes.fromhex("f45c89102030"), [0, 0])
    added = [
        f"uci add qos classify;uci set qos.@classify[-1].target={target};uci set qos.@classify[-1].{host}=192.168.1.102;"
        "uci set qos.@classify[-1].client=f4:5c:89:10:20:30;uci reorder qos.@classify[-1]=0;uci commit qos"
        for target, host in (("Express", "dsthost"), ("Bulk", "srchost"))
    ]
    changes(device)
    # The row is selected by the same request.
    agent.set_many([(CLIENT, "i", row), (CLIENT_DOWNLOAD, "i", 2), (CLIENT_UPLOAD, "i", 4)])
    assert changes(device) == added
    assert [agent.get(oid).value for oid in (CLIENT_MAC, CLIENT_ADDRESS)] == [mac, "192.168.1.102"]
    assert [agent.get(oid).value for oid in (CLIENT_DOWNLOAD, CLIENT_UPLOAD)] == [2, 4]
    assert rows()["192.168.1.102"] == [row, mac, 2, 4]
    assert [packages for address, (_, _, *packages) in rows().items() if address != "192.168.1.102"] == [[0, 0]] * 3
    assert [line.split("'")[1] for line in device.read("/etc/config/qos").splitlines() if "client" in line] == [
        "f4:5c:89:10:20:30"] * 2

    # It leaves: its rules stay, in a row behind the present ones, and are changed and deleted there.
    device.stations.leave("f4:5c:89:10:20:30")
    wait_until(lambda: [row for row, *_ in rows().values()] == [1, 2, 3, 4] and rows()["192.168.1.102"][0] == 4,
               "the client to be absent")
    assert rows()["192.168.1.102"] == [4, mac, 2, 4]
    agent.set(CLIENT_DOWNLOAD, "i", 1)
    assert [agent.get(oid).value for oid in (CLIENT_MAC, CLIENT_DOWNLOAD, CLIENT_UPLOAD)] == [mac, 1, 4]

    # It comes back with another lease, and its rules go there.
    device.write("/tmp/dhcp.leases", device.read("/tmp/dhcp.leases").replace("192.168.1.102", "192.168.1.140"))
    device.stations.join("f4:5c:89:10:20:30", "ath0")
    wait_until(lambda: device.read("/etc/config/qos").count("192.168.1.140") == 2, "the rules to follow")
    assert device.read("/etc/config/qos").count("'192.168.1.102'") == 2, "the administrator's"
    assert [agent.get(oid).value for oid in (CLIENT_MAC, CLIENT_ADDRESS)] == [mac, "192.168.1.140"]
    agent.set_many([(CLIENT_DOWNLOAD, "i", 0), (CLIENT_UPLOAD, "i", 0)])
    assert device.uci("show qos") == before

    changes(device)
    agent.set(CLIENT, "i", 16)
    assert [agent.get(oid).value for oid in (CLIENT_MAC, CLIENT_ADDRESS, CLIENT_DOWNLOAD)] == [b"", "0.0.0.0", 0]
    for oid in (CLIENT_DOWNLOAD, CLIENT_UPLOAD):
        with pytest.raises(SnmpError, match="wrongValue"):
            agent.set(oid, "i", 1)
    assert changes(device) == []
