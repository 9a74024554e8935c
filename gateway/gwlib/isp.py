"""The internet provider: another machine with a real DHCP and DNS server, which can be told to change its mind."""
import ipaddress
import json
import re

from . import inside
from .errors import GatewayError
from .waiting import until

ROUTER = "203.0.113.1"
SECOND = "203.0.113.2"
NETWORK = ipaddress.ip_network("203.0.113.0/24")
MODES = ("answer", "refuse", "silent")
TIME_MODES = ("answer", "silent")
DEFAULTS = {
    "mode": "answer",
    "router": ROUTER,
    "dns": [ROUTER, SECOND],
    "routes": ["10.9.0.0/16", ROUTER, "198.51.100.0/24", SECOND],
    "lease": 120,
    "options": [],
    "ntp": "answer",
}


def settings(state):
    try:
        return {**DEFAULTS, **json.loads((state.isp / "settings.json").read_text())}
    except FileNotFoundError:
        return dict(DEFAULTS)


def start(state):
    inside.must(state, "ip", "-batch", "-", room="isp", text="\n".join(
        (f"addr add {ROUTER}/24 dev wan0", f"addr add {SECOND}/24 dev wan0", "link set wan0 up")))
    (state.isp / "settings.json").unlink(missing_ok=True)
    change(state)
    tell_time(state, "answer")


def change(state, **changes):
    """Takes over the named settings, and serves by them from now on."""
    state.room("isp")
    new = {**settings(state), **changes}
    (state.isp / "settings.json").write_text(json.dumps(new))
    (state.isp / "options").write_text("".join(f"{line}\n" for line in _option_lines(new)))
    (state.isp / "dhcp.conf").write_text("".join(f"{line}\n" for line in _mode_lines(new)))
    if new["mode"] == "refuse":
        (state.isp / "leases").unlink(missing_ok=True)
    inside.must(state, "/usr/lib/isp/serve", room="isp")
    _await_service(state)


def tell_time(state, mode):
    """Whether the provider's NTP server answers from now on."""
    (state.isp / "settings.json").write_text(json.dumps({**settings(state), "ntp": mode}))
    inside.must(state, "/usr/lib/isp/serve-time", mode, room="isp")


def renumber(state, address, **changes):
    """The next renewal is granted with another address (and whatever else changes); the server goes on from there."""
    if ipaddress.ip_address(address) not in NETWORK:
        raise GatewayError(f"{address} is not in the provider's network {NETWORK}")
    change(state, **changes)
    inside.must(state, "/usr/lib/isp/serve", "renumber", address, room="isp")
    if not until(lambda: (state.isp / "renumber.ready").exists(), 10):
        raise GatewayError("the provider does not get ready to renumber; see isp/renumber.txt")


def _option_lines(now):
    if now["router"]:
        yield f"option:router,{now['router']}"
    else:
        yield "option:router"
    if now["dns"]:
        yield "option:dns-server," + ",".join(now["dns"])
    if now["routes"]:
        routes = [*(["0.0.0.0/0", now["router"]] if now["router"] else []), *now["routes"]]
        yield "option:classless-static-route," + ",".join(routes)
    yield from now["options"]


def _mode_lines(now):
    if now["mode"] == "answer":
        yield f"dhcp-range=203.0.113.100,203.0.113.199,255.255.255.0,{now['lease']}"
    if now["mode"] == "refuse":  # knows nobody: offers nothing, and refuses whoever claims a lease
        yield f"dhcp-range=203.0.113.0,static,255.255.255.0,{now['lease']}"


def parse_routes(text):
    """"10.9.0.0/16,203.0.113.1,..." (or "none") as a list; an odd count or a bad address is refused."""
    if text in ("", "none"):
        return []
    words = re.split(r"[,\s]+", text.strip())
    try:
        for index, word in enumerate(words):
            ipaddress.ip_network(word) if index % 2 == 0 else ipaddress.ip_address(word)
    except ValueError as problem:
        raise GatewayError(f"{text!r} are no routes: {problem}") from None
    if len(words) % 2:
        raise GatewayError(f"{text!r} are no routes: NETWORK/WIDTH,GATEWAY[,...] are")
    return words


def _await_service(state):
    ready = until(lambda: inside.run(state, "sh", "-c", "ss -Hlun | grep -q ':53 '", room="isp").returncode == 0, 10)
    if not ready:
        raise GatewayError(f"the provider's server does not run; see {state.isp}")
