"""What the provider is told: every value is looked at before anything is written, and its servers outlive all of it."""
import json

import pytest

from support import DONE, REFUSED, eventually


@pytest.mark.parametrize(("words", "reason"), [
    (("isp", "--dns", "203.0.113.1,somewhere"), "--dns '203.0.113.1,somewhere': it takes an IPv4 address"),
    (("isp", "--dns", "2001:db8::1"), "it takes an IPv4 address"),
    (("isp", "--router", "203.0.113"), "it takes an IPv4 address"),
    (("isp", "--routes", "10.9.0.0/16"), "it takes NETWORK/WIDTH,GATEWAY"),
    (("isp", "--routes", "10.9.0.1/16,203.0.113.1"), "it takes NETWORK/WIDTH,GATEWAY"),
    (("isp", "--lease", "119"), "it takes a whole number from 120 to"),
    (("isp", "--lease", "1e9"), "it takes a whole number"),
    (("isp", "--option", "option:no-such-option,1"), "the provider's server does not take this"),
    (("isp", "--option", "a\nb"), "printable characters"),
    (("isp", "--renumber", "198.51.100.7"), "it takes an address of the provider's network 203.0.113.0/24"),
    (("isp", "--renumber", "203.0.113.1"), "its own 203.0.113.1"),
    (("isp", "--mode", "silent", "--renumber", "nowhere"), "it takes an IPv4 address"),
    (("isp-router", "1", "--lifetime", "3"), "it takes 0, or seconds from 4 to 9000"),
    (("isp-router", "1", "--lifetime", "9001"), "it takes a whole number from 0 to 9000"),
    (("isp-router", "1", "--prefix", "2001:db8::1/64"), "it takes an IPv6 prefix without bits beyond its width"),
    (("isp-router", "1", "--prefix", "fe80::/64"), "it takes a prefix that addresses of a link may have"),
    (("isp-dhcpv6", "--address", "203.0.113.9"), "it takes an IPv6 address"),
    (("isp-dhcpv6", "--delegate", "2001:db8::/80"), "it takes a prefix of 64 bits or fewer"),
    (("isp-dhcpv6", "--preferred", "7200"), "the preferred lifetime (7200 s) is longer than the valid one (3600 s)"),
    (("isp-dhcpv6", "--valid", "0"), "it takes a whole number from 1 to"),
    (("hunt", "vc", "accept", "--finish-after", "-5"), "it takes a whole number from 0"),
    (("wireless-answer", "0x100000000", "0"), "it takes a whole number from 0"),
    (("wait", "UPnP.Device.Enable=true", "--timeout", "nan"), "it takes seconds"),
    (("kernel", "x", "--type", "70000"), "it takes a whole number from 0 to 65535"),
    (("put", "/etc/hostname", "etc/x"), "it takes a path from the room's root on")])
def test_value_that_cannot_be_is_refused_in_one_line_and_changes_nothing(gateway, words, reason):
    before = {name: gateway.must(*name) for name in (("isp",), ("isp-router", 1), ("isp-dhcpv6",))}
    servers = gateway.must("exec", "--room", "isp", "--", "sh", "-c", "cat /var/lib/isp/*.pid")
    done = gateway.gw(*words)
    assert done.returncode == REFUSED and reason in done.stderr and len(done.stderr.splitlines()) == 1
    assert {name: gateway.must(*name) for name in before} == before
    assert gateway.must("exec", "--room", "isp", "--", "sh", "-c", "cat /var/lib/isp/*.pid; kill -0 $(cat /var/lib/isp/*.pid)") == servers


def test_provider_serves_by_what_it_takes(leased):
    leased.must("isp", "--option", "option:domain-name,isp.example", "--lease", "600", "--routes", "none")
    assert json.loads(leased.must("isp"))["lease"] == 600
    leased.signal_client("USR1")
    eventually(lambda: any('"lease":600' in text for text in leased.texts()))
    assert leased.gw("isp", "--option", "none", "--lease", "120").returncode == DONE


def test_router_that_is_told_something_wrong_while_it_advertises_goes_on(gateway):
    gateway.must("isp-router", 2, "--advertise", "on")
    assert gateway.gw("isp-router", 2, "--prefix", "ff02::/16").returncode == REFUSED
    gateway.must("exec", "--room", "isp", "--", "sh", "-c", "kill -0 $(cat /var/lib/isp/router-2.pid)")
    gateway.must("isp-router", 2, "--advertise", "off")
