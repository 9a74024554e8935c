"""The internet provider: another machine with a real DHCP and DNS server, which can be told to change its mind."""
import ipaddress
import json

from . import inside
from .errors import GatewayError
from .values import address4
from .waiting import until

ROUTER = "203.0.113.1"
SECOND = "203.0.113.2"
NETWORK = ipaddress.ip_network("203.0.113.0/24")
MODES = ("answer", "refuse", "silent")
TIME_MODES = ("answer", "silent")
READY_SECONDS = 60
SHORTEST = 120  # seconds of a lease: the server grants none below
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
    """Takes over the named settings, and serves by them from now on. What the server would not take changes nothing."""
    state.room("isp")
    before = settings(state)
    new = {**before, **changes}
    _check(state, new)
    _write(state, new)
    if new["mode"] == "refuse":
        (state.isp / "leases").unlink(missing_ok=True)
    try:
        _serve(state)
    except GatewayError:
        _write(state, before)
        _serve(state)
        raise


def _check(state, new):
    """Has the server read what is to be, before anything is written."""
    text = _lines((*_mode_lines(new), *(f"dhcp-option={line}" for line in _option_lines(new))))
    done = inside.run(state, "dnsmasq", "--test", "--conf-file=-", room="isp", text=text)
    if done.returncode != 0:
        said = done.stderr.strip().removeprefix("dnsmasq: ").split(" at line")[0]
        raise GatewayError(f"the provider's server does not take this: {said}; options are lines as option:domain-name,isp.example")


def _write(state, new):
    (state.isp / "settings.json").write_text(json.dumps(new))
    (state.isp / "options").write_text(_lines(_option_lines(new)))
    (state.isp / "dhcp.conf").write_text(_lines(_mode_lines(new)))


def _lines(lines):
    return "".join(f"{line}\n" for line in lines)


def _serve(state):
    inside.must(state, "/usr/lib/isp/serve", room="isp")
    _await_service(state)


def tell_time(state, mode):
    """Whether the provider's NTP server answers from now on."""
    inside.must(state, "/usr/lib/isp/serve-time", mode, room="isp")
    (state.isp / "settings.json").write_text(json.dumps({**settings(state), "ntp": mode}))


def customer(text):
    """An address that a customer may have."""
    address = ipaddress.ip_address(address4(text))
    if address not in NETWORK or str(address) in (ROUTER, SECOND, str(NETWORK[0]), str(NETWORK[-1])):
        raise ValueError(f"it takes an address of the provider's network {NETWORK} but {NETWORK[0]}, {NETWORK[-1]} "
                         f"and its own {ROUTER} and {SECOND}")
    return str(address)


def renumber(state, address, **changes):
    """The next renewal is granted with another address (and whatever else changes); the server goes on from there."""
    change(state, **changes)
    inside.must(state, "/usr/lib/isp/serve", "renumber", address, room="isp")
    if not until(lambda: (state.isp / "renumber.ready").exists(), READY_SECONDS):
        _serve(state)
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


def _await_service(state):
    ready = until(lambda: inside.run(state, "sh", "-c", "ss -Hlun | grep -q ':53 '", room="isp").returncode == 0, READY_SECONDS)
    if not ready:
        raise GatewayError(f"the provider's server does not run; see {state.isp}")
