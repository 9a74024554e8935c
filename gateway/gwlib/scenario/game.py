"""One gateway that a scenario is played on: what the kinds of steps ask of it."""
import subprocess
import sys
import time

from .. import boot, inside, logs, model
from ..errors import GatewayError
from ..state import REPOSITORY
from ..view import View
from .asker import Asker
from .paths import REFERENCE, Assignment, Condition
from .servers import Servers
from .wps import Setup

PAUSE = 0.05  # seconds between two looks


class Unknown(Exception):
    """A text refers to a parameter that has no value yet."""


class Game:
    def __init__(self, state, console):
        self.state, self.console = state, console
        self.mark, self.lines, self.askers, self.view = 0, [], {}, None
        self.servers, self.wps = Servers(state), Setup(state)

    def boot(self, scenario, ready):
        """`ready` is called when start-up has completed and no lease has been asked for yet."""
        def watched():
            self.view = View(self.state, self.lines.append)
            self.console.watch(self.state)
            ready()

        boot.up(self.state, config=scenario.config, fresh=True, unplugged=scenario.unplugged, before_clients=watched, say=lambda text: None)

    def step(self):
        """A step begins: what it sees happens from now on."""
        self.look()
        self.mark = logs.mark()
        self.lines.clear()

    def look(self):
        """Shows what has happened."""
        for at, kind, text in self.view.new() if self.view else ():
            self.console.line(kind, text, at)

    def hidden(self, text):
        """The text without passwords, PINs and keys."""
        return self.view.secrets.hidden({"text": text})["text"] if self.view else text

    def idle(self, seconds):
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0:
            self.look()
            time.sleep(min(left, PAUSE))

    # --- what is asked of it ---

    def gw(self, *words):
        """Any call of gw about this gateway."""
        command = [sys.executable, str(REPOSITORY / "gateway" / "gw"), "--state", str(self.state.directory), *words]
        done = subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
        if done.returncode != 0:
            raise GatewayError(f"gw {' '.join(words)}: {done.stderr.strip().removeprefix('gw: ')}")

    def ask(self, name, command):
        """Somebody asks, and waits for the answer while the scenario goes on."""
        self.askers[name] = Asker(self.state, command)

    def answered(self, name):
        return self.askers[name].answered() if name in self.askers else (False, f"nobody has asked for {name}")

    # --- what is seen of it ---

    def values(self, pattern):
        """{path: value} of what a path with stars, or a subtree, has."""
        return model.get(self.state, pattern)

    def kernel(self, *words):
        return inside.run(self.state, "ip", *words).stdout

    def changes(self):
        """(path, new value) of what has been written since the step began."""
        self.look()
        return [(line["path"], model.value_text(line.get("new")) or "") for line in self._since() if "path" in line]

    def colours(self):
        """Those that the LED has had since the step began."""
        self.look()
        return [line["led"][1] for line in self._since() if line.get("led")]

    def _since(self):
        return [line for line in self.lines if line["t_mono_us"] > self.mark]

    def filled(self, value):
        """The value, with the parameters that its texts name as {PATH} in their places."""
        if isinstance(value, str):
            return REFERENCE.sub(lambda found: self._value(found[1].removeprefix("Device.")), value)
        if isinstance(value, (Condition, Assignment)):
            return type(value)(*map(self.filled, value))
        return [self.filled(one) for one in value] if isinstance(value, list) else value

    def _value(self, path):
        value = self.values(path).get(path)
        if not value:
            raise Unknown(f"{path} is empty, or does not exist")
        return value

    def close(self):
        for asker in self.askers.values():
            asker.close()
        self.servers.close()
        if self.view:
            self.view.end()
