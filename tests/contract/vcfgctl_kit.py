"""A bus of its own directory for each test of vcfgctl, with or without a real vcmd on it."""
import json
import os
import signal
import socket
import subprocess
import time

import pytest

VCMD = os.environ["VCMD"]
VCFGCTL = os.environ["VCFGCTL"]
PATIENCE = 20


def wait_for(condition):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, "it does not happen in time"
        time.sleep(0.005)


class Bus:
    def __init__(self, directory):
        self.home = directory
        for name in ("run", "data", "hooks/apply", "hooks/refresh"):
            (directory / name).mkdir(parents=True, mode=0o700)
        (directory / "run").chmod(0o700)
        self.environment = {
            "PATH": os.environ["PATH"],
            "VCFG_RUN_DIR": str(directory / "run"),
            "VCFG_DATA_DIR": str(directory / "data"),
            "VCFG_HOOK_DIR": str(directory / "hooks"),
        }
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS", "TARN_PLANTED", "TARN_REACHED"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        self.processes = []

    def start(self, *arguments, **more):
        process = subprocess.Popen(arguments, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True, **more)
        self.processes.append(process)
        return process

    def start_vcmd(self):
        self.vcmd = self.start(VCMD, "--foreground")
        wait_for(self.is_served)

    def is_served(self):
        """By a vcmd: the model that an earlier one left can be read without."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as line:
            return line.connect_ex(str(self.home / "run" / "eid-1")) == 0 and self.run("get", "IP.IPv4Enable").returncode == 0

    def run(self, *arguments, **more):
        return subprocess.run([VCFGCTL, *arguments], env=self.environment, capture_output=True, text=True,
                              timeout=PATIENCE, **more)

    def ok(self, *arguments):
        result = self.run(*arguments)
        assert (result.returncode, result.stderr) == (0, ""), result
        return result.stdout

    def fails(self, status, *arguments):
        """The one line on standard error."""
        result = self.run(*arguments)
        assert result.returncode == status, result
        assert result.stdout == "" and result.stderr.count("\n") == 1, result
        assert result.stderr.startswith("vcfgctl: "), result
        return result.stderr

    def serve(self, *arguments):
        process = self.start(VCFGCTL, "serve", *arguments)
        wait_for(lambda: (self.home / "run" / f"eid-{arguments[0]}").is_socket())
        return process

    def hook(self, kind, pattern, script):
        path = self.home / "hooks" / kind / pattern
        path.write_text("#!/bin/sh\n" + script + "\n")
        path.chmod(0o700)
        self.run("describe", "DeviceInfo")  # vcmd has noticed it when it has answered

    def end(self):
        for process in self.processes:
            process.terminate()
            # A test that failed may have left it stopped.
            process.send_signal(signal.SIGCONT)
            process.communicate(timeout=PATIENCE)


@pytest.fixture
def quiet_bus(tmp_path):
    bus = Bus(tmp_path)
    yield bus
    bus.end()


@pytest.fixture
def bus(quiet_bus):
    quiet_bus.start_vcmd()
    return quiet_bus


def lines(text):
    return [json.loads(line) for line in text.splitlines()]
