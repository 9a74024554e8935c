"""gw report: a page of what happened in a gateway, and why."""
import json
import re
import sys
import threading

import pytest

from support import NOBODY, REFUSED, REPOSITORY, USAGE, Gateway, eventually

sys.path.insert(0, str(REPOSITORY / "gateway"))
from gwlib import boot, report  # noqa: E402
from gwlib.state import State  # noqa: E402
from gwlib.timeline import Timeline  # noqa: E402

WAN, PASSWORD = "eth0.5", "X_VORAN_SystemDebug.Password"
AT, KIND, WHO, TEXT, TOOK, BAD, CAUSE, MORE = range(8)


class Page:
    """What a report's page shows."""

    def __init__(self, file):
        self.text = file.read_text(encoding="utf-8")
        self.data = json.loads(re.search(r'<script type="application/json" id="data">(.*?)</script>', self.text, re.S)[1])
        self.kinds = [name for name, _ in self.data["kinds"]]

    def events(self, kind, part=""):
        return [event for event in self.data["events"] if self.kinds[event[KIND]] == kind and part in event[TEXT]]

    def lane(self, path):
        return next(lane for lane in self.data["lanes"] if lane["path"] == path)

    def states(self, path):
        return [span[1] for span in self.lane(path)["spans"]]

    def causes(self, event):
        """Kinds and texts from an event up to its first cause."""
        found = []
        while event[CAUSE] >= 0:
            event = self.data["events"][event[CAUSE]]
            found.append((self.kinds[event[KIND]], event[TEXT]))
        return found


def reported(gateway, folder, *words):
    file = folder / "report.html"
    gateway.must("report", file, *words)
    return Page(file)


@pytest.fixture(scope="module")
def pulled(leased, tmp_path_factory):
    """The page of a time in which the WAN cable was pulled, and a television set joined the LAN."""
    timeline = Timeline.start(State(leased.directory))
    timeline.mark("the cable is pulled")
    leased.must("cable", WAN, "out")
    leased.wait("IP.Interface.1.Status=LowerLayerDown")
    eventually(lambda: leased.inside("cat", "/proc/tc3162/led_internet") == "0 0\n")
    leased.settle()
    timeline.mark("the light is green again", False)
    file = tmp_path_factory.mktemp("report") / "pulled.html"
    report.write(timeline, file, "A pulled cable")
    leased.must("cable", WAN, "in")
    leased.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    return Page(file)


def test_kernel_event_and_what_came_of_it_are_in_the_page(pulled):
    assert pulled.events("kernel", f"{WAN} is down")
    assert pulled.events("command", "/usr/bin/wan adsl open") and pulled.events("message", "WAN_INTERNET_LED_UPDATE")
    (write,) = pulled.events("write", "IP.Interface.1: Status")
    assert ["Status", "Up", "LowerLayerDown"] in write[MORE]


def test_states_turn_when_they_turned(pulled):
    assert pulled.states("Ethernet.Interface.5") == ["Up", "Down"] and pulled.lane("Ethernet.Interface.5")["name"] == WAN
    assert pulled.states("")[0] == "green" and pulled.states("")[-1] in ("dark", "red")
    assert pulled.states("Ethernet.Interface.1") == ["Up"]
    at, _, _, place = pulled.lane("Ethernet.Interface.5")["spans"][1]
    assert pulled.data["events"][place][TEXT].startswith("Ethernet.Interface.5: Status Up → Down") and 0 <= at - pulled.data["events"][place][AT] < 500


def test_chain_leads_from_the_light_to_the_cable(pulled):
    place = pulled.lane("")["spans"][1][3]
    assert pulled.causes(pulled.data["events"][place])[-1] == ("kernel", f"{WAN} is down")


def test_steps_and_outcomes_are_marked(pulled):
    assert [(text, ok) for _, text, ok in pulled.data["marks"]] == [("the cable is pulled", None), ("the light is green again", False)]
    assert pulled.data["title"] == "A pulled cable"


def test_events_are_in_the_order_of_their_times(pulled):
    times = [event[AT] for event in pulled.data["events"]]
    assert times == sorted(times) and times[0] >= 0 and times[-1] <= pulled.data["end"]
    assert all(event[CAUSE] < len(times) and event[CAUSE] != place for place, event in enumerate(pulled.data["events"]))


def test_without_a_time_it_is_of_all_since_the_boot(leased, tmp_path):
    page = reported(leased, tmp_path)
    assert page.events("log", "System: System init finished") and page.events("message", "DHCPC_OPTION: lease 203.0.113.167")
    assert page.states("")[-1] in ("green", "dark", "red")


def test_since_a_mark_it_is_of_what_came_after(leased, tmp_path):
    mark = leased.mark()
    leased.inside("vcfgctl", "send", "--to", "tarn", "--type", "0x11E", "--payload", "echo sought", "--reply")
    page = reported(leased, tmp_path, "--since", mark, "--title", "A <b>day</b>")
    assert page.events("command", "echo sought") and not page.events("log", "System: System init finished")
    assert page.data["title"] == "A <b>day</b>" and "<b>day" not in page.text


def test_for_a_time_it_is_of_the_time_to_come(leased, tmp_path):
    file = tmp_path / "live.html"
    writing = threading.Thread(target=leased.must, args=("report", file, "--for", "2"))
    number = 0
    writing.start()
    while writing.is_alive():
        number += 1
        leased.inside("vcfgctl", "set", "--no-apply", f"UPnP.Device.Enable={'true' if number % 2 else 'false'}")
    writing.join()
    page = Page(file)
    assert page.events("write", "UPnP.Device") and 2e6 <= page.data["end"] and not page.events("log", "System: System init finished")


def test_gateway_that_boots_meanwhile_is_followed(tmp_path):
    state = State(tmp_path / "gateway")
    timeline = Timeline.start(state)
    boot.up(state, say=lambda text: None)
    try:
        Gateway(state.directory).wait("DHCPv4.Client.1.DHCPStatus=Bound")
    finally:
        timeline.stop()
        boot.down(state)
    report.write(timeline, tmp_path / "boot.html")
    page = Page(tmp_path / "boot.html")
    assert page.states("DHCPv4.Client.1")[-1] == "Bound" and page.events("log", "System: System init finished")


def test_secrets_are_hidden(leased, tmp_path):
    mark = leased.mark()
    leased.inside("vcfgctl", "set", f"{PASSWORD}=bramble77")
    leased.inside("logger", "-t", "probe", "dialling with bramble77 now")
    leased.inside("vcfgctl", "send", "--to", "tarn", "--type", "0x11E", "--payload", "echo bramble77; true --password other9", "--reply")
    page = reported(leased, tmp_path, "--since", mark)
    assert page.events("log", "dialling with ********") and page.events("command", "echo ********")
    assert "bramble77" not in page.text and "other9" not in page.text


def test_what_cannot_be_written_is_told_before(leased, tmp_path):
    for file, reason in ((tmp_path / "no" / "report.html", "there is no folder"), (tmp_path, "it is a folder")):
        done = leased.gw("report", file, "--for", "3600")
        assert done.returncode == REFUSED and reason in done.stderr and len(done.stderr.splitlines()) == 1
    assert leased.gw("report").returncode == USAGE
    assert leased.gw("report", tmp_path / "x.html", "--since", "yesterday").returncode == REFUSED
    assert not (tmp_path / "x.html").exists()


def test_without_a_gateway_there_is_nothing_to_report(tmp_path):
    done = Gateway(tmp_path).gw("report", tmp_path / "report.html")
    assert done.returncode == NOBODY and not (tmp_path / "report.html").exists()
