"""The provider's FTP server for a test, and the debug script that it hands out."""
import json
import shutil
import sys

from room_process import RoomProcess
from support import eventually

FOLDER = "/var/lib/isp/ftp"  # in the provider's room


class FtpServer(RoomProcess):
    """Runs in the provider's room while the test lasts; `script` None hands out nothing."""

    def __init__(self, gateway, script="#!/bin/sh\n", **options):
        folder = gateway.state.isp / "ftp"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        if script is not None:
            (folder / "systemDebug.sh").write_text(script)
        words = ["/usr/bin/python3", "/usr/lib/isp/ftpserver.py", FOLDER]
        for name, value in options.items():
            words += [f"--{name}", str(value)]
        super().__init__(gateway.state, "isp", words, stderr=sys.stderr)

    def __enter__(self):
        eventually(lambda: "ready" in self.lines or self.process.poll() is not None)
        assert self.process.poll() is None, "the FTP server does not start"
        return self

    def events(self):
        return [json.loads(line) for line in list(self.lines) if line.startswith("{")]
