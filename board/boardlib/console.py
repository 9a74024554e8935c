"""What a board says on its serial line while it travels roads."""
import re
import subprocess
import threading
import time

from . import machine

LINE = re.compile(r"\s*(\d+\.\d\d)  (\w*) +(.*)")
# What the emulator and the kernel say when there is too little memory for the board to start.
LIMITS = ("memory too small for initial ram disk", "System is deadlocked on memory")
BOOTS = 5
QUIET_SECONDS = 1200  # longer than any wait of a road, however busy this machine is


class Outcome:
    """What came of one board's roads."""

    def __init__(self, name):
        self.name = name
        self.checks = 0
        self.failures = []
        self.figures = {}
        self.ended = False
        self.limit = None
        self.clock_is_wrong = False

    def take(self, kind, text):
        if kind in ("ok", "FAIL"):
            self.checks += 1
        if kind == "FAIL":
            self.failures.append(f"{self.name}: {text}")
        if kind == "figure":
            name, _, value = text.partition(": ")
            self.figures[name] = value
        if kind == "clock":
            self.clock_is_wrong = True
        if kind == "end":
            self.ended = True


def travel(name, hardware, roads, show, may_meet_limit=False):
    """Boots a board that travels the roads and powers off; shows each of its lines, and says what came of it. One that
    may meet the limit of its memory says which. One that this machine was too busy to start with a right clock starts again."""
    for _ in range(BOOTS):
        outcome = _boot(name, hardware, roads, show, may_meet_limit)
        if not outcome.clock_is_wrong:
            break
    return outcome


def _boot(name, hardware, roads, show, may_meet_limit):
    outcome = Outcome(name)
    words = [*machine.command(hardware, f"board.roads={','.join(roads)}"), "-serial", "stdio", "-monitor", "none"]
    process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    guard = _Guard(process)
    for raw in process.stdout:
        guard.heard()
        text = raw.decode(errors="replace").rstrip("\r\n")
        said = LINE.fullmatch(text)
        show(name, said.groups() if said else ("", "", text))
        if said:
            outcome.take(said[2], said[3])
        outcome.limit = outcome.limit or next((limit for limit in LIMITS if limit in text), None)
    process.wait()
    if guard.gave_up:
        outcome.failures.append(f"{name}: the board has said nothing for {QUIET_SECONDS} s")
    elif not outcome.ended and outcome.limit and may_meet_limit:
        outcome.take("ok", f"it says which limit it met: {outcome.limit}")
        outcome.take("figure", f"{name} board, limit met: {outcome.limit}")
    elif outcome.clock_is_wrong:
        outcome.failures.append(f"{name}: this machine is too busy to start a board with a right clock")
    elif not outcome.ended:
        outcome.failures.append(f"{name}: the board ended before its roads did (QEMU's status {process.returncode})")
    return outcome


class _Guard:
    """Ends a board that says nothing any more."""

    def __init__(self, process):
        self.process = process
        self.gave_up = False
        self.heard()
        threading.Thread(target=self._watch, daemon=True).start()

    def heard(self):
        self.last = time.monotonic()

    def _watch(self):
        while self.process.poll() is None:
            time.sleep(1)
            if time.monotonic() - self.last > QUIET_SECONDS:
                self.gave_up = True
                self.process.kill()
