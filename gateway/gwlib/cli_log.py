"""The verbs about what the daemon said and ran: log, journal, mark."""
import json
import re
import sys

from . import logs, secrets, times, values
from .errors import NobodyAnswers
from .follow import Growth
from .values import taking


def verb_log(state, options):
    least = len(logs.LEVELS) if options.level is None else options.level

    def wanted(line):
        return ((options.all or line["daemon"] == "tarn") and logs.level(line) <= least
                and (not options.channel or line["channel"] in options.channel) and _matches(options, line["text"]))

    _show(state, options, state.log, wanted, logs.readable_line, settle=logs.settle)


def verb_journal(state, options):
    _show(state, options, state.journal, lambda line: _matches(options, line["command"]), logs.readable_command)


def verb_mark(_state, _options):
    print(times.now())


def _matches(options, text):
    return options.grep is None or options.grep.search(text) is not None


def _show(state, options, path, wanted, readable, settle=lambda state: True):
    """What there is of the file, and with --follow all that comes."""
    since = times.point(state, options.since)
    growth = _opened(state, path)
    if not options.follow and state.world() is not None and not settle(state):
        print("gw: the log collector does not answer: the last lines may be missing (gw service restart logd)", file=sys.stderr)
    hidden = (lambda line: line) if options.show_secrets else secrets.Secrets(state).hidden

    def new(since=None):
        some = (line for line in map(json.loads, growth.new()) if since is None or line["t_mono_us"] > since)
        return filter(wanted, map(hidden, some))

    first = sorted(new(since), key=lambda line: line["t_mono_us"])
    _print(state, options, readable, first if options.count is None else first[max(0, len(first) - options.count):])
    while options.follow and growth.wait():
        _print(state, options, readable, new())


def _print(state, options, readable, lines):
    if options.json:
        shown = map(json.dumps, lines)
    else:
        booted = times.boot(state)
        shown = (readable(line, times.shown(line["t_mono_us"], options.time, booted)) for line in lines)
    for text in shown:
        print(text)
    sys.stdout.flush()


def _opened(state, path):
    """What a gateway that is gone has left can be read on."""
    try:
        growth = Growth(path)
    except FileNotFoundError:
        raise NobodyAnswers(state.nobody()) from None
    except PermissionError:
        raise state.foreign() from None
    if state.world() is None:
        print(f"gw: {state.nobody()}; these are the lines of the last one", file=sys.stderr)
    return growth


def level(text):
    """A level by its name or number."""
    known = {**{name: number for number, name in enumerate(logs.LEVELS)}, "warn": 4, "err": 3,
             **{str(number): number for number in range(8)}}
    try:
        return known[text.lower()]
    except KeyError:
        raise ValueError(f"it takes {', '.join(logs.LEVELS)}") from None


def expression(text):
    try:
        return re.compile(text)
    except re.error as problem:
        raise ValueError(f"it takes a regular expression ({problem})") from None


def _add_common(new):
    new.add_argument("-f", "--follow", action="store_true", help="go on as lines come")
    new.add_argument("-n", dest="count", type=taking("-n", values.whole(0)), metavar="N", help="only the last N lines")
    new.add_argument("--grep", type=taking("--grep", expression), metavar="PATTERN", help="only what this regular expression is found in")
    new.add_argument("--since", metavar="TIME", help=f"only what came after: {times.TAKEN}")
    new.add_argument("--time", choices=times.SHOWN, default="up",
                     help="times shown: seconds since gw up (the default), time of day, or as a mark counts")
    new.add_argument("--json", action="store_true", help="JSON lines")
    new.add_argument("--show-secrets", action="store_true", help="passwords, PINs and keys as they are, not as ********")


def add_verbs(verb):
    new = verb("log", verb_log, "the daemon's lines of all three channels, in order")
    _add_common(new)
    new.add_argument("--level", type=taking("--level", level), metavar="LEVEL", help="only lines of this level or a graver one")
    new.add_argument("--channel", action="append", choices=logs.CHANNELS, help="only this channel (may be given again)")
    new.add_argument("--all", action="store_true", help="the lines of every program, not only the daemon's")
    new = verb("journal", verb_journal, "the platform commands that the daemon ran, and what they changed")
    _add_common(new)
    verb("mark", verb_mark, "print the time now, for --since")
