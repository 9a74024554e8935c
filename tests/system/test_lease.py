"""A DHCP lease from a real server to a real client, through the daemon into data model and kernel."""
from support import LEASE_RENEWED, eventually

CLIENT = "DHCPv4.Client.1"
ADDRESS = "IP.Interface.1.IPv4Address.1"
ROUTER = "203.0.113.1"


def destinations(gateway):
    return set(gateway.get("Routing.Router.1.IPv4Forwarding.*.DestIPAddress").values())


def test_bound_lease_is_in_the_data_model(leased):
    address = leased.value(f"{CLIENT}.IPAddress")
    assert address.startswith("203.0.113.")
    assert leased.value(f"{CLIENT}.SubnetMask") == "255.255.255.0"
    assert leased.value(f"{CLIENT}.IPRouters") == ROUTER
    assert leased.value(f"{CLIENT}.DNSServers") == "203.0.113.1,203.0.113.2"
    assert leased.value(f"{ADDRESS}.IPAddress") == address
    assert leased.value(f"{ADDRESS}.AddressingType") == "DHCP"


def test_bound_lease_keeps_option_121_as_it_came(leased):
    routes = "00cb007101" + "100a09cb007101" + "18c63364cb007102"
    assert leased.value(f"{CLIENT}.ReqOption.1.Value") == f"79{len(routes) // 2:02x}{routes}"


def test_leased_address_is_on_the_interface(leased):
    assert f"inet {leased.value(f'{CLIENT}.IPAddress')}/24" in leased.addresses()


def test_lease_brings_default_route_and_name_servers(leased):
    eventually(lambda: f"default via {ROUTER} dev eth0.5" in leased.routes())
    assert leased.inside("cat", "/etc/resolv.conf") == "nameserver 203.0.113.1\nnameserver 203.0.113.2\n"


def test_ping_of_the_providers_router_comes_back(leased):
    eventually(lambda: leased.run("ping", "-c1", "-W2", ROUTER).returncode == 0)


def test_names_resolve_through_the_leased_servers(leased):
    assert "198.51.100.10" in leased.inside("getent", "ahostsv4", "www.isp.example")


def test_renewal_with_the_same_address_writes_nothing(leased):
    before = leased.model()
    leased.must("isp", "--routes", "10.44.0.0/16,203.0.113.1")
    mark = leased.mark()
    leased.signal_client("USR1")
    leased.logged("DHCPC Option", since=mark)
    leased.settle()
    assert leased.model() == before


def test_renewal_with_another_address_takes_over_its_routes(leased):
    leased.must("isp", "--renumber", "203.0.113.60", "--routes", "10.50.0.0/16,203.0.113.2,10.51.1.0/24,203.0.113.1")
    leased.signal_client("USR1")
    leased.wait(f"{CLIENT}.IPAddress=203.0.113.60")
    assert leased.value(f"{CLIENT}.DHCPStatus") == "Renewing"
    assert destinations(leased) == {"10.50.0.0", "10.51.1.0"}
    eventually(lambda: "10.50.0.0/16 via 203.0.113.2" in leased.routes())
    eventually(lambda: "10.51.1.0/24 via 203.0.113.1" in leased.routes())


def test_next_renewal_replaces_the_routes(leased):
    leased.lease(LEASE_RENEWED, ip="203.0.113.61", subnet="255.255.255.0", opt121="7907100a34cb007101")
    leased.settle()
    assert destinations(leased) == {"10.52.0.0"}
    eventually(lambda: "10.52.0.0/16" in leased.routes() and "10.50.0.0/16" not in leased.routes())


def test_renewal_without_option_121_removes_the_routes(leased):
    leased.lease(LEASE_RENEWED, ip="203.0.113.62", subnet="255.255.255.0")
    leased.settle()
    assert destinations(leased) == set()
    eventually(lambda: "10.52.0.0/16" not in leased.routes())


def test_release_takes_the_address_away(leased):
    leased.signal_client("USR2")
    leased.wait(f"{CLIENT}.DHCPStatus=Release")
    leased.wait(f"{ADDRESS}.Status=Disabled")
    assert leased.value(f"{CLIENT}.ReqOption.1.Value") == ""
    eventually(lambda: "inet " not in leased.addresses())
    eventually(lambda: "default" not in leased.routes())
    assert leased.inside("cat", "/etc/resolv.conf") == ""


def test_client_that_starts_again_gets_a_lease_again(leased):
    leased.must("isp", "--routes", "none")
    leased.must("service", "restart", "dhcpc")
    leased.wait(f"{CLIENT}.DHCPStatus=Bound")
    leased.wait(f"{ADDRESS}.Status=Enabled")
    eventually(lambda: "inet 203.0.113." in leased.addresses())


def test_server_that_refuses_ends_the_lease(leased):
    leased.must("isp", "--mode", "refuse")
    leased.signal_client("USR1")
    leased.wait(f"{CLIENT}.DHCPStatus=Release")


def test_silent_server_gives_no_lease_until_it_answers(leased):
    leased.must("isp", "--mode", "silent")
    mark = leased.mark()
    leased.must("service", "restart", "dhcpc")
    leased.logged('"addressAssigned":false', since=mark)
    assert leased.value(f"{CLIENT}.DHCPStatus") == "Release"
    leased.must("isp", "--mode", "answer")
    leased.wait(f"{CLIENT}.DHCPStatus=Bound")
