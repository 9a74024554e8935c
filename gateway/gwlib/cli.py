"""The command line: one row per verb."""
import argparse
import errno
import os
import signal
import sys

from . import (boot, cli_hardware, cli_isp, cli_lan, cli_log, cli_report, cli_run, cli_status, completion, model, play, replay, services,
               truth)
from .errors import DONE, GatewayError
from .state import State
from .values import seconds, taking

# All other verbs are about a gateway that runs.
FREE = ("up", "down", "mark", "log", "journal", "completion", "complete", "play", "replay")
COMMANDED = ("exec", "spawn")  # verbs that end in a command, whose words are nobody's options here


def verb_up(state, options):
    boot.up(state, config=options.config, fresh=options.fresh, unplugged=options.unplugged, record=options.record)


def verb_down(state, _options):
    print("the gateway is down" if boot.down(state) else "no gateway was running")


def verb_wait(state, options):
    model.wait(state, options.condition, options.timeout)


def verb_service(state, options):
    if options.action in ("stop", "restart"):
        services.stop(state, options.name)
    if options.action in ("start", "restart"):
        services.start(state, options.name)
        if options.name in truth.WITNESSES and all(services.running(state, services.PROGRAMS[name]) for name in truth.WITNESSES):
            truth.tell(state)


def parser():
    common = argparse.ArgumentParser(add_help=False)
    common.add_argument("--state", default=argparse.SUPPRESS, metavar="DIR",
                        help="state directory, one gateway each (default: build/gateway)")
    top = argparse.ArgumentParser(prog="gw", parents=[common], description="A whole home gateway on this machine.",
                                  epilog="Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 nobody answers.")
    verbs = top.add_subparsers(dest="verb", required=True, metavar="VERB")

    def verb(name, call, text):
        new = verbs.add_parser(name, parents=[common], description=text, **({"help": text} if text else {}))
        new.set_defaults(call=call)
        return new

    verb.common = common

    _add_life(verb)
    for more in (cli_status, cli_run, cli_log, cli_report, cli_hardware, cli_isp, cli_lan, play, replay):
        more.add_verbs(verb)
    completion.add_verbs(verb, top)
    return top


def _add_life(verb):
    new = verb("up", verb_up, "boot; returns when start-up has completed")
    new.add_argument("--config", metavar="FILE", help="data model to boot with, in place of the kept one")
    new.add_argument("--fresh", action="store_true", help="boot with the factory defaults")
    new.add_argument("--unplugged", action="append", default=[], metavar="IFNAME", help="boot with this port's cable out")
    new.add_argument("--record", action="store_true",
                     help="write down all that happens, from before the daemon starts: log/recording.jsonl in the state directory")
    verb("down", verb_down, "stop all of it, leaving nothing behind")
    new = verb("wait", verb_wait, "return when the data model says so")
    new.add_argument("condition", metavar="PATH=VALUE", help="or another condition of vcfgctl wait: ==, !=, ~, <, <=, > or >= behind the path")
    new.add_argument("--timeout", type=taking("--timeout", seconds), default=30.0, metavar="S", help="give up after this time (default 30)")
    new = verb("service", verb_service, "start, stop (kill) or restart one of the gateway's services")
    new.add_argument("action", choices=("start", "stop", "restart"))
    new.add_argument("name", choices=tuple(services.STARTERS))


def _cut_command(words):
    """The words up to the verb and its own options, and the command to run, if the verb has one."""
    verb, position = None, 0
    while position < len(words):
        word = words[position]
        if word in ("--state", "--room"):
            position += 2
        elif word.startswith(("--state=", "--room=")) or word in ("-h", "--help"):
            position += 1
        elif verb is None and word in COMMANDED:
            verb = word
            position += 1
        elif verb == "spawn":
            verb = "named"
            position += 1
        else:
            break
    if verb is None:
        return words, None
    command = words[position:]
    return words[:position], command[1:] if command[:1] == ["--"] else command


def _options(words):
    top = parser()
    words, command = _cut_command(words)
    options = top.parse_args(words)
    if command is not None:
        options.command = command
        if not command:
            top.error(f"{options.verb} needs a command")
    if options.verb == "kernel" and (options.text is None) == (options.raw is None) and options.type is None:
        top.error("kernel needs a text or --raw FILE")
    return options


def _run(words):
    options = _options(words)
    state = State(getattr(options, "state", None))
    if options.verb not in FREE:
        state.room("gateway")
    return options.call(state, options) or DONE


def _open_standard_streams():
    """None of them that the caller has closed becomes another file: what is written there fails, as it should."""
    for descriptor in range(3):
        try:
            os.fstat(descriptor)
        except OSError:
            os.open(os.devnull, os.O_RDONLY)
    sys.stdout = sys.stdout or os.fdopen(1, "w", closefd=False)
    sys.stderr = sys.stderr or open(os.devnull, "w", encoding="utf-8")


def _finished(words):
    """Status of the call, with all that it had to say said."""
    try:
        status = _run(words)
    except SystemExit as done:  # argparse has explained something
        status = done.code
    sys.stdout.flush()
    return status


def _forget_output():
    """What could not be written is not tried again at the end."""
    os.dup2(os.open(os.devnull, os.O_WRONLY), 1)


def main(words):
    _open_standard_streams()
    try:
        return _finished(words)
    except GatewayError as problem:
        print(f"gw: {problem}", file=sys.stderr)
        return problem.code
    except BrokenPipeError:  # whoever read has had enough
        _forget_output()
        return 128 + signal.SIGPIPE
    except OSError as problem:
        _forget_output()
        what = "standard output is closed" if problem.errno == errno.EBADF else problem.strerror or problem
        print(f"gw: {what}" + (f": {problem.filename}" if problem.filename else ""), file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
