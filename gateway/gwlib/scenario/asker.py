"""Somebody who has asked the daemon for something, and waits for the answer while the scenario goes on."""
import subprocess

from .. import inside

ANSWER = "type=0x80000067"


class Asker:
    def __init__(self, state, command):
        self.process = subprocess.Popen(inside.entering(state, "gateway", command), env=inside.environment(), text=True,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        self.told = None

    def answered(self):
        """(whether the answer is there, what there is)."""
        if self.process.poll() is None:
            return False, "it still waits"
        if self.told is None:
            self.told = self.process.communicate()[0]
        return ANSWER in self.told, self.told.strip()

    def close(self):
        if self.told is None:
            self.process.kill()
            self.process.communicate()
