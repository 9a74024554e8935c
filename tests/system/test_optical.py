"""The optical link: what its service reports do to table, data model, LED and the connections above."""
import json

import pytest

from links import OPTICAL, Links
from support import LATE

INTERFACE, LINK = "Optical.Interface.1", "Ethernet.Link.3"


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("optical"))
    booted.boot({INTERFACE: {"Enable": True, "Status": "Down", "Name": "opt0", "Upstream": True},
                 LINK: {"Enable": True, "Status": "LowerLayerDown", "LowerLayers": INTERFACE},
                 "PPP.Interface.1": {"Enable": False, "Status": "Down", "LowerLayers": INTERFACE},
                 "IP.Interface.4": {"Enable": True, "IPv4Enable": True, "Status": "LowerLayerDown", "LowerLayers": LINK,
                                    "X_VORAN_IfName": "opt0", "X_VORAN_WAN": True},
                 "InterfaceStack.10": {"HigherLayer": LINK, "LowerLayer": INTERFACE},
                 "InterfaceStack.11": {"HigherLayer": "PPP.Interface.1", "LowerLayer": INTERFACE}})
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    if booted.value(f"{INTERFACE}.Status") == "Up":
        booted.must("optical", "down")
    booted.wait(f"{LINK}.Status=LowerLayerDown")
    booted.settle()
    return booted


def test_ppp_interface_on_the_link_connects_three_seconds_after_the_ethernet_link(gateway):
    # The first test: no earlier change is still on its way up.
    with gateway.watching() as changes:
        gateway.must("optical", "up")
        gateway.wait("PPP.Interface.1.ConnectionStatus=Connecting")
    at = {path: when for when, path, _, new in changes if new in ("Up", "Connecting")}
    assert 2.9 < at["PPP.Interface.1.ConnectionStatus"] - at[f"{LINK}.Status"] < 3 + LATE
    assert gateway.value("PPP.Interface.1.Status") == "Up"


def test_service_that_comes_up_sets_the_link_up(gateway):
    mark = gateway.mark()
    gateway.must("optical", "up")
    gateway.wait(f"{INTERFACE}.Status=Up")
    gateway.wait(f"{LINK}.Status=Up")
    assert gateway.count("GPON Wan opt0 link up", mark) == 1
    assert gateway.count("serviceStatus=1", mark) == 1


def test_led_shows_an_optical_wan(gateway):
    assert gateway.led() == "dark"
    gateway.must("optical", "up")
    gateway.wait("IP.Interface.4.Status=Up")
    gateway.settle()
    assert gateway.led() == "red"


def test_repeated_report_updates_the_connections_again(gateway):
    gateway.must("optical", "up")
    gateway.wait(f"{LINK}.Status=Up")
    gateway.set(f"{LINK}.Status=Dormant")
    mark = gateway.mark()
    gateway.must("optical", "up")
    gateway.wait(f"{LINK}.Status=Up")
    assert gateway.count("GPON Wan opt0 link up to up case", mark) == 1


def test_service_that_goes_down_sets_the_link_down(gateway):
    gateway.must("optical", "up")
    gateway.wait(f"{LINK}.Status=Up")
    mark = gateway.mark()
    gateway.must("optical", "down")
    gateway.wait(f"{INTERFACE}.Status=Down")
    gateway.wait(f"{LINK}.Status=LowerLayerDown")
    assert gateway.count("GPON Wan opt0 link down", mark) == 1
    assert gateway.led() == "dark"


def test_repeated_down_changes_nothing(gateway):
    mark = gateway.mark()
    gateway.must("optical", "down")
    gateway.settle()
    assert gateway.count("serviceStatus=0", mark) == 1
    assert gateway.count("GPON Wan", mark) == 0


@pytest.mark.parametrize("payload", ["{}", '{"other":true}', '{"serviceStatus":null}'])
def test_report_without_the_status_counts_as_down(gateway, payload):
    gateway.must("optical", "up")
    gateway.wait(f"{INTERFACE}.Status=Up")
    gateway.tell(OPTICAL, payload)
    gateway.wait(f"{INTERFACE}.Status=Down")


@pytest.mark.parametrize("payload", ["", "{", "true", "[1]", "x" * 4000, json.dumps("x")], ids=range(6))
def test_report_that_is_no_object_changes_nothing(gateway, payload):
    gateway.must("optical", "up")
    gateway.wait(f"{INTERFACE}.Status=Up")
    gateway.tell(OPTICAL, payload)
    assert gateway.value(f"{INTERFACE}.Status") == "Up"


def test_interface_that_is_not_upstream_is_left_alone(gateway):
    gateway.set(f"{INTERFACE}.Upstream=false")
    gateway.must("optical", "up")
    gateway.settle()
    assert gateway.value(f"{INTERFACE}.Status") == "Down"
    gateway.set(f"{INTERFACE}.Upstream=true")


def test_missing_object_is_told_and_changes_nothing(booted):
    booted.must("optical", "down")
    booted.inside("vcfgctl", "del", INTERFACE)
    mark = booted.mark()
    booted.must("optical", "up")
    booted.logged("Can't find optical interface config object", mark)
