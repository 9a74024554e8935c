"""The verb about the wireless daemon."""
import json

from . import wireless
from .values import taking, whole


def verb_wireless(state, options):
    if options.action == "start":
        wireless.start(state)
    elif options.action == "stop":
        wireless.stop(state)
    else:
        for message in wireless.received(state):
            print(json.dumps(message))


def verb_wireless_answer(state, options):
    wireless.answer(state, options.type, options.answer)


def add_verbs(verb):
    new = verb("wireless", verb_wireless, "start the wireless daemon, kill it, or show what it was asked")
    new.add_argument("action", choices=("start", "stop", "received"))
    new = verb("wireless-answer", verb_wireless_answer, "tell the wireless daemon what to answer requests of a type")
    new.add_argument("type", type=taking("TYPE", whole(0, 0xFFFFFFFF)), metavar="TYPE")
    new.add_argument("answer", nargs="+", metavar="ANSWER",
                     help="CODE (no data), CODE:TEXT or silent; several are given in turn, and the last one stays. "
                          "A negative code goes behind --")
