"""How fast vcmd starts, how much memory the daemons take, how large the program is."""
import json
import os
import pathlib
import select
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time

from .programs import BIN, REPOSITORY, Series
from .table import Limit, Row
from .world import World

DEFAULT_MODEL = REPOSITORY / "gateway" / "defaults.json"
INSTANCES = 10_000
SOME_INSTANCES = 1_000
START_LIMIT = Limit(200, unit="ms")
PROGRAM_LIMIT = Limit(250, unit="KiB")
TARN_LIMIT = Limit(1024, unit="KiB")
VCMD_LIMIT = Limit(4096, unit="KiB")
PER_TABLE = 250  # of the 255 that a table holds


def instances(number):
    """A model of that many instances, as a gateway with much configuration has them: addresses below interfaces."""
    objects = {}
    for table in range(1, number // PER_TABLE + 1):
        objects[f"IP.Interface.{table}"] = {"Enable": True, "Alias": f"interface{table}"}
        for each in range(1, PER_TABLE):
            objects[f"IP.Interface.{table}.IPv4Address.{each}"] = {
                "Enable": True, "IPAddress": f"10.{table}.{each}.1", "SubnetMask": "255.255.255.0"}
    return objects


def default_model():
    return json.loads(DEFAULT_MODEL.read_text(encoding="utf-8"))["objects"]


def measure(rounds):
    return [_start_row(rounds), *_size_rows(), *_memory_rows()]


def _start_row(rounds):
    series = Series()
    with World(instances(INSTANCES)) as world:
        for _ in range(max(3, rounds // 4)):
            world.vcmd.kill()
            world.vcmd.wait()
            series.add([_start_once(world)])
    return Row(f"vcmd: start with {INSTANCES:,} instances", "ms", series.median, spread=series.spread,
               value=series.median, limit=START_LIMIT)


def _start_once(world):
    """Milliseconds until the command has left a vcmd behind that serves."""
    start = time.monotonic()
    subprocess.run([BIN / "vcmd"], env=world.environment, check=True)
    took = (time.monotonic() - start) * 1000
    with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as one:
        one.connect(f"{world.run}/bus/eid-1")
        credentials = one.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, struct.calcsize("3i"))
    _end(struct.unpack("3i", credentials)[0])
    return took


def _end(process):
    """Of a process that is not this one's child."""
    handle = os.pidfd_open(process)
    signal.pidfd_send_signal(handle, signal.SIGKILL)
    select.select([handle], [], [])
    os.close(handle)


def _size_rows():
    with tempfile.TemporaryDirectory() as directory:
        copy = pathlib.Path(directory) / "tarn"
        shutil.copyfile(BIN / "tarn", copy)
        subprocess.run(["strip", copy], check=True)
        kib = copy.stat().st_size / 1024
    return [Row("tarn: size of the stripped program", "KiB", kib, value=kib, limit=PROGRAM_LIMIT)]


def _memory_rows():
    with World(default_model(), with_tarn=True) as world:
        tarn = world.private_kib(world.tarn)
    with World(instances(SOME_INSTANCES)) as world:
        vcmd = world.private_kib(world.vcmd)
    return [_memory_row("tarn: private memory after start with the default model", tarn, TARN_LIMIT),
            _memory_row(f"vcmd: private memory with {SOME_INSTANCES:,} instances", vcmd, VCMD_LIMIT)]


def _memory_row(what, memory, limit):
    return Row(what, "KiB", memory, value=memory, limit=limit)
