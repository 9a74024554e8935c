"""The command line: one row per verb."""
import argparse
import json
import sys

from . import boot, cli_isp6, cli_lan, cli_wireless, hunt, inside, isp, logs, model, net, services
from .errors import DONE, GatewayError
from .state import State
from .waiting import until


def verb_up(state, options):
    boot.up(state, config=options.config, fresh=options.fresh, unplugged=options.unplugged)


def verb_down(state, _options):
    print("the gateway is down" if boot.down(state) else "no gateway was running")


def verb_status(state, options):
    running = boot.status(state)
    if options.json:
        print(json.dumps({"state": str(state.directory), "services": running}))
        return
    print(f"state directory: {state.directory}")
    for name, numbers in running.items():
        print(f"{name:8} " + (f"runs as process {', '.join(map(str, numbers))}" if numbers else "does not run"))


def verb_exec(state, options):
    inside.replace_by(state, options.command)


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


def verb_journal(state, options):
    for line in logs.commands(state, options.since):
        print(json.dumps(line) if options.json else logs.readable_command(line))


def verb_log(state, options):
    show = (lambda line: json.dumps(line)) if options.json else logs.readable_line
    since = options.since
    while True:
        for line in logs.lines(state, since, options.all):
            print(show(line), flush=options.follow)
            since = line["t_mono_us"]
        if not options.follow:
            return
        until(lambda: logs.lines(state, since, options.all), 3600)


def verb_mark(_state, _options):
    print(logs.mark())


def verb_wait(state, options):
    model.wait(state, options.condition, options.timeout)


def verb_service(state, options):
    if options.action in ("stop", "restart"):
        services.stop(state, options.name)
    if options.action in ("start", "restart"):
        services.start(state, options.name)


def verb_isp(state, options):
    changes = {}
    if options.routes is not None:
        changes["routes"] = isp.parse_routes(options.routes)
    if options.dns is not None:
        changes["dns"] = [] if options.dns == "none" else options.dns.split(",")
    if options.router is not None:
        changes["router"] = "" if options.router == "none" else options.router
    if options.option is not None:
        changes["options"] = options.option
    if options.lease is not None:
        changes["lease"] = options.lease
    if options.mode is not None:
        changes["mode"] = options.mode
    if options.ntp is not None:
        isp.tell_time(state, options.ntp)
    if options.renumber is not None:
        isp.renumber(state, options.renumber, **changes)
    elif changes:
        isp.change(state, **changes)
    elif options.ntp is None:
        print(json.dumps(isp.settings(state), indent=2))


