"""The daemons as they ship, in directories of their own."""
import contextlib
import json
import os
import pathlib
import select
import shutil
import socket
import struct
import subprocess
import tempfile
import time

from .programs import BIN, BUILD, BenchError

DATA = BUILD / "bench-data"  # where a device has its flash: on a disk, not in memory
PATIENCE_SECONDS = 30
LINK_MONITOR_TYPE = 0x2000
LINK_MONITOR_FAMILY = 2  # of netlink: for programs that talk to each other
STARTED = 0x800000EB  # the message by which vcmd says that start-up has completed


class World:
    """A vcmd, and a tarn when asked for, that have that model ({object path: {parameter: value}})."""

    def __init__(self, objects, with_tarn=False):
        self.run = pathlib.Path(tempfile.mkdtemp(prefix="bench-run."))
        DATA.mkdir(exist_ok=True)
        self.data = pathlib.Path(tempfile.mkdtemp(prefix="data.", dir=DATA))
        (self.data / "vcfg_config.json").write_text(json.dumps({"version": 1, "objects": objects}), encoding="utf-8")
        self.environment = {**os.environ, "VCFG_RUN_DIR": f"{self.run}/bus", "VCFG_DATA_DIR": str(self.data),
                            "VCFG_HOOK_DIR": f"{self.run}/hooks", "VCFG_MAIL_HELPER": str(BIN / "vcfg-mail")}
        self.daemons = []
        self.vcmd = self.start_vcmd()
        if with_tarn:
            self.events = EventPipe(self.run / "events")
            self.tarn = self._start("tarn", 2, LD_PRELOAD=str(BUILD / "lib" / "libbench_counted.so"),
                                    BENCH_EVENTS=str(self.events.path))
            self.events.wait(STARTED)
            self.events.settle()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.daemons):
            process.kill()
            process.wait()
        shutil.rmtree(self.run)
        shutil.rmtree(self.data)

    def start_vcmd(self):
        return self._start("vcmd", 1)

    def _start(self, name, endpoint, **extra):
        process = subprocess.Popen([BIN / name, "--foreground"], env={**self.environment, **extra},
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.daemons.append(process)
        self.await_endpoint(endpoint)
        return process

    def await_endpoint(self, number):
        deadline = time.monotonic() + PATIENCE_SECONDS
        while True:
            with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as one, contextlib.suppress(OSError):
                one.connect(f"{self.run}/bus/eid-{number}")
                return
            if time.monotonic() > deadline:
                raise BenchError(f"endpoint {number} does not appear")
            time.sleep(0.001)

    def control(self, *words):
        done = subprocess.run([BIN / "vcfgctl", *words], env=self.environment, capture_output=True, text=True)
        if done.returncode != 0:
            raise BenchError(f"vcfgctl {' '.join(words)}: {done.stderr.strip()}")

    def spawn_control(self, *words):
        process = subprocess.Popen([BIN / "vcfgctl", *words], env=self.environment, stdout=subprocess.DEVNULL)
        self.daemons.append(process)

    def kernel_says(self, text):
        payload = text.encode() + b"\0"
        header = struct.pack("=IHHII", 16 + len(payload), LINK_MONITOR_TYPE, 0, 0, 0)
        with socket.socket(socket.AF_NETLINK, socket.SOCK_DGRAM, LINK_MONITOR_FAMILY) as kernel:
            kernel.sendto(header + payload, (self.tarn.pid, 0))

    def private_kib(self, process):
        """Memory that nobody else has mapped: what the process has written to, and its own code."""
        lines = pathlib.Path(f"/proc/{process.pid}/smaps_rollup").read_text(encoding="utf-8").splitlines()
        return sum(int(line.split()[1]) for line in lines if line.startswith("Private_"))


class EventPipe:
    """What the daemon says its events cost it: a line when a handler has returned, and more when its threads have
    ended."""

    def __init__(self, path):
        self.path = path
        os.mkfifo(path)
        self.pipe = os.open(path, os.O_RDWR | os.O_NONBLOCK)
        self.rest = b""
        self.latest = {}  # by the event's number

    def wait(self, kind):
        """The number of the next event of that type, when its handler has returned, and how long that took."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        while True:
            seen = len(self.latest)
            line = self._read(deadline)
            if line["type"] == kind and len(self.latest) > seen:
                return line["number"], line["us"]

    def settle(self):
        """Until all threads that events have started have ended."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        while any(line["working"] for line in self.latest.values()):
            self._read(deadline)

    def _read(self, deadline):
        while b"\n" not in self.rest:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.pipe], [], [], left)[0]:
                raise BenchError("the daemon does not finish an event")
            self.rest += os.read(self.pipe, 65536)
        text, self.rest = self.rest.split(b"\n", 1)
        line = json.loads(text)
        self.latest[line["number"]] = line
        return line
