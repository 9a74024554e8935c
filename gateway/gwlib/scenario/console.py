"""How a scenario is shown where there is no terminal: a line for each outcome, and with `verbose` for what lies between."""
import collections
import time

from ..terminal import fitted, harmless, paint

COLOURS = {"does": "bold", "in": "cyan", "tarn": None, "runs": "violet", "model": "yellow", "led": "bright", "ok": "green",
           "FAIL": "alarm", "want": "red", "seen": "red", "why": "dim"}
OUTCOMES = ("ok", "FAIL", "want", "seen")
REMEMBERED = 400  # lines of what lies between, for the chain of a failure


class Console:
    shown = OUTCOMES  # kinds of lines

    def __init__(self, verbose):
        self.begin = time.monotonic()
        self.remembered = collections.deque(maxlen=REMEMBERED)
        if verbose:
            self.shown = tuple(COLOURS)

    def title(self, text):
        self.put(f"\n{paint(fitted(text), 'bold')}")

    def line(self, kind, text, at=None):
        seconds = (at if at is not None else time.monotonic()) - self.begin
        line = f"{seconds:8.3f}  {kind:5}  {harmless(text)}"
        if kind not in OUTCOMES:
            self.remembered.append((at, line))
        if kind in self.shown:
            self.put(paint(fitted(line), COLOURS[kind]))

    def put(self, text):
        print(text, flush=True)

    def aside(self, text):
        """A line of what lies between, now that it matters."""
        self.put(paint(fitted(text), COLOURS["why"]))

    def progress(self, scenario, step, seen, expected):
        """How far the scenario is; who is not looking on is not told."""

    def watch(self, state):
        """The gateway is there and can be looked at."""

    def close(self):
        """Nothing more is shown."""
