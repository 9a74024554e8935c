"""The verbs for the hosts of the LAN."""
import argparse
import json

from . import lan

ANNOUNCED = {"--hostname": "host name (default: the host's name)", "--vendor-class": "vendor class identifier",
             "--client-id": "client identifier, hexadecimal (default: made of the hardware address)",
             "--oui": "manufacturer's OUI", "--serial": "serial number", "--product-class": "product class"}


def add_verbs(verb):
    new = verb("lan", None, "the hosts of the LAN, each with a real DHCP client")
    host = new.add_subparsers(required=True, metavar="host").add_parser("host", help="a host of the LAN")
    actions = host.add_subparsers(required=True, metavar="ACTION")

    def action(name, call, text, *arguments):
        one = actions.add_parser(name, help=text, description=text)
        one.set_defaults(call=call)
        for argument in arguments:
            one.add_argument(argument)
        return one

    one = action("add", _add, "a new host behind a LAN port, which asks for a lease", "name")
    one.add_argument("--port", required=True, metavar="IFNAME")
    one.add_argument("--mac", metavar="ADDRESS", help="its hardware address (default: made of its name)")
    one.add_argument("--address", metavar="A/W", help="a fixed address, and no DHCP client")
    for option, text in ANNOUNCED.items():
        one.add_argument(option, metavar="TEXT", help=text)
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
