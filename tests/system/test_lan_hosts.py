"""The hosts of the LAN: machines of their own behind the gateway's ports, with real DHCP clients."""
import json

import pytest

from support import REFUSED, eventually

def hosts(gateway):
    return json.loads(gateway.must("lan", "host", "list"))


def host(gateway, name, *command):
    return gateway.must("lan", "host", "exec", name, *command)


def address(gateway, name):
    return eventually(lambda: hosts(gateway)[name]["addresses"])[0]


def leases(gateway):
    return gateway.inside("cat", "/run/tarn/dhcp-server.leases")


def port_of(gateway, mac):
    """The bridge port behind which the gateway's kernel sees the address."""
    entries = json.loads(gateway.inside("bridge", "-json", "fdb", "show", "br", "br0"))
    return next((entry["ifname"] for entry in entries if entry["mac"] == mac), None)


def test_host_behind_a_port_gets_a_lease_and_reaches_the_gateway(gateway):
    gateway.must("lan", "host", "add", "tv", "--port", "eth0.2")
    assert address(gateway, "tv").startswith("192.168.1.")
    assert "1 received" in host(gateway, "tv", "ping", "-c1", "-W5", "192.168.1.1")
    gateway.wait("Ethernet.Interface.2.Status=Up")
    assert port_of(gateway, hosts(gateway)["tv"]["mac"]) == "eth0.2"


def test_hosts_behind_one_port_and_behind_others_reach_each_other(gateway):
    gateway.must("lan", "host", "add", "one", "--port", "eth0.3", "--address", "192.168.1.31/24")
    gateway.must("lan", "host", "add", "two", "--port", "eth0.3", "--address", "192.168.1.32/24")
    gateway.must("lan", "host", "add", "three", "--port", "eth0.4", "--address", "192.168.1.33/24")
    for other in ("192.168.1.32", "192.168.1.33"):
        assert "1 received" in host(gateway, "one", "ping", "-c1", "-W5", other)
    for name in ("one", "two", "three"):
        gateway.must("lan", "host", "remove", name)
    assert set(hosts(gateway)) == {"tv"}


def test_host_reaches_the_provider_through_the_gateway(gateway):
    gateway.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    first = gateway.inside("ip", "-4", "-o", "addr", "show", "eth0.5").split()[3].split("/")[0]
    assert "1 received" in host(gateway, "tv", "ping", "-c1", "-W5", first)


def test_client_announces_what_it_was_told_to(gateway):
    gateway.must("lan", "host", "add", "box", "--port", "eth0.4", "--vendor-class", "set top box", "--client-id", "ff:00:11:22",
              "--hostname", "livingroom", "--oui", "0011AA", "--serial", "S 1", "--product-class", "Box", "--mac", "02:00:00:AA:00:01")
    leased = address(gateway, "box")
    assert f"02:00:00:aa:00:01 {leased} livingroom ff:00:11:22" in leases(gateway)


def test_host_moves_to_another_port(gateway):
    mac = hosts(gateway)["tv"]["mac"]
    gateway.must("lan", "host", "move", "tv", "eth0.3")
    assert hosts(gateway)["tv"]["port"] == "eth0.3"
    eventually(lambda: port_of(gateway, mac) == "eth0.3")
    address(gateway, "tv")


def test_release_gives_the_lease_back_and_removal_does_not(gateway):
    macs = {name: record["mac"] for name, record in hosts(gateway).items()}
    gateway.must("lan", "host", "release", "box")
    eventually(lambda: macs["box"] not in leases(gateway))
    gateway.must("lan", "host", "remove", "tv")
    assert macs["tv"] in leases(gateway)
    assert "tv" not in hosts(gateway)


@pytest.mark.parametrize(("words", "reason"), [
    (("add", "x", "--port", "eth0.5"), "eth0.5 is no LAN port"),
    (("add", "x", "--port", "eth0.9"), "eth0.9 has no cable"),
    (("add", "box", "--port", "eth0.2"), "box is there already"),
    (("add", "../x", "--port", "eth0.2"), "../x is no name for a host"),
    (("add", "x", "--port", "eth0.2", "--mac", "02:00"), "--mac '02:00': it takes the hardware address of one machine"),
    (("add", "x", "--port", "eth0.2", "--client-id", "xyz"), "--client-id 'xyz': it takes 1 to 255 bytes as hexadecimal digits"),
    (("add", "x", "--port", "eth0.2", "--serial", "s" * 255, "--oui", "o" * 9), "an option holds 255 bytes"),
    (("add", "x", "--port", "eth0.2", "--hostname", "a\nb"), "it takes 1 to 63 printable characters"),
    (("add", "x", "--port", "eth0.2", "--address", "192.168.1.9"), "it takes an IPv4 address with its network's width"),
    (("remove", "nobody"), "there is no host nobody"),
    (("renew", "nobody"), "there is no host nobody")])
def test_what_cannot_be_is_refused_and_changes_nothing(gateway, words, reason):
    before = hosts(gateway)
    refused = gateway.gw("lan", "host", *words)
    assert refused.returncode == REFUSED and reason in refused.stderr
    assert hosts(gateway) == before


