"""What happened, one record each, from the lines of a timeline: what the daemon ran and said, what was written. What arrived is
in arrivals.py."""
import dataclasses

from . import logs
from .model import value_text
from .secrets import HIDDEN

KINDS = {"kernel": "kernel events", "message": "messages", "write": "writes", "command": "commands", "sent": "messages sent",
         "program": "programs", "log": "log lines"}
ARRIVALS = ("kernel", "message")
DAEMON = "tarn"
TOGETHER_US = 500  # parameters of one object that are written within it are one write
LONGEST = 2000  # characters of a text
SHORT = 60  # of a value in a headline


@dataclasses.dataclass
class Event:
    at: int
    kind: str
    who: str
    text: str
    took: int = 0  # microseconds
    bad: bool = False
    more: list = dataclasses.field(default_factory=list)  # rows for who looks closer: name and text, or name, before and behind
    path: str = ""  # the object that was written
    lines: list = dataclasses.field(default_factory=list)  # the changes that a write consists of
    number: int = 0  # that the flight recorder has for it
    cause: int = -1  # place of the event that brought this one about; -1: none that is known

    @property
    def handled(self):
        """When what arrived was taken up; what came of it begins here."""
        return self.at + self.took if self.kind in ARRIVALS else self.at


def cut(text):
    return text if len(text) <= LONGEST else text[:LONGEST] + "…"


def of_log(line):
    where = f"{line['source']}:{line['line']} {line['function']}".strip() if line["source"] else ""
    level = logs.level(line)
    named = logs.LEVELS[level] if level in range(8) else str(level)
    more = [["channel", f"{line['channel']}, {named}" if line["channel"] != "stdout" else "standard output"]]
    return Event(line["t_mono_us"], "log", line["daemon"] or "?", cut(line["text"].strip()), bad=level <= logs.ERROR,
                 more=more + ([["where", where]] if where else []))


def of_command(line):
    more = [["exit status", str(line["status"])]] + ([["effect", cut(line["effect"])]] if line["effect"] else [])
    return Event(line["t_mono_us"], "command", DAEMON, cut(line["command"].strip()), took=int(line["duration_ms"] * 1000),
                 bad=line["status"] != 0, more=more)


def of_writes(lines):
    """The changes of one object by one writer, at one time, are one event."""
    groups = []
    for line in sorted((line for line in lines if "path" in line), key=lambda line: line["t_mono_us"]):
        last = groups[-1][-1] if groups else None
        if last and _belongs(line, last):
            groups[-1].append(line)
        else:
            groups.append([line])
    return [_write(group) for group in groups]


def thing(line):
    """The object of a change: its own path when it comes or goes, else that without the parameter."""
    path = line["path"]
    return path if path.rpartition(".")[2].isdecimal() else path.rpartition(".")[0]


def _belongs(line, last):
    return (thing(line) == thing(last) and line["by"] == last["by"] and line["t_mono_us"] - last["t_mono_us"] < TOGETHER_US)


def _write(group):
    path, first = thing(group[0]), group[0]
    rows = [[_name(line, path), _shown(line["old"]), _shown(line["new"])] for line in group]
    told = "; ".join(_told(line, path) for line in group)
    who = first["byName"] or ("a refresh hook" if first["by"] == "refresh hook" else DAEMON if first["by"] == "eid 0" else first["by"])
    return Event(first["t_mono_us"], "write", who, cut(f"{path}: {told}"), more=rows, path=path, lines=group)


def _name(line, path):
    return line["path"].removeprefix(path + ".") if line["path"] != path else "(object)"


def _shown(value):
    """An empty text for what is empty, None for what is not there."""
    text = value_text(value)
    return None if text is None else cut(text)


def _told(line, path):
    old, new = value_text(line["old"]), value_text(line["new"])
    if new is None or (old is None and line["path"] == path):
        return "is gone" if new is None else "is new"
    return f"{_name(line, path)} {_brief(old)} → {_brief(new)}" if old != HIDDEN else f"{_name(line, path)} {HIDDEN}"


def _brief(text):
    return "(empty)" if not text else text if len(text) <= SHORT else text[:SHORT] + "…"
