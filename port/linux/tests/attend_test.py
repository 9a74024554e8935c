"""port-attend: a service manager is told when a daemon has started, and as long as it answers. vcmd is the real one."""
import os
import pathlib
import signal
import socket
import subprocess
import time

import pytest

BUILD = pathlib.Path(os.environ.get("TARN_BUILD_DIR") or pathlib.Path(__file__).resolve().parents[3] / "build/release").resolve()
ATTEND = BUILD / "port/linux/root/usr/libexec/tarn/port-attend"
PATIENCE = 20


class Manager:
    """What a service manager has: a socket, and a process that it has started."""

    def __init__(self, folder, watchdog_us):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(str(folder / "notify"))
        self.environment = {**os.environ, "VCFG_RUN_DIR": str(folder / "run"), "NOTIFY_SOCKET": str(folder / "notify"),
                            "WATCHDOG_USEC": str(watchdog_us), "WATCHDOG_PID": "1"}
        self.process = subprocess.Popen(
            [ATTEND, "vcmd", BUILD / "bin/vcmd", "--foreground", "--data-dir", folder, "--hook-dir", folder],
            env=self.environment, stderr=subprocess.DEVNULL)

    def hears(self, seconds=PATIENCE):
        """The next datagram; empty when none comes."""
        self.socket.settimeout(seconds)
        try:
            return self.socket.recv(4096).decode()
        except TimeoutError:
            return ""

    def silence(self, seconds):
        """What has been sent is taken; then nothing comes for that long."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            if self.hears(seconds) == "":
                return True
        return False


@pytest.fixture
def manager(tmp_path):
    (tmp_path / "run").mkdir(mode=0o700)
    one = Manager(tmp_path, 600_000)
    yield one
    one.process.send_signal(signal.SIGCONT)
    one.process.terminate()
    one.process.wait(PATIENCE)


def test_readiness_is_told_first_then_signs_of_life(manager):
    assert manager.hears().startswith("READY=1\n")
    assert [manager.hears() for _ in range(3)] == ["WATCHDOG=1"] * 3


def test_process_that_was_started_is_the_daemon(manager):
    manager.hears()
    assert os.readlink(f"/proc/{manager.process.pid}/exe") == str(BUILD / "bin/vcmd")
    variables = pathlib.Path(f"/proc/{manager.process.pid}/environ").read_bytes()
    assert b"NOTIFY_SOCKET" not in variables and b"WATCHDOG" not in variables


def test_daemon_that_does_not_answer_gives_no_sign_of_life(manager):
    manager.hears()
    manager.process.send_signal(signal.SIGSTOP)
    assert manager.silence(2)
    manager.process.send_signal(signal.SIGCONT)
    assert manager.hears() == "WATCHDOG=1"


def test_attendant_ends_with_its_daemon(manager):
    manager.hears()
    manager.process.kill()
    manager.process.wait(PATIENCE)
    assert manager.silence(2)


def test_without_a_service_manager_it_only_becomes_the_program(tmp_path):
    environment = {name: value for name, value in os.environ.items() if name != "NOTIFY_SOCKET"}
    done = subprocess.run([ATTEND, "tarn", "/bin/sh", "-c", "echo $$; echo $PPID"], env=environment, capture_output=True, text=True,
                          timeout=PATIENCE, check=True)
    assert done.stdout.split()[1] == str(os.getpid())


@pytest.mark.parametrize("words", [(), ("vcmd",), ("other", "/bin/true")])
def test_wrong_words_are_refused(words):
    done = subprocess.run([ATTEND, *words], capture_output=True, text=True, timeout=PATIENCE, check=False)
    assert done.returncode == 2 and done.stderr.startswith("usage: port-attend")
