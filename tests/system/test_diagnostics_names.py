"""Traceroute and the name lookup: the real tools, and what the data model says of what they printed."""
import re

import pytest

from diagnostics import LOOKUP, NOBODY_THERE, ROUTE, ROUTER, SECOND, Diagnostics, entries, rounded
from links import inside
from support import eventually


@pytest.fixture(scope="module")
def tools(leased):
    tools = Diagnostics(leased)
    for tool in ("traceroute", "dig"):
        tools.keep_what(tool)
    return tools


def hops(values):
    found = entries(values, "RouteHops")
    assert values["RouteHopsNumberOfEntries"] == str(len(found))
    return found


def test_route_to_the_router_is_one_hop(tools):
    values = tools.result(ROUTE, Host=ROUTER, NumberOfTries=3, Timeout=2000)
    (printed,) = tools.printed("traceroute")
    name, address, times = re.search(r"^ 1  (\S+) \((\S+)\)  (.*)$", printed, re.M).groups()
    milliseconds = re.findall(r"([\d.]+) ms", times)
    (hop,) = hops(values)
    assert values["DiagnosticsState"] == "Complete"
    assert (hop["Host"], hop["HostAddress"], hop["ErrorCode"]) == (name, address, "0")
    assert (name, address) == ("router.isp.example", ROUTER)
    assert len(milliseconds) == 3
    assert hop["RTTimes"] == ",".join(rounded(time) for time in milliseconds)
    assert abs(int(values["ResponseTime"]) - sum(map(float, milliseconds)) / 3) <= 1


@pytest.fixture
def far(tools):
    """The address of a host behind the provider's router."""
    inside.must(tools.state, "sh", "-ec", """
        echo 1 >/proc/sys/net/ipv4/ip_forward
        rm -f /tmp/far.*
        unshare --net sh -ec '
            echo >/tmp/far.apart
            until ip link set far1 up; do sleep 0.02; done
            ip addr add 198.51.100.9/24 dev far1
            ip route add default via 198.51.100.1
            echo >/tmp/far.ready
            exec sleep 600' >/dev/null 2>&1 </dev/null &
        echo $! >/tmp/far.pid
        until [ -e /tmp/far.apart ]; do sleep 0.02; done
        ip link add far0 type veth peer name far1 netns $!
        ip addr add 198.51.100.1/24 dev far0
        ip link set far0 up
        until [ -e /tmp/far.ready ]; do sleep 0.02; done""", room="isp")
    yield "198.51.100.9"
    inside.must(tools.state, "sh", "-c", "kill $(cat /tmp/far.pid)", room="isp")


def test_route_to_a_host_behind_the_router_has_both_hops_in_order(tools, far):
    values = tools.result(ROUTE, Host=far, NumberOfTries=2, Timeout=2000)
    (printed,) = tools.printed("traceroute")
    found = hops(values)
    assert values["DiagnosticsState"] == "Complete"
    assert [hop["HostAddress"] for hop in found] == re.findall(r"^ \d  \S+ \((\S+)\)", printed, re.M)
    assert len(found) == 2 and found[1]["HostAddress"] == far


def test_hops_that_do_not_answer_are_empty_and_the_route_is_not_complete(tools):
    values = tools.result(ROUTE, Host=NOBODY_THERE, NumberOfTries=1, Timeout=300, MaxHopCount=3)
    found = hops(values)
    assert values["DiagnosticsState"] == "Error_MaxHopCountExceeded"
    assert len(found) == 3
    assert all((hop["Host"], hop["HostAddress"], hop["RTTimes"]) == ("", "", "") for hop in found)
    tools.printed("traceroute")


@pytest.mark.parametrize("host", ["nowhere.isp.example", "-I", "$(reboot)", ""])
def test_route_to_an_unknown_name_says_so(tools, host):
    tools.result(ROUTE, Host=ROUTER)
    values = tools.result(ROUTE, Host=host)
    assert values["DiagnosticsState"] == "Error_CannotResolveHostName"
    assert hops(values) == []
    tools.printed("traceroute")


def test_canceled_route_stops(tools):
    tools.request(ROUTE, Host=NOBODY_THERE, Timeout=20000, MaxHopCount=64)
    eventually(lambda: tools.gateway.processes("traceroute"))
    tools.cancel(ROUTE)
    eventually(lambda: tools.processes() == [])
    tools.printed("traceroute")


def test_lookup_has_the_answers_that_were_printed(tools):
    values = tools.result(LOOKUP, HostName="www.isp.example", DNSServer="", NumberOfRepetitions=3, Timeout=3000)
    printed = tools.printed("dig")
    found = entries(values, "Result")
    assert (values["DiagnosticsState"], values["SuccessCount"], values["ResultNumberOfEntries"]) == ("Complete", "3", "3")
    assert len(found) == len(printed) == 3
    times = sorted(max(map(int, re.findall(r"Query time: (\d+) msec", text))) for text in printed)
    assert sorted(int(result["ResponseTime"]) for result in found) == times
    for result in found:
        assert (result["Status"], result["HostNameReturned"]) == ("Success", "www.isp.example")
        assert (result["IPAddresses"], result["DNSServerIP"]) == ("198.51.100.10", ROUTER)


def test_named_server_is_the_one_asked(tools):
    values = tools.result(LOOKUP, HostName="router.isp.example", DNSServer=SECOND, NumberOfRepetitions=1)
    (result,) = entries(values, "Result")
    assert (result["Status"], result["IPAddresses"], result["DNSServerIP"]) == ("Success", ROUTER, SECOND)


@pytest.mark.parametrize(("name", "server", "status"), [
    ("nowhere.isp.example", ROUTER, ("Error_HostNameNotResolved", "Error_Other")),
    ("-x", ROUTER, ("Error_HostNameNotResolved",)),
    ("+short", ROUTER, ("Error_HostNameNotResolved",)),
    ("www.isp.example", "127.0.0.9", ("Error_DNSServerNotAvailable",)),
    ("www.isp.example", NOBODY_THERE, ("Error_Timeout", "Error_DNSServerNotAvailable"))])
def test_lookup_without_an_answer_says_why(tools, name, server, status):
    values = tools.result(LOOKUP, HostName=name, DNSServer=server, NumberOfRepetitions=1, Timeout=1000)
    (result,) = entries(values, "Result")
    assert (values["DiagnosticsState"], values["SuccessCount"]) == ("Complete", "0")
    assert result["Status"] in status
    assert result["IPAddresses"] == ""


def test_server_without_an_address_is_told(tools):
    values = tools.result(LOOKUP, HostName="www.isp.example", DNSServer="nowhere.isp.example", NumberOfRepetitions=4,
                          Timeout=1000)
    assert (values["DiagnosticsState"], values["SuccessCount"]) == ("Error_DNSServerNotResolved", "0")
