"""A fresh daemon, a real vcmd with the model of then, and stand-ins for all else. Runs inside the room."""
import contextlib
import datetime
import json
import os
import pathlib
import struct
import subprocess

from . import bus
from .asks import Asks
from .doings import is_doing, refreshed, subject
from .hooks import HOOKS, place_hooks
from .loop import Loop
from .neighbours import Neighbours
from .observer import ASKED, Observer
from .others import Files, Model
from .player import REGISTRATION

HIDDEN, STAND_IN = "********", "hidden00"  # what a recording has for a secret, and what a replay has
START_UP = 0x00F00015
LED_UPDATE, SHELL_COMMAND = "0x800003f6", "0x11e"
START_SECONDS = 30
WALKS_SECONDS = 60  # the longest that what start-up has begun goes on
PRELOADED = ":".join(f"/usr/lib/gateway/lib{name}.so" for name in ("kmonitor", "replay"))
SNAPSHOT = pathlib.Path("/run/gateway/snapshot.json")
MOMENT = "/run/gateway/replay-clock"
OUTPUT = pathlib.Path("/run/gateway/daemon.txt")
OWN_THREADS = 4
HOOK_SECONDS = "3600"  # a hook waits for its place in the recording


class Unplayable(Exception):
    """The daemons did not come up, in one line."""


def revealed(text):
    return text.replace(HIDDEN, STAND_IN)


def plain(text):
    return text.replace(STAND_IN, HIDDEN)


class Clock:
    """What time it is for the daemon: that of the recording."""

    def __init__(self, header):
        self.began = datetime.datetime.fromisoformat(header["clock"].replace("Z", "+00:00")).timestamp()
        self.uptime_us = header["t_mono_us"]
        self.file = os.open(MOMENT, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o600)
        self.set(0)

    def set(self, at_us):
        os.pwrite(self.file, struct.pack("<qq", int(self.began + at_us / 1e6), (self.uptime_us + at_us) // 1000000), 0)


class Rig:
    def __init__(self, recording, warn):
        self.recording, self.warn = recording, warn
        self.loop = Loop()
        self.daemon = self.observer = None
        self.asks = Asks(self.loop, plain)
        self.first = {}
        self.clock = Clock(recording.header)
        self.model = Model(revealed, warn)

    def start(self):
        pathlib.Path("/run/vcfg").mkdir(mode=0o700, exist_ok=True)
        self._start_vcmd()
        self.neighbours = Neighbours(self.loop, self.recording.lines)
        self.files = Files(self.recording.lines, revealed)
        if self.recording.is_warm:
            self._start_daemon()
            self._settle()
            subprocess.run(["vcfgctl", "load", "--no-apply", str(SNAPSHOT)], check=False)
            self._look_at_led()
        self.observer = Observer(self.loop, refreshed(self.recording.lines), self.recording.compares)
        if not self.loop.until(lambda: self.observer.header, START_SECONDS):
            raise Unplayable("nobody can look at the bus")
        if self.observer.header["model"] != self.recording.header["model"]:
            self.warn("it is of another data model: what is not in this one is left out")
        if not self.recording.is_warm:
            self._start_daemon()

    def payload(self, line):
        if "hex" in line:
            return bytes.fromhex(line["hex"])
        if "text" not in line:
            return b""
        return revealed(line["text"]).encode() + (b"" if line.get("unterminated") else b"\0")

    def is_idle(self):
        """Whether no thread of the daemon's is under way, and all that it did has been told."""
        return self._is_at_rest() and self._nothing_new()

    def _is_at_rest(self):
        return not self.asks.waiting and self._threads() <= OWN_THREADS

    def _nothing_new(self):
        before = self.observer.count()
        self.loop.turn(0.3)
        return before == self.observer.count()

    def _start_vcmd(self):
        objects = json.loads(revealed(json.dumps(self.recording.objects)))
        SNAPSHOT.write_text(json.dumps({"version": 1, "objects": objects}), encoding="utf-8")
        place_hooks(self.recording.lines)
        done = subprocess.run(["vcmd", "--hook-dir", str(HOOKS), "--hook-timeout", HOOK_SECONDS, "--defaults", str(SNAPSHOT)],
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            said = done.stderr.strip().splitlines()
            raise Unplayable(f"its data model is not taken: {said[-1] if said else 'vcmd ends'}")
        for line in done.stderr.splitlines():
            if " warning " in line or " error " in line:
                self.warn(line.split(": ", 1)[-1])

    def _start_daemon(self):
        environment = {**os.environ, "LD_PRELOAD": PRELOADED, "VCFG_MAIL_HELPER": "/bin/true"}
        with open(OUTPUT, "wb") as output:
            self.daemon = subprocess.Popen(["tarn", "--foreground"], env=environment, stdout=output, stderr=output)
        pathlib.Path(REGISTRATION).write_text(str(self.daemon.pid), encoding="ascii")
        if not self.loop.until(lambda: (bus.RUN_DIR / "eid-2").is_socket() or self.daemon.poll() is not None, START_SECONDS, self._appease):
            raise Unplayable("the daemon does not come up")

    def _settle(self):
        """A daemon that ran already when the recording began has started up."""
        if not self.loop.until(self._has_started, START_SECONDS, self._appease):
            raise Unplayable("the daemon does not complete its start-up")
        self.loop.until(self._is_at_rest, WALKS_SECONDS, self._appease)

    def _look_at_led(self):
        """The daemon drives the LED when it changes; so it has to know how it was."""
        subprocess.run(["vcfgctl", "send", "--to", "2", "--type", LED_UPDATE], check=False)
        self.loop.until(lambda: not self.asks.waiting and self.asks.count > 0, START_SECONDS, self._appease)
        answer = subprocess.Popen(["vcfgctl", "send", "--to", "2", "--type", SHELL_COMMAND, "--payload", ":", "--reply"],
                                  stdout=subprocess.DEVNULL)
        self.loop.until(lambda: answer.poll() is not None, START_SECONDS, self._appease)

    def _has_started(self):
        with contextlib.suppress(OSError):
            return int.from_bytes(bus.asked(1, START_UP).payload[:4], "little") == 1
        return False

    def _threads(self):
        with contextlib.suppress(OSError):
            return len(os.listdir(f"/.proc/{self.daemon.pid}/task"))
        return 0

    def _appease(self, _waited):
        """Before the recording begins, commands find what they find first in it."""
        if not self.first:
            self.first = {True: None}
            for line in self.recording.lines:
                if is_doing(line) and line["kind"] in ASKED:
                    self.first.setdefault(subject(line), line)
        for number, (asked, _) in list(self.asks.waiting.items()):
            self.asks.answer(number, self.first.get(asked))

    def close(self):
        for part in (self.observer, self.asks, getattr(self, "neighbours", None)):
            if part is not None:
                part.close()
        if self.daemon is not None:
            self.daemon.kill()
            self.daemon.wait()
