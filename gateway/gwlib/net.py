"""The cables: the gateway's WAN ports to the ISP, the ports of its LAN bridge to a LAN."""
import json
from typing import NamedTuple

from . import inside, model
from .errors import GatewayError
from .waiting import until

WAN = "eth0.5"
LAN = "eth0.1"
SFP = "eth0.6"
BRIDGE = "br0"


class Cable(NamedTuple):
    room: str  # where its far end is
    far: str
    hardware: str  # the port's address, the same at every boot


CABLES = {
    WAN: Cable("isp", "eth5", "02:00:00:00:00:05"),
    SFP: Cable("isp", "sfp6", "02:00:00:00:00:06"),
    LAN: Cable("lan", "lan0", "02:00:00:00:00:01"),
    "eth0.2": Cable("lan", "lan1", "02:00:00:00:00:02"),
    "eth0.3": Cable("lan", "lan2", "02:00:00:00:00:03"),
    "eth0.4": Cable("lan", "lan3", "02:00:00:00:00:04"),
}
ACCESS = "wan0"  # the provider's side of all its lines
LINES = ("ptm0-far", "atm0-far")  # the line simulator's ends at the exchange
PLUGGED = (WAN, LAN)  # at boot
NEGOTIATION_SECONDS = 0.3


def ports(state):
    """The Ethernet ports of this gateway: the SFP cage only where the data model knows of it."""
    objects = json.loads(state.model.read_text(encoding="utf-8")).get("objects", {})
    known = {record.get("Name") for path, record in objects.items() if path.startswith("Ethernet.Interface.")}
    return [name for name in CABLES if name != SFP or name in known]


def lay_cables(state, unplugged=()):
    """All ports get a cable; of those that are plugged at boot, the `unplugged` are not."""
    unknown = set(unplugged) - set(CABLES)
    if unknown:
        raise GatewayError(f"{unknown.pop()} has no cable; {', '.join(CABLES)} have")
    gateway = state.room("gateway")
    mine = ports(state)
    for room in ("isp", "lan"):
        _make_pairs(state, room, [name for name in mine if CABLES[name].room == room], gateway)
    inside.must(state, "ip", "-batch", "-", room="isp", text="\n".join((
        f"link add {ACCESS} type bridge",
        *(f"link set {CABLES[name].far} master {ACCESS}" for name in mine if CABLES[name].room == "isp"))))
    for name in set(PLUGGED) - set(unplugged):
        plug(state, name, True)
    lan = [name for name in mine if CABLES[name].room == "lan"]
    inside.must(state, "ip", "-batch", "-", text="\n".join((
        f"link add {BRIDGE} type bridge",
        *(f"link set {name} master {BRIDGE} up" for name in lan),
        f"link set {BRIDGE} up",
        *(f"link set {name} up" for name in mine if name not in lan),
    )))
    inside.must(state, "sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward; mkdir -p /run/hw;"
                f"echo {WAN} {SFP if SFP in mine else ''} > /run/hw/eth_wan_ports;"
                f"echo {NEGOTIATION_SECONDS} > /run/hw/eth_link_seconds")


def _make_pairs(state, room, names, gateway):
    """Pairs of ends: one in the room, one in the gateway."""
    inside.must(state, "ip", "-batch", "-", room=room, text="\n".join(
        f"link add {CABLES[name].far} type veth peer name {name} address {CABLES[name].hardware}" for name in names))
    # The process number is the host's, so the ends are handed over from outside the room's PID namespace.
    inside.hand_over(state, room, names, gateway)


def plug(state, near, plugged):
    """Plugs or pulls the cable of a port: its far end goes, so that the kernel itself reports the loss."""
    if near not in ports(state):
        raise GatewayError(f"{near} has no cable; {', '.join(ports(state))} have")
    cable = CABLES[near]
    inside.must(state, "ip", "link", "set", cable.far, "up" if plugged else "down", room=cable.room)


def connect_lines(state):
    """Takes the DSL line's far ends to the provider's exchange, where the machine lets the simulator have devices."""
    there = inside.run(state, "ip", "-o", "link").stdout
    if not all(f" {line}: " in there for line in LINES):
        return
    inside.hand_over(state, "gateway", LINES, state.room("isp"))
    inside.must(state, "ip", "-batch", "-", room="isp", text="\n".join(
        f"link set {line} master {ACCESS} up" for line in LINES))


def report_ports(state):
    """What the ports' drivers do as they start: they tell the data model which ports have a link, and so what lies on
    the others has none."""
    linked = {link["ifname"] for link in json.loads(inside.must(state, "ip", "-json", "link"))
              if "LOWER_UP" in link["flags"]}
    found = model.get(state, "Ethernet.Interface.*.Name", "Ethernet.Link.*.LowerLayers", "IP.Interface.*.LowerLayers")
    names = {path.removesuffix(".Name"): name for path, name in found.items() if path.endswith(".Name")}
    below = {path.removesuffix(".LowerLayers"): lower for path, lower in found.items() if path.endswith(".LowerLayers")}
    told = {path: "Up" if name in linked else "Down" for path, name in names.items() if name in CABLES}
    dead = [path for path, status in told.items() if status == "Down"]
    for path in dead:
        higher = [above for above, lower in below.items() if lower == path]
        told.update({above: "LowerLayerDown" for above in higher})
        dead += higher
    if told:
        inside.must(state, "vcfgctl", "set", "--no-apply", *(f"{path}.Status={status}" for path, status in told.items()))


def await_links(state, unplugged=()):
    """Until the WAN port has negotiated its link; switching it on is part of start-up."""
    if WAN in unplugged:
        return
    flags = f"/sys/class/net/{WAN}/operstate"
    if not until(lambda: inside.run(state, "cat", flags).stdout == "up\n", 10):
        raise GatewayError(f"{WAN} finds no link")
