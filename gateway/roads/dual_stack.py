#!/usr/bin/env python3
"""The road of a dual-stack connection: lease, router advertisement, IPv6 address and prefix; a release, and a renew that
is answered by the IPv6 side."""
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from gwlib import boot, inside, isp6, model  # noqa: E402
from gwlib.road import BRIDGE, WAN, Road, travel  # noqa: E402
from gwlib.state import REPOSITORY, State  # noqa: E402

CONFIGURATION = REPOSITORY / "gateway" / "defaults-dual-stack.json"
INTERFACE = "IP.Interface.1"
ROUTER = "Routing.RouteInformation.InterfaceSetting.1"
CLIENT = "DHCPv6.Client.1"
ADDRESS, PREFIX = f"{INTERFACE}.IPv6Address.1", f"{INTERFACE}.IPv6Prefix.1"
RELEASE, RENEW = 1004, 1005
ANSWERED = "type=0x80000067"


def value(state, path):
    return model.get(state, path).get(path)


def kernel(state, *words):
    return inside.run(state, "ip", *words).stdout


class Requester:
    """Somebody who asks for something about the WAN connection, as a web page would, and waits for the answer."""

    def __init__(self, state, command):
        words = ["vcfgctl", "send", "--to", "2", "--type", str(command), "--iid", "1", "--reply", "--timeout", "20000"]
        self.process = subprocess.Popen(inside.entering(state, "gateway", words), env=inside.environment(), text=True,
                                        stdout=subprocess.PIPE, stdin=subprocess.DEVNULL)

    def waits(self):
        return self.process.poll() is None

    def answer(self):
        return "" if self.waits() else self.process.stdout.read()


def boots(road, state):
    road.title("1. The gateway boots; its provider has a router that advertises itself, and a DHCPv6 server")

    def ready():
        road.watch(state)
        road.check("start-up has completed", True)
        road.title("2. A lease, a router advertisement, and with it an IPv6 address and a prefix")

    boot.up(state, config=CONFIGURATION, before_clients=ready, say=lambda text: None)


def is_connected(road, state):
    road.until("DHCPv4.Client.1 is bound", lambda: value(state, "DHCPv4.Client.1.DHCPStatus") == "Bound")
    road.until("the advertised router is in the data model", lambda: value(state, f"{ROUTER}.SourceRouter") == isp6.ROUTERS["1"])
    road.check("its M flag has the DHCPv6 client ask for an address",
               value(state, f"{ROUTER}.X_VORAN_ManagedFlag") == "128" and value(state, f"{CLIENT}.RequestAddresses") == "true")
    settings = isp6.settings(state)["dhcp"]
    road.until(f"the address {settings['address']} is enabled", lambda: (
        value(state, f"{ADDRESS}.IPAddress") == settings["address"] and value(state, f"{ADDRESS}.Status") == "Enabled"))
    road.until(f"the prefix {settings['delegate']} is delegated", lambda: value(state, f"{PREFIX}.Prefix") == settings["delegate"])
    road.check("the name server is in the data model", settings["dns"] in model.get(state, "DNS.Client.Server.*.DNSServer").values())
    road.until("and in the resolver", lambda: settings["dns"] in inside.must(state, "cat", "/etc/resolv.conf"))
    road.until(f"{BRIDGE} has an address of the prefix", lambda: "scope global" in kernel(state, "-6", "addr", "show", BRIDGE))
    road.until("the default route leads to the router", lambda: f"default via {isp6.ROUTERS['1']}" in kernel(state, "-6", "route"))
    own = settings["delegate"].replace("::/56", "::1")
    road.until("a ping from the LAN's address to the provider's name server comes back", lambda: inside.run(
        state, "ping", "-6", "-c1", "-W1", "-I", own, settings["dns"]).returncode == 0)


def is_released(road, state):
    road.title("3. Somebody asks for a release: answered at once, and both stacks go down")
    requester = Requester(state, RELEASE)
    road.until("the release is answered", lambda: ANSWERED in requester.answer())
    road.check("the interface's status is LowerLayerDown", value(state, f"{INTERFACE}.Status") == "LowerLayerDown")
    road.until("address and prefix are gone", lambda: not model.get(state, f"{INTERFACE}.IPv6Address.") and
               not model.get(state, f"{INTERFACE}.IPv6Prefix."))
    road.until(f"the kernel's {WAN} has no address any more", lambda: "scope global" not in kernel(state, "addr", "show", WAN))


def is_renewed(road, state):
    road.title("4. Somebody asks for a renew while the DHCPv6 server is silent")
    isp6.change_dhcp(state, serve=False)
    requester = Requester(state, RENEW)
    road.until("the lease is bound again", lambda: value(state, "DHCPv4.Client.1.DHCPStatus") == "Bound")
    road.until("the interface is up", lambda: value(state, f"{INTERFACE}.Status") == "Up")
    road.check("the requester still waits: with IPv6 on the interface a lease is not enough", requester.waits())
    isp6.change_dhcp(state, serve=True)
    road.title("5. The DHCPv6 server answers, and that answers the requester")
    road.until("the renew is answered", lambda: ANSWERED in requester.answer())
    road.check("the address is enabled at that moment", value(state, f"{ADDRESS}.Status") == "Enabled")


def main():
    return travel(Road("The road of a dual-stack connection"), State(REPOSITORY / "build" / "run"),
                  boots, is_connected, is_released, is_renewed)


if __name__ == "__main__":
    sys.exit(main())
