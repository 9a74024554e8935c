"""Start-up with and without each kind of link. The daemon starts anew with the hardware as the test has set it."""
import pytest

from links import CLOSE, DISABLE, ENABLE, OPEN, WAN, Links, eventually
from support import SLOWER

ROW = "updateWanLinkStatus: linkInfo iface name: "
FIRST = "initializing list of WANDevices"
OPTICAL_LINK, USB_PPP = "Ethernet.Link.3", "PPP.Interface.1"


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("boot"))
    booted.boot({OPTICAL_LINK: {"Enable": True, "Status": "LowerLayerDown", "LowerLayers": "Optical.Interface.1"},
                 USB_PPP: {"Enable": True, "Status": "Down", "LowerLayers": "USB.Interface.1"},
                 "InterfaceStack.10": {"HigherLayer": OPTICAL_LINK, "LowerLayer": "Optical.Interface.1"},
                 "InterfaceStack.11": {"HigherLayer": USB_PPP, "LowerLayer": "USB.Interface.1"}})
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    """Nothing is up; whatever the test sets up is there before the daemon starts."""
    booted.must("service", "stop", "tarn")
    booted.cable(WAN, "out")
    booted.must("dsl", "down")
    booted.inside("wan", "adsl", "open")
    booted.set("Ethernet.Interface.5.Status=Down", "Optical.Interface.1.Status=Down", "USB.Interface.1.Status=Down",
               f"{OPTICAL_LINK}.Status=LowerLayerDown", f"{USB_PPP}.Status=Down", "Ethernet.Link.1.Status=LowerLayerDown",
               "Optical.Interface.1.Upstream=true", "USB.Interface.1.Upstream=true")
    yield booted
    if not booted.processes("tarn"):
        booted.must("service", "start", "tarn")


def starts(gateway):
    """The daemon's start-up, completed; the time when it began."""
    mark = gateway.mark()
    gateway.must("service", "start", "tarn")
    gateway.logged("sendInitFin() : ", mark)
    eventually(lambda: "UP" in gateway.inside("ip", "-o", "link", "show", "dev", WAN).partition("<")[2].split(">")[0].split(","))
    gateway.handled()
    return mark


def rows(gateway, mark):
    """The links of the table in the order in which the first look came to them."""
    texts = [text.rstrip("\n") for text in gateway.texts(mark)]
    names = []
    for text in texts[texts.index(FIRST):]:
        if text.startswith(ROW):
            names.append(text.removeprefix(ROW))
        elif names and not text.startswith(ROW) and "sendInitFin" in text:
            break
    return names


def dsl_has_signal(gateway, mode):
    gateway.must("dsl", "up", "--mode", mode)
    gateway.wait("DSL.Line.1.LinkStatus=Up")


def test_without_a_link_nothing_is_set_up(gateway):
    mark = starts(gateway)
    assert rows(gateway, mark) == [WAN, "opt", "usb", ""]
    assert [gateway.count(text, mark) for text in ("link up", "link down", "thread starts")] == [0, 0, 3]
    assert gateway.led() == "dark"


def test_ethernet_port_is_switched_off_and_on_once(gateway):
    mark = starts(gateway)
    assert [command for command in gateway.commands(mark) if "ethphxcmd" in command] == [DISABLE, ENABLE]


@pytest.mark.parametrize(("mode", "module"), [("ptm", "mt7510ptm"), ("atm", "mt7510sar")])
def test_dsl_that_is_up_is_taken_over_at_start_up(gateway, mode, module):
    dsl_has_signal(gateway, mode)
    gateway.set(f"{mode.upper()}.Link.1.Status=LowerLayerDown")
    mark = starts(gateway)
    assert gateway.count(f"xDSL: link up, Connection Type: {mode.upper()}", mark) == 1
    assert module in gateway.modules()
    gateway.wait(f"{mode.upper()}.Link.1.Status=Up")


def test_ethernet_that_is_up_is_taken_over_at_start_up(gateway):
    gateway.cable(WAN, "in")
    mark = starts(gateway)
    gateway.logged(f"Ethernet Wan {WAN} link up", mark)
    gateway.wait("Ethernet.Link.1.Status=Up")
    eventually(lambda: gateway.led() == "green")


def test_ethernet_wins_over_dsl_when_both_are_up_at_start_up(gateway):
    dsl_has_signal(gateway, "ptm")
    gateway.cable(WAN, "in")
    mark = starts(gateway)
    gateway.logged(f"Ethernet Wan {WAN} link up", mark)
    gateway.ran(CLOSE, mark)
    gateway.wait("DSL.Line.1.LinkStatus=Disabled")
    gateway.wait("Ethernet.Link.1.Status=Up")


