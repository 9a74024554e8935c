"""Router advertisements of real routers: what the data model keeps of them, and what they make of the DHCPv6 client."""
import itertools

import pytest

from connections import RA_INFO, taken
from support import eventually

SETTING = "Routing.RouteInformation.InterfaceSetting"
CLIENT = "DHCPv6.Client.1"
networks = (f"2001:db8:{number:x}::/64" for number in itertools.count(0x10))


@pytest.fixture
def advertised(connected):
    """One router, which is the one that the data model has; every test gets a prefix that is new."""
    prefix = next(networks)
    connected.must("isp-router", 2, "--advertise", "off")
    connected.must("isp-router", 1, "--advertise", "on", "--managed", "on", "--other", "on", "--lifetime", 1800, "--preference", "medium",
                   "--prefix", prefix)
    connected.wait(f"{SETTING}.1.Prefix={prefix}")
    connected.settle()
    return connected


def advertise(gateway, *words, router=1):
    """Another advertisement, with another prefix; returns when the daemon has handled it."""
    prefix = next(networks)
    mark = gateway.mark()
    gateway.must("isp-router", router, "--prefix", prefix, *words)
    taken(gateway, RA_INFO, mark)
    return prefix


def told(gateway):
    """All that an advertisement can change."""
    return gateway.get(f"{SETTING}.") | gateway.get("DHCPv6.")


@pytest.mark.parametrize("managed", ("on", "off"))
@pytest.mark.parametrize("other", ("on", "off"))
def test_flags_say_what_the_dhcpv6_client_asks_for(advertised, managed, other):
    prefix = advertise(advertised, "--managed", managed, "--other", other)
    kept = advertised.get(f"{SETTING}.1.")
    assert kept[f"{SETTING}.1.Prefix"] == prefix
    assert kept[f"{SETTING}.1.X_VORAN_ManagedFlag"] == ("128" if managed == "on" else "0")
    assert kept[f"{SETTING}.1.X_VORAN_OtherFlag"] == ("64" if other == "on" else "0")
    client = advertised.get(f"{CLIENT}.")
    assert client[f"{CLIENT}.RequestAddresses"] == ("true" if managed == "on" else "false")
    assert client[f"{CLIENT}.RequestPrefixes"] == "true"
    assert client[f"{CLIENT}.RequestedOptions"] == ("OPTION_DNS_SERVERS" if "on" in (managed, other) else "")


def test_client_that_may_not_ask_for_an_address_has_none(advertised):
    advertise(advertised, "--managed", "off")
    eventually(lambda: "ia_na" not in advertised.inside("cat", "/run/tarn/dhcpcd-eth0.5.conf"))
    eventually(lambda: advertised.get("IP.Interface.1.IPv6Address.") == {})
    advertised.wait("IP.Interface.1.IPv6Prefix.1.Status=Enabled")


@pytest.mark.parametrize("preference", ("high", "medium", "low"))
def test_preference_is_kept(advertised, preference):
    prefix = advertise(advertised, "--preference", preference)
    assert advertised.value(f"{SETTING}.1.Prefix") == prefix
    assert advertised.value(f"{SETTING}.1.PreferredRouteFlag") == preference.capitalize()


def test_router_and_its_lifetime_are_kept(advertised):
    advertise(advertised, "--lifetime", 600)
    assert advertised.value(f"{SETTING}.1.SourceRouter") == "fe80::1"
    assert advertised.value(f"{SETTING}.1.Interface") == "IP.Interface.1"
    assert advertised.value(f"{SETTING}.1.X_VORAN_RouterLifetime") == "600"
    now = int(advertised.inside("date", "+%s"))
    assert now <= int(advertised.value(f"{SETTING}.1.RouteLifetime")) <= now + 600


def test_router_that_is_no_default_router_is_ignored(advertised):
    before = told(advertised)
    advertise(advertised, "--lifetime", 0)
    assert told(advertised) == before


def test_router_without_a_prefix_has_none_in_the_data_model(advertised):
    mark = advertised.mark()
    advertised.must("isp-router", 1, "--prefix", "none")
    taken(advertised, RA_INFO, mark)
    assert advertised.value(f"{SETTING}.1.Prefix") == ""


def test_second_router_with_another_prefix_is_not_taken(advertised):
    before = advertised.get(f"{SETTING}.")
    mark = advertised.mark()
    advertised.must("isp-router", 2, "--advertise", "on", "--prefix", next(networks))
    advertised.logged("Multiple Router exist, select one", since=mark)
    assert advertised.get(f"{SETTING}.") == before


def test_second_router_with_other_flags_is_taken(advertised):
    prefix = next(networks)
    mark = advertised.mark()
    advertised.must("isp-router", 2, "--advertise", "on", "--managed", "off", "--prefix", prefix)
    advertised.logged(f"rtInfoObj->Prefix = {prefix}", since=mark)
    assert len(advertised.get(f"{SETTING}.*.Interface")) == 1


def test_default_route_leads_to_the_router_of_the_data_model(advertised):
    advertise(advertised)
    eventually(lambda: "default via fe80::1 dev eth0.5" in advertised.inside("ip", "-6", "route"))
    eventually(lambda: advertised.run("ping", "-6", "-c1", "-W2", "-I", "2001:db8:f000::1", "2001:db8:ffff::53").returncode == 0)


def test_default_route_of_an_interface_that_may_not_carry_it_goes(advertised):
    advertised.inside("vcfgctl", "set", "Routing.Router.1.X_VORAN_IPv6DefaultInterfaces=")
    mark = advertised.mark()
    advertise(advertised)
    assert "ip -6 ro del default dev eth0.5 2>/dev/null" in [line["command"] for line in advertised.journal(mark)]
    eventually(lambda: "default" not in advertised.inside("ip", "-6", "route"))
    advertised.inside("vcfgctl", "set", "Routing.Router.1.X_VORAN_IPv6DefaultInterfaces=IP.Interface.1")


def test_device_that_takes_no_advertisements_is_left_alone(advertised):
    advertised.inside("sh", "-c", "echo 0 >/proc/sys/net/ipv6/conf/eth0.5/accept_ra")
    before = told(advertised)
    advertise(advertised)
    assert told(advertised) == before
    advertised.inside("sh", "-c", "echo 2 >/proc/sys/net/ipv6/conf/eth0.5/accept_ra")


def test_interface_without_ipv6_listens_to_nobody(advertised):
    advertised.inside("vcfgctl", "set", "IP.Interface.1.IPv6Enable=false")
    eventually(lambda: not advertised.processes("port-rad") and not advertised.processes("dhcpcd"))
    advertised.inside("vcfgctl", "set", "IP.Interface.1.IPv6Enable=true")
    eventually(lambda: advertised.processes("port-rad") and advertised.processes("dhcpcd"))
