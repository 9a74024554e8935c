"""What the provider does: its DHCP server, its IPv6 routers, its servers."""
from .. import cli_isp, isp, isp6
from .. import values as line
from .kinds import act
from .types import choice, duration, fields, flag, some, text, whole, written


def seconds(least, most):
    return lambda value: int(line.whole(least, most)(f"{duration(value):.0f}"))


def routes(value):
    """["10.9.0.0/16", "203.0.113.1", ...] of texts as "10.9.0.0/16 via 203.0.113.1"."""
    if value == "none":
        return []
    try:
        return line.routes4(",".join(",".join(one.split(" via ")) for one in some(text)(value)))
    except ValueError:
        raise ValueError('it takes routes, as "10.9.0.0/16 via 203.0.113.1"') from None


PROVIDER = {
    "mode": choice(*isp.MODES), "lease": seconds(isp.SHORTEST, cli_isp.LONGEST - 1), "routes": routes,
    "dns": lambda value: [] if value == "none" else some(written(line.address4))(value),
    "router": written(line.or_none(line.address4)), "options": some(written(line.text(cli_isp.LARGEST_LINE))),
    "ntp": choice(*isp.TIME_MODES), "next_address": written(isp.customer),
}


@act("provider", "the provider changes {provider}", provider=fields(PROVIDER))
def provider(game, provider):
    changes = {name: value for name, value in provider.items() if name not in ("ntp", "next_address")}
    if "next_address" in provider:
        isp.renumber(game.state, provider["next_address"], **changes)
    elif changes:
        isp.change(game.state, **changes)
    if "ntp" in provider:
        isp.tell_time(game.state, provider["ntp"])


@act("router", "the provider's IPv6 router {router} changes", router=whole(1, 2), advertise=flag, managed=flag, other=flag,
     preference=choice(*isp6.PREFERENCES), lifetime=seconds(0, isp6.LONGEST_ROUTER), prefix=written(line.or_none(cli_isp.advertised)))
def router(game, router, **changes):
    isp6.change_router(game.state, str(router), **changes)


DHCPV6 = {"serve": flag, "address": written(line.or_none(line.address6)), "delegate": written(line.or_none(cli_isp.delegated)),
          "dns": written(line.or_none(line.address6)), "preferred": seconds(1, cli_isp.LONGEST), "valid": seconds(1, cli_isp.LONGEST)}


@act("dhcpv6", "the provider's DHCPv6 server changes {dhcpv6}", dhcpv6=fields(DHCPV6))
def dhcpv6(game, dhcpv6):
    isp6.change_dhcp(game.state, **dhcpv6)


@act("serve", "a {serve} server is there", serve=choice("mail", "speed"), behaviour=choice("take", "refuse", "hang"))
def serve(game, serve, behaviour="take"):
    game.servers.start(serve, behaviour)
