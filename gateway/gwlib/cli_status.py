"""The verb that shows what a gateway is like."""
import json
import time

from . import status, status_view
from .terminal import is_live

PAUSE = 1.0
CLEAR = "\033[H\033[J"


def verb_status(state, options):
    """Once, or as it changes: on a terminal the screen is drawn anew, elsewhere it is told again."""
    before = None
    while True:
        now = status.snapshot(state)
        shown = json.dumps(now) if options.json else "\n".join(status_view.lines(now))
        if _compared(now) != before or (is_live() and not options.json):
            print((CLEAR if options.watch and is_live() and not options.json else "") + shown, flush=True)
        before = _compared(now)
        if not options.watch:
            return
        time.sleep(PAUSE)


def _compared(now):
    return {name: value for name, value in now.items() if name != "upSeconds"}


def add_verbs(verb):
    new = verb("status", verb_status, "what runs, and how it is connected, on one screen")
    new.add_argument("--json", action="store_true", help="one JSON line")
    new.add_argument("--watch", action="store_true", help="go on, live in the terminal; elsewhere again whenever something has changed")
