"""Which event brought which one about."""
from .events import ARRIVALS, DAEMON

IDLE_US = 2_000_000  # what the daemon does so long after the last it did belongs to nothing that arrived
NEAR_US = 250_000  # an arrival within it is taken for an answer to what was done before
NEXT_US = 20_000  # and a line of another program for one of the command that ran
LOOKED_BACK = 64


def link(events):
    """Fills in each event's cause, from the order in which things happened. The events are in the order of their times."""
    order = sorted(range(len(events)), key=lambda place: events[place].handled)
    current, active = -1, 0
    done = []  # places, in the order in which they were handled
    for place in order:
        event = events[place]
        if event.kind in ARRIVALS:
            event.cause = _origin(events, done, event)
            current, active = place, event.handled
        elif event.who == DAEMON or event.who == "a refresh hook":
            event.cause = current if event.at - active <= IDLE_US else -1
            active = max(active, event.at + event.took) if event.cause >= 0 else active
        else:
            event.cause = _running(events, done, event)
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


def _running(events, done, event):
    """The command that another program's doing belongs to."""
    for place in reversed(done[-LOOKED_BACK:]):
        earlier = events[place]
        if earlier.kind == "command" and earlier.at <= event.at <= _end(earlier) + NEXT_US:
            return place
    return -1


def _end(event):
    return event.at + event.took
