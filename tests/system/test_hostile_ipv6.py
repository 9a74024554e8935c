"""Reports of the IPv6 side that are wrong, or that want to be commands: nothing of them runs, the next good one is taken."""
import json

import pytest

from connections import DHCPV6, RA_INFO

SETTING = "Routing.RouteInformation.InterfaceSetting.1"
PIDFILE = "/run/dhcpcd/eth0.5-6.pid"
NASTY = ("$(touch /tmp/pwned)", "; touch /tmp/pwned #", "'; touch /tmp/pwned; '", "a\nb", "%s%n", "../../../../etc/passwd", "x" * 200)
ADVERTISEMENT = {"ifName": "eth0.5", "router_lifetime": 1800, "m_flag": 128, "o_flag": 64, "pref": 0, "router": "fe80::9",
                 "prefix": "2001:db8:77::", "prefix_len": 64}
REPORT = {"addrAssigned": True, "prefixAssigned": True, "pidfile": PIDFILE, "timeout": False, "nameserver": "2001:db8::99",
          "addr": "2001:db8:1::99", "prefix": "2001:db8:9900::/56"}


@pytest.fixture(scope="module")
def quiet(connected):
    """The real router and the real server keep out of it."""
    connected.must("isp-router", 1, "--advertise", "off")
    connected.must("isp-dhcpv6", "--mode", "silent")
    connected.settle()
    return connected


def tell(gateway, message_type, payload):
    gateway.send(message_type, payload if isinstance(payload, bytes) else json.dumps(payload))
    gateway.settle()


def nothing_ran(gateway):
    return gateway.run("test", "-e", "/tmp/pwned").returncode == 1


@pytest.mark.parametrize("text", NASTY)
@pytest.mark.parametrize("key", ("ifName", "router", "prefix"))
def test_advertisement_with_a_hostile_value_runs_nothing(quiet, key, text):
    tell(quiet, RA_INFO, {**ADVERTISEMENT, key: text})
    assert nothing_ran(quiet)
    assert text not in quiet.get(f"{SETTING}.").values()


@pytest.mark.parametrize("text", NASTY)
@pytest.mark.parametrize("key", ("pidfile", "nameserver", "addr", "prefix"))
def test_report_with_a_hostile_value_runs_nothing(quiet, key, text):
    tell(quiet, DHCPV6, {**REPORT, key: text})
    assert nothing_ran(quiet)
    assert text not in quiet.get("IP.Interface.1.").values()


MALFORMED = {
    "no JSON": b"this is no JSON\0",
    "an array": b"[1,2,3]\0",
    "cut off": b'{"ifName":"eth0.5","router_lifetime"\0',
    "nested deeply": b'{"pidfile":' * 5000 + b"1" + b"}" * 5000,
    "only zeroes": bytes(1000),
    "wrong types": b'{"ifName":{"a":1},"router_lifetime":[1],"pidfile":["' + PIDFILE.encode() + b'"],"addrAssigned":"x"}\0',
}


@pytest.mark.parametrize("name", MALFORMED)
@pytest.mark.parametrize("message_type", (RA_INFO, DHCPV6))
def test_malformed_payload_changes_nothing(quiet, message_type, name):
    before = quiet.model()
    tell(quiet, message_type, MALFORMED[name])
    assert quiet.model() == before


@pytest.mark.parametrize("text", NASTY)
def test_hook_passes_hostile_values_on_as_text(quiet, text):
    words = ["env", "-i", "reason=BOUND6", "interface=eth0.5", f"new_dhcp6_ia_na1_ia_addr1={text}", f"new_dhcp6_ia_pd1_prefix1={text}",
             f"new_dhcp6_ia_pd1_prefix1_length={text}", f"new_dhcp6_name_servers={text}", "/usr/libexec/tarn/port-event", "--print", "dhcpcd"]
    payload = json.loads(quiet.inside(*words))
    assert payload["addr"] == text and payload["prefix"] == f"{text}/{text}"
    assert nothing_ran(quiet)


@pytest.mark.parametrize("reason", ("PREINIT", "CARRIER", "STOPPED", "", "$(reboot)"))
def test_hook_ignores_what_changes_no_address(quiet, reason):
    words = ["env", "-i", f"reason={reason}", "interface=eth0.5", "/usr/libexec/tarn/port-event", "--print", "dhcpcd"]
    assert quiet.inside(*words) == ""


def test_good_reports_are_taken_after_all_that(quiet):
    quiet.inside("vcfgctl", "del", SETTING)
    tell(quiet, RA_INFO, ADVERTISEMENT)
    assert quiet.value(f"{SETTING}.SourceRouter") == "fe80::9"
    tell(quiet, DHCPV6, REPORT)
    assert quiet.value("IP.Interface.1.IPv6Address.1.IPAddress") == "2001:db8:1::99"
    assert len(quiet.processes("tarn")) == 1
