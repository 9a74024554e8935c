"""The road of one DHCP lease: bound, renewed with other routes, released."""
from gwlib import isp
from gwlib.road import WAN

CLIENT = "DHCPv4.Client.1"
ADDRESS = "IP.Interface.1.IPv4Address.1"
ROUTES = "Routing.Router.1.IPv4Forwarding.*"
NEW_ADDRESS = "203.0.113.77"
NEW_ROUTES = ["10.77.0.0/16", isp.SECOND, "198.51.100.128/25", isp.ROUTER]


def kernel(road, *words):
    return road.run("ip", *words).stdout


def pings(road, address):
    return road.run("ping", "-c1", "-W1", address).returncode == 0


def signal_client(road, name):
    road.inside("sh", "-c", f'kill -{name} "$(cat /var/run/udhcpc-{WAN}.pid)"')


def boots(road):
    road.title("1. The gateway boots")

    def ready():
        road.check("start-up has completed", True)
        road.title("2. A lease is bound: real client, real server, two name servers, classless routes (option 121)")

    road.boot(ready=ready)


def is_bound(road):
    road.until("DHCPv4.Client.1 is bound, and the address is enabled", lambda: (
        road.value(f"{CLIENT}.DHCPStatus") == "Bound" and road.value(f"{ADDRESS}.Status") == "Enabled"))
    address = road.value(f"{CLIENT}.IPAddress")
    road.until(f"the kernel's {WAN} has the leased address {address}", lambda: (
        bool(address) and f"inet {address}/24" in kernel(road, "-4", "addr", "show", WAN)))
    road.check("both name servers are in the data model", road.value(f"{CLIENT}.DNSServers") == f"{isp.ROUTER},{isp.SECOND}")
    road.until("and in the resolver", lambda: isp.SECOND in road.inside("cat", "/etc/resolv.conf"))
    road.check("the routes are kept with the lease, as the option came",
               (road.value(f"{CLIENT}.ReqOption.1.Value") or "").startswith("7914"))
    road.until("a ping of the provider's router comes back", lambda: pings(road, isp.ROUTER))


def is_renewed(road):
    road.title(f"3. The client renews; the provider now grants {NEW_ADDRESS} with other routes")
    isp.renumber(road.state, NEW_ADDRESS, routes=NEW_ROUTES)
    signal_client(road, "USR1")
    road.until("the client is renewing with the new address", lambda: (
        road.value(f"{CLIENT}.DHCPStatus") == "Renewing" and road.value(f"{CLIENT}.IPAddress") == NEW_ADDRESS))
    for network, gateway in zip(NEW_ROUTES[::2], NEW_ROUTES[1::2]):
        destination = network.split("/")[0]
        road.until(f"{network} via {gateway} is a route of the data model", lambda: (
            destination in road.values(f"{ROUTES}.DestIPAddress").values()))
        road.until("and one of the kernel's", lambda: f"{network} via {gateway}" in kernel(road, "route"))
    road.check("the old routes are nowhere", "10.9.0.0" not in road.values(f"{ROUTES}.DestIPAddress").values()
               and "10.9.0.0" not in kernel(road, "route"))


def is_released(road):
    address = road.value(f"{CLIENT}.IPAddress")
    road.title("4. The client releases its lease")
    signal_client(road, "USR2")
    road.until("the client is released, and the address is disabled", lambda: (
        road.value(f"{CLIENT}.DHCPStatus") == "Release" and road.value(f"{ADDRESS}.Status") == "Disabled"))
    road.check("the option's value is empty", road.value(f"{CLIENT}.ReqOption.1.Value") == "")
    road.until(f"the kernel's {WAN} has no address any more",
               lambda: f"inet {address}" not in kernel(road, "-4", "addr", "show", WAN))
    road.check("a ping of the provider's router does not come back", not pings(road, isp.ROUTER))


STEPS = [boots, is_bound, is_renewed, is_released]
