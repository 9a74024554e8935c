"""What the gateway was like over the time: the states of its links, LED, connections and addresses, each in a lane of its own."""
import re
from typing import NamedTuple

from .led import COLOURS as LED_COLOURS
from .model import value_text
from .timeline import LED_FILES

GOOD = {"Up", "Bound", "Enabled", "Connected", "green", "Renewing", "Complete", "Completed", "Success"}
OFF = {"Down", "LowerLayerDown", "Disabled", "Disconnected", "NoSignal", "NotPresent", "dark", "Init", "Release", "None", ""}
BAD = ("error", "red", "fail")

TOGETHER_US = 500  # what a lane showed for less than that, between two parameters of one write, is not told


class Kind(NamedTuple):
    """Objects of one form: which parameters say its state, what is shown of it, and what it is called."""
    group: str
    form: re.Pattern
    states: tuple
    shown: tuple = ()
    named: tuple = ("Alias", "Name")


def _kind(group, tables, states, **more):
    return Kind(group, re.compile("(?:" + "|".join(table.replace(".", r"\.").replace("#", r"\d+") for table in tables) + ")"), states, **more)


KINDS = (
    _kind("Links", ("Ethernet.Interface.#", "Optical.Interface.#", "USB.Interface.#", "DSL.Line.#"), ("LinkStatus", "Status")),
    _kind("Links", ("Ethernet.Link.#", "PTM.Link.#", "ATM.Link.#"), ("Status",)),
    _kind("Connections", ("IP.Interface.#",), ("Status",)),
    _kind("Connections", ("PPP.Interface.#",), ("ConnectionStatus", "Status")),
    _kind("Connections", ("DHCPv4.Client.#", "DHCPv6.Client.#"), ("DHCPStatus", "Status")),
    _kind("Addresses", ("IP.Interface.#.IPv4Address.#", "IP.Interface.#.IPv6Address.#"), ("Status",), shown=("IPAddress",)),
    _kind("Addresses", ("IP.Interface.#.IPv6Prefix.#",), ("Status",), shown=("Prefix",)),
    _kind("Addresses", ("DNS.Client.Server.#",), ("Status",), shown=("DNSServer",)),
    _kind("Addresses", ("Routing.Router.#.IPv4Forwarding.#",), ("Status",), shown=("DestIPAddress", "GatewayIPAddress")),
    _kind("Addresses", ("Routing.Router.#.IPv6Forwarding.#",), ("Status",), shown=("DestIPPrefix", "NextHop")),
    _kind("Others", ("WiFi.AccessPoint.#.WPS", "X_VORAN_WPS"), ("X_VORAN_WPSRunningStatus", "WPSRunningStatus", "Status")),
    _kind("Others", ("Time", "X_VORAN_WWANBackup"), ("Status",)),
    _kind("Others", ("[A-Z]+.Diagnostics.[A-Za-z0-9_]+",), ("DiagnosticsState",)),
)


def tone(text):
    """How a state looks."""
    if text in GOOD or text == "true":
        return "good"
    if text in OFF or text == "false":
        return "off"
    return "bad" if any(part in text.lower() for part in BAD) else "warn"


def is_between(event):
    """Whether a write leaves something in a state that cannot last, as a line that trains."""
    return any(tone(str(line["new"])) == "warn" for line in event.lines if line["path"].endswith("Status"))


def of(changes):
    """The lanes that the model's changes give: (time, path, new value, place of the event); of an object that goes the value is
    None."""
    lanes, records = {}, {}
    for at, path, new, place in changes:
        thing, _, parameter = path.rpartition(".")
        if parameter.isdecimal():
            if new is None:
                records.pop(path, None)
                _tell(lanes, records, path, at, place)
            continue
        record = records.setdefault(thing, {})
        record[parameter] = value_text(new) or ""
        _tell(lanes, records, thing, at, place)
    return sorted((lane for lane in lanes.values() if any(span[1] for span in lane["spans"])), key=_order)


def _tell(lanes, records, path, at, place):
    record = records.get(path)
    kind = next((kind for kind in KINDS if kind.form.fullmatch(path)), None)
    if kind is None or (record is None and path not in lanes):
        return
    lane = lanes.setdefault(path, {"group": kind.group, "path": path, "name": "", "spans": []})
    if record is not None:
        lane["name"] = next((record[name] for name in kind.named if record.get(name)), lane["name"]) or _above(records, path)
    _append(lane["spans"], at, *_state(kind, record), place)


def _above(records, path):
    """What has no name of its own is called after the object that it belongs to."""
    above = records.get(".".join(path.split(".")[:-2]), {})
    return next((above[name] for name in ("Alias", "Name") if above.get(name)), "")


def _state(kind, record):
    """Text and tone."""
    if record is None:
        return "", "none"
    state = next((record[name] for name in kind.states if record.get(name)), "")
    shown = " via ".join(record[name] for name in kind.shown if record.get(name))
    looks = tone(state)
    if not kind.shown:
        return (state, looks) if state not in ("", "None") else ("", "none")
    return (shown if looks == "good" else f"{shown} {state}".strip()) if shown else "", looks if shown else "none"


def _append(spans, at, text, looks, place):
    if spans and at - spans[-1][0] < TOGETHER_US:
        spans.pop()
    if not spans or spans[-1][1:3] != [text, looks]:
        spans.append([at, text, looks, place])


def led(changes):
    """The lane of the LED, whose two files' texts change: (time, file, text, place of the event)."""
    files, spans = {}, []
    for at, file, text, place in changes:
        files[file] = text
        colour = LED_COLOURS.get(tuple(files.get(name, "0 0") for name in LED_FILES), "between")
        _append(spans, at, colour, tone(colour), place)
    return [{"group": "Internet LED", "path": "", "name": "Internet LED", "spans": spans}] if spans else []


def _order(lane):
    groups = [kind.group for kind in KINDS]
    return groups.index(lane["group"]), [word if not word.isdecimal() else f"{int(word):06}" for word in lane["path"].split(".")]
