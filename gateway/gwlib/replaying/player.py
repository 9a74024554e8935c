"""The walk through a recording: what reached the daemon reaches it again, what it did is waited for."""
import collections
import subprocess
import time

from . import doings
from .doings import is_doing, reaches, subject, words
from .observer import ASKED
from .steps import LATER, arranged, led_there, names

PATIENCE = 20  # seconds for a step of the daemon's, beyond the time that it took then
SHORT_PATIENCE = 2  # once something is different
STUCK_SECONDS = 0.5  # then a command gets its result before its turn: another thread may have to go on first
REGISTRATION = "/run/gateway/registered"


class Difference:
    def __init__(self, at, text, led):
        self.at, self.text, self.led = at, text, led


class Player:
    def __init__(self, recording, rig, fast):
        carried = doings.refreshed(recording.lines)
        self.lines = arranged([line for line in recording.lines
                               if not is_doing(line) or (recording.compares(line) and line.get("path") not in carried)])
        self.rig, self.fast = rig, fast
        self.coming = collections.Counter(name for line in self.lines if is_doing(line) for name in names(line))
        self.early = collections.Counter()  # commands that got their result before their turn
        self.differences = []
        self.steps = 0
        self.passed = []
        self.owed = []  # what holds up nothing, each with how much had passed
        self.began = time.monotonic()
        self.last_us = 0

    def play(self):
        for index, line in enumerate(self.lines):
            self._await_time(line)
            self.rig.clock.set(line["at"])
            self._pass(index, line)
            self.last_us = line["at"]
        self._look_for_more()

    def _await_time(self, line):
        if not reaches(line) and line["kind"] not in ("reply", "end") or self.fast:
            return
        self.rig.model.flush()
        end = self.began + line["at"] / 1e6
        self.rig.loop.until(lambda: time.monotonic() >= end, max(0.0, end - time.monotonic()), self._relieve)

    def _pass(self, index, line):
        if line["kind"] != "change" or not reaches(line):
            self.rig.model.flush()
        if reaches(line):
            self._hear()
            self._feed(line)
        elif line["kind"] == "reply" and line["to"] in doings.DAEMON_EIDS and line["program"] not in ("tarn", "vcmd"):
            self._hear()
            self._answer(line)
        elif is_doing(line):
            self._expect(line)
        if line["kind"] != "end":
            self.passed.append(line)

    def _feed(self, line):
        if line["kind"] == "change":
            self.rig.model.take(line)
        elif line["kind"] == "datagram":
            subprocess.run(["gw-kernel-event", "--raw", "-", "--pid-file", REGISTRATION], input=bytes.fromhex(line.get("hex", "")),
                           check=False)
        else:
            self.rig.neighbours.send(line, self.rig.payload(line))

    def _answer(self, line):
        call = self.rig.loop.until(lambda: self.rig.neighbours.asked(line), self._patience(line), self._relieve)
        if call:
            self.rig.neighbours.answer(call, line, self.rig.payload(line))

    def _expect(self, line):
        self.steps += 1
        place, kind = len(self.passed), line["kind"]
        if kind in ASKED and not self._serve(line, place):
            return
        if kind in LATER:
            self.owed.append((line, place))
        elif kind not in ASKED:
            self._see(line, place)

    def _hear(self):
        """What holds up nothing is waited for before the next thing reaches the daemon: one by one it would slow the replay."""
        for line, place in self.owed:
            self._see(line, place)
        self.owed = []

    def _serve(self, line, place):
        """Whether somebody has asked for that, and has its result now."""
        what = subject(line)
        self.coming[what] -= 1
        if self.early[what] > 0:
            self.early[what] -= 1
            return True
        asker = self.rig.loop.until(lambda: self.rig.asks.of(what), self._patience(line), self._relieve)
        if asker:
            self.rig.asks.answer(asker, line)
        else:
            self._differ(f"has not happened: {what}", line, place)
        return asker

    def _see(self, line, place):
        what = words(line)
        self.coming[what] -= 1
        done = self.rig.loop.until(lambda: self.rig.observer.take(what) or self._instead(line), self._patience(line), self._relieve)
        if line["kind"] == "file":
            self.rig.files.read(line)
        if not done:
            self._differ(f"has not happened: {what}", line, place)
        elif isinstance(done, str):
            self.rig.observer.take(done)
            self._differ(f"has happened otherwise: {what}\n             now: {done}", line, place)

    def _instead(self, line):
        return self.rig.observer.other(subject(line), lambda other: self.coming[other] > 0)

    def _patience(self, line):
        """The time that it took then may pass again."""
        return (SHORT_PATIENCE if self.differences else PATIENCE) + max(0, line["at"] - self.last_us) / 1e6

    def _relieve(self, waited):
        """Commands that nobody expects end at once; those that are not yet due end early when nothing else goes on."""
        for number, (asked, _) in list(self.rig.asks.waiting.items()):
            if self.coming[asked] <= self.early[asked]:
                self.rig.asks.answer(number, None)
                self._differ(f"was not in the recording: {asked}")
            elif waited > STUCK_SECONDS:
                self.rig.asks.answer(number, self._due(asked))
                self.early[asked] += 1
                return

    def _due(self, asked):
        """The recorded line that gives the next result of this command."""
        later = [line for line in self.lines[len(self.passed):] if is_doing(line) and subject(line) == asked]
        return later[min(self.early[asked], len(later) - 1)] if later else None

    def _differ(self, text, line=None, place=None):
        at = line["at"] if line else self.last_us
        self.differences.append(Difference(at, text, led_there(self.passed[:place])))

    def _look_for_more(self):
        """Until the daemon has nothing left to do."""
        self._hear()
        self.rig.loop.until(self.rig.is_idle, PATIENCE, self._relieve)
        for what, lines in self.rig.observer.seen.items():
            for _ in lines:
                self._differ(f"was not in the recording: {what}")
