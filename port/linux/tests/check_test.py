"""tarn-port check: what a machine has and lacks, without a change to it."""
import os
import pathlib
import shutil
import subprocess

import pytest

PORT = pathlib.Path(__file__).resolve().parents[1]
CHECK = PORT / "root/usr/sbin/tarn-port"
CLIENTS = ("ip", "udhcpc", "dhcpcd", "pppd", "dnsmasq", "chronyd", "ping", "traceroute", "dig", "curl")
OWN = ("port-event", "port-rad", "port-apply", "port-diag", "port-ntp", "port-spawn", "port-attend")


def executable(path):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("#!/bin/sh\nexit 99\n")
    path.chmod(0o755)


@pytest.fixture
def machine(tmp_path):
    """Has all that is needed."""
    root = tmp_path / "root"
    shutil.copytree(PORT / "root", root)
    for name in OWN:
        executable(root / "usr/libexec/tarn" / name)
    for name in CLIENTS:
        executable(tmp_path / "bin" / name)
    (tmp_path / "bin/grep").symlink_to(shutil.which("grep"))
    return tmp_path


def check(machine, *words):
    words = words or ("check", "--root", str(machine / "root"))
    shell = shutil.which("sh")
    return subprocess.run([shell, CHECK, *words], env={"PATH": str(machine / "bin")}, capture_output=True, text=True,
                          timeout=20, check=False)


def everything(machine):
    return {str(path): (path.lstat().st_mtime_ns, path.read_bytes() if path.is_file() else None)
            for path in machine.rglob("*")}


def test_machine_with_everything_lacks_nothing(machine):
    result = check(machine)
    assert result.returncode == 0, result.stdout
    assert all(line.startswith("ok ") for line in result.stdout.splitlines())
    assert result.stderr == ""


@pytest.mark.parametrize("client", CLIENTS)
def test_missing_client_is_named_with_its_package(machine, client):
    (machine / "bin" / client).unlink()
    result = check(machine)
    assert result.returncode == 1
    lines = [line for line in result.stdout.splitlines() if not line.startswith("ok ")]
    assert len(lines) == 1 and lines[0].startswith(f"missing  {client} (package ")


def test_missing_hook_says_what_it_would_do(machine):
    (machine / "root/usr/share/udhcpc/tarn.script").unlink()
    result = check(machine)
    assert result.returncode == 1
    assert "missing  /usr/share/udhcpc/tarn.script: would send the lease" in result.stdout


def test_hook_that_cannot_be_executed_does_not_count(machine):
    (machine / "root/etc/ppp/ip-up").chmod(0o644)
    result = check(machine)
    assert result.returncode == 1
    assert "missing  /etc/ppp/ip-up cannot be executed" in result.stdout


def test_hook_of_somebody_else_is_told_from_ours(machine):
    executable(machine / "root/etc/ppp/ip-up")
    result = check(machine)
    assert result.returncode == 1
    assert "foreign  /etc/ppp/ip-up is somebody else's" in result.stdout


def test_script_in_the_folder_that_debians_hook_runs_is_ours_too(machine):
    executable(machine / "root/etc/ppp/ip-up")
    shutil.copytree(PORT / "root/etc/ppp", machine / "root/etc/ppp/ip-up.d")
    (machine / "root/etc/ppp/ip-up.d/ip-up").rename(machine / "root/etc/ppp/ip-up.d/0tarn")
    result = check(machine)
    assert result.returncode == 0, result.stdout
    assert "ok       /etc/ppp/ip-up.d/0tarn" in result.stdout


def test_changes_nothing_and_runs_nothing(machine):
    before = everything(machine)
    assert check(machine).returncode == 0
    assert everything(machine) == before


@pytest.mark.parametrize("words", [(), ("start",), ("check", "--root"), ("check", "x", "y"), ("check", "--root", "a", "b")])
def test_wrong_words_are_refused(machine, words):
    result = subprocess.run([shutil.which("sh"), CHECK, *words], env=dict(os.environ), capture_output=True, text=True,
                            timeout=20, check=False)
    assert result.returncode == 2
    assert result.stderr.startswith("usage: tarn-port check")


def test_help_is_no_wrong_word(machine):
    result = subprocess.run([shutil.which("sh"), CHECK, "--help"], env=dict(os.environ), capture_output=True, text=True,
                            timeout=20, check=True)
    assert result.stdout.startswith("usage: tarn-port check")
