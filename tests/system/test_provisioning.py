"""Remote provisioning against a real FTP server: settings, download, verification, flashing, and what can go wrong."""

from __future__ import annotations

import contextlib
import hashlib
import os
import random
import re
import resource
import signal
import socket
import subprocess
import threading
from collections.abc import Iterator
from pathlib import Path

import pytest

from testbed.device import FIRST_MODULE, Agent, Device, wait_until

LOAD_FLAG, FILE, TYPE, SERVER, PORT, USER, PASSWORD = (f"21.{arc}.0" for arc in range(1, 8))
STATUS, REASON, CHECKSUM, VERSION, DOWNLOAD, CONFIRM = (f"21.{arc}.0" for arc in range(8, 14))
STAMP = r"\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\] "
CURRENT = "ZOLARC v1.4_b260310(2026-03-10)"
NOT_FOUND = "File not found"
WRONG_FORMAT = "File in wrong format!"


@pytest.fixture
def agent(device: Device) -> Agent:
    """An agent without the background tasks of the whole library: the journal holds what it was asked to do."""
    started = device.start_agent([FIRST_MODULE, *(name for name in device.modules() if name.startswith("apc_"))])
    device.clear_journal()
    return started


def free_low_port() -> int:
    """A free loopback port that the port object accepts."""
    for port in random.sample(range(20000, 35535), 50):
        with socket.socket() as probe, contextlib.suppress(OSError):
            probe.bind(("127.0.0.1", port))
            return port
    raise OSError("no free port")


class FtpServer:
    """Debian's FTP server on a loopback port, for the user "ftp" with any password."""

    def __init__(self, folder: Path):
        self.files = folder / "files"
        self.files.mkdir(parents=True)
        self._folder = folder
        self.port = free_low_port()
        self._process: subprocess.Popen[bytes] | None = None

    def start(self, rate: int = 0) -> None:
        """`rate` limits the transfers, in bytes per second."""
        options = {
            "listen": "YES", "listen_address": "127.0.0.1", "listen_port": self.port, "background": "NO",
            "run_as_launching_user": "YES", "anonymous_enable": "YES", "local_enable": "NO", "anon_root": self.files,
            "secure_chroot_dir": self._folder, "allow_writeable_chroot": "YES", "seccomp_sandbox": "NO",
            "xferlog_enable": "NO", "anon_max_rate": rate, "pasv_address": "127.0.0.1",
        }  # fmt: skip
        configuration = self._folder / "vsftpd.conf"
        configuration.write_text("".join(f"{name}={value}\n" for name, value in options.items()))
        # A session of its own, so that it ends together with the processes that serve its clients.
        self._process = subprocess.Popen(["/usr/sbin/vsftpd", configuration], start_new_session=True)
        wait_until(self._answers, "the FTP server to answer")

    def _answers(self) -> bool:
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def stop(self) -> None:
        if self._process is not None:
            os.killpg(self._process.pid, signal.SIGKILL)
            self._process.wait()
            self._process = None


@pytest.fixture
def server(tmp_path: Path) -> Iterator[FtpServer]:
    started = FtpServer(tmp_path / "ftp")
    yield started
    started.stop()


def commands(device: Device) -> list[str]:
    """The command lines since the journal was cleared, with "[now] " for a time stamp; clears it."""
    lines = [re.sub(STAMP, "[now] ", line) for line in device.command_lines()]
    device.clear_journal()
    return lines


def image(version: bytes, size: int = 4096) -> bytes:
    """A firmware image with a version text at its place."""
    return (b"\x27\x05\x19\x56" * 62 + version.ljust(32, b"\0")).ljust(size, b"\xa5")


def provision(agent: Agent, port: int, file: str = "ap.img", user: str = "ftp") -> None:
    agent.set_many([
        (LOAD_FLAG, "i", 1), (TYPE, "i", 1), (SERVER, "a", "127.0.0.1"), (PORT, "i", port), (FILE, "s", file),
        (USER, "s", user), (PASSWORD, "s", "p" * 32),
    ])  # fmt: skip


def outcome(agent: Agent) -> tuple[int, str, str, str]:
    """Status, reason without its stamp, version, checksum."""
    status, reason, version, checksum = agent.get_many([STATUS, REASON, VERSION, CHECKSUM])
    assert isinstance(status.value, int)
    assert re.match(STAMP, reason.text)
    return status.value, re.sub(STAMP, "", reason.text), version.text, checksum.text


def log_lines(device: Device) -> list[str]:
    return re.sub(STAMP, "", device.read("/etc/log_pnar.txt")).splitlines()


