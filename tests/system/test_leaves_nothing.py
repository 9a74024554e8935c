"""A gateway that goes leaves nothing behind; two of them do not meet; a configuration outlives a power cycle."""
import json
import os
import pathlib
import signal
import subprocess

import pytest

from support import Gateway, eventually


def traces(directory):
    """Processes (but dead ones nobody has collected yet) and mounts that have to do with the directory."""
    found = []
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            state = pathlib.Path(f"/proc/{entry}/stat").read_text().rpartition(")")[2].split()[0]
            words = pathlib.Path(f"/proc/{entry}/cmdline").read_bytes()
        except OSError:
            continue
        if state != "Z" and str(directory).encode() in words and int(entry) != os.getpid():
            found.append(words)
    mounts = pathlib.Path("/proc/self/mounts").read_text()
    return found + [line for line in mounts.splitlines() if str(directory) in line]


def devices():
    return set(subprocess.run(["ip", "-br", "link"], capture_output=True, text=True, check=True).stdout.splitlines())


def members(first):
    """Everything that lives in the network namespaces of the gateway's rooms."""
    return [entry for entry in filter(str.isdigit, os.listdir("/proc")) if _network(entry) in first]


def _network(entry):
    try:
        return os.readlink(f"/proc/{entry}/ns/net")
    except OSError:
        return None


@pytest.fixture
def booted(tmp_path):
    gateway = Gateway(tmp_path / "state")
    before = devices()
    gateway.up()
    yield gateway
    gateway.down()
    assert devices() == before


def rooms(gateway):
    return {_network((gateway.directory / f"{room}.pid").read_text()) for room in ("gateway", "isp", "lan")}


def test_down_leaves_no_process_mount_or_network(booted):
    networks = rooms(booted)
    assert len(networks) == 3 and members(networks)
    booted.down()
    eventually(lambda: not members(networks))
    assert traces(booted.directory) == []
    assert not (booted.directory / "world.pid").exists()


def test_death_of_its_first_process_ends_everything(booted):
    networks = rooms(booted)
    os.kill(int((booted.directory / "gateway.pid").read_text()), signal.SIGKILL)
    eventually(lambda: not members(networks))
    assert booted.gw("status").returncode == 3


def test_boot_that_fails_leaves_nothing(tmp_path):
    gateway = Gateway(tmp_path / "state")
    (gateway.directory / "data" / "vcfg_config.json").mkdir(parents=True)  # no file that vcmd could read
    done = gateway.gw("up")
    assert done.returncode == 1 and len(done.stderr.splitlines()) == 1
    eventually(lambda: traces(gateway.directory) == [])


def test_two_gateways_run_beside_each_other(booted, tmp_path):
    other = Gateway(tmp_path / "other")
    other.up()
    try:
        other.inside("vcfgctl", "set", "DeviceInfo.ProvisioningCode=other")
        assert booted.value("DeviceInfo.ProvisioningCode") == ""
        for gateway in (booted, other):
            gateway.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    finally:
        other.down()
    assert booted.gw("status").returncode == 0


def test_configuration_outlives_a_power_cycle(booted):
    booted.inside("vcfgctl", "set", "DeviceInfo.ProvisioningCode=kept")
    booted.down()
    booted.up()
    assert booted.value("DeviceInfo.ProvisioningCode") == "kept"
    booted.down()
    booted.up("--fresh")
    assert booted.value("DeviceInfo.ProvisioningCode") == ""


def test_lease_is_made_anew_after_a_power_cycle(booted):
    booted.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    booted.down()
    assert "Bound" not in (booted.directory / "data" / "vcfg_config.json").read_text()
    booted.up()
    booted.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    booted.wait("IP.Interface.1.Status=Up")


def test_lan_is_served_after_a_power_cycle(booted):
    booted.down()
    booted.up()
    assert booted.value("IP.Interface.2.Status") == "Up"
    assert booted.value("IP.Interface.2.IPv4Address.1.Status") == "Enabled"
    assert "192.168.1.1/24" in booted.inside("ip", "-4", "addr", "show", "br0")


def test_boot_with_a_configuration_of_ones_own(booted, tmp_path):
    (tmp_path / "model.json").write_text('{"version": 1, "objects": {"DeviceInfo": {"ProvisioningCode": "mine"}}}')
    booted.down()
    booted.up("--config", tmp_path / "model.json")
    assert booted.value("DeviceInfo.ProvisioningCode") == "mine"
    assert booted.get("IP.Interface.*.Enable") == {}


def test_configured_addresses_and_routes_are_there_after_boot(booted, tmp_path):
    (tmp_path / "model.json").write_text(json.dumps({"version": 1, "objects": {
        "IP.Interface.7": {"Enable": True, "Status": "Up", "X_VORAN_IfName": "eth0.5"},
        "IP.Interface.7.IPv4Address.2": {"Enable": True, "Status": "Enabled", "IPAddress": "203.0.113.9",
                                         "SubnetMask": "255.255.255.0"},
        "IP.Interface.7.IPv4Address.3": {"Enable": True, "Status": "Enabled", "IPAddress": "203.0.113.10",
                                         "SubnetMask": "255.255.255.0", "AddressingType": "DHCP"},
        "Routing.Router.1": {"Enable": True},
        "Routing.Router.1.IPv4Forwarding.4": {"Enable": True, "Status": "Enabled", "DestIPAddress": "10.8.0.0",
                                              "DestSubnetMask": "255.255.0.0", "GatewayIPAddress": "203.0.113.1",
                                              "Interface": "IP.Interface.7"}}}))
    booted.down()
    booted.up("--config", tmp_path / "model.json")
    assert "203.0.113.9/24" in booted.addresses() and "203.0.113.10" not in booted.addresses()
    eventually(lambda: "10.8.0.0/16 via 203.0.113.1 dev eth0.5" in booted.routes())
