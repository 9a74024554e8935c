"""The road of a protected setup: the web server asks for a push-button session, the wireless daemon says how it goes."""
import json
from gwlib import inside, wireless
from gwlib.waiting import until

START, STATUS = 0x80000FBC, 4012
IN_PROGRESS, SUCCESS = '0:{"WPSStatus":1}', '0:{"WPSStatus":2}'
ACCESS_POINT = "WiFi.AccessPoint.1"
HEARD = "/tmp/heard"
WORTH_SHOWING = ("wpsMsgSend", "wpsMsgStatus", "wpsParseReplyMsg: replyMsgData", "WPSActivationMethod", "startApp")


def running_status(road):
    return road.values(f"{ACCESS_POINT}.WPS.X_VORAN_WPSRunningStatus").popitem()[1]


def heard(road):
    """What the web server has been told."""
    lines = road.run("cat", HEARD).stdout.splitlines()
    return [json.loads(json.loads(line)["payload"]) for line in lines]


def shows(line, describe):
    """Of the raw lines: the daemon's side of the session, and the access point."""
    if "path" in line:
        return describe(line) if line["path"].startswith(ACCESS_POINT) else None
    if "command" in line:
        return None
    worth = line["channel"] == "stdout" and line["text"].startswith(WORTH_SHOWING)
    return describe(line) if worth or line["channel"] == "vlog" and line["level"] >= 7 else None


def boots(road):
    road.title("1. The gateway boots; a wireless daemon and a web server are on the bus")
    road.boot()
    wireless.start(road.state)
    wireless.answer(road.state, STATUS, [IN_PROGRESS, SUCCESS])
    inside.spawn(road.state, "web-server", "sh", "-c", f"exec vcfgctl serve 15 --json > {HEARD}")
    until(lambda: road.run("test", "-S", "/run/vcfg/eid-15").returncode == 0, 10)
    road.check("start-up has completed", True)


def button_is_pushed(road):
    road.title("2. Someone pushes the button on the web page")
    request = {"WPSRunning": True, "WPSIndex": 1, "StartApp": 15, "WPSActivationMethod": "PushButton"}
    road.inside("vcfgctl", "send", "--to", "2", "--from", "15", "--type", hex(START), "--payload", json.dumps(request))
    road.until("the wireless daemon was told to stop what runs, then to start by push button",
               lambda: [message["type"] for message in wireless.received(road.state)] == [4015, 4006])


def station_is_looked_for(road):
    road.title("3. Ten seconds later the timer's message comes: the daemon asks how it is going")
    road.until("the web server has heard that it is in progress",
               lambda: [outcome["WPSStatus"] for outcome in heard(road)] == [1], 30)


def station_joins(road):
    road.title("4. A station has joined, and the next poll hears of it")
    road.until("the access point says so: NoError, WPS ok!", lambda: running_status(road) == "NoError, WPS ok!", 30)
    road.until("and so the web server has heard", lambda: [outcome["WPSStatus"] for outcome in heard(road)] == [1, 2])


STEPS = [boots, button_is_pushed, station_is_looked_for, station_joins]
