"""Playing a scenario: step by step, until all is seen or a step fails."""
import subprocess
import time

from ..errors import GatewayError
from . import chain
from .game import PAUSE, Game, Unknown

UNABLE = (GatewayError, OSError, ValueError, subprocess.TimeoutExpired)  # what a look or a call may end in


class Player:
    def __init__(self, scenario, state, console, mark):
        self.scenario, self.console, self.mark = scenario, console, mark
        self.game = Game(state, console)
        self.checks, self.failures, self.seconds, self.number, self.told = 0, [], 0.0, 0, set()
        self.expected = 1 + len(scenario.ready) + sum(len(step.see) for step in scenario.steps)

    def play(self):
        try:
            self._play()
        except UNABLE as problem:
            self._outcome(False, f"the scenario ends here: {problem}")
            self._why(None)
        finally:
            self.seconds = time.monotonic() - self.console.begin
            self.game.close()
            self.console.close()

    def _play(self):
        self._begin("The gateway boots")
        self.game.boot(self.scenario, self._ready)
        for step in self.scenario.steps:
            if self.failures:
                return
            self._step(step)

    def _ready(self):
        self._outcome(True, "start-up has completed")
        self._see(self.scenario.ready)

    def _begin(self, title):
        self.game.step()
        self.number += 1
        self.console.title(f"{self.number}. {title}")
        self.mark(f"{self.scenario.name}: {self.number}. {title}")
        self._tell_progress()

    def _step(self, step):
        self._begin(step.title)
        for _ in range(step.repeat):
            for call in step.do:
                self.console.line("does", self._shown(call.text), time.monotonic())
                call.kind.call(self.game, **self._filled(call))
                self.game.look()
        self._see(step.see)

    def _filled(self, call):
        return {name: self.game.filled(value) for name, value in call.given.items()}

    def _see(self, calls):
        """All of them, each within its time from here on."""
        begin = time.monotonic()
        for call in calls:
            self._await(call, begin + call.within)

    def _await(self, call, end):
        while True:
            good, seen = self._looks(call)
            self.game.look()
            if good == call.wanted or time.monotonic() >= end:
                break
            time.sleep(PAUSE)
        self._outcome(good == call.wanted, self._shown(call.text))
        if good != call.wanted:
            self.console.line("want", f"{self._shown(call.told)}, within {call.within:g} s of the step's last action")
            self.console.line("seen", self.game.hidden(seen))
            self._why(call)

    def _looks(self, call):
        try:
            return call.kind.call(self.game, **self._filled(call))
        except (Unknown, *UNABLE) as problem:  # who would tell may just be away
            return not call.wanted, str(problem)

    def _shown(self, text):
        try:
            text = self.game.filled(text)
        except (Unknown, *UNABLE):  # then it is shown as the file has it
            pass
        return self.game.hidden(text)

    def _outcome(self, good, text):
        self.checks += 1
        if not good:
            self.failures.append(text)
        self.mark(f"{self.scenario.name}: {text}", ok=good)
        self.console.line("ok" if good else "FAIL", text)
        self._tell_progress()

    def _why(self, call):
        """What led there, as far as it has not been told already."""
        for line in chain.of(self.game, call):
            if line not in self.told:
                self.console.aside(line)
            self.told.add(line)

    def _tell_progress(self):
        self.console.progress(self.scenario.name, f"{self.number} of {len(self.scenario.steps) + 1}", self.checks, self.expected)
