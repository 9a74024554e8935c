"""The provider's mail server for a test: what arrives there."""
import json
import subprocess
import sys

from room_process import RoomProcess
from support import eventually


class MailServer(RoomProcess):
    """Runs in the provider's room while the test lasts."""

    def __init__(self, gateway, port=25, **options):
        words = ["/usr/bin/python3", "/usr/lib/isp/mailserver.py", str(port)]
        for name, value in options.items():
            words += [f"--{name}", str(value)]
        super().__init__(gateway.state, "isp", words, stdin=subprocess.PIPE, stderr=sys.stderr)

    def __enter__(self):
        eventually(lambda: "ready" in self.lines or self.process.poll() is not None)
        assert self.process.poll() is None, "the mail server does not start"
        return self

    def mails(self):
        return [json.loads(line) for line in self.lines if line.startswith("{")]

    def mail(self):
        """The next mail, which has to come."""
        (first, *_) = eventually(self.mails)
        return first
