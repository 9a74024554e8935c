"""What is enabled and disabled in the data model is there and is gone in the system."""
import pytest

from support import REFUSED, eventually

LAN, WAN = "IP.Interface.2", "IP.Interface.1"


def addresses(gateway, device, family="-4"):
    return gateway.inside("ip", family, "addr", "show", device)


def added(gateway, table, *values):
    path = gateway.inside("vcfgctl", "add", table, *values).strip()
    assert path.startswith(table)
    return path


def write(gateway, *values):
    """Returns when the write has done to the system what it does."""
    return gateway.run("vcfgctl", "set", "--wait", *values)


@pytest.fixture
def second(leased):
    """A second address of the LAN bridge."""
    path = added(leased, f"{LAN}.IPv4Address", "Enable=true", "IPAddress=192.168.7.1", "SubnetMask=255.255.255.0")
    yield path
    leased.inside("vcfgctl", "del", path)
    eventually(lambda: "192.168.7.1" not in addresses(leased, "br0"))


def test_added_address_is_on_the_device_and_enabled(leased, second):
    leased.wait(f"{second}.Status=Enabled")
    assert "inet 192.168.7.1/24" in addresses(leased, "br0")


def test_address_goes_when_it_is_disabled_and_comes_when_it_is_enabled(leased, second):
    assert write(leased, f"{second}.Enable=false").returncode == 0
    assert leased.value(f"{second}.Status") == "Disabled" and "192.168.7.1" not in addresses(leased, "br0")
    assert write(leased, f"{second}.Enable=true").returncode == 0
    assert leased.value(f"{second}.Status") == "Enabled" and "inet 192.168.7.1/24" in addresses(leased, "br0")


def test_address_that_is_switched_fast_ends_as_it_was_left(leased, second):
    leased.inside("sh", "-c", f"for n in $(seq 10); do vcfgctl set {second}.Enable=false; vcfgctl set {second}.Enable=true; done;"
                  f"vcfgctl set --wait {second}.Enable=false")
    assert leased.value(f"{second}.Status") == "Disabled" and "192.168.7.1" not in addresses(leased, "br0")


def test_address_that_is_changed_at_once_is_the_new_one(leased):
    leased.inside("sh", "-c", f"path=$(vcfgctl add {LAN}.IPv4Address Enable=true IPAddress=192.168.7.1 SubnetMask=255.255.255.0);"
                  "vcfgctl set $path.IPAddress=192.168.8.1; vcfgctl set --wait $path.Alias=moved")
    assert "inet 192.168.8.1/24" in addresses(leased, "br0") and "192.168.7.1" not in addresses(leased, "br0")
    leased.inside("vcfgctl", "del", f"{LAN}.IPv4Address.[moved]")
    eventually(lambda: "192.168.8.1" not in addresses(leased, "br0"))


def test_enabled_address_without_an_address_says_so(leased, second):
    done = write(leased, f"{second}.IPAddress=")
    assert done.returncode == REFUSED and f"{second} is enabled and has no address" in done.stderr
    assert leased.value(f"{second}.Status") == "Error_Misconfigured" and "192.168.7.1" not in addresses(leased, "br0")
    assert write(leased, f"{second}.IPAddress=192.168.7.1").returncode == 0
    assert leased.value(f"{second}.Status") == "Enabled" and "inet 192.168.7.1/24" in addresses(leased, "br0")


def test_address_on_an_interface_without_a_device_says_so(leased):
    interface = added(leased, "IP.Interface", "Enable=true")
    address = added(leased, f"{interface}.IPv4Address", "IPAddress=192.168.9.1", "SubnetMask=255.255.255.0")
    done = write(leased, f"{address}.Enable=true")
    assert done.returncode == REFUSED and "lies on an interface without a device" in done.stderr
    assert leased.value(f"{address}.Status") == "Error"
    leased.inside("vcfgctl", "del", interface)


def test_mask_with_holes_is_refused(leased, second):
    done = write(leased, f"{second}.SubnetMask=255.0.255.0")
    assert done.returncode == REFUSED and "without holes" in done.stderr
    assert "inet 192.168.7.1/24" in addresses(leased, "br0")


