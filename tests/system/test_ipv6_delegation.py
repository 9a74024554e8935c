"""An IPv6 address and a delegated prefix from a real server to a real client: had, renewed, lost."""
import pytest

from connections import isp
from support import eventually

ADDRESS = "IP.Interface.1.IPv6Address"
PREFIX = "IP.Interface.1.IPv6Prefix"
PIDFILE = "/run/dhcpcd/eth0.5-6.pid"
SERVER = "2001:db8:ffff::53"


def lan(gateway):
    return gateway.inside("ip", "-6", "addr", "show", "br0")


def signal_client(gateway, name):
    gateway.inside("sh", "-c", f"kill -{name} $(cat {PIDFILE})")


def test_address_is_in_the_data_model_and_on_the_device(connected):
    assert connected.value(f"{ADDRESS}.1.IPAddress") == "2001:db8:1::77"
    assert connected.value(f"{ADDRESS}.1.Origin") == "DHCPv6"
    assert "inet6 2001:db8:1::77/128" in connected.inside("ip", "-6", "addr", "show", "eth0.5")


def test_first_network_of_the_prefix_is_the_lans(connected):
    assert connected.value(f"{PREFIX}.1.Prefix") == "2001:db8:f000::/56"
    assert connected.value(f"{PREFIX}.1.Origin") == "PrefixDelegation"
    eventually(lambda: "inet6 2001:db8:f000::1/64" in lan(connected))


def test_packets_for_the_prefix_come_to_the_gateway(connected):
    eventually(lambda: "tentative" not in lan(connected))
    eventually(lambda: connected.run("ping", "-6", "-c1", "-W2", "-I", "2001:db8:f000::1", SERVER).returncode == 0)
    eventually(lambda: isp(connected, "ping", "-6", "-c1", "-W2", "2001:db8:f000::1").returncode == 0)


def test_rest_of_the_prefix_does_not_leave_the_gateway(connected):
    assert "unreachable 2001:db8:f000::/56" in connected.inside("ip", "-6", "route")


def test_name_server_is_in_the_data_model_and_in_the_resolver(connected):
    servers = connected.get("DNS.Client.Server.")
    assert servers["DNS.Client.Server.1.DNSServer"] == SERVER
    assert servers["DNS.Client.Server.1.Type"] == "DHCPv6"
    eventually(lambda: f"nameserver {SERVER}\n" in connected.inside("cat", "/etc/resolv.conf"))


def test_renewal_adds_no_second_address_or_prefix(connected):
    mark = connected.mark()
    signal_client(connected, "USR1")
    connected.logged("process msg type = 219 without reply", since=mark)
    connected.settle()
    assert list(connected.get(f"{ADDRESS}.*.IPAddress").values()) == ["2001:db8:1::77"]
    assert list(connected.get(f"{PREFIX}.*.Prefix").values()) == ["2001:db8:f000::/56"]


def test_static_name_server_wins_over_the_learnt_one(connected):
    connected.inside("vcfgctl", "set", "DNS.Client.Server.1.Type=Static", "DNS.Client.Server.1.DNSServer=2001:db8::1")
    mark = connected.mark()
    signal_client(connected, "USR1")
    connected.logged("process msg type = 219 without reply", since=mark)
    connected.settle()
    assert list(connected.get("DNS.Client.Server.*.DNSServer").values()) == ["2001:db8::1"]
    connected.inside("vcfgctl", "del", "DNS.Client.Server.1")


def restart_client(gateway):
    """The client gives back what it has, and asks anew."""
    gateway.inside("vcfgctl", "set", "DHCPv6.Client.1.Enable=false")
    eventually(lambda: not gateway.processes("dhcpcd") and gateway.get(f"{ADDRESS}.") == {})
    gateway.inside("vcfgctl", "set", "DHCPv6.Client.1.Enable=true")


def test_disabled_client_gives_its_address_and_prefix_back(connected):
    connected.inside("vcfgctl", "set", "DHCPv6.Client.1.Enable=false")
    eventually(lambda: connected.get(f"{ADDRESS}.") == {} and connected.get(f"{PREFIX}.") == {})
    eventually(lambda: "2001:db8:f000::1" not in lan(connected))
    assert not connected.processes("dhcpcd")
    connected.inside("vcfgctl", "set", "DHCPv6.Client.1.Enable=true")
    connected.wait(f"{PREFIX}.1.Status=Enabled")


def test_client_that_asks_for_a_prefix_alone_gets_no_address(connected):
    connected.inside("vcfgctl", "set", "DHCPv6.Client.1.RequestAddresses=false")
    eventually(lambda: connected.get(f"{ADDRESS}.") == {})
    connected.wait(f"{PREFIX}.1.Status=Enabled")
    connected.inside("vcfgctl", "set", "DHCPv6.Client.1.RequestAddresses=true")
    connected.wait(f"{ADDRESS}.1.Status=Enabled")


def test_other_prefix_takes_the_place_of_the_first(connected):
    connected.must("isp-dhcpv6", "--delegate", "2001:db8:f100::/56")
    restart_client(connected)
    connected.wait(f"{PREFIX}.*.Prefix=2001:db8:f100::/56")
    assert len(connected.get(f"{PREFIX}.*.Prefix")) == 1
    eventually(lambda: "inet6 2001:db8:f100::1/64" in lan(connected) and "2001:db8:f000::1" not in lan(connected))


@pytest.fixture
def static_prefix(connected):
    connected.inside("vcfgctl", "add", PREFIX)
    (path,) = [path.removesuffix(".Origin") for path, origin in connected.get(f"{PREFIX}.*.Origin").items() if origin == "Static"]
    connected.inside("vcfgctl", "set", f"{path}.Prefix=2001:db8:5::/64", f"{path}.Enable=true")
    yield path
    connected.inside("vcfgctl", "del", path)


def test_silent_server_lets_all_but_static_prefixes_time_out(connected, static_prefix):
    connected.must("isp-dhcpv6", "--preferred", "2", "--valid", "4")
    restart_client(connected)
    connected.wait(f"{ADDRESS}.*.IPAddress=2001:db8:1::77")
    connected.must("isp-dhcpv6", "--mode", "silent")
    eventually(lambda: connected.get(f"{ADDRESS}.") == {})
    assert list(connected.get(f"{PREFIX}.*.Prefix").values()) == ["2001:db8:5::/64"]
    eventually(lambda: "scope global" not in lan(connected))
    connected.must("isp-dhcpv6", "--mode", "answer", "--preferred", "1800", "--valid", "3600")
    connected.wait(f"{ADDRESS}.*.IPAddress=2001:db8:1::77")
