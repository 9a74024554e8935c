"""Connect and disconnect of a PPP link, and the events of pppd's scripts that answer them."""
import json

import pytest

from connections import PPP_CONNECT, PPP_DISCONNECT, PPPD, RA_INFO, ask, asking
from ppp import LOCAL, LOCAL6, REMOTE, REMOTE6, run_script
from support import DONE, eventually

LINK = "PPP.Interface.1"
ADDRESS = "IP.Interface.1.IPv4Address.1"
CLIENT = "DHCPv6.Client.1"
SETTING = "Routing.RouteInformation.InterfaceSetting"
PIDFILE = "/run/dhcpcd/ppp0-6.pid"
CONNECTING, DISCONNECTED = 0x800003F5, 0x800003F4
NASTY = ("$(touch /tmp/pwned)", "`touch /tmp/pwned`", "; touch /tmp/pwned #", "'; touch /tmp/pwned; '", '"\n{}\n"', "%s%n", "x" * 5000)


def write(gateway, **values):
    gateway.inside("vcfgctl", "set", *(f"{LINK}.{name}={value}" for name, value in values.items()))


@pytest.fixture
def link(ppp):
    """The link without IPv6, down."""
    write(ppp, IPv6CPEnable="false", ConnectionStatus="Disconnected")
    return ppp


@pytest.fixture
def dual_link(ppp):
    """The link with IPv6, down."""
    write(ppp, IPv6CPEnable="true", ConnectionStatus="Disconnected")
    return ppp


def report(gateway, **keys):
    """What the hook of the link's DHCPv6 client says."""
    values = {"interface": "ppp0", "pid": "4712", "protocol": "dhcp6", **keys}
    gateway.inside("env", "-i", *(f"{name}={value}" for name, value in values.items()), "/usr/share/dhcpcd/tarn.script")
    gateway.settle()


def test_connect_is_answered_when_the_ipv4_layer_is_up(link):
    with asking(link, PPP_CONNECT) as requester:
        assert link.value(f"{LINK}.ConnectionStatus") == "Connecting"
        assert requester.waits()
        run_script(link, "ip-up")
        assert requester.is_answered()
    assert link.value(f"{LINK}.ConnectionStatus") == "Connected"
    assert link.value(f"{LINK}.IPCP.LocalIPAddress") == LOCAL
    assert link.value(f"{LINK}.IPCP.RemoteIPAddress") == REMOTE
    assert link.value(f"{LINK}.IPCP.DNSServers") == "198.51.100.53,198.51.100.54"
    assert link.value(f"{ADDRESS}.IPAddress") == LOCAL
    assert link.value(f"{ADDRESS}.SubnetMask") == "255.255.255.255"
    assert link.value(f"{ADDRESS}.AddressingType") == "IPCP"


def test_renegotiated_address_is_on_the_device_before_the_event_ends(link):
    write(link, ConnectionStatus="Connected")
    run_script(link, "ip-up", local="198.51.100.21")
    assert link.value(f"{ADDRESS}.IPAddress") == "198.51.100.21"
    assert "inet 198.51.100.21/32" in link.inside("ip", "-4", "addr", "show", "ppp0")


def test_event_of_a_link_that_nobody_connects_changes_nothing(link):
    before = link.model()
    run_script(link, "ip-up", local="198.51.100.66")
    assert link.model() == before


@pytest.mark.parametrize("name", ("other", ""))
def test_event_of_an_unknown_link_changes_nothing(link, name):
    write(link, ConnectionStatus="Connecting")
    before = link.model()
    run_script(link, "ip-up", link=name)
    assert link.model() == before


def test_one_name_server_is_kept_alone(link):
    write(link, ConnectionStatus="Connecting")
    run_script(link, "ip-up", dns=("198.51.100.55",))
    assert link.value(f"{LINK}.IPCP.DNSServers") == "198.51.100.55"


def test_disconnect_without_ipv6_is_answered_at_once(link):
    write(link, ConnectionStatus="Connected")
    ask(link, PPP_DISCONNECT)
    assert link.value(f"{LINK}.ConnectionStatus") == "Disconnected"


def test_ipv4_layer_that_goes_down_takes_its_address_along(link):
    write(link, ConnectionStatus="Connected")
    run_script(link, "ip-up")
    run_script(link, "ip-down")
    assert link.value(f"{ADDRESS}.Status") == "Disabled"
    assert link.value(f"{ADDRESS}.IPAddress") == LOCAL
    assert link.value(f"{LINK}.ConnectionStatus") == "Connected"
    eventually(lambda: f"inet {LOCAL}/" not in link.inside("ip", "-4", "addr", "show", "ppp0"))


def test_disconnect_with_ipv6_is_answered_when_the_ipv6_layer_is_down(dual_link):
    write(dual_link, ConnectionStatus="Connected")
    with asking(dual_link, PPP_DISCONNECT) as requester:
        run_script(dual_link, "ip-down")
        assert requester.waits()
        run_script(dual_link, "ipv6-down")
        assert requester.is_answered()


