"""VC and VLAN auto-hunt with the hunting daemons on the real bus: taking over, refusing, silent, stopped, finished."""
import json

import pytest

from links import HUNT_FINISHED, WAN, Links, eventually

START, STOP = {"vc": 0x800000E5, "vlan": 0x800000EC}, {"vc": 0x800000E6, "vlan": 0x800000ED}
NAME = {"vc": "vcautohunt", "vlan": "vlanautohunt"}
ENABLE = {"vc": "X_VORAN_VcAutoHunt.Enable", "vlan": "X_VORAN_VlanAutoHunt.Enable"}
PENDING = {"vc": "vcautohunt is going to processing !! tarn pending !!",
           "vlan": "vlanAutohunt is going to processing !! tarn pending !!"}
MODE = {"vc": "atm", "vlan": "ptm"}
KINDS = pytest.mark.parametrize("kind", ["vc", "vlan"])


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("hunt"))
    booted.boot({"X_VORAN_VlanAutoHunt.Interface.1": {"Enable": True, "Interface": "IP.Interface.99"},
                 "X_VORAN_VlanAutoHunt.Interface.2": {"Enable": True, "Interface": "IP.Interface.3"}})
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    """No link, no hunt, no hunting daemon; both kinds are enabled."""
    booted.must("dsl", "down")
    booted.cable(WAN, "out")
    booted.handled()
    booted.tell(HUNT_FINISHED)  # forgets every hunt
    for kind in NAME:
        booted.must("hunt", kind, "stop")
        booted.inside("rm", "-f", f"/run/hw/hunt/{28 if kind == 'vc' else 37}.received")
    booted.set(*(f"{path}=true" for path in ENABLE.values()),
               "X_VORAN_VlanAutoHunt.Interface.2.Interface=IP.Interface.3")
    return booted


def received(gateway, kind):
    return [json.loads(line)["type"] for line in gateway.must("hunt", kind, "received").splitlines()]


def signal(gateway, kind):
    """The line comes up in the mode that this kind of hunt is for; returns when the daemon has looked at it."""
    mark = gateway.mark()
    gateway.must("dsl", "up", "--mode", MODE[kind])
    gateway.logged("XTM Link link up", mark)
    gateway.handled()
    return mark


@KINDS
def test_hunt_that_is_taken_keeps_the_daemon_from_the_link(gateway, kind):
    gateway.must("hunt", kind, "accept")
    mark = signal(gateway, kind)
    assert received(gateway, kind) == [START[kind]]
    assert gateway.count(PENDING[kind], mark) == 1
    assert gateway.count("xDSL: link up", mark) == 0
    assert gateway.value("PTM.Link.1.Status") == gateway.value("ATM.Link.1.Status") == "LowerLayerDown"


@KINDS
def test_running_hunt_is_stopped_when_the_link_goes_down(gateway, kind):
    gateway.must("hunt", kind, "accept")
    signal(gateway, kind)
    mark = gateway.dsl_down()
    assert received(gateway, kind) == [START[kind], STOP[kind]]
    assert gateway.count(f"AutoHuntProcess: stop {NAME[kind]} !!!", mark) == 1


@KINDS
def test_refused_hunt_lets_the_link_come_up(gateway, kind):
    gateway.must("hunt", kind, "refuse")
    mark = signal(gateway, kind)
    (line,) = gateway.logged(f"fail to send message to {NAME[kind].upper()} with ret=", mark)
    assert (line["channel"], line["level"]) == ("syslog", 3)
    assert gateway.count("xDSL: link up", mark) == 1
    gateway.wait(f"{MODE[kind].upper()}.Link.1.Status=Up")


@KINDS
def test_hunting_daemon_that_is_not_there_lets_the_link_come_up(gateway, kind):
    mark = signal(gateway, kind)
    assert gateway.count(f"fail to send message to {NAME[kind].upper()} with ret=", mark) == 1
    gateway.wait(f"{MODE[kind].upper()}.Link.1.Status=Up")


def test_hunting_daemon_that_takes_no_messages_holds_the_link_for_seconds_only(gateway):
    gateway.must("hunt", "vlan", "mute")
    mark = signal(gateway, "vlan")
    assert gateway.count("fail to send message to VLANAUTOHUNT with ret=-62", mark) == 1
    gateway.wait("PTM.Link.1.Status=Up")


@KINDS
def test_finished_hunt_sets_the_links_up_without_another_hunt(gateway, kind):
    gateway.must("hunt", kind, "accept", "--finish-after", "300")
    mark = signal(gateway, kind)
    gateway.logged("xDSL: link up", mark)
    assert received(gateway, kind) == [START[kind]]
    assert gateway.processes(NAME[kind])
    gateway.wait(f"{MODE[kind].upper()}.Link.1.Status=Up")


@KINDS
def test_disabled_hunt_ends_stray_hunting_daemons(gateway, kind):
    gateway.must("hunt", kind, "accept")
    gateway.set(f"{ENABLE[kind]}=false")
    mark = signal(gateway, kind)
    assert f"killall {NAME[kind]}" in gateway.commands(mark)
    eventually(lambda: not gateway.processes(NAME[kind]))
    assert received(gateway, kind) == []
    assert gateway.count("xDSL: link up", mark) == 1


def test_vlan_hunt_without_a_matching_interface_is_not_started(gateway):
    gateway.must("hunt", "vlan", "accept")
    gateway.set("X_VORAN_VlanAutoHunt.Interface.2.Interface=IP.Interface.98")
    mark = signal(gateway, "vlan")
    assert received(gateway, "vlan") == []
    assert gateway.count("no match ipiface config", mark) == 1
    assert gateway.count("RDM IP Interface get Fail, IP.Interface.98", mark) == 1
    assert gateway.count("xDSL: link up", mark) == 1


def test_ethernet_link_is_hunted_too(gateway):
    gateway.must("hunt", "vlan", "accept")
    mark = gateway.mark()
    gateway.cable(WAN, "in")
    gateway.logged(PENDING["vlan"], mark)
    gateway.handled()
    assert received(gateway, "vlan") == [START["vlan"]]
    assert gateway.count("Ethernet Wan", mark) == 0
    mark = gateway.cable_out(WAN)
    assert received(gateway, "vlan") == [START["vlan"], STOP["vlan"]]


def test_stop_that_cannot_be_delivered_ends_the_handling_of_the_event(gateway):
    gateway.must("hunt", "vlan", "accept")
    signal(gateway, "vlan")
    gateway.must("hunt", "vlan", "stop")
    mark = gateway.mark()
    gateway.must("dsl", "down")
    gateway.logged("AutoHuntProcess: fail to send message to VLANAUTOHUNT with ret=", mark)
    gateway.handled()
    assert gateway.count("xDSL: XTM link down.", mark) == 0


def test_next_link_event_may_hunt_again_after_a_finished_hunt(gateway):
    gateway.must("hunt", "vlan", "accept", "--finish-after", "200")
    mark = signal(gateway, "vlan")
    gateway.logged("xDSL: link up", mark)
    gateway.dsl_down()
    signal(gateway, "vlan")
    assert received(gateway, "vlan") == [START["vlan"], START["vlan"]]
