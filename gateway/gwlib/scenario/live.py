"""How a scenario is shown on a terminal: the stream of what comes in and what the daemon does about it scrolls by, and below it
stand progress, links, LED, addresses and connections, as they are."""
import shutil
import subprocess
import sys
import threading
import time

from .. import status
from ..errors import GatewayError
from ..terminal import fitted, paint
from . import panel
from .console import OUTCOMES, Console

STREAM = ("does", "in", "runs", "model", "led")
PAUSE = 0.5  # seconds between two looks at the gateway
BAR = 24


class Live(Console):
    shown = (*OUTCOMES, *STREAM)

    def __init__(self, verbose):
        super().__init__(verbose)
        self.lock = threading.Lock()
        self.head, self.body, self.height = "", [], 0
        self.ended = threading.Event()
        self.looking = None

    def put(self, text):
        with self.lock:
            self._draw(text)

    def progress(self, scenario, step, seen, expected):
        done = BAR * seen // max(expected, 1)
        self.head = f"── {scenario}  step {step}  {'█' * done}{'░' * (BAR - done)}  {seen} of {expected} seen"
        with self.lock:
            self._draw()

    def watch(self, state):
        self.looking = threading.Thread(target=self._look, args=(state,), daemon=True)
        self.looking.start()

    def _look(self, state):
        while not self.ended.wait(PAUSE):
            try:
                body = list(panel.rows(status.snapshot(state)))
            except (GatewayError, OSError, ValueError, KeyError, subprocess.TimeoutExpired):  # it is just going
                continue
            with self.lock:
                self.body = body
                self._draw()

    def _draw(self, line=None):
        """The panel goes, the line comes, the panel stands below it."""
        rows = []
        if not self.ended.is_set() and self.head:
            height = max(0, min(len(self.body), shutil.get_terminal_size().lines - 4))
            rows = [paint(fitted(f"{self.head}  {time.monotonic() - self.begin:.1f} s"), "bold"), *map(fitted, self.body[:height])]
        clear = (f"\033[{self.height}A" if self.height else "") + "\r\033[J"
        sys.stdout.write(clear + "".join(f"{row}\n" for row in ([] if line is None else [line]) + rows))
        sys.stdout.flush()
        self.height = len(rows)

    def close(self):
        self.ended.set()
        if self.looking:
            self.looking.join()
        with self.lock:
            self._draw()

