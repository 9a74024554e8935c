"""What a daemon did, in words that can be compared: two that did the same have the same words."""
import json
import re

from . import said
from .recording import DAEMON_AUTHORS, DAEMON_EIDS

OWN_NUMBER = re.compile(r"^echo \d+ > /proc/kmonitor/user_pid$")
KERNEL = re.compile(r"/lib/modules/[^/ ]+/")
MOMENTS = ("LastChange",)  # parameters that say when, in seconds since the start of the system
SECONDS_SINCE_1970 = range(1_600_000_000, 2_100_000_000)
PASSING = ("message", "call", "reply", "failed")
ABOUT = {"file": "reads", "signal": "signals process", "hook": "has the hook run:"}


def is_doing(line):
    """Whether the daemon did it, as against what reached it."""
    kind = line["kind"]
    if kind == "change":
        return line["by"] in DAEMON_AUTHORS
    if kind == "hook":
        return line.get("for") in DAEMON_EIDS and line.get("what", "").startswith("apply/")
    if kind == "log":
        return line["program"] == "tarn" and not said.tells_speed(line.get("text", ""))
    return (kind in ("command", "file", "signal") and "what" in line) or (kind in PASSING and line["program"] == "tarn")


def refreshed(lines):
    """The parameters that their owners bring up to date: who writes a record carries them along, as it has read them."""
    return {line["path"] for line in lines if line["kind"] == "change" and "for" in line}


def subject(line):
    """What it was about: two doings of one subject that differ are one difference."""
    kind = line["kind"]
    if kind == "change":
        return f"writes {line['path']}"
    if kind == "command":
        return f"runs {_command(line['what'])}"
    if kind in ABOUT:
        return f"{ABOUT[kind]} {line['what']}"
    if kind == "log":
        return f"says in {line['log']} {said.outline(line.get('text', ''))}"
    words = {"message": "sends", "call": "asks", "reply": "answers", "failed": "cannot reach"}
    return f"{words[kind]} endpoint {line['to']}: {line.get('name') or line['type']}"


def words(line):
    """All of it that counts."""
    kind = line["kind"]
    if kind == "change":
        return f"{subject(line)}: {_value(line, 'old')} -> {_value(line, 'new')}"
    if kind in PASSING:
        code = f" code {line['code']}" if line.get("code") else ""
        return f"{subject(line)}{code} {said.without_times(line.get('text') or line.get('hex', ''))}".rstrip()
    if kind == "hook":
        return f"{subject(line)}, which ends with {line.get('result', 0)} {line.get('text', '')}".rstrip()
    if kind == "log":
        return f"says in {line['log']} ({line.get('level', 0)}): {said.timeless(line.get('text') or line.get('hex', ''))}"
    return subject(line)


def _value(line, name):
    value = line.get(name)
    if value is not None and line["path"].rpartition(".")[2] in MOMENTS:
        return "(up-time)"
    if isinstance(value, int) and value in SECONDS_SINCE_1970:
        return "(time)"
    return said.without_times(json.dumps(value))


def _command(text):
    own = OWN_NUMBER.sub("echo (own number) > /proc/kmonitor/user_pid", text.rstrip("\n"))
    return KERNEL.sub("/lib/modules/(kernel)/", own)


def arrival(line):
    """What reached the daemon, in words."""
    kind = line["kind"]
    if kind == "datagram":
        data = bytes.fromhex(line.get("hex", ""))
        return f"kernel event {data[16:].split(bytes(1))[0].decode(errors='replace')}"
    if kind == "change":
        return f"{line['by']} writes {line['path']}: {json.dumps(line.get('new'))}"
    if kind == "hook":
        return f"hook {line.get('what', '')} has ended with {line.get('result', 0)}"
    if kind in PASSING:
        what = "answers" if kind == "reply" else "sends"
        return f"{line['program'] or line['from']} {what} endpoint {line['to']}: {line.get('name') or line['type']} {line.get('text', '')}".rstrip()
    return f"{kind} {line.get('what', '')}".rstrip()


def reaches(line):
    """Whether somebody else must do it in a replay. What vcmd does by itself a real one does again."""
    kind = line["kind"]
    if kind == "change":
        return line["by"] not in DAEMON_AUTHORS
    if kind in ("message", "call"):
        return line["to"] in DAEMON_EIDS and line["program"] not in ("tarn", "vcmd")
    return kind == "datagram"
