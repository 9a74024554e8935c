"""The daemon's log lines and the journal of the commands it ran."""
import contextlib
import json
import socket

from . import times
from .errors import GatewayError
from .terminal import harmless, paint

LEVELS = ("emerg", "alert", "crit", "error", "warning", "notice", "info", "debug")
CHANNELS = ("vlog", "syslog", "stdout")
ERROR, WARNING, INFO = 3, 4, 6
ASKERS = "/run/gateway/log-askers"  # the collector's socket for those who want to read all that was logged before
SETTLE_SECONDS = 20  # in which a collector that lives answers them
COLOURS = {0: "alarm", 1: "alarm", 2: "alarm", 3: "red", 4: "yellow", 7: "dim"}
mark = times.now  # a point in time for --since


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


def settle(state):
    """Returns when all that was logged before is in the file; False when nobody says so, as without a collector."""
    with contextlib.suppress(GatewayError, OSError), socket.socket(socket.AF_UNIX) as asking:
        asking.settimeout(SETTLE_SECONDS)
        asking.connect(f"/proc/{state.room('gateway')}/root{ASKERS}")
        return asking.recv(1) != b""
    return False


def lines(state, since=None, everybody=False):
    """The daemon's lines in the order in which they were written; of everybody who logs, when so asked."""
    return [line for line in _read(state.log, since) if everybody or line["daemon"] == "tarn"]


def commands(state, since=None):
    """The commands in the order in which they were started."""
    return sorted(_read(state.journal, since), key=lambda line: line["t_mono_us"])


def level(line):
    """Number of the line's level; what is merely printed counts as information."""
    return INFO if line["channel"] == "stdout" else line["level"]


def readable_line(line, when):
    """One line for people: time, channel, level, who, text."""
    where = f"{line['source']}:{line['line']} {line['function']}: " if line["source"] else ""
    named = "" if line["channel"] == "stdout" else LEVELS[line["level"]] if line["level"] in range(8) else line["level"]
    return (f"{when} {line['channel']:6} {named:7} {harmless(line['daemon']) or '?'}: "
            + paint(harmless(where + line["text"]), COLOURS.get(line["level"] if named else None)))


def readable_command(line, when):
    effect = harmless(f"  [{line['effect']}]".replace("\n", "; ")) if line["effect"] else ""
    status = paint(f"{line['status']:3}", "red" if line["status"] else None)
    return f"{when} {status} {line['duration_ms']:5} ms  {harmless(line['command'].rstrip(chr(10)))}{effect}"
