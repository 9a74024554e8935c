"""The management agent for a test: endpoint 9, listening, and what it has been told."""
import json
import os
import signal
import subprocess
import threading

from links import inside
from support import eventually

AGENT = 9


class Agent:
    """Runs inside the gateway while the test lasts."""

    def __init__(self, gateway):
        self.state = gateway.state
        words = inside.entering(self.state, "gateway", ["vcfgctl", "serve", str(AGENT), "--json"])
        self.process = subprocess.Popen(words, env=inside.environment(), stdout=subprocess.PIPE, text=True,
                                        start_new_session=True)
        self.lines = []
        threading.Thread(target=self._read, daemon=True).start()

    def __enter__(self):
        eventually(lambda: inside.run(self.state, "test", "-S", f"/run/vcfg/eid-{AGENT}").returncode == 0)
        return self

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line)

    def heard(self):
        return [json.loads(line) for line in list(self.lines)]
