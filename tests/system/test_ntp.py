"""The clock: a real NTP client and server, the date of the device's first use, and the notice to the management agent."""
import datetime
import json
import re

import pytest

from agent import Agent
from links import Links, eventually, inside

NOTICE = 0x800000E8
UNKNOWN = "0001-01-01T00:00:00Z"
FIRST_USE = "DeviceInfo.FirstUseDate"
RECEIVED = "receiving VCFG_MSG_NTP_SYNC_SUCCESS"
SYNCHRONISED = re.compile(RECEIVED + r' buf "\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"\n?')
PATIENCE = 40  # the client gives an attempt 10 s, and itself 10 s until the next


class Clocked(Links):
    """A gateway that keeps the time."""

    def write_time(self, *parameters):
        self.inside("vcfgctl", "set", "--wait", *(f"Time.{parameter}" for parameter in parameters))

    def synchronise(self):
        """One more synchronisation; returns when the daemon has handled it."""
        mark = self.mark()
        self.inside("sh", "-c", 'kill -USR1 "$(cat /run/tarn/ntp-clock.pid)"')
        return self.synchronised(mark)

    def synchronised(self, mark):
        eventually(lambda: self.reports(mark), PATIENCE)
        self.settle()
        return mark

    def reports(self, since):
        return [text for text in self.texts(since) if SYNCHRONISED.fullmatch(text)]

    def first_use(self):
        return self.value(FIRST_USE)

    def everything(self):
        """The data model but for the time itself."""
        objects = json.loads(self.inside("vcfgctl", "dump"))["objects"]
        del objects["Time"]["CurrentLocalTime"]
        return objects


def now():
    return datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    booted = Clocked(tmp_path_factory.mktemp("ntp"))
    booted.boot(unplugged=())
    booted.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    yield booted
    booted.down()


@pytest.fixture(scope="module")
def used(gateway):
    """The date of the first use, which is today: the gateway's clock has been set for the first time."""
    gateway.write_time("Enable=true")
    if gateway.first_use() == UNKNOWN:
        eventually(lambda: gateway.first_use() != UNKNOWN, PATIENCE)
    gateway.settle()
    return gateway.first_use()


def test_clock_that_nobody_keeps_has_no_client(gateway):
    assert gateway.processes("port-ntp") == []
    assert gateway.first_use() == UNKNOWN


def test_silent_server_writes_nothing_until_it_answers(gateway):
    gateway.must("isp", "--ntp", "silent")
    with Agent(gateway) as agent:
        mark, begin = gateway.mark(), now()
        gateway.write_time("Enable=true")
        assert gateway.value("Time.Status") == "Unsynchronized"
        gateway.wait("Time.Status=Error", PATIENCE)
        assert (gateway.first_use(), gateway.reports(mark), agent.heard()) == (UNKNOWN, [], [])
        gateway.must("isp", "--ntp", "answer")
        gateway.synchronise()
        assert gateway.value("Time.Status") == "Synchronized"
        assert begin < gateway.first_use() <= now()
        assert gateway.count("feNTPSync: Enter", mark) == 1
        eventually(agent.heard)


def test_notice_reaches_the_agent_at_every_synchronisation(gateway, used):
    with Agent(gateway) as agent:
        for count in (1, 2):
            gateway.synchronise()
            eventually(lambda count=count: len(agent.heard()) == count)
        for notice in agent.heard():
            assert (notice["type"], notice["srcEid"], notice["dstEid"], notice["length"]) == (NOTICE, 2, 9, 0)
    assert gateway.first_use() == used


def test_second_synchronisation_changes_nothing(gateway, used):
    gateway.synchronise()  # everything that the first one brings is there
    client, before = gateway.processes("port-ntp"), gateway.everything()
    mark = gateway.synchronise()
    assert gateway.everything() == before
    assert gateway.processes("port-ntp") == client
    assert gateway.count("feNTPSync: Enter", mark) == 0
    assert gateway.first_use() == used


