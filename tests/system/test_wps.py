"""Protected setup with the wireless daemon and the web server as endpoints of the bus. The clock of a session is its
polls, which these tests send as the timer does; real seconds pass in test_timer.py and test_wps_timeout.py."""
import json
import struct

import pytest

from support import LATE, eventually
from wps import (BOTH_BANDS, BUTTON, OUTCOME, PIN, POLL, PUSH_BUTTON, PUSH_BUTTON_BOTH, START, STATUS, STOP,
                 STOP_REQUEST, TR069, WEB_SERVER, Setup, WebServer, status)

REF = '{"SSIDRef":1}'
ASK = (STATUS, '["WPSStatus"]')


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    gateway = Setup(tmp_path_factory.mktemp("gateway"))
    gateway.up()
    yield gateway
    gateway.down()


@pytest.fixture
def gateway(booted):
    """Idle, with nothing said of any access point."""
    booted.ends()
    booted.set("WiFi.AccessPoint.1.WPS.X_VORAN_WPSRunningStatus=", "WiFi.AccessPoint.5.WPS.X_VORAN_WPSRunningStatus=")
    return booted


@pytest.fixture
def web_server(gateway):
    server = WebServer(gateway.state)
    yield server
    server.end()


def test_push_button_succeeds_on_the_third_poll(gateway, web_server):
    gateway.wireless(STATUS=[status(1), status(1), status(2)])
    gateway.ask(START, WEB_SERVER, **BUTTON)
    assert gateway.asked() == [(STOP_REQUEST, REF), (PUSH_BUTTON, REF)]
    gateway.poll(2)
    assert gateway.running_status() != "NoError, WPS ok!"
    gateway.poll()
    assert gateway.asked()[2:] == [ASK] * 3
    assert gateway.running_status() == "NoError, WPS ok!"
    assert gateway.value("WiFi.AccessPoint.1.WPS.WPSRunning") == "false"
    heard = [json.loads(web_server.hears()["payload"]) for _ in range(3)]
    assert heard == [{"WPSStatus": number, "rst": 0, "msg_type": POLL} for number in (1, 1, 2)]


def test_outcome_for_the_web_server_byte_by_byte(gateway, web_server):
    gateway.wireless(STATUS='1:{"WPSStatus":1,"rst":"old","more":[1,{"a":null}]}')
    gateway.ask(START, WEB_SERVER, **BUTTON, X_VORAN_IfName="ra0")
    gateway.poll()
    answer = bytes.fromhex(gateway.received()[-1]["answerHex"])
    heard = web_server.hears()
    text = b'{"WPSStatus":1,"rst":0,"more":[1,{"a":null}],"msg_type":2147487675}\0'
    assert bytes.fromhex(heard["payloadHex"]) == text
    expected = bytearray(answer[:56])
    struct.pack_into("<I", expected, 0, OUTCOME)
    expected[8], expected[9] = 2, WEB_SERVER
    struct.pack_into("<H", expected, 10, len(text))
    assert expected[16:20] == b"\1\0\0\0" and expected[20:23] == b"ra0"  # the code and what else the answer said
    assert bytes.fromhex(heard["headerHex"]) == bytes(expected)


def test_interface_name_is_in_the_envelope(gateway):
    gateway.wireless()
    gateway.ask(START, TR069, **BUTTON, X_VORAN_IfName="wireless-interface0X")
    gateway.poll()
    assert [message["ifName"] for message in gateway.received()] == ["wireless-interface"] * 3


def test_station_pin(gateway):
    gateway.wireless(STATUS=status(2))
    gateway.ask(START, TR069, WPSActivationMethod="StationPIN", X_VORAN_WPS_StationPin="12345670")
    assert gateway.asked() == [(STOP_REQUEST, REF), (PIN, '{"SSIDRef":1,"StationPin":"12345670"}')]
    gateway.poll()
    assert gateway.running_status() == "NoError, WPS ok!"


