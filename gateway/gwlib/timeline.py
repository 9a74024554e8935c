"""All that happens in a gateway from a moment on: what arrives, what the daemon says and runs, how the data model changes, and
what somebody marks. The gateway may boot, or boot anew, meanwhile. report.write makes a page of it."""
import collections
import json
import subprocess
import threading
from typing import NamedTuple

from . import inside, logs, secrets, times
from .errors import GatewayError
from .growing import PAUSE, File, Program, parsed
from .led import FILES as LED_FILES
from .waiting import until

MOST = 200_000  # lines of each kind that are kept: the latest
SETTLE_SECONDS = 20
RECORDED = ("event", "received", "changed", "end")  # what of the flight recorder tells of causes


class Mark(NamedTuple):
    at: int
    text: str
    ok: bool | None


class Snapshot(NamedTuple):
    """The values of the model at a moment, as vcfgctl shows them, and the texts of the LED's files."""
    at: int
    values: dict
    led: tuple


class Timeline:
    def __init__(self, state, since=None):
        self.state, self.began, self.end = state, times.now(), None
        self.begin = self.began if since is None else since
        self.marks, self.snapshots = [], []
        self.log, self.journal, self.writes, self.messages, self.trace = (collections.deque(maxlen=MOST) for _ in range(5))
        self._secrets = secrets.Secrets(state)
        self._files = ((File(state.log), self.log), (File(state.journal), self.journal))
        self._over = threading.Event()

    @classmethod
    def start(cls, gateway, since=None):
        """Of a gateway's state, whether it runs already or is booted later; with what is known since a moment of the past.
        Returns when all that comes is seen."""
        timeline = cls(gateway, since)
        timeline._follow()
        return timeline

    def _follow(self):
        for file, _ in self._files if self.begin == self.began else ():
            file.new()
        self._programs = (Program(self.state, ["vcfgctl", "watch", "--json"], self.writes.append, self._look),
                          Program(self.state, ["vcfgctl", "monitor", "--json"], self._take_message),
                          Program(self.state, ["vcfgctl", "trace", "--json", "--follow"], self._take_recorded))
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        if self.state.world() is not None:
            until(lambda: self.snapshots, SETTLE_SECONDS)

    def mark(self, text, ok=None):
        """A step that begins; or, with True or False, an outcome that was as expected or was not."""
        self.marks.append(Mark(times.now(), text, ok))

    def stop(self):
        """All that has happened until now is in it."""
        if self.end is None:
            logs.settle(self.state)
            self.end = times.now()
            self._look(reached=True)
            self._over.set()
            self._reader.join()
            for program in self._programs:
                program.end()
            for line in recorded_lines(self.state):
                self._take_recorded(line)
            self._read_files()
        return self

    def _look(self, reached=False):
        """What the model is like when the watch begins and at the end, when the watch has told as much."""
        values = model_values(self.state)
        if values:
            self.snapshots.append(Snapshot(times.now(), values, led_texts(self.state)))
        if values and reached:
            until(lambda: not _behind(values, self.writes), SETTLE_SECONDS)

    def _take_message(self, line):
        if not str(line.get("typeName")).startswith("FE_"):
            self.messages.append(line)

    def _take_recorded(self, line):
        if line.get("kind") in RECORDED:
            self.trace.append(line)

    def _read(self):
        while not self._over.wait(PAUSE):
            self._read_files()

    def _read_files(self):
        for file, lines in self._files:
            lines.extend(map(self._secrets.hidden, file.new()))


def model_values(state):
    """{path: value} of the whole model, secrets hidden; empty when nobody tells."""
    try:
        told = inside.run(state, "vcfgctl", "get", "--json", ".", timeout=10).stdout
        return {line["path"]: line["value"] for line in map(json.loads, told.splitlines())}
    except (GatewayError, ValueError, KeyError, subprocess.TimeoutExpired):
        return {}


def recorded_lines(state):
    """What the flight recorder still has, none without one."""
    try:
        told = inside.run(state, "vcfgctl", "trace", "--json", timeout=10).stdout
    except (GatewayError, subprocess.TimeoutExpired):
        return []
    return [line for line in map(parsed, told.splitlines()) if line]


def led_texts(state):
    try:
        return tuple(inside.run(state, "cat", *LED_FILES, timeout=10).stdout.splitlines())
    except (GatewayError, subprocess.TimeoutExpired):
        return ()


def _behind(values, writes):
    """Whether the last write of a parameter that has been seen is not what it is."""
    last = {line["path"]: line["new"] for line in list(writes) if "path" in line}
    return any(path in values and values[path] != value for path, value in last.items())