def md5(content: bytes) -> str:
    return hashlib.md5(content).hexdigest()


def done(version: str, date: str) -> str:
    return f"Download done(New version: {version}({date}). Current version:{CURRENT})"


READS = [*(f"uci show -q apc.setting.{option}" for option in ("apcLoadFlag", "apcTypeOfFile", "apcSrvUserName",
           "apcSrvPasswd", "apcSrvIpAddress", "apcSrvPort", "apcFileName")),
         "cat /etc/openwrt_release | grep DISTRIB_DESCRIPTION"]  # fmt: skip


def test_a_radio_is_upgraded(device: Device, agent: Agent, server: FtpServer) -> None:
    file = "f" * 124 + ".img"
    content = image(b"AP v31_b140102.7", 40_000_000)
    (server.files / file).write_bytes(content)
    server.start()
    provision(agent, server.port, file)
    agent.set_many([(STATUS, "i", 1), (CONFIRM, "i", 1)])
    assert not device.calls("sysupgrade"), "there is nothing to flash yet, whatever the status says"
    commands(device)

    url = f"ftp://ftp:{'p' * 32}@127.0.0.1:{server.port}/{file}"
    reason = done("AP v31_b140102", "2014-01-02")
    fetch = [
        f"cd /tmp;wget '{url}' -O /var/firmware.img",
        "hexdump -s 0xf8 -n 32 -C /var/firmware.img",
        "uci set apc.setting.apcFileVersion='AP v31_b140102';uci commit apc",
        "md5sum /var/firmware.img",
        f"uci set apc.setting.apcFileChecksum={md5(content)};uci commit apc",
        f"uci set apc.setting.apcTransferStatus=1;uci set apc.setting.apcTransferFailReason='[now] {reason}';uci commit apc",
        f"echo '[now] Download from [{url}]. File is found...' >> /etc/log_pnar.txt",
    ]
    start = "uci set apc.setting.apcTransferStatus=0;uci commit apc"
    agent.set(DOWNLOAD, "i", 1)
    assert commands(device) == [*READS, start, *fetch]
    assert outcome(agent) == (1, reason, "AP v31_b140102", md5(content))
    assert device.host_path("/tmp/firmware.img").read_bytes() == content
    assert agent.get(DOWNLOAD).value == 1
    commands(device)
    agent.set(DOWNLOAD, "i", 1)
    assert commands(device) == [*READS, start, "rm -rf /var/firmware.img", *fetch]

    agent.set(CONFIRM, "i", 0)
    assert commands(device) == [
        "uci show -q apc.setting.apcTransferStatus",
        "echo '[now] Flashing new firmware...Please wait for a while...' >> /etc/log_pnar.txt",
        "rm -rf /tmp/ftproot/*.img;. /lib/upgrade/platform.sh;. /lib/functions.sh; include /lib/upgrade; "
        "platform_check_image /tmp/firmware.img >/dev/null;killall dropbear uhttpd; sleep 1; /sbin/sysupgrade "
        "/tmp/firmware.img",
    ]
    assert [line.partition(".")[0] for line in log_lines(device)] == [
        "Source of upgraded firmware not found or transferring status failed", "Download from [ftp://ftp:" + "p" * 32 +
        "@127", "Download from [ftp://ftp:" + "p" * 32 + "@127", "Flashing new firmware",
    ]  # fmt: skip