def test_pin_of_the_access_point_goes_under_the_same_key(gateway):
    gateway.wireless()
    gateway.ask(START, WEB_SERVER, WPSActivationMethod="ApPIN", X_VORAN_WPS_DevicePin="87654321")
    assert gateway.asked()[-1] == (PIN, '{"SSIDRef":1,"StationPin":"87654321"}')


def test_setup_of_both_bands_is_written_to_both(gateway):
    gateway.wireless(STATUS=status(4))
    gateway.ask(START, BOTH_BANDS, **BUTTON, X_VORAN_IfName="ra0")
    assert gateway.asked()[-1] == (PUSH_BUTTON_BOTH, REF)
    gateway.poll()
    assert gateway.running_status(1) == gateway.running_status(5) == "DeviceBusy"


def test_stop_when_idle(gateway):
    gateway.wireless()
    gateway.ask(STOP, WEB_SERVER)
    assert gateway.asked() == [(STOP_REQUEST, REF)]
    assert gateway.running_status() == "NoError, WPS stop!"


def test_stop_while_running_leaves_the_session_without_a_timer(gateway):
    gateway.wireless(STATUS=status(1))
    gateway.ask(START, TR069, **BUTTON)
    with gateway.watching() as changes:
        gateway.ask(STOP, TR069)
    assert gateway.asked()[2:] == [(STOP_REQUEST, REF)]
    assert not [path for _, path, _, _ in changes if ".WPS." in path]
    gateway.poll()  # it still counts as running
    assert gateway.asked()[3:] == [ASK]


def test_start_while_running_starts_anew(gateway):
    gateway.wireless(STATUS=status(1))
    gateway.ask(START, TR069, **BUTTON)
    gateway.poll(8)
    gateway.ask(START, TR069, **BUTTON)
    assert gateway.asked()[-2:] == [(STOP_REQUEST, REF), (PUSH_BUTTON, REF)]
    gateway.poll(8)  # its time has begun anew
    assert gateway.running_status() != "RegistrationSessionTimeout"


def test_start_of_another_application_does_nothing_when_idle(gateway):
    gateway.wireless()
    gateway.ask(START, 77, **BUTTON)
    assert gateway.asked() == []


@pytest.mark.parametrize("code", ("2", "-1", "-20", "2147483647"))
def test_refused_start_is_busy(gateway, web_server, code):
    gateway.wireless(PUSH_BUTTON=code)
    gateway.ask(START, WEB_SERVER, **BUTTON)
    assert gateway.running_status() == "DeviceBusy"
    if code.startswith("-"):
        heard = web_server.hears()
        assert (heard["statCode"], json.loads(heard["payload"])) == (int(code), {"rst": 0, "msg_type": START})


def test_three_polls_without_a_status_end_the_session_with_three(gateway, web_server):
    gateway.wireless(STATUS=["0", "0:", "0:not JSON"])
    gateway.ask(START, WEB_SERVER, **BUTTON)
    gateway.poll(3)
    assert gateway.running_status() == "DeviceBusy, no wps status reply!"
    heard = [json.loads(web_server.hears()["payload"]).get("WPSStatus") for _ in range(3)]
    assert heard == [None, None, 3]
    gateway.poll()
    assert len(gateway.asked()) == 5  # the empty session asks nobody


def test_bad_codes_and_the_status_are_written_one_after_the_other(gateway):
    gateway.wireless(STATUS='-20:{"WPSStatus":0}')
    gateway.ask(START, TR069, **BUTTON)
    with gateway.watching() as changes:
        gateway.poll()
    texts = [new for _, path, _, new in changes if path.endswith("X_VORAN_WPSRunningStatus")]
    assert texts == ["DeviceException, wps reply error!", "DeviceException, wps not running!"]


