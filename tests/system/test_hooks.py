"""What a write of the data model does to the system."""
import json

import pytest

from connections import DHCPV6, RENEW, asking
from support import LEASE_BOUND, eventually

ADDRESS = "IP.Interface.1.IPv4Address.1"
RESOLVER = "nameserver 203.0.113.1\nnameserver 203.0.113.2\n"


def resolver(gateway):
    return gateway.inside("cat", "/etc/resolv.conf")


def empty_resolver(gateway):
    gateway.inside("sh", "-c", ": > /etc/resolv.conf")
    assert resolver(gateway) == ""


def add_client6(gateway):
    path = gateway.inside("vcfgctl", "add", "DHCPv6.Client.").strip()
    gateway.inside("vcfgctl", "set", "--no-apply", f"{path}.Enable=true", f"{path}.Interface=IP.Interface.1",
                   f"{path}.X_VORAN_PidFile=/run/dhcpcd/test-6.pid")


def test_write_of_the_dns_client_rebuilds_the_resolvers_file(leased):
    empty_resolver(leased)
    leased.inside("vcfgctl", "set", "DNS.Client.Enable=true")
    eventually(lambda: resolver(leased) == RESOLVER)


def test_report_without_a_name_server_rebuilds_the_resolvers_file(leased):
    add_client6(leased)
    empty_resolver(leased)
    done = leased.send(DHCPV6, json.dumps({"pidfile": "/run/dhcpcd/test-6.pid", "timeout": False, "addrAssigned": True,
                                           "addr": "2001:db8:1::99", "prefixAssigned": False}))
    assert done.returncode == 0, done.stderr
    eventually(lambda: resolver(leased) == RESOLVER)


def test_lease_without_end_comes_from_the_client_as_it_is(leased):
    payload = json.loads(leased.inside("env", "interface=eth0.5", "ip=203.0.113.9", "lease=4294967295",
                                       "/usr/libexec/tarn/port-event", "--print", "udhcpc", "bound"))
    assert payload["lease"] == 4294967295


def test_lease_that_came_before_its_interface_was_up_is_taken_when_the_client_keeps_it(leased):
    report = ["env", "interface=eth0.5", "ip=203.0.113.90", "mask=24", "router=203.0.113.1", "lease=3600", "/usr/libexec/tarn/port-event", "udhcpc"]
    leased.inside("vcfgctl", "set", "--no-apply", "IP.Interface.1.Status=LowerLayerDown", "DHCPv4.Client.1.DHCPStatus=Release")
    mark = leased.mark()
    leased.inside(*report, "bound")
    leased.logged("processDhcpcMsg : IP.Interface.1 is not activated", mark)
    leased.inside("vcfgctl", "set", "--no-apply", "IP.Interface.1.Status=Up")
    leased.inside(*report, "renew")
    leased.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    leased.wait(f"{ADDRESS}.IPAddress=203.0.113.90")
    assert "inet 203.0.113.90/24" in leased.addresses()


@pytest.fixture
def switched_off(leased):
    """The WAN device is down, and nothing has followed it yet."""
    leased.must("service", "stop", "linkd")
    leased.inside("ip", "link", "set", "eth0.5", "down")
    yield leased
    leased.inside("ip", "link", "set", "eth0.5", "up")
    leased.must("service", "start", "linkd")


def test_address_is_set_on_a_device_that_is_down_and_the_route_has_a_line_of_its_own(switched_off):
    mark = switched_off.mark()
    switched_off.inside("vcfgctl", "set", f"{ADDRESS}.Enable=true", f"{ADDRESS}.Status=Enabled", f"{ADDRESS}.IPAddress=203.0.113.88",
                        f"{ADDRESS}.SubnetMask=255.255.255.0")
    assert "inet 203.0.113.88/24" in switched_off.addresses()
    (line,) = [line for line in switched_off.log(mark, "--all") if "no default route" in line["text"]]
    assert (line["text"], line["level"]) == ("no default route through 203.0.113.1: eth0.5 does not take it now", 4)


def test_renewal_on_a_device_that_is_down_is_answered(switched_off):
    with asking(switched_off, RENEW) as renewal:
        switched_off.lease(LEASE_BOUND, ip="203.0.113.89", subnet="255.255.255.0", router="203.0.113.1")
        assert renewal.is_answered()
    switched_off.wait(f"{ADDRESS}.IPAddress=203.0.113.89")
    assert "inet 203.0.113.89/24" in switched_off.addresses()
