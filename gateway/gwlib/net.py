"""The cables: the gateway's WAN port to the ISP, its LAN bridge to a LAN."""
from . import inside
from .errors import GatewayError

WAN = "eth0.5"
LAN = "eth0.1"
BRIDGE = "br0"
HARDWARE = {WAN: "02:00:00:00:00:05", LAN: "02:00:00:00:00:01"}  # the same at every boot
FAR_ENDS = {WAN: ("isp", "wan0"), LAN: ("lan", "lan0")}


def lay_cables(state):
    gateway = state.room("gateway")
    for near, (room, far) in FAR_ENDS.items():
        _cable(state, room, far, gateway, near)
    inside.must(state, "ip", "-batch", "-", text="\n".join((
        f"link add {BRIDGE} type bridge",
        f"link set {LAN} master {BRIDGE} up",
        f"link set {BRIDGE} up",
        f"link set {WAN} up",
    )))
    inside.must(state, "sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward")


def _cable(state, room, far, gateway, near):
    """One pair of ends: `far` in the room, `near` in the gateway."""
    inside.must(state, "ip", "link", "add", far, "type", "veth", "peer", "name", near,
                "address", HARDWARE[near], room=room)
    # The process number is the host's, so the end is handed over from outside the room's PID namespace.
    inside.hand_over(state, room, near, gateway)
    inside.must(state, "ip", "link", "set", far, "up", room=room)


def plug(state, near, plugged):
    """Plugs or pulls the cable of a port: its far end goes, so that the kernel itself reports the loss."""
    if near not in FAR_ENDS:
        raise GatewayError(f"{near} has no cable; {' and '.join(FAR_ENDS)} have")
    room, far = FAR_ENDS[near]
    inside.must(state, "ip", "link", "set", far, "up" if plugged else "down", room=room)
