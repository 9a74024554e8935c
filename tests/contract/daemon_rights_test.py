"""The daemon runs commands for others: who may ask it to, and who is refused."""
import json
import os
import pathlib
import select
import socket
import stat
import subprocess
import time

import pytest

TARN = os.environ["TARN"]
VCFGCTL = os.environ["VCFGCTL"]
VCMD = os.environ["VCMD"]
TIMER = "/tmp/tarn_internal"
PATIENCE = 20
DONE, REFUSED, NOBODY_ANSWERS = 0, 1, 3
STRANGER, GROUP = 65534, 4242
SHELL, VOCLI = "0x11e", "0x8000011f"

pytestmark = pytest.mark.skipif(os.geteuid() != 0, reason="needs root, to become somebody else")


def eventually(condition):
    end = time.monotonic() + PATIENCE
    while True:
        value = condition()
        if value:
            return value
        assert time.monotonic() < end, "it does not happen in time"
        time.sleep(0.01)


class Daemon:
    """A daemon of its own, with its bus and a collector of its log lines."""

    def __init__(self, directory, mode, group=0):
        self.run_directory = directory / "run"
        self.run_directory.mkdir()
        os.chown(self.run_directory, 0, group)
        self.run_directory.chmod(mode)
        directory.chmod(0o755)
        self.collector = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.collector.bind(str(self.run_directory / "vlog"))
        self.lines = []
        self.environment = dict(os.environ, VCFG_RUN_DIR=str(self.run_directory))
        self.trace = directory / "trace"
        self.process = subprocess.Popen([TARN, "--foreground"], env=self.environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL)
        eventually(lambda: self.ask(SHELL, ":").returncode == DONE)

    def end(self):
        self.process.kill()
        self.process.wait()
        self.collector.close()

    def ask(self, message_type, command, user=0, group=0):
        words = [VCFGCTL, "send", "--to", "2", "--type", message_type, "--payload", command, "--timeout", str(PATIENCE * 1000)]
        words += ["--reply"] if message_type == SHELL else []
        return subprocess.run(words, env=self.environment, user=user, group=user, extra_groups=[group], cwd="/",
                              capture_output=True, text=True, timeout=2 * PATIENCE, check=False)

    def leave_a_trace(self, message_type, **who):
        return self.ask(message_type, f"touch {self.trace}", **who)

    def ran(self):
        """Whether the command ran; it has when a later one is answered."""
        assert self.ask(SHELL, ":").returncode == DONE
        return self.trace.exists()

    def logged(self, text):
        while select.select([self.collector], [], [], 0)[0]:
            self.lines.append(json.loads(self.collector.recv(1 << 16))["text"])
        return any(text in line for line in self.lines)


@pytest.fixture
def daemon(tmp_path_factory):
    started = []

    def start(mode, group=0):
        directory = pathlib.Path("/tmp") / f"daemon-rights-{os.getpid()}-{len(started)}"
        directory.mkdir()
        started.append((Daemon(directory, mode, group), directory))
        return started[-1][0]

    yield start
    for each, directory in started:
        each.end()
        subprocess.run(["rm", "-rf", str(directory)], check=True)


@pytest.mark.parametrize("message_type", (SHELL, VOCLI))
def test_root_has_its_command_run(daemon, message_type):
    bus = daemon(0o700)
    assert bus.leave_a_trace(message_type).returncode == DONE
    assert bus.ran()


@pytest.mark.parametrize("message_type", (SHELL, VOCLI))
def test_stranger_does_not_reach_the_bus(daemon, message_type):
    bus = daemon(0o700)
    assert bus.leave_a_trace(message_type, user=STRANGER, group=STRANGER).returncode not in (DONE, None)
    assert not bus.ran()


@pytest.mark.parametrize("message_type", (SHELL, VOCLI))
def test_stranger_who_reaches_the_socket_is_refused_by_the_kernels_word_and_logged(daemon, message_type):
    bus = daemon(0o755)
    (bus.run_directory / "eid-2").chmod(0o666)
    bus.leave_a_trace(message_type, user=STRANGER, group=STRANGER)
    eventually(lambda: bus.logged(f"of user {STRANGER}"))
    assert not bus.ran()


def test_member_of_the_bus_group_has_its_command_run(daemon):
    bus = daemon(0o770, GROUP)
    assert bus.leave_a_trace(SHELL, user=STRANGER, group=GROUP).returncode == DONE
    assert bus.ran()


def test_other_group_is_refused(daemon):
    bus = daemon(0o770, GROUP)
    assert bus.leave_a_trace(SHELL, user=STRANGER, group=STRANGER).returncode != DONE
    assert not bus.ran()


def test_stranger_does_not_reach_the_timer(daemon):
    daemon(0o700)
    eventually(lambda: pathlib.Path(TIMER).exists())
    assert stat.S_IMODE(os.stat(TIMER).st_mode) == 0o600
    connects = f"import socket; socket.socket(socket.AF_UNIX).connect({TIMER!r})"
    tried = subprocess.run(["/usr/bin/python3", "-c", connects], user=STRANGER, group=STRANGER, extra_groups=[], cwd="/",
                           capture_output=True, text=True, timeout=PATIENCE, check=False)
    assert "PermissionError" in tried.stderr


def test_stranger_reads_neither_the_model_nor_what_is_kept(daemon):
    bus = daemon(0o755)
    data = bus.run_directory.parent / "data"
    data.mkdir(0o755)
    vcmd = subprocess.Popen([VCMD, "--foreground"], env=dict(bus.environment, VCFG_DATA_DIR=str(data)), stdin=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)
    try:
        eventually(lambda: subprocess.run([VCFGCTL, "save"], env=bus.environment, capture_output=True, check=False).returncode == DONE)
        kept = [bus.run_directory / "model.mdb", bus.run_directory / "model.mdb-lock", data / "vcfg_config.json"]
        for file in kept:
            tried = subprocess.run(["cat", file], user=STRANGER, group=STRANGER, extra_groups=[], cwd="/", capture_output=True,
                                   text=True, timeout=PATIENCE, check=False)
            assert "Permission denied" in tried.stderr, file
    finally:
        vcmd.kill()
        vcmd.wait()


def test_daemon_is_refused_a_bus_that_everybody_may_write():
    directory = pathlib.Path("/tmp") / f"daemon-rights-{os.getpid()}-open"
    directory.mkdir()
    directory.chmod(0o777)
    try:
        done = subprocess.run([TARN, "--foreground"], env=dict(os.environ, VCFG_RUN_DIR=str(directory)), timeout=PATIENCE,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        assert done.returncode != 0
        assert "writable for everybody" in done.stderr
        assert not (directory / "eid-2").exists()
    finally:
        subprocess.run(["rm", "-rf", str(directory)], check=True)