def test_silent_wireless_daemon_is_waited_for_five_seconds(gateway, web_server):
    gateway.wireless(PUSH_BUTTON="silent")
    mark = gateway.mark()
    gateway.ask(START, WEB_SERVER, **BUTTON)
    (line,) = gateway.logged("process msg type = 4028 without reply, oid = 0, from EID = 15 by ", mark)
    assert 5000 <= int(line["text"].split()[-2]) < 5000 + LATE * 1000
    assert gateway.running_status() == "DeviceBusy"
    assert json.loads(web_server.hears()["payload"]) == {"rst": -62, "msg_type": START}


def test_dead_wireless_daemon_is_busy_at_once(gateway, web_server):
    gateway.must("wireless", "stop")
    gateway.ask(START, WEB_SERVER, **BUTTON)
    assert gateway.running_status() == "DeviceBusy"
    heard = web_server.hears()
    assert json.loads(heard["payload"])["rst"] != 0
    assert bytes.fromhex(heard["headerHex"])[12:] == bytes(44)  # there was no answer whose envelope could be kept


def test_wireless_daemon_that_dies_during_a_session(gateway):
    gateway.wireless(STATUS=status(1))
    gateway.ask(START, TR069, **BUTTON)
    gateway.poll()
    gateway.must("wireless", "stop")
    with gateway.watching() as changes:
        gateway.poll()
    texts = [new for _, path, _, new in changes if path.endswith("X_VORAN_WPSRunningStatus")]
    assert texts == ["DeviceBusy, msg send/response error!", "DeviceBusy, no wps status reply!"]
    gateway.poll(2)
    gateway.wireless()
    gateway.poll()
    assert gateway.asked() == []  # three in a row ended it


def test_time_out_of_the_tr069_agents_session_stops_the_setup(gateway):
    gateway.wireless(STATUS=status(1))
    gateway.ask(START, TR069, **BUTTON)
    gateway.poll(12)
    assert gateway.asked()[-1] == (STOP_REQUEST, REF)
    assert gateway.running_status() == "RegistrationSessionTimeout"


@pytest.mark.parametrize("payload", ("", "{", "[1]", "null", "7", "\"x\"", "[" * 5000, b"\xff\xfe\0{}", b"{" + b"\0" * 9))
def test_hostile_request_changes_nothing(gateway, payload):
    gateway.wireless()
    mark = gateway.mark()
    for message in (START, STOP, POLL):
        gateway.send(message, payload)
    gateway.settle()
    assert gateway.asked() == []
    assert gateway.count("the WPS request is not a JSON object", mark) == 3


def test_hostile_values_become_plain_ones(gateway):
    gateway.wireless()
    huge = "x" * 3000
    gateway.ask(START, TR069, WPSActivationMethod="StationPIN", X_VORAN_WPS_StationPin=huge, X_VORAN_IfName=huge,
                WPSIndex=10**30, WPSRunning={"a": [huge]}, X_VORAN_WPS_Configured=[1])
    assert gateway.asked()[-1] == (PIN, '{"SSIDRef":0,"StationPin":"' + "x" * 10 + '"}')


def test_messages_on_both_endpoints_are_handled_one_at_a_time(gateway):
    gateway.wireless()
    request = json.dumps({"StartApp": TR069, "WPSIndex": 1, **BUTTON})
    other = json.dumps({"StartApp": BOTH_BANDS, "WPSIndex": 5, **BUTTON})
    send = f"vcfgctl send --type {START:#x} --to"
    gateway.inside("sh", "-c", f"for i in 1 2 3 4 5 6 7 8 9 10; do {send} 2 --payload '{request}';"
                   f" {send} 66 --payload '{other}'; done")
    eventually(lambda: len(gateway.asked()) == 40)
    asked = gateway.asked()
    pairs = {(asked[each][0], asked[each][1], asked[each + 1][0], asked[each + 1][1]) for each in range(0, 40, 2)}
    five = '{"SSIDRef":5}'
    assert pairs == {(STOP_REQUEST, REF, PUSH_BUTTON, REF), (STOP_REQUEST, five, PUSH_BUTTON_BOTH, five)}
