"""The OpenWrt package: its scripts on the simulated device, its make-file against stand-ins of the build system's own."""

from __future__ import annotations

import re
import subprocess
from pathlib import Path

import pytest

from conftest import REPOSITORY
from testbed.device import Device, wait_until
from testbed.snmp import free_udp_port

PACKAGE = REPOSITORY / "packaging/openwrt"

# A device as the distribution leaves it: an agent's configuration, and nothing of the library's.
FRESH = """
config system
	option sysName 'fresh'
"""

# What the build system's make-files define of what the package uses.
RULES = {
    "rules.mk": """
INCLUDE_DIR:=$(TOPDIR)
INSTALL_DIR:=install -d -m0755
INSTALL_BIN:=install -m0755
INSTALL_CONF:=install -m0600
CP:=cp -fpR
""",
    "package.mk": """
PKG_BUILD_DIR:=$(TOPDIR)/build/$(PKG_NAME)-$(PKG_VERSION)
PKG_INSTALL_DIR:=$(PKG_BUILD_DIR)/ipkg-install
define BuildPackage
  $(eval $(Package/$(1)))
  $(1):
	mkdir -p $(TOPDIR)/root-$(1)
	$$(call Package/$(1)/install,$(TOPDIR)/root-$(1))
  $(1)-about:
	@echo '$(DEPENDS)|$(strip $(Package/$(1)/conffiles))'
endef
prepare:
	$(Build/Prepare)
about:
	@echo '$(PKG_VERSION)|$(PKG_LICENSE)|$(CMAKE_OPTIONS)'
""",
    "cmake.mk": "",
}

# What /etc/rc.common gives a script: configuration, and a process manager that prints what it is asked.
RC_COMMON = """
config_load() { package=$1; }
config_get() { eval "$1=\\$(uci -q get $package.$2.$3 || echo '$4')"; }
config_get_bool() {
	config_get "$@"
	eval "case \\$$1 in 1|on|true|yes|enabled) $1=1 ;; *) $1=0 ;; esac"
}
config_foreach() {
	for section in $(uci -q show "$package" | sed -n "s/^$package\\.\\([^.]*\\)=$2$/\\1/p"); do "$1" "$section"; done
}
procd_open_instance() { :; }
procd_close_instance() { :; }
procd_set_param() { (IFS='|'; echo "$*"); }
procd_add_reload_trigger() { echo "trigger $*"; }
"""


def install(device: Device, name: str, path: str) -> None:
    device.write(path, (PACKAGE / "files" / name).read_text())


def freshen(device: Device) -> None:
    for package in ("apc", "vlan", "vlansw", "vlanac"):
        device.host_path(f"/etc/config/{package}").unlink()
    device.write("/etc/config/snmpd", FRESH)


def apply_defaults(device: Device) -> None:
    """As the system does it: in a shell of its own that reads the script."""
    install(device, "zolarc.uci-defaults", "/etc/uci-defaults/80_zolarc")
    done = device.run("cd /etc/uci-defaults; ( . ./80_zolarc ) && rm 80_zolarc")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def configurations(device: Device) -> dict[str, bytes]:
    return {file.name: file.read_bytes() for file in device.host_path("/etc/config").iterdir()}


def test_the_defaults_let_a_fresh_system_be_managed(device: Device) -> None:
    freshen(device)
    apply_defaults(device)
    once = configurations(device)
    apply_defaults(device)
    assert configurations(device) == once
    line = "dlmod netsnmpzolarc /usr/lib/libnetsnmpzolarc.so.15\nzolarcGuard yes\nzolarcReuse yes\n"
    assert device.read("/etc/snmp/snmpd.local.conf") == line

    agent = device.start_agent()
    agent.set("17.2.0", "s", "readers")
    agent.set("2.1.0", "s", "lobby")
    assert device.uci("get snmpd.main.v2read") == "readers\n"
    # With today's command the name goes to the system's own section.
    assert device.uci("get snmpd.@system[0].sysName") == ("lobby\n" if device.uci_year == 2025 else "fresh\n")


def test_the_defaults_leave_what_is_there(device: Device) -> None:
    before = configurations(device)
    device.write("/etc/snmp/snmpd.local.conf", "# dlmod netsnmpzolarc (not wanted)\n")
    apply_defaults(device)
    assert configurations(device) == before
    assert device.read("/etc/snmp/snmpd.local.conf") == "# dlmod netsnmpzolarc (not wanted)\n"


def test_the_defaults_come_again_when_they_failed(device: Device) -> None:
    freshen(device)
    device.write("/etc/config/snmpd", "config 'broken\n")
    install(device, "zolarc.uci-defaults", "/tmp/80_zolarc")
    assert device.run("( . /tmp/80_zolarc )").returncode != 0


def start_service(device: Device, *settings: str) -> tuple[int, list[str]]:
    """The status of the start-up script, and what it asks of the process manager."""
    install(device, "zolarcd.init", "/etc/init.d/zolarcd")
    install(device, "zolarcd.config", "/etc/config/zolarcd")
    device.write("/tmp/rc.common", RC_COMMON)
    device.host_path("/tmp/run").mkdir(exist_ok=True)
    for setting in settings:
        device.run(["/opt/device/uci", "set", setting])
    done = device.run(". /tmp/rc.common; . /etc/init.d/zolarcd; start_service")
    assert ("unknown mode" in done.stderr) == bool(done.returncode) and "not found" not in done.stderr, done.stderr
    return done.returncode, done.stdout.splitlines()


