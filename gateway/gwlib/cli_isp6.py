"""The verbs about the provider's IPv6."""
import ipaddress
import json

from . import isp6
from .errors import GatewayError


def verb_router(state, options):
    changes = {name: getattr(options, name) for name in ("preference", "lifetime") if getattr(options, name) is not None}
    for name in ("advertise", "managed", "other"):
        if getattr(options, name) is not None:
            changes[name] = getattr(options, name) == "on"
    if options.prefix is not None:
        changes["prefix"] = _network(options.prefix)
    _change_or_show(state, lambda: isp6.change_router(state, options.number, **changes), changes,
                    lambda settings: settings["routers"][options.number])


def verb_dhcpv6(state, options):
    changes = {name: getattr(options, name) for name in ("preferred", "valid") if getattr(options, name) is not None}
    if options.mode is not None:
        changes["serve"] = options.mode == "answer"
    for name in ("address", "dns"):
        if getattr(options, name) is not None:
            changes[name] = _address(getattr(options, name))
    if options.delegate is not None:
        changes["delegate"] = _network(options.delegate)
    _change_or_show(state, lambda: isp6.change_dhcp(state, **changes), changes, lambda settings: settings["dhcp"])


def _change_or_show(state, change, changes, part):
    if changes:
        change()
    else:
        state.room("isp")
        print(json.dumps(part(isp6.settings(state)), indent=2))


def _address(text):
    return "" if text == "none" else str(_parsed(ipaddress.IPv6Address, text))


def _network(text):
    return "" if text == "none" else str(_parsed(ipaddress.IPv6Network, text))


def _parsed(kind, text):
    try:
        return kind(text)
    except ValueError as problem:
        raise GatewayError(f"{text!r}: {problem}") from None


def add_verbs(verb):
    new = verb("isp-router", verb_router, "one of the provider's IPv6 routers; without options, show it")
    new.add_argument("number", choices=tuple(isp6.ROUTERS))
    for name, text in (("advertise", "whether it advertises itself"), ("managed", "the M flag"), ("other", "the O flag")):
        new.add_argument(f"--{name}", choices=("on", "off"), help=text)
    new.add_argument("--preference", choices=isp6.PREFERENCES)
    new.add_argument("--lifetime", type=int, metavar="S", help="router lifetime; 0 for no default router")
    new.add_argument("--prefix", metavar="NET/W", help="advertised prefix; none for none")
    new = verb("isp-dhcpv6", verb_dhcpv6, "what the provider's DHCPv6 server hands out; without options, show it")
    new.add_argument("--mode", choices=("answer", "silent"))
    new.add_argument("--address", metavar="A", help="address for the gateway; none for none")
    new.add_argument("--delegate", metavar="NET/W", help="delegated prefix; none for none")
    new.add_argument("--dns", metavar="A", help="name server; none for none")
    new.add_argument("--preferred", type=int, metavar="S", help="preferred lifetime; the client renews after half of it")
    new.add_argument("--valid", type=int, metavar="S", help="valid lifetime")
