"""Renew and release of an interface that runs IPv4 alone: the client's own event answers."""
import pytest

from connections import RELEASE, RENEW, ask, asking, taken
from support import LEASE_RENEWED, eventually

CLIENT = "DHCPv4.Client.1"
ADDRESS = "IP.Interface.1.IPv4Address.1"
PIDFILE = "/var/run/udhcpc-eth0.5.pid"
SIX_RD = "212,10:20:20:01:0d:b8:00:06:00:00:00:00:00:00:00:00:00:00:cb:00:71:02"  # 16, 32, 2001:db8:6::, 203.0.113.2


@pytest.fixture
def bound(leased):
    """The client holds a lease, whatever the test before it did."""
    if leased.value(f"{CLIENT}.DHCPStatus") == "Release":
        ask(leased, RENEW)
    return leased


@pytest.fixture
def pid_file(leased):
    """Writes the client's pid file; afterwards it holds again what it held."""
    held = leased.inside("cat", PIDFILE)
    yield lambda text: leased.inside("tee", PIDFILE, text=text)
    leased.inside("tee", PIDFILE, text=held)


def test_release_is_answered_when_the_client_has_released(bound):
    mark = bound.mark()
    ask(bound, RELEASE)
    assert any("DHCP_Release with idx=1, send reply." in text for text in bound.texts(mark))
    assert bound.value(f"{CLIENT}.DHCPStatus") == "Release"
    assert bound.value(f"{ADDRESS}.Status") == "Disabled"
    eventually(lambda: "inet " not in bound.addresses())


def test_renew_after_a_release_is_answered_when_a_lease_is_bound(leased):
    ask(leased, RELEASE)
    leased.must("isp", "--mode", "silent")
    with asking(leased, RENEW) as requester:
        assert requester.waits()
        leased.must("isp", "--mode", "answer")
        assert requester.is_answered()
    assert leased.value(f"{CLIENT}.DHCPStatus") == "Bound"


def test_renewal_that_changes_nothing_answers_nobody(bound):
    mark = bound.mark()
    with asking(bound, RENEW) as requester:
        taken(bound, LEASE_RENEWED, mark)
        assert requester.waits()


def test_renewal_with_another_address_dns_and_routes_answers(bound):
    bound.must("isp", "--renumber", "203.0.113.61", "--dns", "203.0.113.2", "--routes", "10.61.0.0/16,203.0.113.2")
    ask(bound, RENEW)
    assert bound.value(f"{CLIENT}.IPAddress") == "203.0.113.61"
    assert bound.value(f"{CLIENT}.DNSServers") == "203.0.113.2"
    assert set(bound.get("Routing.Router.1.IPv4Forwarding.*.DestIPAddress").values()) == {"10.61.0.0"}
    eventually(lambda: "10.61.0.0/16 via 203.0.113.2" in bound.routes())
    eventually(lambda: bound.inside("cat", "/etc/resolv.conf") == "nameserver 203.0.113.2\n")


def test_second_command_takes_the_place_of_the_first(bound):
    bound.must("isp", "--mode", "silent")
    ask(bound, RELEASE)
    with asking(bound, RENEW, patience_ms=3000) as first, asking(bound, RENEW) as second:
        bound.must("isp", "--mode", "answer")
        assert second.is_answered()
        assert first.gives_up()


def test_event_of_another_client_answers_nobody(bound):
    bound.must("isp", "--mode", "silent")
    ask(bound, RELEASE)
    with asking(bound, RENEW) as requester:
        bound.lease(pidfile="/var/run/udhcpc-other.pid", ip="203.0.113.99", subnet="255.255.255.0")
        bound.settle()
        assert requester.waits()
        bound.must("isp", "--mode", "answer")
        assert requester.is_answered()


def test_client_that_is_not_there_is_answered_at_once(bound):
    ask(bound, RENEW, instance=9)
    bound.logged("tarnWanIpRenew : Can not get DHCPV4 CLIENT Instance")


@pytest.mark.parametrize("command", (RENEW, RELEASE))
def test_client_without_a_process_is_answered_at_once(bound, pid_file, command):
    pid_file("")
    mark = bound.mark()
    ask(bound, command)
    assert not [line for line in bound.log(mark) if "DHCPC Option" in line["text"]]


@pytest.mark.parametrize("process", ("1", "99999", "2147483648"))
def test_pid_file_that_names_no_client_gets_no_signal_and_a_line(bound, pid_file, process):
    pid_file(f"{process}\n")
    mark = bound.mark()
    with asking(bound, RENEW) as requester:
        bound.logged("signalClient : process", since=mark)
        assert requester.waits()


def test_pid_file_that_names_the_daemon_gets_no_signal(bound, pid_file):
    daemon = bound.processes("tarn")
    pid_file(f"{daemon[0]}\n")
    mark = bound.mark()
    with asking(bound, RELEASE) as requester:
        bound.logged(f"process {daemon[0]} is no DHCP client", since=mark)
        assert requester.waits()
    assert bound.processes("tarn") == daemon


def test_client_that_died_is_told_of_and_a_new_one_answers(bound):
    (client,) = bound.processes("udhcpc")
    bound.inside("kill", "-KILL", client)
    eventually(lambda: not bound.processes("udhcpc"))
    mark = bound.mark()
    with asking(bound, RENEW) as requester:
        bound.logged(f"process {client} does not take the signal", since=mark)
        assert requester.waits()
        bound.must("service", "start", "dhcpc")
        assert requester.is_answered()
    bound.wait(f"{CLIENT}.DHCPStatus=Bound")


def test_option_212_is_in_the_data_model_while_the_lease_holds(bound):
    ask(bound, RELEASE)
    bound.must("isp", "--option", SIX_RD)
    ask(bound, RENEW)
    interface = bound.get("IP.Interface.1.")
    assert interface["IP.Interface.1.X_VORAN_6RD_Assigned"] == "true"
    assert interface["IP.Interface.1.X_VORAN_6RD_LeaseTime"] == "120"
    assert interface["IP.Interface.1.X_VORAN_IPv4MaskLength"] == "16"
    assert interface["IP.Interface.1.X_VORAN_SPIPv6Prefix"] == "2001:0db8:0006:0000:0000:0000:0000:0000/32"
    assert interface["IP.Interface.1.X_VORAN_BorderRelayIPv4Addresses"] == "203.0.113.2"
    ask(bound, RELEASE)
    bound.wait("IP.Interface.1.X_VORAN_6RD_Assigned=false")
    assert bound.value("IP.Interface.1.X_VORAN_SPIPv6Prefix") == ""
    assert bound.value("IP.Interface.1.X_VORAN_6RD_LeaseTime") == "0"
