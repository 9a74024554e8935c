"""The provider's mail server for a test: what arrives there."""
import json
import os
import signal
import subprocess
import sys
import threading

from links import inside
from support import eventually


class MailServer:
    """Runs in the provider's room while the test lasts."""

    def __init__(self, gateway, port=25, **options):
        words = ["/usr/bin/python3", "/usr/lib/isp/mailserver.py", str(port)]
        for name, value in options.items():
            words += [f"--{name}", str(value)]
        self.process = subprocess.Popen(inside.entering(gateway.state, "isp", words), env=inside.environment(),
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=sys.stderr, text=True,
                                        start_new_session=True)
        self.lines = []
        threading.Thread(target=self._read, daemon=True).start()

    def __enter__(self):
        eventually(lambda: "ready" in self.lines or self.process.poll() is not None)
        assert self.process.poll() is None, "the mail server does not start"
        return self

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def mails(self):
        return [json.loads(line) for line in self.lines if line.startswith("{")]

    def mail(self):
        """The next mail, which has to come."""
        (first, *_) = eventually(self.mails)
        return first
