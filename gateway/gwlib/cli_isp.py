"""The verbs about the provider: what it hands out over IPv4 and IPv6."""
import json

from . import isp, isp6
from .values import address4, address6, addresses4, network6, or_none, routes4, taking, text, whole

LONGEST = 0xFFFFFFFF
LARGEST_LINE = 500


def verb_isp(state, options):
    changes = _given(options, "routes", "dns", "router", "lease", "mode")
    if options.option is not None:
        changes["options"] = [line for line in options.option if line]
    if options.renumber is not None:
        isp.renumber(state, options.renumber, **changes)
    elif changes:
        isp.change(state, **changes)
    elif options.ntp is None:
        print(json.dumps(isp.settings(state), indent=2))
    if options.ntp is not None:
        isp.tell_time(state, options.ntp)


def verb_router(state, options):
    changes = _given(options, "preference", "lifetime", "prefix")
    changes.update({name: value == "on" for name, value in _given(options, "advertise", "managed", "other").items()})
    if changes:
        isp6.change_router(state, options.number, **changes)
    else:
        print(json.dumps(isp6.settings(state)["routers"][options.number], indent=2))


def verb_dhcpv6(state, options):
    changes = _given(options, "address", "delegate", "dns", "preferred", "valid")
    if options.mode is not None:
        changes["serve"] = options.mode == "answer"
    if changes:
        isp6.change_dhcp(state, **changes)
    else:
        print(json.dumps(isp6.settings(state)["dhcp"], indent=2))


def _given(options, *names):
    return {name: getattr(options, name) for name in names if getattr(options, name) is not None}


def _option(add, name, convert, metavar, text_, **more):
    add(name, type=taking(name, convert), metavar=metavar, help=text_, **more)


def _lifetime(value):
    """As router advertisements have it: none, or longer than the pause between two of them."""
    number = whole(0, isp6.LONGEST_ROUTER)(value)
    if 0 < number < isp6.PAUSE:
        raise ValueError(f"it takes 0, or seconds from {isp6.PAUSE} to {isp6.LONGEST_ROUTER}")
    return number


def delegated(value):
    network = network6(value)
    if int(network.partition("/")[2]) > 64:
        raise ValueError("it takes a prefix of 64 bits or fewer")
    return network


def advertised(value):
    network = network6(value)
    if network.startswith(("fe8", "ff")) or network.endswith("/0"):
        raise ValueError("it takes a prefix that addresses of a link may have")
    return network


def _add_isp(verb):
    new = verb("isp", verb_isp, "what the provider hands out; without options, show it")
    new.add_argument("--mode", choices=isp.MODES, help="answer, refuse (NAK) or be silent")
    _option(new.add_argument, "--routes", or_none(routes4, []), "NET/W,GW,...", "classless static routes; none for none")
    _option(new.add_argument, "--dns", or_none(addresses4, []), "A,B", "name servers; none for none")
    _option(new.add_argument, "--router", or_none(address4), "A", "default router; none for none")
    _option(new.add_argument, "--lease", whole(isp.SHORTEST, LONGEST - 1), "S", f"lease time, {isp.SHORTEST} s or more")
    _option(new.add_argument, "--option", or_none(text(LARGEST_LINE)), "LINE",
            "any other option, as dnsmasq's optsfile takes it (may be given again); none for none", action="append")
    new.add_argument("--ntp", choices=isp.TIME_MODES, help="whether the NTP server answers")
    _option(new.add_argument, "--renumber", isp.customer, "ADDRESS", "grant the next renewal with this address")


def _add_router(verb):
    new = verb("isp-router", verb_router, "one of the provider's IPv6 routers; without options, show it")
    new.add_argument("number", choices=tuple(isp6.ROUTERS))
    for name, told in (("advertise", "whether it advertises itself"), ("managed", "the M flag"), ("other", "the O flag")):
        new.add_argument(f"--{name}", choices=("on", "off"), help=told)
    new.add_argument("--preference", choices=isp6.PREFERENCES, help="as routers rank among each other")
    _option(new.add_argument, "--lifetime", _lifetime, "S", "router lifetime; 0 for no default router")
    _option(new.add_argument, "--prefix", or_none(advertised), "NET/W", "advertised prefix; none for none")


def _add_dhcpv6(verb):
    new = verb("isp-dhcpv6", verb_dhcpv6, "what the provider's DHCPv6 server hands out; without options, show it")
    new.add_argument("--mode", choices=("answer", "silent"), help="whether it answers")
    _option(new.add_argument, "--address", or_none(address6), "A", "address for the gateway; none for none")
    _option(new.add_argument, "--delegate", or_none(delegated), "NET/W", "delegated prefix; none for none")
    _option(new.add_argument, "--dns", or_none(address6), "A", "name server; none for none")
    _option(new.add_argument, "--preferred", whole(1, LONGEST), "S", "preferred lifetime; the client renews after half of it")
    _option(new.add_argument, "--valid", whole(1, LONGEST), "S", "valid lifetime")


def add_verbs(verb):
    _add_isp(verb)
    _add_router(verb)
    _add_dhcpv6(verb)
