"""Lines that keep coming: of a file that grows, of a program inside the gateway. Both go on when the gateway boots anew."""
import json
import os
import signal
import subprocess
import threading

from . import inside
from .errors import GatewayError

PAUSE = 0.2


def parsed(text):
    """The record of a line of JSON; None of anything else."""
    try:
        record = json.loads(text)
    except ValueError:
        return None
    return record if isinstance(record, dict) else None


class File:
    """The whole lines that a file has grown by; another file at its place is read from its beginning."""

    def __init__(self, path):
        self.path, self.file, self.rest = path, None, ""

    def new(self):
        lines = self._grown()
        if self._is_another():
            self.close()
            lines += self._grown()
        return [record for record in map(parsed, lines) if record is not None]

    def _grown(self):
        try:
            self.file = self.file or open(self.path, encoding="utf-8", errors="replace")
        except OSError:
            return []
        self.rest += self.file.read()
        *whole, self.rest = self.rest.split("\n")
        return whole

    def _is_another(self):
        try:
            there = os.stat(self.path)
        except OSError:
            return False
        return self.file is not None and not os.path.samestat(there, os.fstat(self.file.fileno()))

    def close(self):
        if self.file:
            self.file.close()
        self.file, self.rest = None, ""


class Program:
    """The lines that a program inside the gateway prints. One that ends is started again, as soon as that is possible."""

    def __init__(self, state, command, take, started=lambda: None):
        self.state, self.command, self.take, self.started = state, command, take, started
        self.process, self.over, self.guard = None, threading.Event(), threading.Lock()
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.thread.start()

    def _run(self):
        while not self.over.is_set():
            if self._start():
                self.started()
                for record in filter(None, map(parsed, self.process.stdout)):
                    self.take(record)
                self.process.wait()
            self.over.wait(PAUSE)

    def _start(self):
        try:
            words = inside.entering(self.state, "gateway", self.command)
        except GatewayError:
            return False
        with self.guard:
            if self.over.is_set():
                return False
            self.process = subprocess.Popen(words, env=inside.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                            stderr=subprocess.DEVNULL, text=True, errors="replace", start_new_session=True)
        return True

    def end(self):
        """Its child inside the gateway goes with it."""
        with self.guard:
            self.over.set()
            if self.process and self.process.poll() is None:
                os.killpg(self.process.pid, signal.SIGKILL)
        self.thread.join()
