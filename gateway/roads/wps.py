#!/usr/bin/env python3
"""The road of a protected setup: the web server asks for a push-button session, the wireless daemon says how it goes."""
import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from gwlib import boot, inside, model, wireless  # noqa: E402
from gwlib.road import Road, travel  # noqa: E402
from gwlib.state import REPOSITORY, State  # noqa: E402
from gwlib.waiting import until  # noqa: E402

START, STATUS = 0x80000FBC, 4012
IN_PROGRESS, SUCCESS = '0:{"WPSStatus":1}', '0:{"WPSStatus":2}'
ACCESS_POINT = "WiFi.AccessPoint.1"
HEARD = "/tmp/heard"
WORTH_SHOWING = ("wpsMsgSend", "wpsMsgStatus", "wpsParseReplyMsg: replyMsgData", "WPSActivationMethod", "startApp")


def running_status(state):
    return model.get(state, f"{ACCESS_POINT}.WPS.X_VORAN_WPSRunningStatus").popitem()[1]


def heard(state):
    """What the web server has been told."""
    lines = inside.run(state, "cat", HEARD).stdout.splitlines()
    return [json.loads(json.loads(line)["payload"]) for line in lines]


class SetupRoad(Road):
    """Shows the daemon's side of the session, and the access point."""

    def _of_log(self, line):
        shown = line["channel"] == "stdout" and line["text"].startswith(WORTH_SHOWING)
        return super()._of_log(line) if shown or line["channel"] == "vlog" and line["level"] >= 7 else None

    def _of_model(self, line):
        return super()._of_model(line) if line["path"].startswith(ACCESS_POINT) else None

    def _of_journal(self, line):
        return None


def boots(road, state):
    road.title("1. The gateway boots; a wireless daemon and a web server are on the bus")
    boot.up(state, fresh=True, say=lambda text: None)
    wireless.start(state)
    wireless.answer(state, STATUS, [IN_PROGRESS, SUCCESS])
    inside.spawn(state, "web-server", "sh", "-c", f"exec vcfgctl serve 15 --json > {HEARD}")
    until(lambda: inside.run(state, "test", "-S", "/run/vcfg/eid-15").returncode == 0, 10)
    road.watch(state)
    road.check("start-up has completed", True)


def button_is_pushed(road, state):
    road.title("2. Someone pushes the button on the web page")
    request = {"WPSRunning": True, "WPSIndex": 1, "StartApp": 15, "WPSActivationMethod": "PushButton"}
    inside.must(state, "vcfgctl", "send", "--to", "2", "--from", "15", "--type", hex(START), "--payload", json.dumps(request))
    road.until("the wireless daemon was told to stop what runs, then to start by push button",
               lambda: [message["type"] for message in wireless.received(state)] == [4015, 4006])


def station_is_looked_for(road, state):
    road.title("3. Ten seconds later the timer's message comes: the daemon asks how it is going")
    road.until("the web server has heard that it is in progress",
               lambda: [outcome["WPSStatus"] for outcome in heard(state)] == [1], 30)


def station_joins(road, state):
    road.title("4. A station has joined, and the next poll hears of it")
    road.until("the access point says so: NoError, WPS ok!", lambda: running_status(state) == "NoError, WPS ok!", 30)
    road.until("and so the web server has heard", lambda: [outcome["WPSStatus"] for outcome in heard(state)] == [1, 2])


def main():
    return travel(SetupRoad("The road of a protected setup"), State(REPOSITORY / "build" / "run-wps"),
                  boots, button_is_pushed, station_is_looked_for, station_joins)


if __name__ == "__main__":
    sys.exit(main())
