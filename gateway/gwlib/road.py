"""A road through the gateway: somebody asks for things, waits for outcomes and checks them. docs/scenarios.md is the page
about it; what stands there without an underscore is kept."""
import collections
import subprocess
import sys
import time

from . import boot, inside, logs, model, net
from .errors import GatewayError
from .state import REPOSITORY
from .terminal import fitted, harmless, paint
from .view import View

WAN, BRIDGE = "eth0.5", "br0"  # devices of the default configuration
COLOURS = {"in": "cyan", "tarn": None, "runs": "violet", "model": "yellow", "led": "bright", "note": "cyan", "ok": "green",
           "FAIL": "alarm", "title": "bold"}
SIDE = ("in", "tarn", "runs", "model", "led", "note")  # kinds of lines that are raw material for the checks
REMEMBERED = 25  # of them, for a check that fails


class Road:
    """One gateway, and what is asked, awaited and checked of it."""

    def __init__(self, name, state, verbose=False, shows=None):
        self.name, self.state, self.verbose = name, state, verbose
        self.checks, self.failures, self.seconds = 0, [], 0.0
        self._begin = time.monotonic()
        self._view, self._shows = None, shows or (lambda line, describe: describe(line))
        self._unseen = collections.deque(maxlen=REMEMBERED)
        self._mark = 0

    # --- asking ---

    def boot(self, config=None, unplugged=(), ready=lambda: None):
        """Boots with the factory defaults or a configuration. `ready` is called when start-up has completed and no lease
        has been asked for yet; from there on all that happens is in the view."""
        def watched():
            self._view = View(self.state, self._shows)
            self._show()
            ready()

        boot.up(self.state, config=config, fresh=True, unplugged=unplugged, before_clients=watched, say=lambda text: None)

    def gw(self, *words):
        """Any call of gw about this gateway, as words or as one text; what it printed. One that is refused ends the road."""
        command = [sys.executable, str(REPOSITORY / "gateway" / "gw"), *(words[0].split() if len(words) == 1 else map(str, words)),
                   "--state", str(self.state.directory)]
        done = subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
        if done.returncode != 0:
            raise GatewayError(f"{' '.join(map(str, words))}: {done.stderr.strip().removeprefix('gw: ')}")
        return done.stdout

    def inside(self, *command, room="gateway", text=None):
        """A command in a room; what it printed. One that fails ends the road."""
        return inside.must(self.state, *command, room=room, text=text)

    def run(self, *command, room="gateway"):
        """The same, finished, whatever its returncode."""
        return inside.run(self.state, *command, room=room)

    def set(self, *assignments):
        """PATH=VALUE of the data model, each."""
        self.inside("vcfgctl", "set", *assignments)

    def cable(self, port, action):
        """Plugs ("in") or pulls ("out") the cable of a port."""
        net.plug(self.state, port, action == "in")

    # --- seeing ---

    def value(self, path):
        """Of one parameter; None when it does not exist."""
        return model.get(self.state, path).get(path)

    def values(self, pattern):
        """{path: value} of what a path with stars, or a subtree, has."""
        return model.get(self.state, pattern)

    def said(self, part):
        """Whether the daemon has logged a line with this part since the last title."""
        logs.settle(self.state)
        return any(part in line["text"] for line in logs.lines(self.state, self._mark))

    def ran(self, part):
        """Whether the daemon has run a command with this part since the last title."""
        return any(part in line["command"] for line in logs.commands(self.state, self._mark))

    # --- telling and checking ---

    def title(self, text):
        """What comes now."""
        self._show()
        self._mark = logs.mark()
        print(f"\n{paint(fitted(text), 'bold')}", flush=True)

    def note(self, text):
        """Something worth seeing, among the raw lines."""
        self._line("note", text)

    def until(self, what, condition, seconds=15):
        """Waits for the outcome, with the view going on; one that does not come is a failed check."""
        end = time.monotonic() + seconds
        while not (good := condition()) and time.monotonic() < end:
            self._show()
            time.sleep(0.05)
        time.sleep(0.1 if self.verbose else 0)  # for the eye: what belongs to the outcome is shown before it
        self._show()
        return self.check(what, good)

    def expect(self, condition, seconds=15):
        """PATH=VALUE comes true in time. The path may hold stars."""
        path, _, wanted = condition.partition("=")
        return self.until(f"{path} is {wanted}", lambda: wanted in self.values(path).values(), seconds)

    def check(self, what, good):
        """One outcome, as it is now."""
        self.checks += 1
        if not good:
            self.failures.append(what)
            self._show_unseen()
        self._line("ok" if good else "FAIL", what)
        return bool(good)

    def end(self, reason):
        """The road cannot go on: a failed check of its own."""
        self.check(f"the road ends here: {reason}", False)

    # --- the view ---

    def _line(self, kind, text, at=None):
        seconds = (at if at is not None else time.monotonic()) - self._begin
        line = f"{seconds:8.3f}  {kind:5}  {harmless(text)}"
        if kind in SIDE and not self.verbose:
            self._unseen.append(line)
        else:
            print(paint(fitted(line), COLOURS[kind]), flush=True)

    def _show(self):
        for at, kind, text in self._view.new() if self._view else ():
            self._line(kind, text, at)

    def _show_unseen(self):
        """What led to a check that fails."""
        while self._unseen:
            print(paint(fitted(self._unseen.popleft()), "dim"))

    def close(self):
        self.seconds = time.monotonic() - self._begin
        if self._view:
            self._view.end()
            self._view = None
