"""Renew and release of an interface that runs IPv4 and IPv6: its status stops and starts both clients, and it is the
IPv6 side that answers a renew."""
from connections import DHCPV6, RELEASE, RENEW, SILENCE_MS, ask, asking, taken
from support import LEASE_BOUND, SLOWER, eventually

INTERFACE = "IP.Interface.1"
CLIENT = "DHCPv4.Client.1"


def kernel(gateway):
    return gateway.inside("ip", "-6", "addr", "show", "eth0.5")


def test_renew_is_answered_by_the_next_report_of_the_dhcpv6_client(connected):
    mark = connected.mark()
    ask(connected, RENEW)
    answered = [line["text"] for line in connected.log(mark)]
    assert "DHCP_BOUND with idx=1, send reply." in answered
    assert any(f"process msg type = {DHCPV6 & 0x7FFFFFFF} " in text for text in answered)


def test_release_answers_at_once_and_takes_everything_down(connected):
    ask(connected, RELEASE)
    assert connected.value(f"{INTERFACE}.Status") == "LowerLayerDown"
    assert connected.value(f"{CLIENT}.DHCPStatus") == "Release"
    eventually(lambda: connected.get(f"{INTERFACE}.IPv6Address.") == {} and connected.get(f"{INTERFACE}.IPv6Prefix.") == {})
    connected.wait(f"{INTERFACE}.IPv4Address.1.Status=Disabled")
    eventually(lambda: not connected.processes("dhcpcd") and not connected.processes("port-rad"))
    eventually(lambda: "scope global" not in kernel(connected) and "inet " not in connected.addresses())
    assert "default" not in connected.inside("ip", "-6", "route")
    ask(connected, RENEW)


def test_renew_waits_for_the_ipv6_side(connected):
    ask(connected, RELEASE)
    eventually(lambda: not connected.processes("dhcpcd"))
    connected.must("isp-dhcpv6", "--mode", "silent")
    with asking(connected, RENEW) as requester:
        connected.wait(f"{INTERFACE}.Status=Up")
        connected.wait(f"{CLIENT}.DHCPStatus=Bound")
        connected.settle()
        assert requester.waits()
        connected.must("isp-dhcpv6", "--mode", "answer")
        assert requester.is_answered()
    assert connected.value(f"{INTERFACE}.IPv6Address.1.Status") == "Enabled"


def test_lease_of_ipv4_does_not_answer(connected):
    ask(connected, RELEASE)
    connected.must("isp-dhcpv6", "--mode", "silent")
    with asking(connected, RENEW) as requester:
        mark = connected.mark()
        connected.lease(LEASE_BOUND, ip="203.0.113.88", subnet="255.255.255.0")
        taken(connected, LEASE_BOUND, mark)
        assert requester.waits()
    connected.must("isp-dhcpv6", "--mode", "answer")
    connected.wait(f"{INTERFACE}.IPv6Prefix.1.Status=Enabled", SILENCE_MS / 1000 / SLOWER)


def test_second_command_takes_the_place_of_the_first(connected):
    ask(connected, RELEASE)
    connected.must("isp-dhcpv6", "--mode", "silent")
    with asking(connected, RENEW, patience_ms=4000) as first, asking(connected, RENEW) as second:
        connected.must("isp-dhcpv6", "--mode", "answer")
        assert second.is_answered()
        assert first.gives_up()


def test_client_that_died_is_started_again(connected):
    connected.inside("killall", "-KILL", "dhcpcd")
    eventually(lambda: not connected.processes("dhcpcd"))
    ask(connected, RENEW)
    assert connected.processes("dhcpcd")


def test_client_that_does_not_end_is_killed_and_followed_by_the_next(connected):
    former = connected.processes("dhcpcd")
    connected.inside("killall", "-STOP", "dhcpcd")
    mark = connected.mark()
    connected.inside("vcfgctl", "set", "DHCPv6.Client.1.RequestAddresses=false")
    eventually(lambda: set(connected.processes("dhcpcd")) - set(former), seconds=60)
    assert not set(connected.processes("dhcpcd")) & set(former)
    taken(connected, DHCPV6, mark)


def test_client_that_the_interface_starts_is_known_to_the_daemon(connected):
    connected.inside("vcfgctl", "set", f"{INTERFACE}.Status=LowerLayerDown")
    eventually(lambda: not connected.processes("dhcpcd") and connected.get(f"{INTERFACE}.IPv6Prefix.") == {})
    connected.inside("vcfgctl", "set", "--no-apply", "DHCPv6.Client.1.X_VORAN_PidFile=")
    connected.inside("vcfgctl", "set", f"{INTERFACE}.Status=Up")
    connected.wait(f"{INTERFACE}.IPv6Prefix.1.Status=Enabled")


def test_interface_that_goes_down_and_up_by_itself_does_the_same(connected):
    connected.inside("vcfgctl", "set", f"{INTERFACE}.Status=LowerLayerDown")
    eventually(lambda: not connected.processes("dhcpcd") and connected.get(f"{INTERFACE}.IPv6Prefix.") == {})
    connected.inside("vcfgctl", "set", f"{INTERFACE}.Status=Up")
    connected.wait(f"{INTERFACE}.IPv6Prefix.1.Status=Enabled")
    connected.wait(f"{CLIENT}.DHCPStatus=Bound")


def test_pulled_cable_takes_both_stacks_down_until_it_is_back(connected):
    connected.wait(f"{INTERFACE}.IPv6Prefix.1.Status=Enabled")
    connected.must("cable", "eth0.5", "out")
    connected.wait(f"{INTERFACE}.Status=LowerLayerDown")
    eventually(lambda: not connected.processes("dhcpcd") and connected.get(f"{INTERFACE}.IPv6Prefix.") == {})
    connected.must("cable", "eth0.5", "in")
    connected.wait(f"{INTERFACE}.Status=Up")
    connected.wait(f"{INTERFACE}.IPv6Prefix.1.Status=Enabled")
    connected.wait(f"{CLIENT}.DHCPStatus=Bound")
