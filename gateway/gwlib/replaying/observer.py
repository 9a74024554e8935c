"""What the fresh daemon does: recorded as the recording was."""
import json
import os
import subprocess

from .doings import is_doing, subject, words

ASKED = ("command", "signal", "hook")  # known as soon as they are asked for
TOLD_TOO = ("hook",)  # and what vcmd takes them for, when they have ended
UNHEARD = {*ASKED} - {*TOLD_TOO}


class Observer:
    def __init__(self, loop, carried, compares):
        self.loop, self.carried, self.compares = loop, carried, compares
        self.seen = {}  # words: the lines that nobody has asked for yet
        self.header = None
        self.rest = b""
        self.process = subprocess.Popen(["vcfgctl", "record", "-"], stdout=subprocess.PIPE)
        os.set_blocking(self.process.stdout.fileno(), False)
        loop.watch(self.process.stdout, self._take)

    def _take(self, pipe):
        data = os.read(pipe.fileno(), 1 << 16)
        if not data:
            self.loop.forget(pipe)
        *lines, self.rest = (self.rest + data).split(b"\n")
        for text in lines:
            self._note(json.loads(text))

    def _note(self, line):
        if "recording" in line:
            self.header = line
        elif self.header and "at" in line and self._is_heard(line):
            self.seen.setdefault(words(line), []).append(line)

    def _is_heard(self, line):
        return is_doing(line) and self.compares(line) and line["kind"] not in UNHEARD and line.get("path") not in self.carried

    def count(self):
        """How much nobody has asked for yet."""
        return sum(map(len, self.seen.values()))

    def take(self, what):
        """Whether the daemon has done this, once for each time."""
        found = self.seen.get(what)
        if not found:
            return False
        found.pop(0)
        if not found:
            del self.seen[what]
        return True

    def other(self, about, expected):
        """What it has done instead about the same: the words, or None. What is `expected` later is nothing else."""
        for what, lines in self.seen.items():
            if subject(lines[0]) == about and not expected(what):
                return what
        return None

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()
