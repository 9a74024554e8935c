"""A road through the gateway, shown while it is travelled: what comes in, what the daemon does about it, and what the
data model says then. Whoever writes a road asks for things, waits for outcomes and checks them; the view keeps up."""
import json
import os
import re
import signal
import subprocess
import sys
import threading
import time

from . import boot, inside, logs
from .errors import GatewayError

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
WAN, BRIDGE = "eth0.5", "br0"  # devices of the default configuration
MESSAGE = re.compile(r"process msg type = (\d+) ")
COLOURS = {"in": "36", "tarn": "0", "runs": "35", "model": "33", "led": "33;1", "ok": "32", "FAIL": "31;1", "title": "1"}


def _text(value):
    """A value of the model as it is written; None when there is none."""
    return value if value is None or isinstance(value, str) else json.dumps(value)


class Tail:
    """The whole lines that a file has grown by."""

    def __init__(self, path):
        self.file = open(path, encoding="utf-8", errors="replace")
        self.rest = ""

    def new(self):
        self.rest += self.file.read()
        *whole, self.rest = self.rest.split("\n")
        return [json.loads(line) for line in whole]


class Watch:
    """The changes of the data model, from now on."""

    def __init__(self, state):
        words = inside.entering(state, "gateway", ["vcfgctl", "watch", "--json"])
        self.process = subprocess.Popen(words, env=inside.environment(), stdout=subprocess.PIPE, text=True,
                                        stdin=subprocess.DEVNULL, start_new_session=True)
        self.lines = []
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(json.loads(line))

    def new(self):
        lines, self.lines = self.lines, []
        return lines

    def end(self):
        """Its child inside the gateway holds this program's standard error: whoever reads that waits for both to end."""
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()


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


class Road:
    def __init__(self, title):
        self.colour = sys.stdout.isatty()
        self.begin = time.monotonic()
        self.checks = 0
        self.failures = []
        self.sources = []
        self.paint("title", title)

    def paint(self, kind, text):
        print(f"\033[{COLOURS[kind]}m{text}\033[0m" if self.colour else text, flush=True)

    def line(self, kind, text, at=None):
        seconds = (at if at is not None else time.monotonic()) - self.begin
        self.paint(kind, f"{seconds:8.3f}  {kind:5}  {text}")

    def watch(self, state):
        """From here on, everything that happens in the gateway is shown."""
        self.sources = [(Tail(state.log), self._of_log), (Tail(state.journal), self._of_journal),
                        (Watch(state), self._of_model)]
        self.show()

    def show(self):
        """What has happened since it was last asked, in order."""
        seen = []
        for source, describe in self.sources:
            for line in source.new():
                described = describe(line)
                if described is not None:
                    seen.append((line["t_mono_us"] / 1e6, *described))
        for at, kind, text in sorted(seen, key=lambda line: line[0]):
            self.line(kind, text, at)

    def _of_log(self, line):
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

    def _of_journal(self, line):
        effect = f"  -> {line['effect']}" if line["effect"] else ""
        return "runs", f"{line['command'].strip()}{effect}" + (f"  (status {line['status']})" if line["status"] else "")

    def _of_model(self, line):
        path, old, new = line["path"], _text(line["old"]), _text(line["new"])
        if old is None:
            return "model", f"{path} is new" if not new else f"{path} = {new}"
        if new is None:
            return "model", f"{path} is gone"
        return "model", f"{path}: {old or '(empty)'} -> {new or '(empty)'}"

    def title(self, text):
        self.show()
        self.paint("title", f"\n{text}")
        if self.colour:
            time.sleep(1)  # someone reads along

    def until(self, what, condition, seconds=15):
        """Waits for the outcome with the view going on; an outcome that does not come is a failed check."""
        end = time.monotonic() + seconds
        while not (good := condition()) and time.monotonic() < end:
            self.show()
            time.sleep(0.05)
        time.sleep(0.1)  # for the eye: what belongs to the outcome is shown before it
        self.show()
        return self.check(what, good)

    def check(self, what, good):
        self.checks += 1
        if not good:
            self.failures.append(what)
        self.line("ok" if good else "FAIL", what)
        return good

    def summary(self):
        """Exit status."""
        for source, _ in self.sources:
            if isinstance(source, Watch):
                source.end()
        seconds = time.monotonic() - self.begin
        if self.failures:
            self.paint("FAIL", f"\n{len(self.failures)} of {self.checks} checks failed in {seconds:.1f} s:")
            for failure in self.failures:
                self.paint("FAIL", f"  {failure}")
            return 1
        self.paint("ok", f"\nall {self.checks} checks as expected, in {seconds:.1f} s")
        return 0


def travel(road, state, *steps):
    """Calls each step, the first of which boots, with the road and the gateway's state; the gateway is down before and
    after. The exit status."""
    boot.down(state)
    try:
        for step in steps:
            step(road, state)
        return road.summary()
    except GatewayError as problem:
        print(f"the road ends here: {problem}", file=sys.stderr)
        return problem.code
    finally:
        boot.down(state)