def test_every_outcome_is_reported(device: Device, agent: Agent, server: FtpServer) -> None:
    def download(port: int, file: str, user: str = "ftp") -> tuple[int, str, str, str]:
        provision(agent, port, file, user)
        agent.set(DOWNLOAD, "i", 1)
        return outcome(agent)

    images = {"plain.img": image(b"without a number"), "version.img": image(b"ZOL v1.2.3.4"), "empty.img": b"",
              "short.img": b"\0" * 100, "hostile.img": image(b"v1';touch /x;'a")}  # fmt: skip
    for name, content in images.items():
        (server.files / name).write_bytes(content)
    server.start()
    expected = {
        "plain.img": (1, done("without a number", "2011-11-11"), "without a number"),
        "version.img": (1, done("ZOL v1.2", "2011-11-11"), "ZOL v1.2"),
        "empty.img": (2, WRONG_FORMAT, "unknown"),
        "hostile.img": (2, WRONG_FORMAT, "unknown"),
        "short.img": (2, WRONG_FORMAT, "unknown"),
    }
    for name, reported in expected.items():
        assert download(server.port, name) == (*reported, md5(images[name])), name
        wrong_format = "uci set apc.setting.apcTransferStatus=2;uci set apc.setting.apcTransferFailReason='[now] "
        assert (f"{wrong_format}{WRONG_FORMAT}';uci commit apc" in commands(device)) == (reported[0] == 2)
        assert log_lines(device)[-1].endswith("File is found...")

    assert not device.host_path("/x").exists(), "an image is no command"
    assert agent.log().count("the firmware image is not used") == 1

    # Without a file the checksum of the last one stands.
    failed = (2, NOT_FOUND, "unknown", md5(images["short.img"]))
    assert download(server.port, "none.img") == failed
    assert commands(device)[-8:-4] == [
        "uci set apc.setting.apcFileVersion='unknown';uci commit apc",
        "uci set apc.setting.apcTransferStatus=2",
        f"uci set apc.setting.apcTransferFailReason='[now] {NOT_FOUND}';uci commit apc",
        f"echo '[now] Download from [ftp://ftp:{'p' * 32}@127.0.0.1:{server.port}/none.img]. File was not found...' "
        ">> /etc/log_pnar.txt",
    ]
    assert download(server.port, "plain.img", user="nobody") == failed, "the server refuses the login"
    server.stop()
    assert download(server.port, "plain.img") == failed, "the server is down"
    assert log_lines(device)[-1].endswith("File was not found...")
    agent.set(CONFIRM, "i", 1)
    assert not device.calls("sysupgrade")

    before = log_lines(device)
    for value, load_flag, file_type in ((0, 1, 1), (1, 1, 2), (1, 3, 3)):
        agent.set_many([(LOAD_FLAG, "i", load_flag), (TYPE, "i", file_type), (DOWNLOAD, "i", value)])
    assert (outcome(agent), log_lines(device)) == (failed, before), "nothing was to be done"


def test_a_description_in_quotes_is_no_command(device: Device, agent: Agent, server: FtpServer) -> None:
    (server.files / "ap.img").write_bytes(image(b"AP v31_b140102"))
    server.start()
    provision(agent, server.port)
    for description in ("'OpenWrt 22.03'", "x';touch /x;'"):
        device.write("/etc/openwrt_release", f"DISTRIB_DESCRIPTION={description}\n")
        agent.set(DOWNLOAD, "i", 1)
        assert outcome(agent)[1].endswith("Current version:KelvAP ZOL(2011-11-11))"), description
    assert not device.host_path("/x").exists()
    assert agent.log().count("running firmware's version") == 1


def test_what_is_written_goes_nowhere_else(device: Device, agent: Agent, server: FtpServer) -> None:
    (server.files / "ap.img").write_bytes(image(b"AP v31_b140102"))
    server.start()
    provision(agent, server.port)
    device.write("/etc/precious", "kept")
    for link in ("/tmp/firmware.img", "/etc/log_pnar.txt"):
        device.host_path(link).symlink_to("/etc/precious")
    agent.set(DOWNLOAD, "i", 1)
    assert device.read("/etc/precious") == "kept"
    log = device.host_path("/etc/log_pnar.txt")
    assert (log.is_symlink(), log.stat().st_mode & 0o777) == (False, 0o600), "it holds the password"
    assert device.host_path("/tmp/firmware.img").stat().st_size == 4096


def test_an_image_that_arrives_in_part(device: Device, agent: Agent, server: FtpServer) -> None:
    """What arrived tells its version, so only the checksum shows that something is missing."""
    content = image(b"AP v31_b140102.7", 8_000_000)
    (server.files / "ap.img").write_bytes(content)
    target = device.host_path("/tmp/firmware.img")

    def check_part(agent: Agent) -> None:
        arrived = target.read_bytes()
        assert 4096 < len(arrived) < len(content)
        assert outcome(agent) == (1, done("AP v31_b140102", "2014-01-02"), "AP v31_b140102", md5(arrived))

    # The connection is lost half way.
    server.start(rate=1_000_000)
    provision(agent, server.port)
    download = threading.Thread(target=agent.set, args=(DOWNLOAD, "i", 1))
    download.start()
    wait_until(lambda: target.exists() and target.stat().st_size > 100_000, "the image to arrive in part")
    server.stop()
    download.join()
    check_part(agent)

    # No file may grow beyond 2 MB, as on a device whose memory is full.
    resource.prlimit(agent.pid, resource.RLIMIT_FSIZE, (2_000_000, 2_000_000))
    server.start()
    provision(agent, server.port)
    agent.set(DOWNLOAD, "i", 1)
    check_part(agent)
