"""How costs grow with the size of a table, and with the number of WAN links."""
import contextlib
import dataclasses
import math

from . import events
from .programs import Program, Series, interleaved
from .table import Limit, Row
from .world import World

TABLES = [1, 16, 64, 255]
OPERATIONS = {"get": 200, "walk": 5, "set": 10, "add": 5, "delete": 5}
LINKS = [1, 4, 16, 64]
LIMIT = Limit(1.1, unit="power")  # 1 is linear; what is above it has to be noise


@dataclasses.dataclass
class Growth:
    """A cost over sizes."""
    what: str
    sizes: list
    costs: list  # us

    @property
    def power(self):
        """Of the size, by which the cost grows at the large end."""
        return math.log(self.costs[-1] / self.costs[-2]) / math.log(self.sizes[-1] / self.sizes[-2])

    def row(self, kind):
        sizes = " / ".join(map(str, self.sizes))
        return Row(f"growth: {self.what}, {sizes} {kind}", "us", self.costs, value=self.power, limit=LIMIT)


def measure_tables(rounds):
    with World({}) as world:
        model = Program("model", world.environment)
        jobs = {(operation, size): (model, f"{operation} {size}", count)
                for size in TABLES for operation, count in OPERATIONS.items()}
        series = interleaved(max(1, rounds // 2), jobs)
        model.close()
    return [Growth(operation, TABLES, [series[operation, size].median for size in TABLES]) for operation in OPERATIONS]


def links_model(number):
    """So many Ethernet WAN ports, each with an IP interface and its clients."""
    objects = {"Routing.Router.1": {"Enable": True}, "RouterAdvertisement.InterfaceSetting.1": {"Enable": True}}
    for each in range(1, number + 1):
        objects |= {
            f"Ethernet.Interface.{each}": {"Enable": True, "Upstream": True, "Status": "Up", "Name": f"eth0.{each}"},
            f"Ethernet.Link.{each}": {"Enable": True, "Status": "Up", "LowerLayers": f"Ethernet.Interface.{each}"},
            f"InterfaceStack.{each}": {"HigherLayer": f"Ethernet.Link.{each}",
                                       "LowerLayer": f"Ethernet.Interface.{each}"},
            f"IP.Interface.{each}": {"Enable": True, "IPv4Enable": True, "IPv6Enable": True, "Status": "Up",
                                     "LowerLayers": f"Ethernet.Link.{each}", "X_VORAN_IfName": f"eth0.{each}",
                                     "X_VORAN_WAN": True},
            f"DHCPv4.Client.{each}": {"Enable": True, "Interface": f"IP.Interface.{each}",
                                      "X_VORAN_PidFile": f"/run/c{each}.pid"},
            f"DHCPv6.Client.{each}": {"Enable": True, "Interface": f"IP.Interface.{each}",
                                      "X_VORAN_PidFile": f"/run/d{each}.pid"}}
    return objects


def link_events(number):
    """Of the last link: the one that is found after a look at all others."""
    port = f"Ethernet.Interface.{number}.Status"
    return [
        events.Event("DHCPv4 lease", "DHCPC_BOUND",
                     f'{{"addressAssigned":true,"pidfile":"/run/c{number}.pid","ip":"192.0.2.#",'
                     '"subnet":"255.255.255.0"}'),
        events.Event("DHCPv6 report", "DHCP6C",
                     f'{{"addrAssigned":true,"pidfile":"/run/d{number}.pid","addr":"2001:db8::#"}}'),
        events.Event("router advertisement", "RA_INFO",
                     f'{{"ifName":"eth0.{number}","router_lifetime":1800,"m_flag":128,"router":"fe80::1",'
                     '"prefix":"2001:db8:#::","prefix_len":64}'),
        events.Event("link down", "WAN_LINK", before=(f"{port}=Down",)),
        events.Event("link up", "WAN_LINK", before=(f"{port}=Up",)),
        events.Event("Internet LED", "WAN_INTERNET_LED_UPDATE")]


def measure_links(rounds):
    found = {}
    with contextlib.ExitStack() as stack:
        worlds = {number: stack.enter_context(World(links_model(number), with_tarn=True)) for number in LINKS}
        for each in range(max(1, rounds // 2)):
            for number, world in worlds.items():
                for event in link_events(number):
                    series = found.setdefault((event.what, number), Series())
                    series.add([events.run(world, event, each)[1]])
    return [Growth(event.what, LINKS, [found[event.what, number].median for number in LINKS])
            for event in link_events(1)]


def rows(tables, links):
    return [one.row("records") for one in tables] + [one.row("WAN links") for one in links]
