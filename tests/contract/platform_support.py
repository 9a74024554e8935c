"""What the tests of the platform's programs share: the assembled root tree, a hardware directory, a namespace."""
import os
import pathlib
import subprocess
import sys
import time

import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARN_BUILD_DIR", REPOSITORY / "build" / "debug"))
ROOT = BUILD / "gateway" / "root"
PORT = BUILD / "port" / "linux" / "root"
PRELOAD = ROOT / "usr/lib/gateway/libkmonitor.so"
# A child namespace, also for an ordinary user.
UNSHARE_NET = ["unshare", "--net"] if os.geteuid() == 0 else ["unshare", "--map-root-user", "--net"]


def environment(hardware, **more):
    """A clean environment in which the platform's programs work on `hardware`."""
    folders = (PORT / "usr/libexec/tarn", ROOT / "usr/bin", ROOT / "usr/sbin", ROOT / "userfs/bin")
    path = ":".join(map(str, folders))
    return {
        "PATH": f"{path}:/usr/sbin:/usr/bin:/sbin:/bin",
        "GW_LIB_DIR": str(ROOT / "usr/lib/gateway"),
        "GW_HW_DIR": str(hardware),
        "GW_EFFECT_FILE": str(hardware / "effects"),
        "GW_QUARTER_HOURS_DIR": str(hardware / "quarterHours"),
        **{name: str(value) for name, value in more.items()},
    }


def run(hardware, *command, prefix=(), **more):
    return subprocess.run([*prefix, *map(str, command)], env=environment(hardware, **more), stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=60, check=False)


def effects(hardware):
    file = hardware / "effects"
    return file.read_text().splitlines() if file.exists() else []


def eventually(condition, seconds=10.0):
    """The first true value of `condition()`, or its last one when the time is over."""
    end = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < end:
        time.sleep(0.02)
    return value


class Namespace:
    """A network namespace of its own that lives as long as the test."""

    def __init__(self, hardware):
        self.hardware = hardware
        self.holder = subprocess.Popen([*UNSHARE_NET, "sh", "-c", "echo ready; exec sleep 600"], text=True,
                                       stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        assert self.holder.stdout.readline() == "ready\n", "no network namespace can be made here"
        target = ["nsenter", "--target", str(self.holder.pid), "--net"]
        self.enter = target if os.geteuid() == 0 else [*target, "--user", "--preserve-credentials"]
        self.programs = []

    def run(self, *command, **more):
        return run(self.hardware, *command, prefix=self.enter, **more)

    def sh(self, script):
        result = self.run("sh", "-ec", script)
        assert result.returncode == 0, result.stderr
        return result.stdout

    def start(self, *command, **more):
        """Starts a program and returns it once it has written its first line, "ready"."""
        program = subprocess.Popen([*self.enter, *map(str, command)], env=environment(self.hardware, **more), text=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.programs.append(program)
        line = program.stdout.readline()
        assert line == "ready\n", line + program.stderr.read()
        return program

    def end(self):
        for program in [*self.programs, self.holder]:
            program.kill()
        for program in [*self.programs, self.holder]:
            program.communicate(timeout=30)


# The registered process, as the daemon does it: family 25, bound to its own process id. Appends what arrives in hex.
RECEIVER = """
import os, socket, sys
s = socket.socket(socket.AF_NETLINK, socket.SOCK_DGRAM, 25)
s.bind((os.getpid(), 0))
open(sys.argv[1], "w").write("%d\\n" % os.getpid())
print("ready", flush=True)
with open(sys.argv[2], "a", buffering=1) as record:
    while True:
        print(s.recv(1 << 20).hex(), file=record)
"""


class Receiver:
    """The process that the platform's kernel reports to."""

    def __init__(self, namespace):
        self.record = namespace.hardware / "received"
        self.record.touch()
        self.registration = namespace.hardware / "user_pid"
        self.program = namespace.start(sys.executable, "-c", RECEIVER, self.registration, self.record,
                                       LD_PRELOAD=PRELOAD)

    def datagrams(self):
        whole, _, _ = self.record.read_text().rpartition("\n")
        return [bytes.fromhex(line) for line in whole.splitlines()]

    def texts(self):
        return [datagram[16:].partition(b"\0")[0].decode() for datagram in self.datagrams()]

    def first(self):
        return eventually(self.datagrams)[0]


@pytest.fixture
def namespace(tmp_path):
    made = Namespace(tmp_path)
    yield made
    made.end()


@pytest.fixture
def receiver(namespace):
    return Receiver(namespace)