def test_connect_with_ipv6_is_answered_by_the_dhcpv6_client(dual_link):
    with asking(dual_link, PPP_CONNECT) as requester:
        run_script(dual_link, "ip-up")
        run_script(dual_link, "ipv6-up")
        assert requester.waits()
        assert dual_link.value(f"{LINK}.IPv6CP.LocalInterfaceIdentifier") == LOCAL6
        assert dual_link.value(f"{LINK}.IPv6CP.RemoteInterfaceIdentifier") == REMOTE6
        advertise(dual_link)
        dual_link.wait(f"{CLIENT}.X_VORAN_PidFile={PIDFILE}")
        mark = dual_link.mark()
        report(dual_link, reason="BOUND6", new_dhcp6_ia_na1_ia_addr1="2001:db8:9::20", new_dhcp6_ia_pd1_prefix1="2001:db8:f900::",
               new_dhcp6_ia_pd1_prefix1_length="56")
        assert requester.is_answered()
    assert "PPP_CONNECTED with idx=1, send reply." in dual_link.texts(mark)
    assert dual_link.value("IP.Interface.1.IPv6Address.1.IPAddress") == "2001:db8:9::20"
    assert dual_link.value("IP.Interface.1.IPv6Prefix.1.Prefix") == "2001:db8:f900::/56"
    report(dual_link, reason="EXPIRE6")
    assert dual_link.get("IP.Interface.1.IPv6Address.") == {}


def advertise(gateway):
    """A router advertisement that came in over the link."""
    payload = {"ifName": "ppp0", "router_lifetime": 1800, "m_flag": 128, "o_flag": 0, "pref": 0, "router": REMOTE6,
               "prefix": "2001:db8:9::", "prefix_len": 64}
    assert gateway.send(RA_INFO, json.dumps(payload)).returncode == DONE
    gateway.settle()


def test_ipv6_layer_that_comes_up_starts_ipv6_anew(dual_link):
    write(dual_link, ConnectionStatus="Connected")
    advertise(dual_link)
    assert dual_link.value(f"{SETTING}.1.SourceRouter") == REMOTE6
    assert dual_link.value(f"{CLIENT}.Status") == "Enabled"
    run_script(dual_link, "ipv6-up")
    assert dual_link.get(f"{SETTING}.") == {}
    assert dual_link.value(f"{CLIENT}.Status") == "Disabled"
    eventually(lambda: not dual_link.processes("dhcpcd"))


def test_link_without_ipv6_takes_no_advertisements(dual_link):
    write(dual_link, X_VORAN_IPv6Enable="false")
    before = dual_link.model()
    advertise(dual_link)
    assert dual_link.model() == before
    write(dual_link, X_VORAN_IPv6Enable="true")


def test_second_command_takes_the_place_of_the_first(link):
    with asking(link, PPP_CONNECT, patience_ms=2000) as first, asking(link, PPP_CONNECT) as second:
        run_script(link, "ip-up")
        assert second.is_answered()
        assert first.gives_up()


@pytest.mark.parametrize("command", (PPP_CONNECT, PPP_DISCONNECT))
def test_link_that_is_not_there_is_answered_at_once(link, command):
    ask(link, command, instance=9)
    link.logged("tarnWanPppConnect : Can not get WAN PPP Connection Instance")


@pytest.mark.parametrize("notice, status", ((CONNECTING, "Connecting"), (DISCONNECTED, "Disconnected")))
def test_notice_is_kept(link, notice, status):
    write(link, ConnectionStatus="Unconfigured")
    link.inside("vcfgctl", "send", "--to", "2", "--type", hex(notice), "--iid", "1", "--payload", "wan")
    link.wait(f"{LINK}.ConnectionStatus={status}")


def test_session_is_kept(link):
    assert link.send(PPPD, json.dumps({"sessionID": "4660", "linkname": "wan"})).returncode == DONE
    link.wait(f"{LINK}.PPPoE.X_VORAN_SessionID=4660")


@pytest.mark.parametrize("text", NASTY)
@pytest.mark.parametrize("script", ("ip-up", "ipv6-up"))
def test_scripts_pass_hostile_values_on_as_text(link, script, text):
    payload = json.loads(run_script(link, script, local=text, remote=text, link=text, dns=(text, text), print_only=True))
    assert payload["linkname"] == text and payload["remote"] == text
    assert payload["local" if "ipv6" in script else "ip"] == text
    assert link.run("test", "-e", "/tmp/pwned").returncode == 1


@pytest.mark.parametrize("text", NASTY)
def test_hostile_event_changes_no_address_and_runs_nothing(link, text):
    write(link, ConnectionStatus="Connected")
    run_script(link, "ip-up")
    run_script(link, "ip-up", local=text, remote=text, dns=(text,))
    assert link.value(f"{ADDRESS}.IPAddress") == LOCAL
    assert link.run("test", "-e", "/tmp/pwned").returncode == 1


def test_daemon_is_the_same_after_all_that(link):
    assert len(link.processes("tarn")) == 1
    with asking(link, PPP_CONNECT) as requester:
        run_script(link, "ip-up")
        assert requester.is_answered()


