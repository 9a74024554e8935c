"""A program that runs in a room of the gateway while a test lasts, and the lines that it prints."""
import os
import signal
import subprocess
import threading

from links import inside


class RoomProcess:
    def __init__(self, state, room, words, **more):
        self.process = subprocess.Popen(inside.entering(state, room, words), env=inside.environment(),
                                        stdout=subprocess.PIPE, text=True, start_new_session=True, **more)
        self.lines = []
        threading.Thread(target=self._read, daemon=True).start()

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))