def parser():
    common = argparse.ArgumentParser(add_help=False)
    common.add_argument("--state", default=argparse.SUPPRESS, metavar="DIR",
                        help="state directory, one gateway each (default: build/gateway)")
    top = argparse.ArgumentParser(prog="gw", parents=[common], description="A whole home gateway on this machine.",
                                  epilog="Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 nobody answers.")
    verbs = top.add_subparsers(dest="verb", required=True, metavar="VERB")

    def verb(name, call, text):
        new = verbs.add_parser(name, parents=[common], help=text, description=text)
        new.set_defaults(call=call)
        return new

    new = verb("up", verb_up, "boot; returns when start-up has completed")
    new.add_argument("--config", metavar="FILE", help="data model to boot with, in place of the kept one")
    new.add_argument("--fresh", action="store_true", help="boot with the factory defaults")
    new.add_argument("--unplugged", action="append", default=[], metavar="IFNAME", help="boot with this port's cable out")
    verb("down", verb_down, "stop all of it, leaving nothing behind")
    new = verb("status", verb_status, "what runs")
    new.add_argument("--json", action="store_true")
    new = verb("exec", verb_exec, "run a command inside; its streams and exit status are its own")
    new.add_argument("command", nargs="*", metavar="-- CMD...")
    new = verb("kernel", verb_kernel, "send one kernel event datagram")
    new.add_argument("text", nargs="?", help="the event's text")
    new.add_argument("--type", help="event type (default 0x2000)")
    new.add_argument("--raw", metavar="FILE", help="send the file's bytes as they are")
    new = verb("cable", verb_cable, "plug or pull the cable of an Ethernet port")
    new.add_argument("port", metavar="IFNAME")
    new.add_argument("action", choices=("in", "out"))
    new = verb("dsl", verb_line, "give the DSL line a signal, or take it away")
    new.add_argument("action", choices=("up", "down"))
    new.add_argument("--line", metavar="N")
    new.add_argument("--mode", choices=("atm", "ptm"))
    new = verb("optical", verb_line, "bring the optical link up or down")
    new.add_argument("action", choices=("up", "down"))
    new = verb("usb", verb_line, "bring the cellular link up or down, or take the dongle away")
    new.add_argument("action", choices=("up", "down", "absent"))
    new = verb("hunt", verb_hunt, "start a hunting daemon that does as told, stop it, or show what it was sent")
    new.add_argument("kind", choices=tuple(hunt.EIDS))
    new.add_argument("action", choices=(*hunt.MODES, "stop", "received"))
    new.add_argument("--finish-after", type=int, metavar="MS", help="report the end of a hunt after this time")
    new = verb("journal", verb_journal, "the platform commands that the daemon ran, and what they changed")
    new.add_argument("--json", action="store_true", help="JSON lines")
    new.add_argument("--since", type=int, metavar="MARK", help="only what came after that time (see gw mark)")
    new = verb("log", verb_log, "the daemon's lines of all three channels, in order")
    new.add_argument("--json", action="store_true", help="JSON lines")
    new.add_argument("--since", type=int, metavar="MARK", help="only what came after that time (see gw mark)")
    new.add_argument("--follow", action="store_true", help="go on as lines come")
    new.add_argument("--all", action="store_true", help="the lines of every program, not only the daemon's")
    verb("mark", verb_mark, "print the time now, for --since")
    new = verb("wait", verb_wait, "return when the data model says so")
    new.add_argument("condition", metavar="PATH=VALUE")
    new.add_argument("--timeout", type=float, default=30, metavar="S")
    new = verb("service", verb_service, "start, stop (kill) or restart one of the gateway's services")
    new.add_argument("action", choices=("start", "stop", "restart"))
    new.add_argument("name", choices=tuple(services.STARTERS))
    new = verb("isp", verb_isp, "what the provider hands out; without options, show it")
    new.add_argument("--mode", choices=isp.MODES, help="answer, refuse (NAK) or be silent")
    new.add_argument("--routes", metavar="NET/W,GW,...", help="classless static routes; none for none")
    new.add_argument("--dns", metavar="A,B", help="name servers; none for none")
    new.add_argument("--router", metavar="A", help="default router; none for none")
    new.add_argument("--lease", type=int, metavar="S", help="lease time, 120 s or more")
    new.add_argument("--option", action="append", metavar="LINE", help="any other option, as dnsmasq's optsfile takes it")
    new.add_argument("--ntp", choices=isp.TIME_MODES, help="whether the NTP server answers")
    new.add_argument("--renumber", metavar="ADDRESS", help="grant the next renewal with this address")
    cli_isp6.add_verbs(verb)
    cli_wireless.add_verbs(verb)
    cli_lan.add_verbs(verb)
    return top


def _cut_command(words):
    """The words up to exec and its options, and the command to run, whose words are nobody's options here."""
    position = 0
    seen = False
    while position < len(words):
        word = words[position]
        if word == "--state":
            position += 2
        elif word.startswith("--state=") or word in ("-h", "--help"):
            position += 1
        elif not seen and word == "exec":
            seen = True
            position += 1
        else:
            break
    if not seen:
        return words, []
    command = words[position:]
    return words[:position], command[1:] if command[:1] == ["--"] else command


def main(words):
    top = parser()
    words, command = _cut_command(words)
    options = top.parse_args(words)
    if options.verb == "exec":
        options.command = command
        if not command:
            top.error("exec needs a command")
    if options.verb == "kernel" and (options.text is None) == (options.raw is None) and not options.type:
        top.error("kernel needs a text or --raw FILE")
    try:
        return options.call(State(getattr(options, "state", None)), options) or DONE
    except GatewayError as problem:
        print(f"gw: {problem}", file=sys.stderr)
        return problem.code
    except OSError as problem:
        print(f"gw: {problem}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
