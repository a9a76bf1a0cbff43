"""What is installed, and that it works from there."""

from __future__ import annotations

import os
import re
import subprocess
from pathlib import Path

import pytest

from testbed.device import Device
from testbed.snmp import free_udp_port

SHARE = Path(__file__).resolve().parents[2] / "share"
LIBRARY = "lib/libnetsnmpzolarc.so.15"
FILES = {
    LIBRARY, "sbin/wdog", "sbin/zolarcd", "lib/systemd/system/wdog.service", "lib/systemd/system/zolarcd.service",
    "etc/autoreboot_by_hour", "etc/autoreboot_by_time", "etc/snmp/zolarcd.conf",
    *(f"share/doc/zolarc/{name}" for name in ("LICENSE", "fleet.md", "integrators.md", "snmpd.conf.sample")),
    "share/man/man5/zolarc.conf.5", "share/man/man8/wdog.8", "share/man/man8/zolarcd.8", "share/snmp/mibs/ZOLARC-MIB.txt",
    *(f"share/zolarc/mibs/SNMPv2-{name}" for name in ("CONF", "SMI", "TC")),
    # For the machine that watches.
    *(f"share/zolarc/{file.relative_to(SHARE)}" for folder in ("fleet", "prometheus") for file in (SHARE / folder).rglob("*")
      if file.is_file()),
}  # fmt: skip


def run(*command: object, **options: object) -> str:
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def files_below(folder: Path) -> set[str]:
    return {str(file.relative_to(folder)) for file in folder.rglob("*") if not file.is_dir()}


def test_below_a_prefix(tmp_path: Path, build_dir: Path) -> None:
    run("cmake", "--install", build_dir, "--prefix", tmp_path)
    assert files_below(tmp_path) == FILES
    assert f"{tmp_path}/sbin/../{LIBRARY}" in run("ldd", tmp_path / "sbin/zolarcd")
    run(tmp_path / "sbin/zolarcd", "--version")


@pytest.fixture
def furnished(device: Device, build_dir: Path) -> Path:
    """The device with everything installed in it, staged by DESTDIR."""
    where = device.host_path("/opt/installed")
    run("cmake", "--install", build_dir, "--prefix", "/opt/installed", env={**os.environ, "DESTDIR": str(device.root)})
    assert files_below(where) == FILES
    return where


@pytest.mark.parametrize("host", ["snmpd", "zolarcd"])
def test_on_a_device(device: Device, furnished: Path, host: str) -> None:
    if host == "zolarcd":
        port = free_udp_port()
        program = ["/opt/installed/sbin/zolarcd", "--config", "{conf}", "--address", f"udp:127.0.0.1:{port}"]
        agent = device.start_agent([], program=program, port=port)
    else:
        # The sample's own line, so that it is known to name the place where the library is.
        sample = (furnished / "share/doc/zolarc/snmpd.conf.sample").read_text()
        line = re.search(r"^#? *(dlmod netsnmpzolarc /.*)$", sample, re.MULTILINE)
        assert line, sample
        agent = device.start_agent([], conf=line[1])
    maps = Path(f"/proc/{agent.pid}/maps").read_text()
    assert f"/opt/installed/{LIBRARY}" in maps
    assert agent.get("3.1.6.0").type == "INTEGER"


def test_debian_package(tmp_path: Path, build_dir: Path) -> None:
    run("cpack", "--config", build_dir / "CPackConfig.cmake", "-B", tmp_path)
    (package,) = tmp_path.glob("zolarc_*.deb")
    run("dpkg-deb", "--extract", package, tmp_path / "root")
    as_debian_wants = {"LICENSE": "copyright", "zolarc.conf.5": "zolarc.conf.5.gz", "wdog.8": "wdog.8.gz",
                       "zolarcd.8": "zolarcd.8.gz"}
    expected = {"usr/share/doc/zolarc/changelog.gz"}
    for folder, _, name in (file.rpartition("/") for file in FILES):
        place = folder if folder.split("/")[0] == "etc" else f"usr/{folder}"
        expected.add(f"{place}/{as_debian_wants.get(name, name)}")
    assert files_below(tmp_path / "root") == expected
    assert f"/usr/{LIBRARY}" in (tmp_path / "root/usr/share/doc/zolarc/snmpd.conf.sample").read_text()
    # Found by what the programs are linked with, not by a list.
    assert "libsnmp" in run("dpkg-deb", "--field", package, "Depends")
    control = run("dpkg-deb", "--info", package)
    assert all(name in control for name in ("postinst", "prerm", "postrm", "triggers", "shlibs", "conffiles")), control