def test_synchronisation_without_an_agent_is_handled_all_the_same(gateway, used):
    assert len(gateway.reports(gateway.synchronise())) == 1
    assert gateway.first_use() == used


def test_daemon_that_starts_again_keeps_the_date(gateway, used):
    gateway.must("service", "restart", "tarn")
    with Agent(gateway) as agent:
        gateway.synchronise()
        eventually(agent.heard)
    assert gateway.first_use() == used


def test_killed_vcmd_comes_back_with_the_date(gateway, used):
    gateway.must("service", "restart", "vcmd")
    eventually(lambda: gateway.first_use() == used)
    gateway.synchronise()
    assert gateway.first_use() == used


def test_date_outlives_a_power_cycle_and_the_client_starts_by_itself(gateway, used):
    gateway.down()
    gateway.up()
    assert gateway.first_use() == used
    with Agent(gateway) as agent:
        gateway.synchronised(0)
        gateway.synchronise()  # with the agent there for certain
        eventually(agent.heard)
    assert gateway.first_use() == used


def test_fresh_time_is_told_in_the_local_zone(gateway, used):
    assert used
    for zone, form in (("", r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"), ("<+0530>-5:30", r".*T\d\d:\d\d:\d\d\+05:30"),
                       ("NST3:30", r".*T\d\d:\d\d:\d\d-03:30"), ("Asia/Tokyo", r".*\+09:00"), ("/etc/passwd", r".*Z"),
                       ("x/../../../../etc/passwd", r".*Z"), ("no zone at all", r".*Z"), ("x" * 256, r".*Z")):
        gateway.set(f"Time.LocalTimeZone={zone}")
        told = gateway.inside("vcfgctl", "get", "--refresh", "Time.CurrentLocalTime").strip().partition("=")[2]
        assert re.fullmatch(form, told), (zone, told)
        spread = datetime.datetime.now(datetime.timezone.utc) - datetime.datetime.fromisoformat(told.replace("Z", "+00:00"))
        assert abs(spread.total_seconds()) < 60, (zone, told)


def test_server_that_is_no_host_is_left_out(gateway, used):
    nasty = ["evil\nallow all", "a b", "-q", "$(touch /tmp/pwned)", ";reboot"]
    gateway.write_time(*(f"NTPServer{number}={name}" for number, name in enumerate(nasty, 1)))
    assert gateway.processes("port-ntp") == []
    assert gateway.value("Time.Status") == "Unsynchronized"
    gateway.write_time("NTPServer1=203.0.113.1")
    assert gateway.inside("grep", "^server", "/run/tarn/ntp-clock.conf") == "server 203.0.113.1 iburst\n"
    gateway.wait("Time.Status=Synchronized", PATIENCE)
    assert gateway.run("ls", "/tmp/pwned").returncode != 0
    assert gateway.first_use() == used


def test_first_server_is_not_the_only_one(gateway, used):
    gateway.write_time("NTPServer1=", "NTPServer2=nobody.isp.example", "NTPServer3=", "NTPServer4=", "NTPServer5=ntp.isp.example")
    gateway.wait("Time.Status=Synchronized", PATIENCE)
    assert gateway.first_use() == used


def test_clock_that_nobody_keeps_any_more_has_no_client(gateway, used):
    gateway.write_time("Enable=true")
    eventually(lambda: gateway.processes("port-ntp"))
    gateway.write_time("Enable=false")
    assert gateway.processes("port-ntp") == [] and gateway.processes("chronyd") == []
    assert gateway.value("Time.Status") == "Disabled"
    assert gateway.first_use() == used


def test_gateway_never_sets_the_machines_clock(gateway):
    for words in ([], ["-d"], ["-n", "server 203.0.113.1 iburst"]):
        done = inside.run(gateway.state, "chronyd", *words)
        assert done.returncode == 2 and "only compares" in done.stderr
