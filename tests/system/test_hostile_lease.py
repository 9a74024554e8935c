"""Leases that are wrong, or that want to be commands: nothing of them runs, and the next good lease is handled."""
import json

import pytest

from support import DONE, LEASE_BOUND

CLIENT = "DHCPv4.Client.1"
ADDRESS = "IP.Interface.1.IPv4Address.1"
PIDFILE = "/var/run/udhcpc-eth0.5.pid"
NASTY = ("$(touch /tmp/pwned)", "`touch /tmp/pwned`", "; touch /tmp/pwned #", "'; touch /tmp/pwned; '", '"\n{}\n"', "a\nb", "%s%n",
         "-batch /etc/passwd")


@pytest.fixture(autouse=True)
def quiet_client(leased):
    """The real client keeps out of it."""
    if leased.processes("udhcpc"):
        leased.must("service", "stop", "dhcpc")
        leased.settle()


def takes_a_good_lease(gateway, address):
    gateway.lease(ip=address, subnet="255.255.255.0", router="203.0.113.1", dns="203.0.113.1")
    gateway.wait(f"{ADDRESS}.IPAddress={address}")


def nothing_ran(gateway):
    return gateway.run("test", "-e", "/tmp/pwned").returncode == 1


@pytest.mark.parametrize("text", NASTY)
@pytest.mark.parametrize("key", ("ip", "subnet", "router", "dns", "opt121"))
def test_value_never_becomes_a_command(leased, key, text):
    values = {"ip": "203.0.113.90", "subnet": "255.255.255.0", "router": "203.0.113.1", "dns": "203.0.113.1"}
    leased.lease(**{**values, key: text})
    leased.settle()
    assert nothing_ran(leased)


def test_good_lease_is_taken_after_hostile_ones(leased):
    takes_a_good_lease(leased, "203.0.113.91")


@pytest.mark.parametrize("text", NASTY)
def test_hook_passes_hostile_values_on_as_text(leased, text):
    words = ["env", "interface=eth0.5", f"ip={text}", f"router={text}", f"dns={text}", f"staticroutes={text}", f"ip6rd={text}",
             f"lease={text}", f"mask={text}", f"hostname={text}", "/usr/libexec/tarn/port-event", "--print", "udhcpc", "bound"]
    payload = json.loads(leased.inside(*words))
    assert payload["ip"] == text
    assert payload["addressAssigned"] is True
    assert "opt121" not in payload and "lease" not in payload
    assert nothing_ran(leased)


def test_hook_ignores_unknown_events(leased):
    assert leased.run("/usr/libexec/tarn/port-event", "--print", "udhcpc", "$(reboot)").returncode == DONE


def test_hook_keeps_the_routes_before_a_bad_one(leased):
    routes = "10.1.0.0/16 203.0.113.1 10.2.0.0/99 203.0.113.1 10.3.0.0/16 203.0.113.1"
    payload = json.loads(leased.inside("env", "interface=eth0.5", "ip=203.0.113.9", f"staticroutes={routes}",
                                       "/usr/libexec/tarn/port-event", "--print", "udhcpc", "bound"))
    assert payload["opt121"] == "7907100a01cb007101"


def test_hook_reads_6rd_parameters(leased):
    payload = json.loads(leased.inside("env", "interface=eth0.5", "ip=203.0.113.9", "mask=24",
                                       "ip6rd=8 32 2001:0db8:0000:0000:0000:0000:0000:0000 203.0.113.2 203.0.113.3",
                                       "/usr/libexec/tarn/port-event", "--print", "udhcpc", "renew"))
    assert payload["v6rdAssigned"] is True
    assert (payload["v4MaskLen"], payload["v6PrefixLen"]) == (8, 32)
    assert payload["v6Prefix"].startswith("2001:0db8:") and payload["brAddr"] == "203.0.113.2,203.0.113.3"
    assert payload["subnet"] == "255.255.255.0"


MALFORMED = {
    "no JSON": b"this is no JSON\0",
    "an array": b"[1,2,3]\0",
    "cut off": b'{"addressAssigned":true,"pidfile"\0',
    "without terminator": b'{"addressAssigned":true}',
    "embedded NULs": b'{"addressAssigned":true,\0"pidfile":"' + PIDFILE.encode() + b'"}\0',
    "nested deeply": b'{"pidfile":' * 5000 + b"1" + b"}" * 5000,
    "only zeroes": bytes(1000),
    "64 KiB": b'{"pidfile":"' + b"x" * 65000 + b'"}\0',
    "wrong types": b'{"addressAssigned":{"a":1},"pidfile":["' + PIDFILE.encode() + b'"],"ip":7}\0',
    "bytes that are no text": bytes(range(128, 256)) + b"\0",
}


@pytest.mark.parametrize("name", MALFORMED)
def test_malformed_payload_changes_nothing(leased, name):
    before = leased.model()
    leased.send(LEASE_BOUND, MALFORMED[name])
    leased.settle()
    assert leased.model() == before


def test_address_that_is_none_is_refused_whole(leased):
    takes_a_good_lease(leased, "203.0.113.92")
    leased.lease(ip="300.1.2.3", subnet="255.255.255.0")
    leased.settle()
    assert leased.value(f"{ADDRESS}.IPAddress") == "203.0.113.92"
    assert "inet 203.0.113.92/24" in leased.addresses()


def test_daemon_is_the_same_after_all_that(leased):
    assert len(leased.processes("tarn")) == 1
    assert leased.inside("cat", "/proc/kmonitor/user_pid").strip() == str(leased.processes("tarn")[0])
    takes_a_good_lease(leased, "203.0.113.93")
