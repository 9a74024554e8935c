"""The LAN's DHCP server: a real one, fed from the data model, whose real leases reach the daemon."""
import json

import pytest

from lan_clients import POOL, address, bridge_of, described, devices, server, static_addresses, visitors
from links import Links
from support import eventually

EVENT = "/usr/libexec/tarn/port-event"
NASTY = ["$(touch /tmp/pwned)", "`touch /tmp/pwned`", "a\nb", '","ac":"crit', "*", "x" * 2000]


@pytest.fixture(scope="module")
def home(tmp_path_factory):
    """A gateway with two LAN bridges and a pool on each; port eth0.2 can be moved, and guests belong to the second bridge."""
    booted = Links(tmp_path_factory.mktemp("home"))
    booted.boot({
        "Bridging.Bridge.2": {"Enable": True, "Status": "Enabled", "Name": "br1"},
        "Bridging.Bridge.2.Port.1": {"Enable": True, "Status": "Up", "ManagementPort": True, "X_VORAN_IfName": "br1"},
        "Bridging.Filter.1": {"Enable": True, "Interface": "Bridging.Bridge.1.Port.3", "Bridge": "Bridging.Bridge.1"},
        "Bridging.Filter.2": {"Enable": True, "Bridge": "Bridging.Bridge.2", "SourceMACFromVendorClassIDFilter": "guest",
                              "SourceMACFromVendorClassIDFilterExclude": False, "SourceMACFromVendorClassIDMode": "Prefix"},
        "IP.Interface.4": {"Enable": True, "IPv4Enable": True, "Status": "Up", "Name": "br1", "X_VORAN_IfName": "br1"},
        "IP.Interface.4.IPv4Address.1": {"Enable": True, "Status": "Enabled", "IPAddress": "192.168.2.1", "SubnetMask": "255.255.255.0",
                                         "AddressingType": "Static"},
        "DHCPv4.Server.Pool.2": {"Enable": True, "Interface": "IP.Interface.4", "MinAddress": "192.168.2.100", "MaxAddress": "192.168.2.199",
                                 "SubnetMask": "255.255.255.0", "LeaseTime": 600},
    }, unplugged=())
    yield booted
    booted.down()


@pytest.fixture
def host(home):
    with visitors(home) as add:
        yield add


def on(home, name, *command):
    return home.must("lan", "host", "exec", name, *command)


def test_lease_brings_what_the_pool_says(home, host):
    home.inside("vcfgctl", "set", f"{POOL}.DomainName=home", f"{POOL}.DNSServers=192.168.1.1")
    name = host("tv")
    assert 100 <= int(address(home, name).rsplit(".", 1)[1]) <= 199
    eventually(lambda: "default via 192.168.1.1" in on(home, name, "ip", "route"))


def test_device_that_announces_itself_is_in_the_table_until_it_gives_its_lease_back(home, host):
    host("cpe", "--oui", "0011AA", "--serial", "S 1", "--product-class", "Box")
    address(home, "cpe")
    eventually(lambda: devices(home) == {"S 1": ("0011AA", "Box", described(home, "cpe")["mac"])})
    home.must("lan", "host", "release", "cpe")
    home.logged("mgabDevUpdate: delete object moui 0011AA, serial S 1, pclass Box")
    assert home.inside("ls", "/run/tarn/clients") == ""
    eventually(lambda: devices(home) == {})


def test_renewal_is_only_told(home, host):
    host("again", "--serial", "S 2", "--oui", "0011AA", "--product-class", "Box")
    address(home, "again")
    eventually(lambda: "S 2" in devices(home))
    before = home.model()
    mark = home.mark()

    def renewed():
        home.must("lan", "host", "renew", "again")
        return home.count("DHCP lease, sync node data", mark)

    eventually(renewed)  # a renewal within a second of the last one leaves the lease as it is
    home.settle()
    assert home.model() == before


def test_client_of_a_known_vendor_keeps_its_address(home, host):
    home.inside("vcfgctl", "set", "DHCPv4.Server.X_VORAN_VendorClass.VendorClassID1=set top box")
    host("box", "--vendor-class", "set top box")
    first, mac = address(home, "box"), described(home, "box")["mac"]
    eventually(lambda: static_addresses(home).get(mac) == first)
    eventually(lambda: f"{mac},{first}" in home.inside("cat", "/run/tarn/dhcp-server.hosts"))


