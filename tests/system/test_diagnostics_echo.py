"""Ping and server selection: the real tools, and what the data model says of what they printed."""
import pytest

from diagnostics import COUNTS, NOBODY_THERE, PING, ROUTER, SECOND, SERVERS, Diagnostics, ping_times, rounded
from links import inside
from support import eventually

TIMES = ("MinimumResponseTime", "AverageResponseTime", "MaximumResponseTime")


@pytest.fixture(scope="module")
def tools(leased):
    return Diagnostics(leased)


@pytest.fixture
def kept(tools):
    tools.keep_what("ping")
    yield tools
    tools.restore("ping")


def inside_isp(tools, *words):
    done = inside.run(tools.state, *words, room="isp")
    if done.returncode != 0 and "add" in words:
        pytest.skip(f"this machine has no way to slow the provider down: {done.stderr.strip()}")


@pytest.mark.parametrize("host", [ROUTER, "router.isp.example"])
def test_ping_is_counted_and_timed_as_the_tool_printed(kept, host):
    values = kept.result(PING, Host=host, NumberOfRepetitions=4, Timeout=2000)
    (printed,) = kept.printed("ping")
    assert values["DiagnosticsState"] == "Complete"
    assert "4 packets transmitted, 4 received" in printed
    assert (values["SuccessCount"], values["FailureCount"]) == ("4", "0")
    assert [values[name] for name in TIMES] == [rounded(time) for time in ping_times(printed)]


def test_ping_of_a_slow_way_has_its_times(kept):
    inside_isp(kept, "tc", "qdisc", "add", "dev", "wan0", "root", "netem", "delay", "40ms")
    try:
        values = kept.result(PING, Host=ROUTER, NumberOfRepetitions=3)
    finally:
        inside_isp(kept, "tc", "qdisc", "del", "dev", "wan0", "root")
    (printed,) = kept.printed("ping")
    assert [values[name] for name in TIMES] == [rounded(time) for time in ping_times(printed)]
    assert int(values["MinimumResponseTime"]) >= 40


def test_ping_of_nobody_fails_each_time(tools):
    values = tools.result(PING, Host=NOBODY_THERE, NumberOfRepetitions=2, Timeout=500)
    assert values["DiagnosticsState"] == "Complete"
    assert [values[name] for name in COUNTS] == ["0", "2", "0", "0", "0"]


@pytest.mark.parametrize("host", ["nowhere.isp.example", "-f", "a b", "$(reboot)", "", "--help"])
def test_ping_of_an_unknown_name_says_so(tools, host):
    values = tools.result(PING, Host=host, NumberOfRepetitions=2)
    assert values["DiagnosticsState"] == "Error_CannotResolveHostName"
    assert [values[name] for name in COUNTS] == ["0"] * 5


def test_canceled_ping_stops(tools):
    tools.request(PING, Host=ROUTER, NumberOfRepetitions=100000)
    eventually(lambda: "ping" in tools.processes())
    tools.cancel(PING)
    eventually(lambda: tools.processes() == [])


def test_new_request_takes_the_place_of_the_one_before(tools):
    tools.request(PING, Host=ROUTER, NumberOfRepetitions=100000)
    eventually(lambda: "ping" in tools.processes())
    values = tools.result(PING, Host=ROUTER, NumberOfRepetitions=2)
    assert (values["DiagnosticsState"], values["SuccessCount"]) == ("Complete", "2")
    eventually(lambda: tools.processes() == [])


@pytest.mark.parametrize("script", ["exec sleep 600", "kill -SEGV $$", "exit 0", "exec yes", "exec head -c 3000000 /dev/urandom",
                                    "echo '3 packets transmitted, 4294967295 received'; echo 'rtt min/avg/max/mdev = 9e99/x/'"],
                         ids=["hangs", "dies", "says nothing", "floods", "babbles", "lies"])
def test_tool_that_misbehaves_ends_in_a_state_all_the_same(tools, script):
    tools.replace("ping", script + "\n")
    try:
        values = tools.result(PING, Host=ROUTER, NumberOfRepetitions=1, Timeout=100)
    finally:
        tools.restore("ping")
    assert values["DiagnosticsState"] == "Error_Internal"
    assert [values[name] for name in COUNTS] == ["0"] * 5
    eventually(lambda: tools.processes() == [])


def test_fastest_server_is_the_one_with_the_least_average(kept):
    values = kept.result(SERVERS, HostList=f"{ROUTER},{NOBODY_THERE},{SECOND}", NumberOfRepetitions=3, Timeout=500)
    printed = {text.split()[1]: text for text in kept.printed("ping")}
    assert set(printed) == {ROUTER, NOBODY_THERE, SECOND}
    assert values["DiagnosticsState"] == "Complete"
    assert values["FastestHost"] in (ROUTER, SECOND)
    times = [str(round(float(time) * 1000)) for time in ping_times(printed[values["FastestHost"]])]
    assert [values[name] for name in TIMES] == times
    other = SECOND if values["FastestHost"] == ROUTER else ROUTER
    assert float(ping_times(printed[other])[1]) >= float(ping_times(printed[values["FastestHost"]])[1])


def test_selection_without_an_answer_says_why(tools):
    assert tools.result(SERVERS, HostList=NOBODY_THERE, NumberOfRepetitions=1,
                        Timeout=300)["DiagnosticsState"] == "Error_Other"
    assert tools.result(SERVERS, HostList="nowhere.isp.example", NumberOfRepetitions=1,
                        Timeout=300)["DiagnosticsState"] == "Error_CannotResolveHostName"
    eventually(lambda: tools.processes() == [])


def test_error_of_a_series_stops_the_workers(tools):
    tools.request(SERVERS, HostList=f"{ROUTER},{SECOND}", NumberOfRepetitions=100000)
    eventually(lambda: {"pingsvrs", "pings"} <= set(tools.processes()))
    tools.gateway.send(0x8000010A, "not json")
    tools.gateway.wait(f"{SERVERS}.DiagnosticsState=None")
    eventually(lambda: tools.processes() == [])


def test_canceled_selection_stops(tools):
    tools.request(SERVERS, HostList=f"{ROUTER},{SECOND}", NumberOfRepetitions=100000)
    eventually(lambda: "pings" in tools.processes())
    tools.cancel(SERVERS)
    eventually(lambda: tools.processes() == [])
