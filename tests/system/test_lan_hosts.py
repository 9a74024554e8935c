"""The hosts of the LAN: machines of their own behind the gateway's ports, with real DHCP clients."""
import json

import pytest

from support import REFUSED, eventually

SERVER = ["dnsmasq", "--no-daemon", "--conf-file=/dev/null", "--port=0", "--interface=br0", "--bind-interfaces", "--log-dhcp",
          "--dhcp-range=192.168.1.100,192.168.1.150,120", "--dhcp-leasefile=/tmp/leases", "--log-facility=/tmp/dhcp.txt", "--user=root"]


@pytest.fixture(scope="module")
def home(gateway):
    """A gateway with a DHCP server that writes down what clients send."""
    gateway.inside("/usr/libexec/tarn/port-spawn", "/run/dhcp.pid", "/tmp/dhcp-output.txt", *SERVER)
    yield gateway
    gateway.inside("sh", "-c", "kill $(cat /run/dhcp.pid)")


def hosts(gateway):
    return json.loads(gateway.must("lan", "host", "list"))


def host(gateway, name, *command):
    return gateway.must("lan", "host", "exec", name, *command)


def address(gateway, name):
    return eventually(lambda: hosts(gateway)[name]["addresses"])[0]


def port_of(gateway, mac):
    """The bridge port behind which the gateway's kernel sees the address."""
    entries = json.loads(gateway.inside("bridge", "-json", "fdb", "show", "br", "br0"))
    return next((entry["ifname"] for entry in entries if entry["mac"] == mac), None)


def test_host_behind_a_port_gets_a_lease_and_reaches_the_gateway(home):
    home.must("lan", "host", "add", "tv", "--port", "eth0.2")
    assert address(home, "tv").startswith("192.168.1.")
    assert "1 received" in host(home, "tv", "ping", "-c1", "-W5", "192.168.1.1")
    home.wait("Ethernet.Interface.2.Status=Up")
    assert port_of(home, hosts(home)["tv"]["mac"]) == "eth0.2"


def test_hosts_behind_one_port_and_behind_others_reach_each_other(home):
    home.must("lan", "host", "add", "one", "--port", "eth0.3", "--address", "192.168.1.31/24")
    home.must("lan", "host", "add", "two", "--port", "eth0.3", "--address", "192.168.1.32/24")
    home.must("lan", "host", "add", "three", "--port", "eth0.4", "--address", "192.168.1.33/24")
    for other in ("192.168.1.32", "192.168.1.33"):
        assert "1 received" in host(home, "one", "ping", "-c1", "-W5", other)
    for name in ("one", "two", "three"):
        home.must("lan", "host", "remove", name)
    assert set(hosts(home)) == {"tv"}


def test_host_reaches_the_provider_through_the_gateway(home):
    home.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    first = home.inside("ip", "-4", "-o", "addr", "show", "eth0.5").split()[3].split("/")[0]
    assert "1 received" in host(home, "tv", "ping", "-c1", "-W5", first)


def test_client_announces_what_it_was_told_to(home):
    home.must("lan", "host", "add", "box", "--port", "eth0.4", "--vendor-class", "set top box", "--client-id", "ff:00:11:22",
              "--hostname", "livingroom", "--oui", "0011AA", "--serial", "S 1", "--product-class", "Box", "--mac", "02:00:00:AA:00:01")
    leased = address(home, "box")
    sent = eventually(lambda: next((text for text in [home.inside("cat", "/tmp/dhcp.txt")] if f"DHCPACK(br0) {leased}" in text), None))
    assert "vendor class: set top box" in sent and "client provides name: livingroom" in sent
    assert "02:00:00:aa:00:01" in sent
    assert f"{leased} livingroom ff:00:11:22" in home.inside("cat", "/tmp/leases")


def test_host_moves_to_another_port(home):
    mac = hosts(home)["tv"]["mac"]
    home.must("lan", "host", "move", "tv", "eth0.3")
    assert hosts(home)["tv"]["port"] == "eth0.3"
    eventually(lambda: port_of(home, mac) == "eth0.3")
    address(home, "tv")


def test_release_gives_the_lease_back_and_removal_does_not(home):
    macs = {name: record["mac"] for name, record in hosts(home).items()}
    home.must("lan", "host", "release", "box")
    eventually(lambda: macs["box"] not in home.inside("cat", "/tmp/leases"))
    home.must("lan", "host", "remove", "tv")
    assert macs["tv"] in home.inside("cat", "/tmp/leases")
    assert "tv" not in hosts(home)


@pytest.mark.parametrize(("words", "reason"), [
    (("add", "x", "--port", "eth0.5"), "eth0.5 is no LAN port"),
    (("add", "x", "--port", "eth0.9"), "eth0.9 has no cable"),
    (("add", "box", "--port", "eth0.2"), "box is there already"),
    (("add", "../x", "--port", "eth0.2"), "../x is no name for a host"),
    (("add", "x", "--port", "eth0.2", "--mac", "02:00"), "02:00 is no hardware address"),
    (("add", "x", "--port", "eth0.2", "--client-id", "xyz"), "'xyz' is no client id"),
    (("add", "x", "--port", "eth0.2", "--serial", "s" * 300), "an option holds 255 bytes"),
    (("remove", "nobody"), "there is no host nobody"),
    (("renew", "nobody"), "there is no host nobody")])
def test_what_cannot_be_is_refused_and_changes_nothing(home, words, reason):
    before = hosts(home)
    refused = home.gw("lan", "host", *words)
    assert refused.returncode == REFUSED and reason in refused.stderr
    assert hosts(home) == before


