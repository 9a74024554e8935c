"""What happens in a gateway, line by line: what the daemon is told, says and runs, and how the data model changes."""
import json
import re

from . import led, secrets
from .growing import File, Program
from .model import value_text

# What the daemon says of messages whose content it does not log.
RECEIVED = {
    219: "from the DHCPv6 client: a report of address and prefix",
    221: "from the advertisement listener: a router has advertised itself",
    251: "from the LAN's DHCP server: a lease, or a client's group",
    1002: "a requester asks to disconnect", 1003: "a requester asks to connect",
    1004: "a requester asks for a release", 1005: "a requester asks for a renewal",
    4027: "from the timer: the next poll of the protected setup",
    4028: "a requester asks to start a protected setup", 4029: "a requester asks to stop the protected setup",
}
LOOKS = ("ip route | grep 'default'", "ip -6 route | grep 'default'")
MESSAGE = re.compile(r"process msg type = (\d+) ")


class Watch:
    """The changes of the data model, from now on, through a restart of vcmd too."""

    def __init__(self, state):
        self.lines = []
        self.program = Program(state, ["vcfgctl", "watch", "--json"], self.lines.append)

    def new(self):
        lines = self.lines[:]
        del self.lines[: len(lines)]
        return lines

    def end(self):
        self.program.end()


def lease_event(text):
    """The DHCP client's payload for people."""
    try:
        event = json.loads(text)
    except ValueError:
        return text
    if not event.get("addressAssigned"):
        return f"no lease any more  ({text})"
    words = [f"lease {event.get('ip')} mask {event.get('subnet')}", f"router {event.get('router')}",
             f"DNS {event.get('dns')}", *(f"route {route}" for route in classless_routes(event.get("opt121", "")))]
    return ", ".join(words)


def classless_routes(option):
    """"10.9.0.0/16 via 203.0.113.1" for each route of the option's hexadecimal text."""
    data = bytes.fromhex(option)[2:]
    while data:
        width, octets = data[0], (data[0] + 7) // 8
        network = ".".join(map(str, data[1 : 1 + octets].ljust(4, b"\0")))
        gateway = ".".join(map(str, data[1 + octets : 5 + octets]))
        yield f"{network}/{width} via {gateway}"
        data = data[5 + octets :]


class View:
    """The lines of everything that happens from now on. `heard` gets each as it is, its secrets hidden."""

    def __init__(self, state, heard):
        self.watch = Watch(state)
        self.light = led.Light()
        self.sources = [(File(state.log), of_log), (File(state.journal), self._of_command), (self.watch, of_model)]
        self.heard, self.secrets = heard, secrets.Secrets(state)

    def new(self):
        """(time, kind, text) of what has happened since it was last asked, in order."""
        seen = []
        for source, describe in self.sources:
            for line in source.new():
                line = self.secrets.hidden(line)
                described = describe(line)
                self.heard(line)
                if described is not None:
                    seen.append((line["t_mono_us"] / 1e6, *described))
        return sorted(seen, key=lambda line: line[0])

    def _of_command(self, line):
        """The LED is told as it changes; the looks that the daemon takes for its sake are not."""
        if line["command"].strip().endswith(led.FILES):
            line["led"] = self.light.after(line["command"])
            return ("led", f"the Internet LED: {line['led'][0]} -> {line['led'][1]}") if line["led"] else None
        return None if line["command"].strip() in LOOKS else of_journal(line)

    def end(self):
        self.watch.end()


def of_log(line):
    if line["daemon"] != "tarn":
        return None
    text = line["text"].replace("\n", " ")
    if line["channel"] == "syslog" and text.startswith("DHCPC Option "):
        return "in", "from the DHCP client: " + lease_event(text.removeprefix("DHCPC Option "))
    if line["channel"] == "vlog" and line["level"] >= 7:
        message = MESSAGE.match(text)
        received = RECEIVED.get(int(message[1])) if message else None
        return ("in", received) if received else None
    return "tarn", f"{text}  ({line['channel']})"


def of_journal(line):
    effect = f"  -> {line['effect']}" if line["effect"] else ""
    return "runs", f"{line['command'].strip()}{effect}" + (f"  (status {line['status']})" if line["status"] else "")


def of_model(line):
    path, old, new = line["path"], value_text(line.get("old")), value_text(line.get("new"))
    if line.get("by") == "refresh hook":  # somebody has asked: nothing has happened
        return None
    if old is None:
        return "model", f"{path} is new" if not new else f"{path} = {new}"
    if new is None:
        return "model", f"{path} is gone"
    return "model", f"{path}: {old or '(empty)'} -> {new or '(empty)'}"
