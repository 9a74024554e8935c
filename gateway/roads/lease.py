#!/usr/bin/env python3
"""The road of one DHCP lease: bound, renewed with other routes, released. With --stay the gateway is left running."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from gwlib import boot, inside, isp, model  # noqa: E402
from gwlib.errors import GatewayError  # noqa: E402
from gwlib.road import WAN, Road  # noqa: E402
from gwlib.state import REPOSITORY, State  # noqa: E402

CLIENT = "DHCPv4.Client.1"
ADDRESS = "IP.Interface.1.IPv4Address.1"
ROUTES = "Routing.Router.1.IPv4Forwarding.*"
NEW_ADDRESS = "203.0.113.77"
NEW_ROUTES = ["10.77.0.0/16", isp.SECOND, "198.51.100.128/25", isp.ROUTER]


def value(state, path):
    return model.get(state, path).get(path)


def kernel(state, *words):
    return inside.run(state, "ip", *words).stdout


def pings(state, address):
    return inside.run(state, "ping", "-c1", "-W1", address).returncode == 0


def signal_client(state, name):
    inside.must(state, "sh", "-c", f'kill -{name} "$(cat /var/run/udhcpc-{WAN}.pid)"')


def boots(road, state):
    road.title("1. The gateway boots")

    def ready():
        road.watch(state)
        road.check("start-up has completed", True)
        road.title("2. A lease is bound: real client, real server, two name servers, classless routes (option 121)")

    boot.up(state, fresh=True, before_clients=ready, say=lambda text: None)


def is_bound(road, state):
    road.until("DHCPv4.Client.1 is bound, and the address is enabled", lambda: (
        value(state, f"{CLIENT}.DHCPStatus") == "Bound" and value(state, f"{ADDRESS}.Status") == "Enabled"))
    address = value(state, f"{CLIENT}.IPAddress")
    road.check(f"the kernel's {WAN} has the leased address {address}",
               bool(address) and f"inet {address}/24" in kernel(state, "-4", "addr", "show", WAN))
    road.check("both name servers are in the data model", value(state, f"{CLIENT}.DNSServers") == f"{isp.ROUTER},{isp.SECOND}")
    road.check("and in the resolver", isp.SECOND in inside.must(state, "cat", "/etc/resolv.conf"))
    road.check("the routes are kept with the lease, as the option came",
               (value(state, f"{CLIENT}.ReqOption.1.Value") or "").startswith("7914"))
    road.until("a ping of the provider's router comes back", lambda: pings(state, isp.ROUTER))
    return address


def is_renewed(road, state):
    road.title(f"3. The client renews; the provider now grants {NEW_ADDRESS} with other routes")
    isp.renumber(state, NEW_ADDRESS, routes=NEW_ROUTES)
    signal_client(state, "USR1")
    road.until("the client is renewing with the new address", lambda: (
        value(state, f"{CLIENT}.DHCPStatus") == "Renewing" and value(state, f"{CLIENT}.IPAddress") == NEW_ADDRESS))
    for network, gateway in zip(NEW_ROUTES[::2], NEW_ROUTES[1::2]):
        destination = network.split("/")[0]
        road.until(f"{network} via {gateway} is a route of the data model", lambda: (
            destination in model.get(state, f"{ROUTES}.DestIPAddress").values()))
        road.until("and one of the kernel's", lambda: f"{network} via {gateway}" in kernel(state, "route"))
    road.check("the old routes are nowhere", "10.9.0.0" not in model.get(state, f"{ROUTES}.DestIPAddress").values()
               and "10.9.0.0" not in kernel(state, "route"))


def is_released(road, state, address):
    road.title("4. The client releases its lease")
    signal_client(state, "USR2")
    road.until("the client is released, and the address is disabled", lambda: (
        value(state, f"{CLIENT}.DHCPStatus") == "Release" and value(state, f"{ADDRESS}.Status") == "Disabled"))
    road.check("the option's value is empty", value(state, f"{CLIENT}.ReqOption.1.Value") == "")
    road.until(f"the kernel's {WAN} has no address any more",
               lambda: f"inet {address}" not in kernel(state, "-4", "addr", "show", WAN))
    road.check("a ping of the provider's router does not come back", not pings(state, isp.ROUTER))


def farewell(state):
    gw = f"gateway/gw --state {state.directory}"
    print("\nThe gateway stays up. Talk to it:\n"
          f"  {gw} status\n"
          f"  {gw} exec -- vcfgctl get DHCPv4.Client.1.\n"
          f"  {gw} service restart dhcpc\n"
          f"  {gw} log --follow\n"
          f"  {gw} journal\n"
          f"Stop it:\n  {gw} down")


def main(words):
    state = State(REPOSITORY / "build" / "run")
    road = Road("The road of one lease")
    boot.down(state)
    status = 1
    try:
        boots(road, state)
        address = is_bound(road, state)
        is_renewed(road, state)
        is_released(road, state, address)
        status = road.summary()
    except GatewayError as problem:
        print(f"the road ends here: {problem}", file=sys.stderr)
        status = problem.code
    finally:
        if "--stay" in words and state.world() is not None:
            farewell(state)
        else:
            boot.down(state)
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