def test_static_address_is_served_to_the_next_request(home, host):
    host("nas", "--mac", "02:00:00:00:aa:01")
    address(home, "nas")
    path = home.inside("vcfgctl", "add", f"{POOL}.StaticAddress.").strip()
    home.inside("vcfgctl", "set", f"{path}.Enable=true", f"{path}.Chaddr=02:00:00:00:aa:01", f"{path}.Yiaddr=192.168.1.7")
    home.must("lan", "host", "release", "nas")
    home.must("lan", "host", "move", "nas", "eth0.4")
    assert address(home, "nas", "192.168.1.7") == "192.168.1.7"
    home.inside("vcfgctl", "del", path)


def test_changed_range_is_served_and_reserved_addresses_are_not(home, host):
    home.inside("vcfgctl", "set", f"{POOL}.MinAddress=192.168.1.210", f"{POOL}.MaxAddress=192.168.1.212",
                f"{POOL}.ReservedAddresses=192.168.1.210,192.168.1.212")
    try:
        host("late")
        assert address(home, "late") == "192.168.1.211"
    finally:
        home.inside("vcfgctl", "set", f"{POOL}.MinAddress=192.168.1.100", f"{POOL}.MaxAddress=192.168.1.199", f"{POOL}.ReservedAddresses=")


def test_disabled_server_ends_and_enabled_one_serves(home, host):
    home.inside("vcfgctl", "set", "DHCPv4.Server.Enable=false")
    eventually(lambda: not server(home))
    home.inside("vcfgctl", "set", "DHCPv4.Server.Enable=true")
    host("back")
    address(home, "back")


def test_killed_server_is_started_by_the_next_write(home):
    home.must("service", "stop", "dhcpd")
    home.inside("vcfgctl", "set", f"{POOL}.LeaseTime=1800")
    eventually(lambda: server(home))


def test_disabled_pool_is_not_served(home):
    home.inside("vcfgctl", "set", "DHCPv4.Server.Pool.2.Enable=false")
    eventually(lambda: "192.168.2." not in home.inside("cat", "/run/tarn/dhcp-server.conf"))
    home.inside("vcfgctl", "set", "DHCPv4.Server.Pool.2.Enable=true")
    eventually(lambda: "192.168.2." in home.inside("cat", "/run/tarn/dhcp-server.conf"))


def test_option_of_a_pool_reaches_the_client(home, host):
    path = home.inside("vcfgctl", "add", f"{POOL}.Option.").strip()
    home.inside("vcfgctl", "set", f"{path}.Enable=true", f"{path}.Tag=3", f"{path}.Value=c0a80109", f"{POOL}.IPRouters=")
    eventually(lambda: "3,192.168.1.9\n" in home.inside("cat", "/run/tarn/dhcp-server.options"))
    host("routed")
    eventually(lambda: "default via 192.168.1.9" in on(home, "routed", "ip", "route"))
    home.inside("vcfgctl", "del", path)
    home.inside("vcfgctl", "set", f"{POOL}.IPRouters=192.168.1.1")


def test_guest_is_moved_to_the_guests_bridge_and_leased_there(home, host):
    host("guest", "--vendor-class", "guest phone", port="eth0.2")
    mac = described(home, "guest")["mac"]
    eventually(lambda: home.value("Bridging.Filter.1.Bridge") == "Bridging.Bridge.2")
    assert home.value("Bridging.Filter.1.X_VORAN_PreviousBridge") == "Bridging.Bridge.1"
    eventually(lambda: bridge_of(home, "eth0.2") == "br1")
    home.must("lan", "host", "move", "guest", "eth0.2")
    assert address(home, "guest", "192.168.2.").startswith("192.168.2.")
    assert mac in home.inside("bridge", "fdb", "show", "br", "br1")
    home.cable("eth0.2", "out")
    eventually(lambda: home.value("Bridging.Filter.1.Bridge") == "Bridging.Bridge.1")
    eventually(lambda: bridge_of(home, "eth0.2") == "br0")


