"""A gateway whose configuration names its Ethernet ports otherwise: hardware, platform and daemon follow the names."""
import json

import pytest

from links import CLOSE, DISABLE, ENABLE, OPEN, Links, configuration, eventually

WAN, SFP, LAN, SECOND = "wan0.4", "sfp0.6", "eth7.1", "eth7.2"
WITHOUT = ("Ethernet.", "Bridging.", "InterfaceStack.", "IP.Interface.1", "DHCPv4.Client.1")
CONFIGURATION = {
    "Ethernet.Interface.1": {"Enable": True, "Status": "Down", "Name": WAN, "Upstream": True},
    "Ethernet.Interface.2": {"Enable": True, "Status": "Down", "Name": LAN},
    "Ethernet.Interface.3": {"Enable": True, "Status": "Down", "Name": SECOND},
    "Ethernet.Interface.7": {"Enable": True, "Status": "Down", "Name": SFP, "X_VORAN_WANPort": True, "Upstream": True, "X_VORAN_SFP": True},
    "Ethernet.Link.1": {"Enable": True, "Status": "LowerLayerDown", "Name": WAN, "LowerLayers": "Ethernet.Interface.1"},
    "Ethernet.Link.2": {"Enable": True, "Status": "Up", "Name": "lan", "LowerLayers": "Bridging.Bridge.1.Port.1"},
    "Ethernet.Link.3": {"Enable": True, "Status": "LowerLayerDown", "Name": SFP, "LowerLayers": "Ethernet.Interface.7"},
    "Bridging.Bridge.1": {"Enable": True, "Status": "Enabled"},
    "Bridging.Bridge.1.Port.1": {"Enable": True, "Status": "Up", "ManagementPort": True, "X_VORAN_IfName": "br-home"},
    "Bridging.Bridge.1.Port.2": {"Enable": True, "Status": "Up", "LowerLayers": "Ethernet.Interface.2"},
    "IP.Interface.1": {"Enable": True, "IPv4Enable": True, "Status": "LowerLayerDown", "Name": WAN, "LowerLayers": "Ethernet.Link.1",
                       "X_VORAN_IfName": WAN, "X_VORAN_WAN": True},
    "IP.Interface.2": {"X_VORAN_IfName": "br-home", "Name": "br-home"},
    "DHCPv4.Client.1": {"Enable": True, "Interface": "IP.Interface.1", "Status": "Enabled", "DHCPStatus": "Init",
                        "X_VORAN_PidFile": f"/var/run/udhcpc-{WAN}.pid"},
    **{f"InterfaceStack.{number}": {"HigherLayer": higher, "LowerLayer": lower} for number, (higher, lower) in enumerate((
        ("Ethernet.Link.1", "Ethernet.Interface.1"), ("Ethernet.Link.3", "Ethernet.Interface.7"), ("IP.Interface.1", "Ethernet.Link.1"),
        ("PTM.Link.1", "DSL.Channel.1"), ("DSL.Channel.1", "DSL.Line.1"), ("IP.Interface.3", "PTM.Link.1")), start=1)},
}


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("names"))
    booted.boot(CONFIGURATION, WITHOUT, unplugged=())
    yield booted
    booted.down()


@pytest.fixture
def leased(gateway):
    gateway.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    gateway.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    return gateway


def bridged(gateway):
    return {port["ifname"]: port.get("master") for port in json.loads(gateway.inside("bridge", "-json", "link"))}


def test_lease_comes_over_the_upstream_port(leased):
    address = leased.value("IP.Interface.1.IPv4Address.1.IPAddress")
    eventually(lambda: f"inet {address}/24" in leased.inside("ip", "-4", "addr", "show", WAN))
    eventually(lambda: f"default via 203.0.113.1 dev {WAN}" in leased.routes())
    assert "1 received" in leased.inside("ping", "-c", "1", "-W", "5", "203.0.113.1")


def test_bridge_is_the_configured_one_with_the_configured_ports(gateway):
    assert bridged(gateway) == {LAN: "br-home"}
    assert "inet 192.168.1.1/24" in gateway.inside("ip", "-4", "addr", "show", "br-home")
    assert not gateway.run("ip", "link", "show", "br0").returncode == 0


def test_only_the_configured_ports_have_cables(gateway):
    refused = gateway.gw("cable", "eth0.5", "in")
    assert (refused.returncode, refused.stderr) == (1, f"gw: eth0.5 has no cable; {WAN}, {LAN}, {SECOND}, {SFP} have\n")


def test_cable_that_is_pulled_and_plugged_takes_the_lease_away_and_brings_one(leased):
    leased.cable_out(WAN)
    leased.wait("Ethernet.Interface.1.Status=Down")
    leased.wait("DHCPv4.Client.1.DHCPStatus=Release")
    leased.cable_in(WAN)
    leased.wait("Ethernet.Interface.1.Status=Up")
    leased.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    leased.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")


def test_platform_switches_the_wan_ports_and_no_other(leased):
    mark = leased.mark()
    leased.inside("ethphxcmd", "eth0", "wanactive", "disable")
    leased.wait("Ethernet.Interface.1.Status=Up")  # the medium that has the link keeps it
    assert [line for line in leased.texts(mark) if f"{LAN}:down" in line] == []
    leased.inside("ethphxcmd", "eth0", "wanactive", "enable")


def test_lan_ports_are_those_that_start_up_keeps_dark(gateway):
    gateway.inside("/etc/init.d/disable_lan.sh", "start")
    eventually(lambda: gateway.value("Ethernet.Interface.2.Status") == "Down")
    gateway.inside("/etc/init.d/disable_lan.sh", "stop")
    gateway.wait("Ethernet.Interface.2.Status=Up")


def test_fail_over_from_copper_to_dsl_to_sfp(leased):
    mark = leased.cable_out(WAN)
    assert [command for command in leased.commands(mark) if command in (ENABLE, OPEN)] == [ENABLE, OPEN]
    leased.dsl_up()
    leased.wait("PTM.Link.1.Status=Up")
    mark = leased.cable_in(SFP)
    assert CLOSE in leased.commands(mark)
    leased.wait("Ethernet.Link.3.Status=Up")
    leased.wait("PTM.Link.1.Status=LowerLayerDown")
    mark = leased.cable_in(WAN)
    leased.ran(DISABLE, mark)
    leased.wait("Ethernet.Link.1.Status=Up")
    leased.wait("Ethernet.Link.3.Status=LowerLayerDown")


@pytest.mark.parametrize(("name", "reason"), [
    ("wan 0", "Ethernet.Interface.1: 'wan 0' is no name for an Ethernet port"),
    ("-wan0", "Ethernet.Interface.1: '-wan0' is no name for an Ethernet port"),
    ("a" * 16, f"Ethernet.Interface.1: '{'a' * 16}' is no name for an Ethernet port"),
    ("lo", "Ethernet.Interface.1: 'lo' is no name for an Ethernet port"),
    (LAN, f"Ethernet.Interface.1: {LAN} is the name of another port, too")])
def test_name_that_no_port_can_have_ends_the_boot(tmp_path, name, reason):
    gateway = Links(tmp_path)
    config = configuration(tmp_path, {**CONFIGURATION, "Ethernet.Interface.1": {"Name": name, "Upstream": True}}, WITHOUT)
    refused = gateway.gw("up", "--config", config)
    assert (refused.returncode, refused.stderr) == (1, f"gw: {reason}\n")
    assert gateway.gw("status").returncode == 3
