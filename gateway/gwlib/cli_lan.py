"""The verbs for the hosts of the LAN."""
import argparse
import json

from . import lan
from .values import hardware, interface4, octets, taking, text

# What a host's client announces: the text for the help, and what may be said.
ANNOUNCED = {"--hostname": ("host name (default: the host's name)", text(63)), "--vendor-class": ("vendor class identifier", text(255)),
             "--client-id": ("client identifier, hexadecimal (default: made of the hardware address)", octets(255)),
             "--oui": ("manufacturer's OUI", text(255)), "--serial": ("serial number", text(255)),
             "--product-class": ("product class", text(255))}


def add_verbs(verb):
    new = verb("lan", None, "the hosts of the LAN, each with a real DHCP client")
    host = new.add_subparsers(required=True, metavar="host").add_parser("host", parents=[verb.common], help="a host of the LAN")
    actions = host.add_subparsers(required=True, metavar="ACTION")

    def action(name, call, told, *arguments):
        one = actions.add_parser(name, parents=[verb.common], help=told, description=told)
        one.set_defaults(call=call)
        for argument in arguments:
            one.add_argument(argument)
        return one

    one = action("add", _add, "a new host behind a LAN port, which asks for a lease", "name")
    one.add_argument("--port", required=True, metavar="IFNAME")
    one.add_argument("--mac", type=taking("--mac", hardware), metavar="ADDRESS", help="its hardware address (default: made of its name)")
    one.add_argument("--address", type=taking("--address", interface4), metavar="A/W", help="a fixed address, and no DHCP client")
    for option, (told, convert) in ANNOUNCED.items():
        one.add_argument(option, type=taking(option, convert), metavar="TEXT", help=told)
    action("remove", _remove, "take the host away; it gives no lease back", "name")
    action("move", _move, "plug the host into another port", "name", "port")
    action("renew", _renew, "have its client renew its lease", "name")
    action("release", _release, "have its client give its lease back", "name")
    action("list", _list, "all hosts, with their addresses (JSON)")
    one = action("exec", _exec, "run a command on the host", "name")
    one.add_argument("command", nargs=argparse.REMAINDER, metavar="CMD...")


def _add(state, options):
    announced = {option.lstrip("-").replace("-", "_") for option in ANNOUNCED}
    lan.add(state, options.name, options.port, options.mac, options.address,
            **{name: getattr(options, name) for name in announced})


def _remove(state, options):
    lan.remove(state, options.name)


def _move(state, options):
    lan.move(state, options.name, options.port)


def _renew(state, options):
    lan.signal(state, options.name, "renew")


def _release(state, options):
    lan.signal(state, options.name, "release")


def _list(state, _options):
    print(json.dumps(lan.described(state), indent=2))


def _exec(state, options):
    lan.replace_by(state, options.name, options.command[1:] if options.command[:1] == ["--"] else options.command)
