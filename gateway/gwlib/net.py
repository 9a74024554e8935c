"""The cables: the gateway's WAN ports to the ISP, the ports of its LAN to a LAN."""
import json

from . import inside, model, ports
from .errors import GatewayError
from .waiting import until

ACCESS = "wan0"  # the provider's side of all its lines
LINES = ("ptm0-far", "atm0-far")  # the line simulator's ends at the exchange
NEGOTIATION_SECONDS = 0.3
LINK_SECONDS = 60


def lay_cables(state, unplugged=()):
    """All ports get a cable; of those that are plugged at boot, the `unplugged` are not."""
    mine = ports.of(state)
    for name in unplugged:
        _port(mine, name)
    gateway = state.room("gateway")
    for room in ("isp", "lan"):
        _make_pairs(state, room, [port for port in mine if port.room == room], gateway)
    wan, lan = ([port for port in mine if port.upstream is upstream] for upstream in (True, False))
    inside.must(state, "ip", "-batch", "-", room="isp", text="\n".join((
        f"link add {ACCESS} type bridge", *(f"link set {port.far} master {ACCESS}" for port in wan))))
    # A provider's router answers one traceroute after the other.
    inside.must(state, "sh", "-c", "echo 0 > /proc/sys/net/ipv4/icmp_ratelimit", room="isp")
    for port in ports.plugged(mine):
        _plug(state, port, port.name not in unplugged)
    inside.must(state, "ip", "-batch", "-", text="\n".join(f"link set {port.name} up" for port in mine))
    inside.must(state, "sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward; mkdir -p /run/hw; cd /run/hw;"
                f"echo {_names(wan)} > eth_wan_ports; echo {_names(lan)} > eth_lan_ports;"
                f"echo {NEGOTIATION_SECONDS} > eth_link_seconds")


def _names(some):
    return " ".join(port.name for port in some)


def port(state, name):
    return _port(ports.of(state), name)


def _port(mine, name):
    for one in mine:
        if one.name == name:
            return one
    raise GatewayError(f"{name} has no cable; {', '.join(port.name for port in mine) or 'no port'} "
                       f"{'have' if len(mine) > 1 else 'has'}")


def _make_pairs(state, room, some, gateway):
    """Pairs of ends: one in the room, one in the gateway. The gateway's ends come under names that no device of the room has."""
    inside.must(state, "ip", "-batch", "-", room=room, text="\n".join(
        f"link add {port.far} type veth peer name near{port.instance} address {port.hardware}" for port in some))
    # The process number is the host's, so the ends are handed over from outside the room's PID namespace.
    inside.hand_over(state, room, [f"near{port.instance}" for port in some], gateway)
    inside.must(state, "ip", "-batch", "-", text="\n".join(
        f"link set near{port.instance} name {port.name}" for port in some))


def plug(state, name, plugged):
    _plug(state, port(state, name), plugged)


def _plug(state, port, plugged):
    """Plugs or pulls the cable of a port: its far end goes, so that the kernel itself reports the loss."""
    inside.must(state, "ip", "link", "set", port.far, "up" if plugged else "down", room=port.room)


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
    mine = [port.name for port in ports.of(state)]
    told = {path: "Up" if name in linked else "Down" for path, name in names.items() if name in mine}
    dead = [path for path, status in told.items() if status == "Down"]
    for path in dead:
        higher = [above for above, lower in below.items() if lower == path]
        told.update({above: "LowerLayerDown" for above in higher})
        dead += higher
    words = [f"{path}.Status={status}" for path, status in told.items()] + _addresses(state, names)
    if words:
        inside.must(state, "vcfgctl", "set", "--no-apply", *words)


def _addresses(state, ports_):
    """The hardware addresses of ports and of the links on them. They stay as they are while a gateway runs, so nobody has
    to look at them with every link event."""
    addresses = {link["ifname"]: link["address"] for link in json.loads(inside.must(state, "ip", "-json", "link"))}
    links = {path.removesuffix(".Name"): name for path, name in model.get(state, "Ethernet.Link.*.Name").items()}
    return [f"{path}.MACAddress={addresses[name]}" for path, name in {**ports_, **links}.items() if name in addresses]


def await_links(state, unplugged=()):
    """Until the WAN port has negotiated its link; switching it on is part of start-up."""
    wan = ports.main(ports.of(state))
    if wan is None or wan.name in unplugged:
        return
    flags = f"/sys/class/net/{wan.name}/operstate"
    if not until(lambda: inside.run(state, "cat", flags).stdout == "up\n", LINK_SECONDS):
        raise GatewayError(f"{wan.name} finds no link")
