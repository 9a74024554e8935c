"""What reached the daemon, and what it sent: the bus has seen messages, the log when the daemon took them up; of kernel events
the log tells alone."""
import collections
import re

from .events import DAEMON, Event, cut
from .state import REPOSITORY
from .view import RECEIVED, lease_event

MESSAGE = re.compile(r"process msg type = (\d+) ")
KERNEL = re.compile(r"receiving Kernel event")
KERNEL_TEXT = re.compile(r"payload: (.*?) ?!!$")
LEASE = "DHCPC Option "
LINK = re.compile(r"([\w.-]+):(up|down)(?::(-?\d+):([FH]))?")
TYPES = REPOSITORY / "vcfg" / "include" / "vcfg" / "msg_types.h"
NUMBER = re.compile(r"\bVCFG_MSG_(\w+)(?: =)? (0x[0-9A-Fa-f]+)")
PLAIN = 0x7FFFFFFF  # the type without the mark that nobody waits for an answer
DUPLEX = {"F": "full duplex", "H": "half duplex"}


def split(log, messages):
    """(events, log lines that are none of them)."""
    log = [line for line in log if "text" in line]
    arrived, sent = _parted(messages)
    found, rest = [], []
    names, texts = _names(), _kernel_texts(log)
    for line in log:
        message = MESSAGE.match(line["text"]) if line["daemon"] == DAEMON else None
        if found and line["text"].startswith(LEASE):
            _fill_in(found[-1], line["text"].removeprefix(LEASE))
        if message:
            found.append(_received(line, int(message[1]), arrived, names))
        elif line["daemon"] == DAEMON and KERNEL.search(line["text"]):
            found.append(_kernel(line, texts.popleft() if texts else ""))
        else:
            rest.append(line)
    missed = [_message(line, line["t_mono_us"]) for waiting in arrived.values() for line in waiting]
    return found + missed + [_sent(line) for line in sent], rest


def _parted(messages):
    """{type: those that the daemon has yet to take up}, and those that it sent."""
    arrived, sent = collections.defaultdict(collections.deque), []
    for line in messages:
        if line.get("kind") == "lost" or "type" not in line:
            continue
        if line["dstName"] == DAEMON and line["kind"] in ("message", "call"):
            arrived[line["type"] & PLAIN].append(line)
        elif line["srcName"] == DAEMON:
            sent.append(line)
    return arrived, sent


def _names():
    """{type: its name}, for messages that only the log tells of."""
    try:
        return {int(number, 16) & PLAIN: name for name, number in NUMBER.findall(TYPES.read_text(encoding="utf-8"))}
    except OSError:
        return {}


def _received(line, number, arrived, names):
    waiting = arrived.get(number)
    if waiting and waiting[0]["t_mono_us"] <= line["t_mono_us"]:
        return _message(waiting.popleft(), line["t_mono_us"])
    told = f": {RECEIVED[number]}" if number in RECEIVED else ""
    return Event(line["t_mono_us"], "message", "?", f"{names.get(number, f'type {number}')}{told}", more=[["log", line["text"]]])


def _fill_in(event, payload):
    """The daemon says what the DHCP client has sent, when it has taken it up."""
    if event.text == "DHCPC_OPTION":
        event.text = cut(f"{event.text}: {lease_event(payload)}")
        event.more.append(["payload", cut(payload)])


def _message(line, handled):
    name = str(line["typeName"] or f"type {line['type'] & PLAIN}").removeprefix("VCFG_MSG_")
    more = [["from", _sender(line)]] + ([["object", line["path"]]] if line["path"] else [])
    more += [["payload", cut(line["payload"])]] if line["payload"] else []
    told = lease_event(line["payload"]) if name == "DHCPC_OPTION" else RECEIVED.get(line["type"] & PLAIN) or line["payload"]
    return Event(line["t_mono_us"], "message", _sender(line), cut(f"{name}: {told}" if told else name),
                 took=max(0, handled - line["t_mono_us"]), more=more)


def _sender(line):
    program = line["srcProgram"] or "?"
    if "{i}" in program:
        return f"apply hook of {program}"
    return line["srcName"] or program


def _sent(line):
    name = str(line["typeName"] or f"type {line['type'] & PLAIN}").removeprefix("VCFG_MSG_")
    what = {"reply": "answer to ", "failed": "failed: "}.get(line["kind"], "")
    to = line["dstName"] or line["dstProgram"] or "?"
    return Event(line["t_mono_us"], "sent", DAEMON, cut(f"{what}{name} to {to}" + (f": {line['payload']}" if line["payload"] else "")),
                 bad=line["kind"] == "failed", more=[["to", to]] + ([["payload", cut(line["payload"])]] if line["payload"] else []))


def _kernel_texts(log):
    """What the kernel's events said, in their order."""
    found = (KERNEL_TEXT.search(line["text"]) for line in log if line["daemon"] == DAEMON and "MMMM" in line["text"])
    return collections.deque(text[1] for text in found if text)


def _kernel(line, text):
    return Event(line["t_mono_us"], "kernel", "the kernel", cut(_link(text) or text or "an event"), more=[["event", cut(text)]] if text else [])


def _link(text):
    link = LINK.fullmatch(text)
    if not link:
        return None
    speed = f", {link[3]} Mbit/s {DUPLEX[link[4]]}" if link[2] == "up" and link[3] and int(link[3]) > 0 else ""
    return f"{link[1]} is {link[2]}{speed}"
