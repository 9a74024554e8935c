"""Causes as the flight recorder has them. Its lines tell of events of its own, with a number each and that of their cause:
here they are found again among the events that others have seen, or are added to them."""
import bisect
import collections
import re

from .events import DAEMON, Event, cut

RAN = re.compile(r'ran the command "(.*)"$', re.S)
WRITER = re.compile(r"of endpoint \d+\(([\w-]+)\)")
SPELT = {"\\n": "\n", "\\t": "\t", "\\\\": "\\", '\\"': '"'}
KERNEL = "of which the kernel told"
SAME = 60  # characters of a command that tell it from another one
NEAR_US = {"command": 2_000_000, "write": 20_000, "kernel": 50_000, "message": 50_000}
OUTSIDE = ("kernel", "program")  # these, and what others do: without a cause for the recorder they may have one in the order of things
DEEPEST = 64  # causes without an event that is seen


class Recording:
    """The recorder's lines, each once."""

    def __init__(self, lines):
        self.begins, self.ends, self.changes = {}, {}, []
        for line in sorted(lines, key=lambda line: line["t_mono_us"]):
            if line["kind"] in ("event", "received"):
                self.begins.setdefault(line["event"], line)
            elif line["kind"] == "end":
                self.ends[line["event"]] = line["t_mono_us"]
            elif line["kind"] == "changed":
                self.changes.append(line)


def added(recording, events):
    """Fills in the number that the recorder has for each event, and returns those that it alone knows."""
    known = _Known(recording)
    for event in events:
        event.number = known.take(event)
    seen = {event.number for event in events}
    wanted = _ancestors(recording, seen)
    programs = {number: _program(recording.begins[number], recording) for number in wanted - seen
                if recording.begins[number]["kind"] == "event"}
    for event in events:  # a program is seen first when it has done something
        program = programs.get(recording.begins[event.number]["cause"]) if event.number in recording.begins else None
        if program:
            program.at = min(program.at, event.at)
    return list(programs.values())


def _ancestors(recording, seen):
    """What is seen or has brought it about; what came of it, as the run of a hook; and what has brought that about."""
    found = set()
    for number in [*seen, *(number for number, line in recording.begins.items() if line["kind"] == "event" and line["cause"])]:
        while number in recording.begins and number not in found:
            found.add(number)
            number = recording.begins[number]["cause"]
    return found


def writes_before(recording, moment):
    """The changes that nobody watched yet, as the watch tells them."""
    return [_write(line, recording.begins.get(line["event"], {})) for line in recording.changes if line["t_mono_us"] < moment]


def _write(line, begin):
    writer = WRITER.search(begin.get("text", ""))
    return {"t_mono_us": line["t_mono_us"], "path": line["path"], "old": line.get("old"), "new": line.get("new"),
            "by": f"eid {begin.get('srcEid', 0)}", "byName": writer[1] if writer else None}


def _program(line, recording):
    """A hook, another program, a thread, a timer."""
    end = recording.ends.get(line["event"], line["t_mono_us"])
    event = Event(line["t_mono_us"], "program", line["program"] or "?", cut(line["text"]), took=max(0, end - line["t_mono_us"]),
                  more=[["process", str(line["process"])]])
    event.number = line["event"]
    return event


class _Known:
    """What the recorder has, by what can be recognised."""

    def __init__(self, recording):
        self.times, self.numbers = collections.defaultdict(list), collections.defaultdict(list)
        for number, line in recording.begins.items():
            self._add(_key(line), line["t_mono_us"], number)
        for line in recording.changes:
            self._add(("write", line["path"]), line["t_mono_us"], line["event"])

    def _add(self, key, at, number):
        if key:
            self.times[key].append(at)
            self.numbers[key].append(number)

    def take(self, event):
        """The number of what is nearest in time; 0 for none."""
        key = _key_of(event)
        times = self.times.get(key, ())
        place = bisect.bisect_left(times, event.handled)
        near = [(abs(times[one] - event.handled), one) for one in (place - 1, place) if 0 <= one < len(times)]
        distance, nearest = min(near, default=(0, -1))
        if nearest < 0 or distance > NEAR_US[event.kind]:
            return 0
        number = self.numbers[key][nearest]
        if event.kind != "write":  # each is one event, but a write may be of several objects
            del times[nearest], self.numbers[key][nearest]
        return number


def _key(line):
    if line["kind"] == "received":
        return ("message", str(line.get("typeName")).removeprefix("VCFG_MSG_")) if line["program"] == DAEMON else None
    command = RAN.search(line["text"])
    if command:
        return "command", _plain(command[1])[:SAME]
    return ("kernel",) if KERNEL in line["text"] else None


def _plain(text):
    return re.sub(r'\\[nt"\\]', lambda found: SPELT[found[0]], text).strip()


def _key_of(event):
    if event.kind == "write":
        return "write", event.lines[0]["path"]
    if event.kind == "message":
        return "message", event.text.partition(":")[0]
    return {"command": ("command", event.text[:SAME]), "kernel": ("kernel",)}.get(event.kind)


def link(recording, events):
    """Replaces the causes that the recorder knows better. The events are in the order of their times."""
    places = {}
    for place, event in enumerate(events):
        if event.number:
            places.setdefault(event.number, place)
    for place, event in enumerate(events):
        found = _cause(recording, places, event.number) if event.number in recording.begins else None
        if found is None or found == place:
            continue
        if found >= 0:
            _go_on(events, found, event)
        if found >= 0 or (event.who == DAEMON and event.kind not in OUTSIDE):
            event.cause = found


def _go_on(events, program, write):
    """What the order of things tells of a write from outside holds for the program that wrote."""
    cause = write.cause
    if write.kind == "write" and events[program].kind == "program" and events[program].cause < 0 <= cause and events[cause].at < events[program].at:
        events[program].cause = cause


def _cause(recording, places, number):
    """Place of the nearest cause that is seen; -1 when it is the first, None when the recorder has forgotten it."""
    for _ in range(DEEPEST):
        number = recording.begins[number]["cause"]
        if number in places:
            return places[number]
        if number not in recording.begins:
            return None if number else -1
    return None
