"""The verbs about the hardware: cables, lines, kernel events, hunting and wireless daemons."""
import json

from . import cli_wireless, hunt, inside, net
from .values import taking, whole


def verb_kernel(state, options):
    words = ["gw-kernel-event"]
    if options.raw:
        with open(options.raw, "rb") as file:
            return inside.feed(state, ["gw-kernel-event", "--raw", "-"], file.read())
    words += ["--type", options.type] if options.type else []
    words += ["--", options.text] if options.text is not None else []
    inside.replace_by(state, words)


def verb_cable(state, options):
    net.plug(state, options.port, options.action == "in")


def verb_line(state, options):
    words = ["gw-linesim", options.verb, options.action]
    for name in ("line", "mode"):
        if getattr(options, name, None) is not None:
            words += [f"--{name}", getattr(options, name)]
    inside.replace_by(state, words)


def verb_hunt(state, options):
    if options.action in hunt.MODES:
        hunt.start(state, options.kind, options.action, options.finish_after)
    elif options.action == "stop":
        hunt.stop(state, options.kind)
    else:
        for message in hunt.received(state, options.kind):
            print(json.dumps(message))


def _add_lines(verb):
    new = verb("dsl", verb_line, "give the DSL line a signal, or take it away")
    new.add_argument("action", choices=("up", "down"))
    new.add_argument("--line", type=taking("--line", whole(1, 255)), metavar="N", help="which of several lines")
    new.add_argument("--mode", choices=("atm", "ptm"), help="how the line carries data")
    new = verb("optical", verb_line, "bring the optical link up or down")
    new.add_argument("action", choices=("up", "down"))
    new = verb("usb", verb_line, "bring the cellular link up or down, or take the dongle away")
    new.add_argument("action", choices=("up", "down", "absent"))


def add_verbs(verb):
    new = verb("kernel", verb_kernel, "send one kernel event datagram")
    new.add_argument("text", nargs="?", help="the event's text")
    new.add_argument("--type", type=taking("--type", whole(0, 0xFFFF)), help="event type (default 0x2000)")
    new.add_argument("--raw", metavar="FILE", help="send the file's bytes as they are")
    new = verb("cable", verb_cable, "plug or pull the cable of an Ethernet port")
    new.add_argument("port", metavar="IFNAME")
    new.add_argument("action", choices=("in", "out"))
    _add_lines(verb)
    new = verb("hunt", verb_hunt, "start a hunting daemon that does as told, stop it, or show what it was sent")
    new.add_argument("kind", choices=tuple(hunt.EIDS))
    new.add_argument("action", choices=(*hunt.MODES, "stop", "received"))
    new.add_argument("--finish-after", type=taking("--finish-after", whole(0, 86400000)), metavar="MS",
                     help="report the end of a hunt after this time")
    cli_wireless.add_verbs(verb)
