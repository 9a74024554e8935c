"""One self-contained page of a timeline: what happened, and why. What it shows is data in the page, which no browser takes for
anything else, whatever it holds; the page's own script is the only one that a browser runs in it."""
import base64
import datetime
import hashlib
import json
import pathlib

from . import arrivals, chains, events, history, lanes, recorded, secrets, times
from .errors import GatewayError
from .state import REPOSITORY

PAGE = REPOSITORY / "gateway" / "report"
MOST = 60_000  # events of a page: the latest
TITLE = "What happened in the gateway"
FILLED = "@{{{}}}@"
NOTE = ("Causes are as the flight recorder has them; where it has nothing they follow the order in time: what the daemon does belongs to "
        "what it took up last. Passwords, PINs and keys are hidden.")


def check(file):
    """Refuses a file that cannot be written, before there is something to write."""
    path = pathlib.Path(file)
    if path.is_dir() or not path.absolute().parent.is_dir():
        raise GatewayError(f"{file} cannot be written: " + ("it is a folder" if path.is_dir() else f"there is no folder {path.parent}"))


def write(timeline, file, title=TITLE):
    """Writes the page, when the timeline has ended; returns how many events it has."""
    shown = data(timeline.stop(), title)
    pathlib.Path(file).write_text(page(shown), encoding="utf-8")
    return len(shown["events"])


def data(timeline, title):
    """What the page shows, as it takes it."""
    recording = recorded.Recording(timeline.trace)
    found, left = _events(timeline, recording)
    chains.link(found)
    recorded.link(recording, found)
    begin = timeline.begin
    shown = lanes.led(history.of_led(timeline.snapshots, found, begin)) + lanes.of(history.of_model(timeline.snapshots, found, begin))
    kinds, whos = list(events.KINDS), sorted({event.who for event in found})
    who = {name: number for number, name in enumerate(whos)}
    return {
        "title": title, "made": datetime.datetime.now().astimezone().isoformat(timespec="seconds"),
        "wall": times.wall(begin).timestamp() * 1000, "end": timeline.end - begin, "booted": times.boot(timeline.state) - begin,
        "note": NOTE + (f" The first {left} events are left out." if left else ""), "kinds": [[name, events.KINDS[name]] for name in kinds], "who": whos,
        "marks": [[mark.at - begin, mark.text, mark.ok] for mark in timeline.marks],
        "lanes": [_lane(lane, begin) for lane in shown],
        "events": [[event.at - begin, kinds.index(event.kind), who[event.who], event.text, event.took, int(event.bad), event.cause, event.more]
                   for event in found],
    }


def _events(timeline, recording):
    """The events in order, of too many the latest; and how many are left out."""
    arrived, log = arrivals.split(timeline.log, timeline.messages)
    found = arrived + [events.of_log(line) for line in log] + [events.of_command(line) for line in timeline.journal]
    found += events.of_writes([*recorded.writes_before(recording, timeline.began), *timeline.writes])
    found += recorded.added(recording, found)
    found = sorted((event for event in found if event.at >= timeline.begin), key=lambda event: event.at)
    return _hidden(timeline.state, found[-MOST:]), max(0, len(found) - MOST)


def _hidden(state, found):
    """Without what has turned out to be a secret since it was seen."""
    hide = secrets.Secrets(state).hidden
    for event in found:
        event.text = hide({"text": event.text})["text"]
        event.more = [[hide({"text": cell})["text"] if cell else cell for cell in row] for row in event.more]
    return found


def _lane(lane, begin):
    return {**lane, "spans": [[max(0, span[0] - begin), *span[1:]] for span in lane["spans"]]}


def page(shown):
    """The page, with all that it needs in it."""
    style = "\n".join(_part(part) for part in sorted(PAGE.glob("*.css")))
    script = "\n".join(_part(part) for part in sorted(PAGE.glob("*.js")))
    script = f'"use strict";\n(() => {{\n{script}\n}})();'
    text = _part(PAGE / "page.html")
    for name, filling in (("policy", _policy(script)), ("style", style), ("script", script), ("data", embedded(shown))):
        text = text.replace(FILLED.format(name), filling, 1)
    return text


def _part(path):
    """Without what only its authors need: indentation, and lines that are comments."""
    lines = (line.strip() for line in path.read_text(encoding="utf-8").splitlines())
    return "\n".join(line for line in lines if line and not line.startswith("//"))


def _policy(script):
    """What a browser may do for the page: run its script, take its style, and nothing else."""
    digest = base64.b64encode(hashlib.sha256(script.encode()).digest()).decode()
    return f"default-src 'none'; script-src 'sha256-{digest}'; style-src 'unsafe-inline'; img-src data:; base-uri 'none'; form-action 'none'"


def embedded(shown):
    """As JSON that holds nothing a page could take for markup."""
    text = json.dumps(shown, separators=(",", ":"))
    return text.replace("<", "\\u003c").replace(">", "\\u003e").replace("&", "\\u0026")
