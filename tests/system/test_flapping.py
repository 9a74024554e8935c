"""Links that flap, storms of events, statuses that take their time: in the end the truth, and nothing left running."""
import pytest

from links import Links, eventually, inside, threads
from support import LATE

RESTING = 4  # the daemon's threads when nothing is under way
PATIENCE = 120  # for what takes a thousand processes, or many walks one after the other, on a machine that is busy


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("flapping"))
    layers = {f"Ethernet.Link.{n}": {"Enable": True, "Status": "LowerLayerDown", "LowerLayers": "Ethernet.Interface.5"}
              for n in (3, 4, 5)}
    stack = {f"InterfaceStack.{n + 7}": {"HigherLayer": f"Ethernet.Link.{n}", "LowerLayer": "Ethernet.Interface.5"}
             for n in (3, 4, 5)}
    booted.boot({**layers, **stack})
    yield booted
    booted.down()


def script(gateway, room, text):
    """Runs at once in one of the rooms."""
    done = inside.run(gateway.state, "sh", "-ec", text, room=room, timeout=2 * PATIENCE)
    assert done.returncode == 0, done.stderr


def flap(gateway, times, last):
    """The cable goes in and out as fast as it can, and stays as said."""
    script(gateway, "isp", f"for n in $(seq {times}); do ip link set eth5 up; ip link set eth5 down; done; ip link set eth5 {last}")


def truth(gateway, status, link):
    """What the cable's port and all above it come to; the port may have it for a moment before, too."""
    gateway.wait(f"Ethernet.Interface.5.Status={status}", PATIENCE)
    gateway.handled(PATIENCE)
    gateway.wait(f"Ethernet.Link.1.Status={link}", PATIENCE)
    gateway.wait(f"IP.Interface.1.Status={link}", PATIENCE)


def test_statuses_go_upward_with_their_pauses(booted):
    with booted.watching() as changes:
        booted.cable_in()
        booted.wait("Ethernet.Link.5.Status=Up", 30)
    at = [(path, when) for when, path, _, new in changes if path.startswith("Ethernet.Link.") and new == "Up"]
    assert [path for path, _ in at] == [f"Ethernet.Link.{n}.Status" for n in (1, 3, 4, 5)]
    pauses = [after[1] - before[1] for before, after in zip(at, at[1:])]
    assert all(least <= pause + 0.01 and pause < least + LATE for pause, least in zip(pauses, (3, 3, 5), strict=True)), pauses
    booted.cable_out()
    for entry in (10, 11, 12):  # one layer is enough for what follows
        booted.inside("vcfgctl", "del", f"InterfaceStack.{entry}")


@pytest.mark.parametrize(("times", "last", "status", "link"), [(100, "up", "Up", "Up"), (20, "down", "Down", "LowerLayerDown")])
def test_flaps_of_the_cable_end_in_the_truth(booted, times, last, status, link):
    flap(booted, times, last)
    truth(booted, status, link)


def test_thirty_flaps_of_the_dsl_line_end_in_the_truth(booted):
    script(booted, "gateway", "for n in $(seq 30); do gw-linesim dsl up; gw-linesim dsl down; done >/dev/null; gw-linesim dsl up")
    booted.wait("DSL.Line.1.LinkStatus=Up", PATIENCE)
    booted.wait("PTM.Link.1.Status=Up", PATIENCE)
    booted.handled(PATIENCE)
    booted.must("dsl", "down")
    booted.wait("PTM.Link.1.Status=LowerLayerDown", PATIENCE)


def test_storm_of_kernel_events_ends_in_the_truth(booted):
    mark = booted.mark()
    script(booted, "gateway", "for n in $(seq 1000); do gw-kernel-event eth0.9:up:1000:F; done; gw-kernel-event eth0.3:down:0:H")
    booted.logged("setEthIfaceObj: eth0.3, Down", mark, PATIENCE)
    booted.handled(PATIENCE)
    assert booted.processes("tarn")
    flap(booted, 1, "down")
    truth(booted, "Down", "LowerLayerDown")


def test_nothing_is_left_running(booted):
    """The walks of all flaps before end by themselves."""
    eventually(lambda: threads(booted) == RESTING, PATIENCE)
    assert not booted.processes("ethphxcmd") and not booted.processes("wan")
    assert len(booted.processes("tarn")) == 1


def test_events_that_are_no_link_events_change_nothing(booted):
    before = booted.model()
    for text in ("", ":", "eth0.5", "eth0.5:", ":up", "eth0.55:up:1:F", "eth0.5$(reboot):up:1:F", "x" * 4000, "e" * 31 + ":up"):
        booted.inside("gw-kernel-event", text)
    booted.handled()
    assert booted.model() == before
