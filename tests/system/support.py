"""A running gateway in the words of the tests: everything goes through the commands that people use."""
import json
import os
import pathlib
import re
import subprocess
import sys
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
GW = REPOSITORY / "gateway" / "gw"
DEADLINE = 20
# The programs under test; a build that is slower has longer for everything.
BUILD = pathlib.Path(os.environ.setdefault("GW_BUILD", os.environ.get("TARN_BUILD_DIR") or str(REPOSITORY / "build" / "release"))).resolve()
SLOWER = float(os.environ.get("TARN_SLOWER", "1"))
LATE = DEADLINE * SLOWER  # by which a busy machine may be late with what has its time
DAEMONS = ("tarn", "port-linkd", "gw-linesim", "gw-huntd", "vcmd", "gw-logd")

DONE, REFUSED, USAGE, NOBODY = 0, 1, 2, 3
TARN = 2
LEASE_BOUND, LEASE_RENEWED = 0x800000D8, 0x800000F5
SHELL_COMMAND = 0x11E


def eventually(condition, seconds=DEADLINE):
    """The first true value of `condition()`; fails the test when there is none in time."""
    end = time.monotonic() + seconds * SLOWER
    while True:
        value = condition()
        if value:
            return value
        assert time.monotonic() < end, f"not within {seconds * SLOWER:g} s"
        time.sleep(0.02)


class Gateway:
    def __init__(self, directory):
        self.directory = pathlib.Path(directory)

    def gw(self, *words, text=None, data=None):
        """Any call of gw, finished."""
        command = [sys.executable, str(GW), "--state", str(self.directory), *map(str, words)]
        binary = data is not None
        return subprocess.run(command, input=data if binary else text, capture_output=True, text=not binary,
                              stdin=subprocess.DEVNULL if text is None and not binary else None,
                              timeout=120 * SLOWER, check=False)

    def must(self, *words, **more):
        done = self.gw(*words, **more)
        assert done.returncode == DONE, f"gw {' '.join(map(str, words))}: {done.stderr}"
        return done.stdout

    def up(self, *words):
        self.must("up", *words)

    def down(self):
        if "GW_FINDINGS" in os.environ:
            self.end_daemons()
        self.must("down")

    def end_daemons(self):
        """One after the other and with a signal that they see, upon which a sanitized program looks for leaks."""
        for name in DAEMONS:
            self.run("sh", "-c", f"pkill -TERM -x {name}; for try in $(seq 300); do pgrep -x {name} >&2 || exit 0; sleep 0.1; done; exit 1")

    def run(self, *command):
        """A command inside, finished."""
        return self.gw("exec", "--", *command)

    def inside(self, *command, **more):
        """What a command inside printed."""
        return self.must("exec", "--", *command, **more)

    def get(self, path):
        """{path: value}; empty when there is no such thing."""
        lines = self.run("vcfgctl", "get", path).stdout.splitlines()
        return dict(line.split("=", 1) for line in lines)

    def value(self, path):
        return self.get(path).get(path)

    def wait(self, condition, seconds=DEADLINE):
        self.must("wait", condition, "--timeout", seconds * SLOWER)

    def agrees(self):
        """Whether the model has every cable as the kernel has it."""
        cables = json.loads(self.must("status", "--json"))["cables"]
        return all(cable["link"] is (cable["status"] == "Up") for cable in cables)

    def mark(self):
        return self.must("mark").strip()

    def log(self, since=0, *words):
        return [json.loads(line) for line in self.must("log", "--json", "--since", since, *words).splitlines()]

    def texts(self, since=0):
        return [line["text"] for line in self.log(since)]

    def journal(self, since=0):
        return [json.loads(line) for line in self.must("journal", "--json", "--since", since).splitlines()]

    def logged(self, part, since=0, seconds=DEADLINE):
        """Waits for a line of the daemon's that holds the text."""
        return eventually(lambda: [line for line in self.log(since) if part in line["text"]], seconds)

    def send(self, message_type, payload):
        """One message to the daemon; a text gets its terminator, bytes go as they are."""
        words = ["exec", "--", "vcfgctl", "send", "--to", TARN, "--type", hex(message_type)]
        if isinstance(payload, bytes):
            return self.gw(*words, "--payload-file", "-", data=payload)
        return self.gw(*words, "--payload", payload)

    def lease(self, message_type=LEASE_BOUND, **keys):
        payload = {"addressAssigned": True, "pidfile": "/var/run/udhcpc-eth0.5.pid", **keys}
        done = self.send(message_type, json.dumps(payload))
        assert done.returncode == DONE, done.stderr

    def settle(self):
        """Returns when the daemon has handled what was sent to it before."""
        self.inside("vcfgctl", "send", "--to", TARN, "--type", hex(SHELL_COMMAND), "--payload", ":", "--reply")

    def model(self):
        """All of the data model when the daemon has done what it was sent and no hook is at work any more, but for the time
        that is left of a lease, which goes on."""
        def at_rest():
            self.settle()
            found = self.inside("vcfgctl", "dump")
            rests = self.run("pgrep", "-f", "[/]vcfg/hooks/").returncode == REFUSED
            return rests and self.inside("vcfgctl", "dump") == found and found
        return re.sub(r'\s*"LeaseTimeRemaining":\d+,?', "", eventually(at_rest))

    def signal_client(self, name):
        self.inside("sh", "-c", f'kill -{name} "$(cat /var/run/udhcpc-eth0.5.pid)"')

    def processes(self, name):
        """Numbers, inside, of the processes of that name."""
        return [int(number) for number in self.run("pgrep", "-x", name).stdout.split()]

    def routes(self):
        return self.inside("ip", "route")

    def addresses(self):
        return self.inside("ip", "-4", "addr", "show", "eth0.5")