@pytest.mark.parametrize("settings, status, command", [
    ([], 0, None),
    (["enabled=1", "mode=slave"], 1, None),
    (["enabled=1", "mode=agentx"], 0, "--agentx|/var/run/agentx.sock|--config|/var/run/zolarcd.conf"),
    (["enabled=1", "mode=agentx", "config=/etc/my.conf"], 0,
     "--agentx|/var/run/agentx.sock|--config|/etc/my.conf"),
    (["enabled=1", "address=udp:1161"], 0, "--address|udp:1161|--config|/var/run/zolarcd.conf"),
    (["enabled=1", "config=/etc/my.conf"], 0, "--address|udp:161|--config|/etc/my.conf"),
])
def test_the_service_runs_as_it_is_configured(device: Device, settings: list[str], status: int,
                                              command: str | None) -> None:
    actual, asked = start_service(device, *(f"zolarcd.main.{setting}" for setting in settings))
    assert actual == status
    commands = [line.removeprefix("command|") for line in asked if line.startswith("command")]
    assert commands == ([f"/usr/sbin/zolarcd|{command}"] if command else [])
    assert ("respawn|3600|5|0" in asked) == bool(command)


def test_managers_switch_it_off(device: Device) -> None:
    assert start_service(device, "zolarcd.main.enabled=1", "snmpd.main.enabled=0") == (0, [])


def test_it_serves_with_the_settings_that_managers_see(device: Device) -> None:
    traps = device.start_trapd()
    # The older command takes no text of several lines.
    control = "\t" if device.uci_year == 2014 else "\n"
    status, asked = start_service(
        device, "zolarcd.main.enabled=1", "snmpd.main.trapip=127.0.0.1", f"snmpd.main.trapport={traps.port}",
        f'snmpd.@system[0].sysName=my "AP" \\ one{control}rwcommunity public')
    assert status == 0 and "file|/var/run/zolarcd.conf" in asked
    assert device.host_path("/tmp/run/zolarcd.conf").stat().st_mode & 0o077 == 0

    port = free_udp_port()
    agent = device.start_agent([], port=port, program=["/opt/zolarc/lib/zolarcd", "--config", "/var/run/zolarcd.conf",
                                                       "--address", f"udp:127.0.0.1:{port}"])
    assert agent.get(".1.3.6.1.2.1.1.5.0").text == 'my "AP" \\ onerwcommunity public'
    agent.set("3.1.6.0", "i", 11)
    refused = subprocess.run(["snmpset", "-v2c", "-c", "public", "-m", "", "-On", "-r", "0", f"127.0.0.1:{port}",
                              f"{agent.root}.3.1.6.0", "i", "6"], capture_output=True, text=True, check=False)
    assert "noAccess" in refused.stderr
    wait_until(traps.traps, "the trap of the start")


def make(folder: Path, *arguments: str) -> str:
    done = subprocess.run(["make", "-s", "-C", PACKAGE, f"TOPDIR={folder}", *arguments], capture_output=True, text=True,
                          check=False)
    assert (done.returncode, done.stderr) == (0, ""), done.stdout + done.stderr
    return done.stdout


def test_the_make_file(tmp_path: Path, build_dir: Path) -> None:
    for name, text in RULES.items():
        (tmp_path / name).write_text(text)
    version, licence, options = make(tmp_path, "about").strip().split("|")
    project = (REPOSITORY / "CMakeLists.txt").read_text()
    assert version == re.search(r"project\(zolarc VERSION ([\d.]+)", project)[1]
    assert licence == "BSD-3-Clause" and options == "-DZOL_TESTS=OFF"

    make(tmp_path, "prepare")
    source = tmp_path / f"build/zolarc-{version}"
    assert {"CMakeLists.txt", "core", "mib", "LICENSE"} <= {file.name for file in source.iterdir()}
    assert not list(source.glob("build*"))

    staging = source / "ipkg-install/usr"
    for name, folder in (("libnetsnmpzolarc.so.15", "lib"), ("zolarcd", "sbin"), ("wdog", "sbin")):
        (staging / folder).mkdir(parents=True, exist_ok=True)
        (staging / folder / name).write_bytes((build_dir / name).read_bytes())
    for package, files in {
        "zolarc": {"usr/lib/libnetsnmpzolarc.so.15", "etc/uci-defaults/80_zolarc"},
        "zolarcd": {"usr/sbin/zolarcd", "etc/init.d/zolarcd", "etc/config/zolarcd"},
        "wdog": {"usr/sbin/wdog", "etc/init.d/wdog", "etc/autoreboot_by_time", "etc/autoreboot_by_hour"},
    }.items():
        make(tmp_path, package)
        root = tmp_path / f"root-{package}"
        assert {str(file.relative_to(root)) for file in root.rglob("*") if file.is_file()} == files
        depends, kept = make(tmp_path, f"{package}-about").split("|")
        assert depends == {"zolarc": "+libnetsnmp +libpthread +wdog", "zolarcd": "+zolarc", "wdog": ""}[package]
        assert {"zolarc": "/etc/zolarc.values", "zolarcd": "/etc/config/zolarcd", "wdog": "/etc/wdog.conf"}[package] in kept.split()