def test_leased_address_can_be_disabled_and_enabled_while_the_lease_holds(leased):
    address = f"{WAN}.IPv4Address.1"
    text = leased.value(f"{address}.IPAddress")
    there = leased.routes()
    assert write(leased, f"{address}.Enable=false").returncode == 0
    assert leased.value(f"{address}.Status") == "Disabled" and text not in addresses(leased, "eth0.5")
    assert write(leased, f"{address}.Enable=true").returncode == 0
    assert leased.value(f"{address}.Status") == "Enabled" and f"inet {text}/24" in addresses(leased, "eth0.5")
    eventually(lambda: leased.routes() == there)


def test_address_that_nobody_has_given_cannot_be_enabled(leased):
    path = added(leased, f"{WAN}.IPv4Address", "IPAddress=203.0.113.200", "SubnetMask=255.255.255.0")
    leased.inside("vcfgctl", "set", "--no-apply", f"{path}.AddressingType=DHCP")
    done = write(leased, f"{path}.Enable=true")
    assert done.returncode == REFUSED and "for the network to give" in done.stderr
    assert leased.value(f"{path}.Status") == "Disabled" and "203.0.113.200" not in addresses(leased, "eth0.5")
    leased.inside("vcfgctl", "del", path)


def test_ipv6_address_comes_and_goes(leased):
    path = added(leased, f"{LAN}.IPv6Address", "Enable=true", "IPAddress=2001:db8:77::1")
    leased.wait(f"{path}.Status=Enabled")
    assert "inet6 2001:db8:77::1/128" in addresses(leased, "br0", "-6")
    assert write(leased, f"{path}.Enable=false").returncode == 0
    assert leased.value(f"{path}.Status") == "Disabled" and "2001:db8:77::1" not in addresses(leased, "br0", "-6")
    assert write(leased, f"{path}.Enable=true").returncode == 0
    assert "inet6 2001:db8:77::1/128" in addresses(leased, "br0", "-6")
    leased.inside("vcfgctl", "del", path)
    eventually(lambda: "2001:db8:77::1" not in addresses(leased, "br0", "-6"))


def test_route_comes_and_goes(leased):
    path = added(leased, "Routing.Router.1.IPv4Forwarding", "Enable=true", "DestIPAddress=10.44.0.0", "DestSubnetMask=255.255.0.0",
                 "GatewayIPAddress=192.168.1.9", f"Interface={LAN}")
    leased.wait(f"{path}.Status=Enabled")
    assert "10.44.0.0/16 via 192.168.1.9 dev br0" in leased.routes()
    assert write(leased, f"{path}.Enable=false").returncode == 0
    assert leased.value(f"{path}.Status") == "Disabled" and "10.44.0.0/16" not in leased.routes()
    assert write(leased, f"{path}.Enable=true").returncode == 0
    assert "10.44.0.0/16 via 192.168.1.9 dev br0" in leased.routes()
    done = write(leased, f"{path}.GatewayIPAddress=", f"{path}.Interface=")
    assert done.returncode == REFUSED and "leads nowhere" in done.stderr
    assert leased.value(f"{path}.Status") == "Error_Misconfigured" and "10.44.0.0/16" not in leased.routes()
    leased.inside("vcfgctl", "del", path)


def test_route_that_the_kernel_refuses_is_in_error(leased):
    path = added(leased, "Routing.Router.1.IPv4Forwarding", "DestIPAddress=10.45.0.0", "DestSubnetMask=255.255.0.0",
                 "GatewayIPAddress=172.31.0.1", f"Interface={LAN}")
    done = write(leased, f"{path}.Enable=true")
    assert done.returncode == REFUSED and "Nexthop has invalid gateway" in done.stderr
    assert leased.value(f"{path}.Status") == "Error"
    leased.inside("vcfgctl", "del", path)


def test_dhcp_client_gives_its_lease_back_when_it_is_disabled(leased):
    text = leased.value(f"{WAN}.IPv4Address.1.IPAddress")
    assert write(leased, "DHCPv4.Client.1.Enable=false").returncode == 0
    assert not leased.processes("udhcpc")
    assert leased.value("DHCPv4.Client.1.Status") == "Disabled"
    leased.wait("DHCPv4.Client.1.DHCPStatus=Release")
    eventually(lambda: text not in addresses(leased, "eth0.5"))
    assert write(leased, "DHCPv4.Client.1.Enable=true").returncode == 0
    leased.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    assert leased.value("DHCPv4.Client.1.Status") == "Enabled"
    leased.wait(f"{WAN}.IPv4Address.1.Status=Enabled")
