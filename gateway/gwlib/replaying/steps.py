"""The lines of a recording as the player goes through them."""
from .doings import is_doing, reaches, subject, words
from .observer import ASKED, TOLD_TOO
from .recording import DAEMON_EIDS

DOINGS_SHOWN, ARRIVALS_SHOWN = 6, 2  # before a difference
LATER = ("log", *TOLD_TOO)  # what holds up nothing: it is waited for before the next thing reaches the daemon


def names(line):
    """What it is waited for by: that it is asked for, that it is done."""
    kind = line["kind"]
    return [*([subject(line)] if kind in ASKED else []), *([words(line)] if kind not in ASKED or kind in LATER else [])]


def led_there(passed):
    """What the daemon did last, and what reached it before."""
    done = [index for index, line in enumerate(passed) if is_doing(line)][-DOINGS_SHOWN:]
    reached = [index for index, line in enumerate(passed) if reaches(line)][-ARRIVALS_SHOWN:]
    return [passed[index] for index in sorted({*done, *reached})]


ELSEWHERE = "elsewhere"


def arranged(lines):
    """Values that the daemon had refreshed are there before what made it ask; and what had come of other chains, before what
    the daemon took only then: it takes it sooner in a replay, where the other chains are not."""
    result = []
    taken = {line["of"] for line in lines if line["kind"] == "received" and line.get("program") == "tarn" and "of" in line}
    waiting = {}  # where messages are that the daemon has not taken yet, by their times
    for line in lines:
        if line["kind"] in ("message", "call") and line["at"] in taken:
            waiting[line["at"]] = len(result)
        elif line["kind"] == "received":
            waiting.pop(line.get("of"), None)
        if line["kind"] == "change" and line["by"] == ELSEWHERE and waiting:
            place = min(waiting.values())
            result.insert(place, line)
            waiting = {at: index + 1 for at, index in waiting.items()}
        elif line["kind"] == "change" and line.get("for") in DAEMON_EIDS:
            place = next((index for index in range(len(result), 0, -1) if reaches(result[index - 1]) and "for" not in result[index - 1]), 0)
            result.insert(max(0, place - 1), line)
        else:
            result.append(line)
    return result
