"""The internet provider's IPv6: up to two routers that advertise themselves, and a DHCPv6 server for an address and a prefix."""
import json

from . import inside, ports
from .errors import GatewayError
from .waiting import until

ROUTERS = {"1": "fe80::1", "2": "fe80::2"}
NAME_SERVER = "2001:db8:ffff::53"
ROUTER_DEFAULTS = {
    "advertise": False,
    "managed": True,
    "other": True,
    "preference": "medium",
    "lifetime": 1800,
    "prefix": "2001:db8:1::/64",
}
DHCP_DEFAULTS = {
    "serve": False,
    "address": "2001:db8:1::77",
    "delegate": "2001:db8:f000::/56",
    "dns": NAME_SERVER,
    "preferred": 1800,
    "valid": 3600,
}
READY_SECONDS = 60
PREFERENCES = ("low", "medium", "high")
PAUSE, LONGEST_ROUTER = 4, 9000  # seconds: between two advertisements at most, and of a router's lifetime


def settings(state):
    try:
        return json.loads((state.isp / "settings6.json").read_text())
    except FileNotFoundError:
        second = {**ROUTER_DEFAULTS, "prefix": "2001:db8:2::/64"}
        return {"routers": {"1": dict(ROUTER_DEFAULTS), "2": second}, "dhcp": dict(DHCP_DEFAULTS)}


def prepare(state):
    """The two routers' addresses; nobody serves yet."""
    (state.isp / "settings6.json").unlink(missing_ok=True)
    inside.must(state, "ip", "-batch", "-", room="isp", text="\n".join((
        "link set wan0 addrgenmode none", "addr flush dev wan0 scope link",
        *(f"addr add {address}/64 dev wan0 nodad" for address in ROUTERS.values()),
        f"addr add {NAME_SERVER}/128 dev wan0 nodad")))
    inside.must(state, "sh", "-c", "echo 1 >/proc/sys/net/ipv6/conf/all/forwarding", room="isp")


def change_router(state, number, **changes):
    new = settings(state)
    new["routers"][number].update(changes)
    _check_router(state, number, new["routers"][number])
    _change(state, new)


def change_dhcp(state, **changes):
    new = settings(state)
    new["dhcp"].update(changes)
    if new["dhcp"]["preferred"] > new["dhcp"]["valid"]:
        raise GatewayError(f"the preferred lifetime ({new['dhcp']['preferred']} s) is longer than the valid one ({new['dhcp']['valid']} s)")
    _change(state, new)


def serve(state):
    """Both of what a provider with IPv6 runs: the first router and the DHCPv6 server."""
    new = settings(state)
    new["routers"]["1"]["advertise"] = True
    new["dhcp"]["serve"] = True
    _change(state, new)


def _check_router(state, number, router):
    """Has radvd read what is to be, before anything is written."""
    check = "cat >/tmp/router.conf; chmod 644 /tmp/router.conf; exec radvd --configtest -m stderr -C /tmp/router.conf"
    done = inside.run(state, "sh", "-c", check, room="isp", text=_router_text(number, router))
    if done.returncode != 0:
        said = [line for line in done.stderr.splitlines() if "radvd" not in line.split(":")[0]] or done.stderr.splitlines()
        raise GatewayError(f"the provider's router does not take this: {said[-1] if said else 'radvd refuses it'}")


def _change(state, new):
    """Serves by the settings; where that fails, the servers go on as before."""
    before = settings(state)
    try:
        _serve(state, new)
    except GatewayError:
        _serve(state, before)
        raise


def _serve(state, new):
    state.room("isp")
    hardware, address = _customer(state)
    (state.isp / "settings6.json").write_text(json.dumps(new))
    for number, router in new["routers"].items():
        _write(state.isp / f"router-{number}.conf", _router_text(number, router) if router["advertise"] else None)
    _write(state.isp / "dhcp6s.conf", _dhcp_text(new["dhcp"], hardware) if new["dhcp"]["serve"] else None)
    if new["dhcp"]["delegate"]:
        inside.must(state, "ip", "-6", "route", "replace", new["dhcp"]["delegate"], "via", address, "dev", "wan0", room="isp")
    inside.must(state, "/usr/lib/isp/serve6", room="isp")
    if new["dhcp"]["serve"]:
        _await_dhcp(state)


def _write(path, text):
    if text is None:
        path.unlink(missing_ok=True)
    else:
        path.write_text(text)
        path.chmod(0o644)


def _customer(state):
    """Hardware address of the gateway's WAN port, and the link-local address that it makes of it."""
    port = ports.main(ports.of(state))
    return (port.hardware, f"fe80::ff:fe00:{port.instance:x}") if port else ("02:00:00:00:00:00", "fe80::ff:fe00:0")


def _on(flag):
    return "on" if flag else "off"


def _router_text(number, router):
    prefix = f"  prefix {router['prefix']} {{ AdvOnLink on; AdvAutonomous off; }};\n" if router["prefix"] else ""
    return (f"interface wan0 {{\n  AdvSendAdvert on;\n  MinRtrAdvInterval 3;\n  MaxRtrAdvInterval {PAUSE};\n"
            f"  AdvRASrcAddress {{ {ROUTERS[number]}; }};\n"
            f"  AdvManagedFlag {_on(router['managed'])};\n  AdvOtherConfigFlag {_on(router['other'])};\n"
            f"  AdvDefaultPreference {router['preference']};\n  AdvDefaultLifetime {router['lifetime']};\n{prefix}}};\n")


def _dhcp_text(dhcp, hardware):
    lifetimes = f"{dhcp['preferred']} {dhcp['valid']}"
    lines = [f"duid 00:03:00:01:{hardware};"]
    lines += [f"address {dhcp['address']} {lifetimes};"] if dhcp["address"] else []
    lines += [f"prefix {dhcp['delegate']} {lifetimes};"] if dhcp["delegate"] else []
    servers = f"option domain-name-servers {dhcp['dns']};\n" if dhcp["dns"] else ""
    return servers + "host gateway {\n" + "".join(f"  {line}\n" for line in lines) + "};\n"


def _await_dhcp(state):
    if not until(lambda: inside.run(state, "sh", "-c", "ss -Hlun | grep -q ':547 '", room="isp").returncode == 0, READY_SECONDS):
        raise GatewayError(f"the provider's DHCPv6 server does not run; see {state.isp}/dhcp6s.txt")
