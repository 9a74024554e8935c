"""The daemon's log lines and the journal of the commands it ran."""
import json
import sys
import time

LEVELS = {0: "emerg", 1: "alert", 2: "crit", 3: "error", 4: "warning", 5: "notice", 6: "info", 7: "debug"}
ERROR, WARNING = 3, 4
SETTLE_SECONDS = 0.05  # what a program has logged is in the file by then
COLOURS = {3: "31", 4: "33", 7: "2"}


def _read(path, since):
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            for text in file:
                if not text.endswith("\n"):
                    return
                line = json.loads(text)
                if since is None or line["t_mono_us"] > since:
                    yield line
    except FileNotFoundError:
        return


def lines(state, since=None, everybody=False):
    """The daemon's lines in the order in which they were written; of everybody who logs, when so asked."""
    return [line for line in _read(state.log, since) if everybody or line["daemon"] == "tarn"]


def commands(state, since=None):
    """The commands in the order in which they were started."""
    return sorted(_read(state.journal, since), key=lambda line: line["t_mono_us"])


def mark():
    """A point in time for --since: microseconds of the monotonic clock."""
    return time.clock_gettime_ns(time.CLOCK_MONOTONIC) // 1000


def _paint(text, colour):
    return f"\033[{colour}m{text}\033[0m" if colour and sys.stdout.isatty() else text


def readable_line(line):
    """One line for people: time, channel, level, who, text."""
    where = f"{line['source']}:{line['line']} {line['function']}: " if line["source"] else ""
    level = "" if line["channel"] == "stdout" else LEVELS.get(line["level"], str(line["level"]))
    text = line["text"].replace("\n", "\\n")
    return (f"{line['t_mono_us'] / 1e6:12.6f} {line['channel']:6} {level:7} {line['daemon'] or '?'}: "
            + _paint(where + text, COLOURS.get(line["level"] if level else None)))


def readable_command(line):
    effect = f"  [{line['effect']}]".replace("\n", "; ") if line["effect"] else ""
    status = _paint(f"{line['status']:3}", "31" if line["status"] else None)
    command = line["command"].rstrip("\n").replace("\n", "\\n")
    return f"{line['t_mono_us'] / 1e6:12.6f} {status} {line['duration_ms']:5} ms  {command}{effect}"