def test_optical_link_that_is_up_is_taken_over_at_start_up(gateway):
    gateway.set("Optical.Interface.1.Status=Up")
    mark = starts(gateway)
    assert gateway.count("GPON Wan opt0 link up", mark) == 1
    gateway.wait(f"{OPTICAL_LINK}.Status=Up")


def test_usb_link_that_is_up_is_taken_over_at_start_up(gateway):
    gateway.set("USB.Interface.1.Status=Up")
    mark = starts(gateway)
    assert gateway.count("Wireless Wan usb0 link up", mark) == 1
    gateway.wait(f"{USB_PPP}.Status=Up")
    assert gateway.value(f"{USB_PPP}.ConnectionStatus") == "Connecting"


def test_interfaces_that_are_not_upstream_are_ignored(gateway):
    gateway.set("Optical.Interface.1.Upstream=false", "USB.Interface.1.Upstream=false")
    mark = starts(gateway)
    assert gateway.count("ignoring WanDevice", mark) == 2
    assert rows(gateway, mark) == [WAN, ""]


def test_event_before_the_table_is_ready_trains_dsl_anew(gateway):
    dsl_has_signal(gateway, "ptm")
    gateway.fault("button_disable_for_manufacture.sh", f"hang {3 * SLOWER:g}")
    try:
        mark = gateway.mark()
        gateway.must("service", "start", "tarn")
        gateway.logged("kernelFd=", mark)
        eventually(lambda: gateway.run("gw-kernel-event", "ptm0:up").returncode == 0)
        gateway.ran(OPEN, mark)
        assert gateway.count("WAN Link Info is not ready, re-train DSL", mark) >= 1
        commands = gateway.commands(mark)
        assert commands[commands.index(CLOSE):][:2] == [CLOSE, OPEN]
    finally:
        gateway.fault("button_disable_for_manufacture.sh", None)
    gateway.logged("sendInitFin() : ", mark)
    gateway.logged("xDSL: link up", mark)


def test_command_that_hangs_is_in_the_log_with_its_duration(gateway):
    gateway.fault("mcpd.sh", "hang 2.2")
    try:
        mark = starts(gateway)
    finally:
        gateway.fault("mcpd.sh", None)
    (line,) = gateway.logged('command "/etc/init.d/mcpd.sh reload" took', mark)
    assert (line["channel"], line["level"]) == ("vlog", 4)
    assert int(line["text"].rsplit(" ", 2)[-2]) >= 2000
    (entry,) = [entry for entry in gateway.journal(mark) if "mcpd.sh" in entry["command"]]
    assert entry["duration_ms"] >= 2000


def test_commands_that_fail_do_not_stop_start_up(gateway):
    for program in ("button_disable_for_manufacture.sh", "mcpd.sh", "disable_lan.sh", "ethphxcmd"):
        gateway.fault(program, "fail 3")
    try:
        mark = gateway.mark()
        gateway.must("service", "start", "tarn")
        gateway.logged("sendInitFin() : ", mark)
    finally:
        gateway.inside("rm", "-rf", "/run/hw/fault")
    assert [entry["status"] for entry in gateway.journal(mark) if "/etc/init.d/" in entry["command"]] == [3, 3, 3]


def test_gateway_without_any_wan_link_starts_up(tmp_path):
    bare = Links(tmp_path)
    bare.boot(without=("DSL.", "PTM.", "ATM.", "USB.", "Optical.", "Ethernet.", "InterfaceStack", "IP.Interface.3",
                       "DHCPv4.Client.2"))
    try:
        texts = [text.rstrip("\n") for text in bare.texts()]
        assert FIRST in texts and not any(text.startswith(ROW) for text in texts)
        bare.handled()
        mark = bare.mark()
        bare.inside("gw-kernel-event", "eth0.5:up:1000:F")
        bare.inside("gw-kernel-event", "ptm0:up")
        bare.handled()
        assert bare.count("link up", mark) == 0
    finally:
        bare.down()


def test_objects_that_vanish_after_start_up_are_told_and_skipped(tmp_path):
    gateway = Links(tmp_path)
    gateway.boot()
    try:
        for path in ("DSL.Line.1", "Optical.Interface.1", "USB.Interface.1", "Ethernet.Interface.5"):
            gateway.inside("vcfgctl", "del", path)
        mark = gateway.mark()
        gateway.inside("gw-kernel-event", "eth0.5:up:1000:F")
        gateway.handled()
        for kind in ("wan eth", "optical", "usb", "dsl"):
            assert gateway.count(f"Can't find {kind} interface config object", mark) >= 1
    finally:
        gateway.down()
