"""Requests of the data model: to write true to one does the thing, and it reads false again."""
import re

import pytest

from ppp import DRIVER, WHICH
from support import DONE, REFUSED, eventually

CLIENT, CLIENT6 = "DHCPv4.Client.1", "DHCPv6.Client.1"
DONT_RUN = "nothing is renewed"


def asked(gateway, request):
    """Asks, which returns when the hook has ended."""
    done = gateway.run("vcfgctl", "set", f"{request}=true")
    assert gateway.value(request) == "false"
    return done


def said(gateway, client):
    """What a client has said so far."""
    return gateway.inside("cat", f"/var/log/tarn/{client}.txt")


def says(gateway, client, before, pattern):
    return eventually(lambda: re.search(pattern, said(gateway, client)[len(before):]))


def test_renew_has_the_dhcp_client_renew_its_lease(leased):
    before = said(leased, "dhcpv4-eth0.5")
    (client,) = leased.processes("udhcpc")
    assert asked(leased, f"{CLIENT}.Renew").returncode == DONE
    says(leased, "dhcpv4-eth0.5", before, r"sending renew|lease of .* obtained")
    assert leased.processes("udhcpc") == [client] and "released" not in said(leased, "dhcpv4-eth0.5")[len(before):]


def test_renew_starts_a_dhcp_client_that_has_died(leased):
    leased.inside("pkill", "-KILL", "-x", "udhcpc")
    eventually(lambda: not leased.processes("udhcpc"))
    assert asked(leased, f"{CLIENT}.Renew").returncode == DONE
    eventually(lambda: leased.processes("udhcpc"))


@pytest.mark.parametrize("request_", ("DHCPv4.Client.2.Renew", "IP.Interface.3.Reset"))
def test_request_of_an_interface_that_is_not_up_says_so(leased, request_):
    mark = leased.mark()
    done = asked(leased, request_)
    assert done.returncode == REFUSED and "not up" in done.stderr
    assert [line for line in leased.log(mark, "--all", "--level", "error") if line["daemon"] == "vcmd" and "not up" in line["text"]]


def test_reset_of_an_interface_gives_its_lease_back_and_gets_a_new_one(leased):
    before, mark = said(leased, "dhcpv4-eth0.5"), leased.mark()
    assert asked(leased, "IP.Interface.1.Reset").returncode == DONE
    says(leased, "dhcpv4-eth0.5", before, r"(?s)entering released state.*lease of .* obtained")
    statuses = "set dhcpv4Client->DHCPStatus = "
    leased.logged(f"{statuses}TR181_DHCP_Release", mark)
    leased.wait(f"{CLIENT}.DHCPStatus=Bound")
    leased.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    eventually(lambda: "default via 203.0.113.1" in leased.routes())


def test_reset_of_the_lan_sets_its_addresses_and_routes_anew(leased):
    route = leased.inside("vcfgctl", "add", "Routing.Router.1.IPv4Forwarding", "Enable=true", "DestIPAddress=10.46.0.0",
                          "DestSubnetMask=255.255.0.0", "GatewayIPAddress=192.168.1.9", "Interface=IP.Interface.2").strip()
    leased.wait(f"{route}.Status=Enabled")
    leased.inside("ip", "addr", "del", "192.168.1.1/24", "dev", "br0")  # somebody's slip, which takes the route along
    assert "10.46.0.0/16" not in leased.routes()
    assert asked(leased, "IP.Interface.2.Reset").returncode == DONE
    assert "inet 192.168.1.1/24" in leased.inside("ip", "-4", "addr", "show", "br0")
    eventually(lambda: "10.46.0.0/16 via 192.168.1.9" in leased.routes())
    leased.inside("vcfgctl", "del", route)


def test_renew_has_the_dhcpv6_client_renew(connected):
    before = said(connected, "dhcpv6-eth0.5")
    assert asked(connected, f"{CLIENT6}.Renew").returncode == DONE
    says(connected, "dhcpv6-eth0.5", before, r"RENEW6|renew|REPLY6")


def test_reset_of_a_dual_stack_interface_begins_both_anew(connected):
    clients, mark = connected.processes("dhcpcd"), connected.mark()
    assert asked(connected, "IP.Interface.1.Reset").returncode == DONE
    connected.logged("TR181_DHCP_Release", mark)
    eventually(lambda: connected.processes("dhcpcd") and not set(clients) & set(connected.processes("dhcpcd")))
    connected.wait(f"{CLIENT}.DHCPStatus=Bound")
    connected.wait("IP.Interface.1.IPv6Prefix.1.Status=Enabled")
    connected.wait("IP.Interface.1.IPv6Address.1.Status=Enabled")
    eventually(lambda: "2001:db8:1::77" in connected.inside("ip", "-6", "addr", "show", "eth0.5"))


def test_leased_ipv6_address_can_be_disabled_and_enabled(connected):
    address = "IP.Interface.1.IPv6Address.1"
    connected.wait(f"{address}.Status=Enabled")
    connected.inside("vcfgctl", "set", "--wait", f"{address}.Enable=false")
    assert connected.value(f"{address}.Status") == "Disabled"
    assert "2001:db8:1::77" not in connected.inside("ip", "-6", "addr", "show", "eth0.5")
    connected.inside("vcfgctl", "set", "--wait", f"{address}.Enable=true")
    connected.wait(f"{address}.Status=Enabled")
    eventually(lambda: "2001:db8:1::77" in connected.inside("ip", "-6", "addr", "show", "eth0.5"))


def test_renew_of_a_dhcpv6_client_that_does_not_run_says_so(leased):
    path = leased.inside("vcfgctl", "add", "DHCPv6.Client", "Enable=true", "Interface=IP.Interface.3").strip()
    done = asked(leased, f"{path}.Renew")
    assert done.returncode == REFUSED and DONT_RUN in done.stderr
    leased.inside("vcfgctl", "del", path)


@pytest.mark.skipif(DRIVER, reason="this kernel has PPP")
@pytest.mark.parametrize("request_", ("PPP.Interface.1.Reset", "IP.Interface.1.Reset"))
def test_reset_of_a_ppp_link_says_that_the_kernel_has_no_ppp(ppp, request_):
    done = asked(ppp, request_)
    assert done.returncode == REFUSED and "this kernel has no PPP" in done.stderr, WHICH


def test_reset_of_a_ppp_link_that_is_not_enabled_says_so(ppp):
    ppp.inside("vcfgctl", "set", "--no-apply", "PPP.Interface.1.Enable=false")
    done = asked(ppp, "PPP.Interface.1.Reset")
    ppp.inside("vcfgctl", "set", "--no-apply", "PPP.Interface.1.Enable=true")
    assert done.returncode == REFUSED and "is not enabled" in done.stderr
