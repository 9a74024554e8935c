"""The hunting daemons' stand-in on a real bus: it takes messages, is not there, is refused, or takes nothing, as told."""
import json
import subprocess
import sys

import pytest
from platform_support import BUILD, ROOT, environment, eventually

START, STOP, FINISHED = 0x800000E5, 0x800000E6, 0x800000F6
DELIVERED, NO_PEER, TIMEOUT = 1, -111, -62

# One bus message as the daemon sends it, through the library's C interface; prints the result.
SENDER = """
import ctypes, struct, sys
bus, libc = ctypes.CDLL(sys.argv[1]), ctypes.CDLL(None)
libc.calloc.restype = ctypes.c_void_p
bus.vcfg_msg_eidInit(ctypes.c_uint8(2), b"tarn")
message = libc.calloc(1, 57 + len(sys.argv[4]))
header = struct.pack("=IIBBHI", int(sys.argv[3]), 0, 2, int(sys.argv[2]), len(sys.argv[4]), 7)
ctypes.memmove(message, header, len(header))
ctypes.memmove(message + 56, sys.argv[4].encode(), len(sys.argv[4]))
print(bus.vcfg_msg_sendAndGetReply(ctypes.c_void_p(message), None, ctypes.c_uint32(300)))
"""
LIBRARY = BUILD / "lib" / "libvcfg.so"
pytestmark = pytest.mark.skipif(not LIBRARY.exists(), reason="libvcfg is not built")


class Hunter:
    def __init__(self, hw, eid, *arguments):
        self.hw, self.eid = hw, eid
        (hw / "bus").mkdir(mode=0o700, exist_ok=True)
        self.environment = environment(hw, VCFG_RUN_DIR=hw / "bus")
        self.program = subprocess.Popen([ROOT / "usr/bin/gw-huntd", str(eid), *arguments], env=self.environment)
        assert eventually((hw / f"hunt/{eid}.state").exists)

    def is_told(self, mode):
        (self.hw / f"hunt/{self.eid}.mode").write_text(mode + "\n")
        assert eventually(lambda: (self.hw / f"hunt/{self.eid}.state").read_text() == mode + "\n")

    def is_sent(self, kind, payload=""):
        result = subprocess.run([sys.executable, "-c", SENDER, LIBRARY, str(self.eid), str(kind), payload], text=True,
                                env=self.environment, capture_output=True, check=True, timeout=30)
        return int(result.stdout)

    def received(self):
        file = self.hw / f"hunt/{self.eid}.received"
        return [json.loads(line) for line in file.read_text().splitlines()] if file.exists() else []


@pytest.fixture
def hunter(tmp_path):
    hunters = []

    def start(eid=28, *arguments):
        hunters.append(Hunter(tmp_path, eid, *arguments))
        return hunters[-1]

    yield start
    for each in hunters:
        each.program.kill()
        each.program.wait()


def test_accepting_daemon_takes_messages_and_keeps_them(hunter):
    vc = hunter(28)
    assert vc.is_sent(START) == DELIVERED
    assert vc.is_sent(STOP, 'a "b"') == DELIVERED
    assert eventually(lambda: len(vc.received()) == 2)
    assert [(message["type"], message["srcEid"], message["payload"]) for message in vc.received()] == [
        (START, 2, ""), (STOP, 2, 'a "b"')]


@pytest.mark.parametrize(("mode", "result"), [("absent", NO_PEER), ("refuse", NO_PEER), ("mute", TIMEOUT)])
def test_daemon_that_does_not_take_messages_fails_the_sender(hunter, mode, result):
    vlan = hunter(37, "--mode", mode)
    assert vlan.is_sent(START) == result
    assert vlan.received() == []


def test_behaviour_changes_when_told(hunter):
    vc = hunter(28)
    for mode, result in (("absent", NO_PEER), ("mute", TIMEOUT), ("accept", DELIVERED), ("refuse", NO_PEER)):
        vc.is_told(mode)
        assert vc.is_sent(START) == result


def test_accepted_hunt_ends_by_itself_when_asked_to(hunter):
    tarn = hunter(2)
    vc = hunter(28, "--finish-after", "10")
    vc.is_sent(STOP)
    vc.is_sent(START)
    assert eventually(tarn.received)
    assert [(message["type"], message["srcEid"]) for message in tarn.received()] == [(FINISHED, 28)]


@pytest.mark.parametrize(("eid", "name"), [(28, "vcautohunt"), (37, "vlanautohunt")])
def test_platform_ends_a_hunt_by_its_daemons_name(hunter, eid, name):
    program = hunter(eid).program
    with open(f"/proc/{program.pid}/comm", encoding="ascii") as file:
        assert file.read() == name + "\n"


@pytest.mark.parametrize("arguments", [[], ["0"], ["256"], ["28", "37"], ["28", "--mode", "sulk"]])
def test_wrong_usage_is_told(tmp_path, arguments):
    result = subprocess.run([ROOT / "usr/bin/gw-huntd", *arguments], env=environment(tmp_path), capture_output=True,
                            check=False, timeout=30)
    assert result.returncode == 2
