"""Which event brought which one about."""
from . import lanes
from .events import ARRIVALS, DAEMON

IDLE_US = 2_000_000  # what the daemon does so long after the last it did belongs to nothing that arrived
NEAR_US = 250_000  # an arrival within it is taken for an answer to what was done before
NEXT_US = 20_000  # and a line of another program for one of the command that ran
LOOKED_BACK = 64
# The line that carries a device: what becomes of it becomes of the device a while later.
LINES = {"ptm": "DSL.", "atm": "DSL.", "opt": "Optical.", "usb": "USB."}
LINE_US = 3_000_000


def link(events):
    """Fills in each event's cause, from the order in which things happened. The events are in the order of their times."""
    order = sorted(range(len(events)), key=lambda place: events[place].handled)
    current, active = -1, 0
    done = []  # places, in the order in which they were handled
    lines, begun = {}, {}  # the last write of a line, and that which has begun what is going on with it
    for place in order:
        event = events[place]
        if event.kind in ARRIVALS:
            event.cause = _origin(events, done, event)
            if event.kind == "kernel" and event.cause < 0:
                event.cause = _line(events, lines, event)
            current, active = place, event.handled
        elif event.who == DAEMON or event.who == "a refresh hook":
            event.cause = current if event.at - active <= IDLE_US else -1
            active = max(active, event.at + event.took) if event.cause >= 0 else active
        else:
            event.cause = _running(events, done, event)
            if event.kind == "write":
                event.cause = event.cause if event.cause >= 0 else begun.pop(event.path, -1)
                lines[event.path.partition(".")[0] + "."] = place
                if lanes.is_between(event):
                    begun[event.path] = place
        done.append(place)


def _origin(events, done, event):
    """What an arrival answers: a write, for the apply hook of its table; else the last thing done or begun just before."""
    table = event.who.removeprefix("apply hook of ").split(".{i}")[0] if event.who.startswith("apply hook of ") else None
    for place in reversed(done[-LOOKED_BACK:]):
        earlier = events[place]
        if earlier.at > event.at or earlier.kind == "log":
            continue
        if event.at - _end(earlier) > NEAR_US and earlier.kind != "command":
            return -1
        if table and not (earlier.kind == "write" and earlier.path.startswith(table)):
            continue
        if event.at - _end(earlier) <= NEAR_US:
            return place
    return -1


def _line(events, lines, event):
    """The write that told of the device's line."""
    place = lines.get(LINES.get(event.text[:3]), -1)
    return place if place >= 0 and event.at - events[place].at <= LINE_US else -1


def _running(events, done, event):
    """The command that another program's doing belongs to: of several the one that has run longest."""
    running = [place for place in done[-LOOKED_BACK:] if events[place].kind == "command"
               and events[place].at <= event.at <= _end(events[place]) + NEXT_US]
    still = [place for place in running if event.at <= _end(events[place])]
    return (still or running[-1:] or [-1])[0]


def _end(event):
    return event.at + event.took
