"""The road of a dual-stack connection: lease, router advertisement, IPv6 address and prefix; a release, and a renew that
is answered by the IPv6 side."""
import subprocess

from gwlib import inside, isp6
from gwlib.road import BRIDGE, WAN
from gwlib.state import REPOSITORY

CONFIGURATION = REPOSITORY / "gateway" / "defaults-dual-stack.json"
INTERFACE = "IP.Interface.1"
ROUTER = "Routing.RouteInformation.InterfaceSetting.1"
CLIENT = "DHCPv6.Client.1"
ADDRESS, PREFIX = f"{INTERFACE}.IPv6Address.1", f"{INTERFACE}.IPv6Prefix.1"
RELEASE, RENEW = 1004, 1005
ANSWERED = "type=0x80000067"


def kernel(road, *words):
    return road.run("ip", *words).stdout


class Requester:
    """Somebody who asks for something about the WAN connection, as a web page would, and waits for the answer."""

    def __init__(self, road, command):
        words = ["vcfgctl", "send", "--to", "2", "--type", str(command), "--iid", "1", "--reply", "--timeout", "20000"]
        self.process = subprocess.Popen(inside.entering(road.state, "gateway", words), env=inside.environment(), text=True,
                                        stdout=subprocess.PIPE, stdin=subprocess.DEVNULL)

    def waits(self):
        return self.process.poll() is None

    def answer(self):
        return "" if self.waits() else self.process.stdout.read()


def boots(road):
    road.title("1. The gateway boots; its provider has a router that advertises itself, and a DHCPv6 server")

    def ready():
        road.check("start-up has completed", True)
        road.title("2. A lease, a router advertisement, and with it an IPv6 address and a prefix")

    road.boot(config=CONFIGURATION, ready=ready)


def is_connected(road):
    road.until("DHCPv4.Client.1 is bound", lambda: road.value("DHCPv4.Client.1.DHCPStatus") == "Bound")
    road.until("the advertised router is in the data model", lambda: road.value(f"{ROUTER}.SourceRouter") == isp6.ROUTERS["1"])
    road.check("its M flag has the DHCPv6 client ask for an address",
               road.value(f"{ROUTER}.X_VORAN_ManagedFlag") == "128" and road.value(f"{CLIENT}.RequestAddresses") == "true")
    settings = isp6.settings(road.state)["dhcp"]
    road.until(f"the address {settings['address']} is enabled", lambda: (
        road.value(f"{ADDRESS}.IPAddress") == settings["address"] and road.value(f"{ADDRESS}.Status") == "Enabled"))
    road.until(f"the prefix {settings['delegate']} is delegated", lambda: road.value(f"{PREFIX}.Prefix") == settings["delegate"])
    road.check("the name server is in the data model", settings["dns"] in road.values("DNS.Client.Server.*.DNSServer").values())
    road.until("and in the resolver", lambda: settings["dns"] in road.inside("cat", "/etc/resolv.conf"))
    road.until(f"{BRIDGE} has an address of the prefix", lambda: "scope global" in kernel(road, "-6", "addr", "show", BRIDGE))
    road.until("the default route leads to the router", lambda: f"default via {isp6.ROUTERS['1']}" in kernel(road, "-6", "route"))
    own = settings["delegate"].replace("::/56", "::1")
    road.until("a ping from the LAN's address to the provider's name server comes back", lambda: road.run(
        "ping", "-6", "-c1", "-W1", "-I", own, settings["dns"]).returncode == 0)


def is_released(road):
    road.title("3. Somebody asks for a release: answered at once, and both stacks go down")
    requester = Requester(road, RELEASE)
    road.until("the release is answered", lambda: ANSWERED in requester.answer())
    road.check("the interface's status is LowerLayerDown", road.value(f"{INTERFACE}.Status") == "LowerLayerDown")
    road.until("address and prefix are gone", lambda: not road.values(f"{INTERFACE}.IPv6Address.") and
               not road.values(f"{INTERFACE}.IPv6Prefix."))
    road.until(f"the kernel's {WAN} has no address any more", lambda: "scope global" not in kernel(road, "addr", "show", WAN))


def is_renewed(road):
    road.title("4. Somebody asks for a renew while the DHCPv6 server is silent")
    isp6.change_dhcp(road.state, serve=False)
    requester = Requester(road, RENEW)
    road.until("the lease is bound again", lambda: road.value("DHCPv4.Client.1.DHCPStatus") == "Bound")
    road.until("the interface is up", lambda: road.value(f"{INTERFACE}.Status") == "Up")
    road.check("the requester still waits: with IPv6 on the interface a lease is not enough", requester.waits())
    isp6.change_dhcp(road.state, serve=True)
    road.title("5. The DHCPv6 server answers, and that answers the requester")
    road.until("the renew is answered", lambda: ANSWERED in requester.answer())
    road.check("the address is enabled at that moment", road.value(f"{ADDRESS}.Status") == "Enabled")


STEPS = [boots, is_connected, is_released, is_renewed]
