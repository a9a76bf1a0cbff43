"""The state folder of a simulated device: what its hardware is like and who is about, as small text files.

README.md describes the format. Whatever is set here may be changed by hand while the device runs.
"""

from __future__ import annotations

import os
import shutil
import tempfile
import time
from pathlib import Path

_INTERFACES = {
    "ath0": {
        "radio": "wifi0", "bridge": "br-lan", "mac": "00:0a:52:1b:2c:30", "bssid": "00:0a:52:1b:2c:30",
        "essid": "Harbour Lobby", "channel": "6", "hwmode": "802.11bgn", "bit_rate": "130", "ack_timeout": "64",
        "dfs_status": "1", "encryption": "WPA2 PSK (CCMP)", "rx_packets": "48211", "rx_bytes": "9218440",
        "rx_errors": "12", "tx_packets": "61277", "tx_bytes": "70318832", "tx_errors": "3",
        "tx_excessive_retries": "418", "missed_beacons": "5", "rx_invalid_nwid": "77", "rx_invalid_crypt": "2",
        "rx_invalid_frag": "1",
    },
    "ath1": {
        "radio": "wifi0", "bridge": "br-lan", "mac": "06:0a:52:1b:2c:30", "bssid": "06:0a:52:1b:2c:30",
        "essid": "warehouse", "channel": "6", "hwmode": "802.11bgn", "bit_rate": "65", "ack_timeout": "64",
        "encryption": "WPA2 802.1X (TKIP, CCMP)", "rx_packets": "1044", "rx_bytes": "88211", "tx_packets": "2890",
        "tx_bytes": "310288",
    },
    "ath2": {
        "radio": "wifi0", "bridge": "br-lan", "mac": "0a:0a:52:1b:2c:30", "bssid": "0a:0a:52:1b:2c:30",
        "essid": "guest", "channel": "6", "hwmode": "802.11bgn", "bit_rate": "11", "bit_rate_fixed": "1",
    },
    "ath3": {
        "radio": "wifi1", "mode": "Managed", "mac": "00:0a:52:1b:2c:31", "bssid": "", "essid": "bridge-north",
        "channel": "44", "hwmode": "802.11an", "bit_rate": "300",
    },
    "ath4": {
        "radio": "wifi1", "mac": "06:0a:52:1b:2c:31", "bssid": "06:0a:52:1b:2c:31", "essid": "uplink",
        "channel": "44", "hwmode": "802.11an", "bit_rate": "300",
    },
    "br-lan": {"mac": "00:0a:52:1b:2c:2e", "address": "192.168.1.1"},
    "eth0": {"mac": "00:0a:52:1b:2c:2e"},
    "eth0.1": {
        "bridge": "br-lan", "mac": "00:0a:52:1b:2c:2e", "rx_packets": "90113", "rx_bytes": "51244710",
        "rx_errors": "4", "tx_packets": "77120", "tx_bytes": "8810023", "tx_errors": "1",
    },
    "eth0.2": {
        "mac": "00:0a:52:1b:2c:2f", "address": "198.51.100.2", "netmask": "255.255.255.252", "rx_packets": "3312",
        "rx_bytes": "402113", "tx_packets": "2977", "tx_bytes": "298114",
    },
    "lo": {"address": "127.0.0.1", "netmask": "255.0.0.0"},
}

_STATIONS = {
    "00:0b:6b:0a:01:02": {
        "interface": "ath0", "signal": "-48", "noise": "-95", "rx_rate": "117.0", "tx_rate": "130.0", "ccq": "98",
        "signal_chains": "-51,-52", "host": "laptop", "address": "192.168.1.101",
        "counters": {"rx_data": "10412", "rx_bytes": "2210334", "tx_data": "20100", "tx_bytes": "18233114",
                     "rx_mgmt": "61", "tx_auth": "3", "tx_assoc": "2", "tx_discard": "7"},
    },
    "f4:5c:89:10:20:30": {
        "interface": "ath0", "signal": "-61", "rx_rate": "58.5", "tx_rate": "65.0", "ccq": "87",
        "signal_chains": "-63,-66", "host": "tablet", "address": "192.168.1.102",
        "counters": {"rx_data": "512", "rx_bytes": "71224", "tx_data": "911", "tx_bytes": "402113",
                     "rx_mgmt": "19", "tx_auth": "5", "tx_auth_fail": "2", "tx_assoc": "4", "tx_assoc_fail": "1"},
    },
    "02:aa:bb:cc:dd:ee": {
        "interface": "ath1", "signal": "-77", "rx_rate": "6.5", "tx_rate": "13.0", "ccq": "41",
        "signal_chains": "-78,-84", "host": "scanner-7", "address": "192.168.1.103",
        "counters": {"rx_data": "93", "rx_bytes": "8812", "tx_data": "120", "tx_bytes": "11934", "tx_auth": "1",
                     "tx_assoc": "1"},
    },
    "02:aa:bb:cc:01:0f": {
        "interface": "ath1", "signal": "-70", "rx_rate": "26.0", "tx_rate": "26.0", "ccq": "66",
        "signal_chains": "-71,-77", "host": "*", "address": "192.168.1.104",
        "counters": {"rx_data": "4011", "rx_bytes": "512334", "tx_data": "3920", "tx_bytes": "702334", "tx_auth": "1",
                     "tx_assoc": "1"},
    },
}

