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
            self.events.wait(STARTED, settled=True)

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
        """Memory that is this process's alone: what it has written to, and what nobody else has mapped."""
        lines = pathlib.Path(f"/proc/{process.pid}/smaps_rollup").read_text(encoding="utf-8").splitlines()
        sizes = {words[0]: int(words[1]) for line in lines if len(words := line.split()) == 3}
        return {"written": sizes["Private_Dirty:"], "file": sizes["Private_Clean:"]}


class EventPipe:
    """What the daemon says its events cost it, a line each."""

    def __init__(self, path):
        self.path = path
        os.mkfifo(path)
        self.pipe = os.open(path, os.O_RDWR | os.O_NONBLOCK)
        self.rest = b""
        self.last = 0

    def wait(self, kind, settled=False):
        """The next event of that type: when its handler has returned, or when the threads that it started have, too."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        handled = None
        while True:
            line = self._line(deadline)
            new = line["type"] == kind and line["number"] > self.last
            if handled is None and new and line["us"]:
                handled = line
                self.last = line["number"]
            elif handled is None or line["number"] != handled["number"]:
                continue
            if line["working"] == 0 or not settled:
                return {**line, "us": handled["us"]}

    def _line(self, deadline):
        while b"\n" not in self.rest:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.pipe], [], [], left)[0]:
                raise BenchError("the daemon does not finish an event")
            self.rest += os.read(self.pipe, 65536)
        line, self.rest = self.rest.split(b"\n", 1)
        return json.loads(line)