# --- what comes from outside ---

def payloads(home, *arguments, **environment):
    words = ["env", "-i", "VCFG_RUN_DIR=/run/vcfg", *(f"{name}={value}" for name, value in environment.items())]
    return [json.loads(line) for line in home.inside(*words, EVENT, "--print", "dnsmasq", *arguments).splitlines()]


def test_payload_holds_what_is_known_and_nothing_else(home):
    known = {"DNSMASQ_INTERFACE": "br0", "DNSMASQ_VENDOR_CLASS": "stb", "DNSMASQ_CPEWAN_OUI": "0011AA", "DNSMASQ_CPEWAN_SERIAL": "S1",
             "DNSMASQ_CPEWAN_CLASS": "Box"}
    told = {"ifname": "br0", "mac": "02:00:00:00:00:99", "ip": "192.168.1.5", "vendor": "stb", "moui": "0011AA", "serial": "S1", "pclass": "Box"}
    for action, word in (("add", "add"), ("old", "up"), ("del", "del")):
        assert payloads(home, action, "02:00:00:00:00:99", "192.168.1.5", "name", **known) == [{"ac": word, **told}]


def test_end_of_a_lease_holds_what_the_client_said_before(home):
    payloads(home, "add", "02:00:00:00:00:98", "192.168.1.5", DNSMASQ_CPEWAN_OUI="0011AA", DNSMASQ_CPEWAN_SERIAL="S9", DNSMASQ_CPEWAN_CLASS="Box")
    ended = {"ac": "del", "mac": "02:00:00:00:00:98", "ip": "192.168.1.5"}
    assert payloads(home, "del", "02:00:00:00:00:98", "192.168.1.5") == [{**ended, "moui": "0011AA", "serial": "S9", "pclass": "Box"}]
    assert payloads(home, "del", "02:00:00:00:00:98", "192.168.1.5") == [ended]


def test_lease_that_says_nothing_is_told_without_empty_values(home):
    assert payloads(home, "add", "02:00:00:00:00:99", "192.168.1.5") == [{"ac": "add", "mac": "02:00:00:00:00:99", "ip": "192.168.1.5"}]


@pytest.mark.parametrize("action", ["init", "arp-add", "tftp", "$(reboot)", ""])
def test_other_actions_are_not_told(home, action):
    assert payloads(home, action, "02:00:00:00:00:99", "192.168.1.5") == []


@pytest.mark.parametrize("text", NASTY)
def test_hostile_values_stay_texts(home, text):
    (told,) = payloads(home, "add", text, text, text, DNSMASQ_INTERFACE=text, DNSMASQ_VENDOR_CLASS=text, DNSMASQ_CPEWAN_SERIAL=text)
    assert told == {"ac": "add", **{key: text for key in ("ifname", "mac", "ip", "vendor", "serial")}}
    assert home.run("test", "-e", "/tmp/pwned").returncode == 1


def test_client_with_hostile_names_is_leased_and_harms_nothing(home, host):
    host("evil", "--vendor-class", "$(touch /tmp/pwned)", "--oui", "`id`", "--serial", "'; touch /tmp/pwned; '", "--product-class", '"}')
    address(home, "evil")
    eventually(lambda: "'; touch /tmp/pwned; '" in devices(home))
    assert home.run("test", "-e", "/tmp/pwned").returncode == 1


@pytest.mark.parametrize("parameter", ["DomainName=home\ndhcp-script=/tmp/x", "DNSServers=1.1.1.1\nlog-dhcp", "IPRouters=$(id)", "ReservedAddresses=a,b",
                                       "DomainName=a,b"])
def test_hostile_parameters_are_left_out(home, parameter):
    home.run("vcfgctl", "set", f"{POOL}.{parameter}")
    files = home.inside("sh", "-c", "cat /run/tarn/dhcp-server.*").splitlines()
    assert [line for line in files if line.startswith("dhcp-script")] == ["dhcp-script=/usr/share/dnsmasq/tarn.script"]
    assert not any(line.startswith("log-dhcp") or "$(" in line or "a,b" in line for line in files)
    assert server(home)