# Names with blanks, quotes, 32 characters, letters beyond ASCII; one network hides its name.
_NEIGHBOURS = {
    "01": {"bssid": "00:1d:7e:a1:b2:c3", "essid": "north-quay", "channel": "1", "signal": "-62"},
    "02": {"bssid": "00:1d:7e:a1:b2:c4", "essid": "Cafe on the Pier", "channel": "6", "signal": "-71"},
    "03": {"bssid": "10:fe:ed:00:00:01", "essid": 'the "best" net', "channel": "11", "signal": "-80"},
    "04": {"bssid": "10:fe:ed:00:00:02", "channel": "11", "signal": "-85"},
    "05": {"bssid": "a0:b1:c2:d3:e4:f5", "essid": "abcdefghijklmnopqrstuvwxyz012345", "channel": "3", "signal": "-90"},
    "06": {"bssid": "a0:b1:c2:d3:e4:f6", "essid": "Hafencafé-Süd", "channel": "13", "signal": "-77"},
    "07": {"bssid": "5c:a6:e6:01:02:03", "essid": "pier-5GHz", "channel": "44", "signal": "-68", "radio": "wifi1"},
}

_DMESG = """\
[    0.000000] Linux version 3.3.8 (builder@factory) #1
[    1.204113] Ethernet switch: 5 ports
[    2.310022] Enet:0 port:1 down
[    2.310377] Enet:0 port:2 down
[    4.118250] Enet:0 port1 up
[    4.532914] Enet:0 port2 up
[   11.700431] device eth0.1 entered promiscuous mode
"""

_LEASE_SECONDS = 12 * 3600


def write_whole(file: Path, content: str | bytes, staging: Path | None = None) -> None:
    """Writes a file in one step: whoever reads it meanwhile sees the former content or this one. @param staging where it is
    written first, if not beside it; a folder of the same file system"""
    target = file.resolve()
    mode = target.stat().st_mode & 0o7777 if target.exists() else 0o644
    descriptor, name = tempfile.mkstemp(dir=staging or target.parent, prefix=".new-")
    with os.fdopen(descriptor, "wb") as new:
        new.write(content if isinstance(content, bytes) else content.encode("utf-8", "surrogateescape"))
        os.fchmod(descriptor, mode)
    os.replace(name, target)


def write_values(folder: Path, values: dict[str, object]) -> None:
    """Writes one file for each value; a nested dictionary becomes a folder, None removes the file."""
    folder.mkdir(parents=True, exist_ok=True)
    for name, value in values.items():
        if isinstance(value, dict):
            write_values(folder / name, value)
        elif value is None:
            (folder / name).unlink(missing_ok=True)
        else:
            write_whole(folder / name, f"{value}\n")


def write_default_state(folder: Path) -> None:
    write_values(folder / "interfaces", _INTERFACES)
    write_values(folder / "stations", _STATIONS)
    write_values(folder / "neighbours", _NEIGHBOURS)
    (folder / "dmesg").write_text(_DMESG)
    for overrides in ("output", "delay", "exit"):
        (folder / overrides).mkdir(exist_ok=True)


def default_leases() -> str:
    """The DHCP server's leases of the stations that are there from the start, taken within the last quarter hour."""
    now = int(time.time())
    lines = []
    for age, (mac, station) in enumerate(_STATIONS.items(), start=1):
        client = "*" if station["host"] == "*" else f"01:{mac}"
        lines.append(f"{now + _LEASE_SECONDS - 200 * age} {mac} {station['address']} {station['host']} {client}\n")
    return "".join(lines)


class Stations:
    """The stations associated with the device. Each comes and goes in one step, as a running tool sees it."""

    def __init__(self, state: Path):
        self._folder = state / "stations"

    def join(self, mac: str, interface: str = "ath0", **values: object) -> None:
        """A station associates. `values` may hold signal, rx_rate, tx_rate, ccq, counters={...} and so on."""
        defaults: dict[str, object] = {"signal": -60, "rx_rate": "54.0", "tx_rate": "54.0", "ccq": 90,
                                       "signal_chains": "-62,-64", "counters": {}}
        staging = Path(tempfile.mkdtemp(dir=self._folder.parent, prefix=".station-"))
        write_values(staging, {**defaults, **values, "interface": interface})
        staging.chmod(0o755)
        self.leave(mac)
        os.rename(staging, self._folder / mac.lower())

    def leave(self, mac: str) -> None:
        """A station goes; one that is not there is no fault."""
        present = self._folder / mac.lower()
        if present.exists():
            leaving = Path(tempfile.mkdtemp(dir=self._folder.parent, prefix=".station-"))
            os.rename(present, leaving / "gone")
            shutil.rmtree(leaving)

    def move(self, mac: str, interface: str) -> None:
        """A station roams to another of the device's interfaces."""
        self.write(mac, interface=interface)

    def write(self, mac: str, **values: object) -> None:
        """Changes values of a station, for example counters={"rx_bytes": 5000}."""
        present = self._folder / mac.lower()
        if not present.exists():
            raise ValueError(f"no station {mac}")
        write_values(present, values)

    def list(self) -> list[str]:
        return sorted(entry.name for entry in self._folder.iterdir())
