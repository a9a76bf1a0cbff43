#!/usr/bin/python3
"""Writes what Prometheus would have recorded of a large fleet, as OpenMetrics: testbed/recorded_fleet.py 1000 6 > fleet.om

`promtool tsdb create-blocks-from openmetrics fleet.om DIR` makes a store of it. The values are made up but plausible, and the
same at every run; the last ones are those of `now`.
"""

from __future__ import annotations

import math
import random
import sys
import time
from collections.abc import Iterator

STEP = 60
FIRMWARE = ["ZOLARC v1.4_b260310", "ZOLARC v1.4_b260310", "ZOLARC v1.4_b260310", "ZOLARC v1.3_b251104"]
PLACES = ["Harbour", "Warehouse", "Lobby", "Quay", "Terminal", "Office", "Yard", "Canteen"]
ROAMER = "02:AA:BB:CC:DD:EE"


def line(name: str, labels: dict[str, object], value: float, at: int) -> str:
    text = ",".join(f'{key}="{label}"' for key, label in labels.items())
    return f"{name}{{{text}}} {value:g} {at}"


def station(device: int, number: int) -> dict[str, object]:
    return {"instance": instance(device), "zolStationMac": f"02:00:00:00:{device:02X}:{number:02X}",
            "zolStationInterface": f"ath{number % 2}", "zolStationSsid": ["Harbour Lobby", "guest"][number % 2],
            "zolStationRadio": number % 2}


def instance(device: int) -> str:
    return f"192.0.2.{device}" if device < 255 else f"198.51.{device // 250}.{device % 250 + 1}"


def device_lines(number: int, at: int) -> Iterator[str]:
    """What the wall shows of a device, and what the plots of a device are drawn from."""
    shape = random.Random(number)
    only = {"instance": instance(number)}
    name, firmware = f"{PLACES[number % 8]} {number}", shape.choice(FIRMWARE)
    stations = 40 if number == 1 else shape.choice([0, 1, 3, 5, 8, 13, 21])
    silent, noisy = number % 97 == 5, number % 61 == 7
    day = 1 + 0.5 * math.sin(at / 5000 + number)
    yield line("instance:zolarc_up:max", only, 0 if silent else 1, at)
    yield line("instance:zolarc_device:info", {**only, "apName": name, "apModel": "QRB71", "fwVersion": firmware}, 1, at)
    if silent:
        yield line("ALERTS", {**only, "alertname": "ZolarcDeviceSilent", "alertstate": "firing", "severity": "critical"}, 1, at)
        return
    if noisy:
        labels = {**only, "alertname": "ZolarcNoiseFloor", "alertstate": "firing", "severity": "warning", "radio": 0}
        yield line("ALERTS", labels, 1, at)
    yield line("instance:zolarc_stations:count", only, stations, at)
    yield line("instance:zolarc_transmit:bps", only, round(stations * 9e5 * day), at)
    yield line("instance:zolarc_receive:bps", only, round(stations * 2e5 * day), at)
    yield line("instance:zolarc_uptime:seconds", only, at % 1_000_000, at)
    if stations:
        yield line("instance:zolarc_signal_dbm:min", only, shape.randint(-88, -60), at)
    for radio in (0, 1):
        of = {**only, "radio": radio}
        yield line("radio:zolarc_on:bool", of, 1, at)
        yield line("radio:zolarc_stations:count", of, (stations + 1 - radio) // 2, at)
        yield line("radio:zolarc_noise_dbm:avg", of, (-74 if noisy else -95) + round(2 * math.sin(at / 900 + radio)), at)
        yield line("radio:zolarc_retries:ratio_rate5m", of, 0.08 + 0.05 * math.sin(at / 3000 + radio), at)
    yield line("radio:zolarc_channel:number", {**only, "radio": 0}, shape.choice([1, 6, 11]), at)


def station_lines(device: int, at: int) -> Iterator[str]:
    """The table of a device's stations."""
    for number in range(40):
        of = station(device, number)
        key = {name: of[name] for name in ("instance", "zolStationMac")}
        base = -45 - number
        values = {"Signal": base + round(4 * math.sin(at / 700 + number)), "Noise": -95, "TxRate": 130_000 - 2_000 * number,
                  "RxRate": 117_000 - 2_000 * number, "TxKbps": 900 + 40 * number, "RxKbps": 200 + 7 * number,
                  "TxOctets": 9e8 + number * 1e6, "RxOctets": 2e8 + number * 1e6, "Connected": 100 * (at % 90_000)}
        for column, value in values.items():
            yield line(f"zolStation{column}", of, value, at)
        yield line("zolStationName", {**key, "zolStationName": f"laptop-{number}"}, 1, at)
        yield line("zolStationIp", {**key, "zolStationIp": f"192.168.1.{100 + number}"}, 1, at)


def roamer_lines(at: int) -> Iterator[str]:
    """A station that goes round four devices, and is away every fifth quarter of an hour."""
    where = (at // 900) % 5
    if where < 4:
        of = station(where + 2, 0) | {"zolStationMac": ROAMER}
        yield line("zolStationSignal", of, -50 - 4 * where - round(12 * abs(math.sin(at / 450))), at)
        yield line("zolStationName", {"instance": of["instance"], "zolStationMac": ROAMER, "zolStationName": "scanner-7"}, 1, at)


def main(devices: int, hours: float) -> None:
    now = int(time.time())
    print("# TYPE zolarc unknown")
    for at in range(now - int(hours * 3600), now + 1, STEP):
        # The wall is a picture of one moment; only the first devices have a long history.
        for number in range(1, (devices if at > now - 300 else min(devices, 8)) + 1):
            print("\n".join(device_lines(number, at)))
        print("\n".join([*station_lines(1, at), *roamer_lines(at)]))
    print("# EOF")


if __name__ == "__main__":
    main(int(sys.argv[1]), float(sys.argv[2]))
