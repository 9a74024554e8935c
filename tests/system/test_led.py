"""The Internet LED through all its states, as the platform's files show it."""
import pytest

from links import LED_UPDATE, WAN, Links, eventually

GREEN_OFF, GREEN_ON = "echo 0 0 > /proc/tc3162/led_internet", "echo 2 0 > /proc/tc3162/led_internet"
RED_OFF, RED_ON = "echo 0 > /proc/tc3162/led_internet_red", "echo 2 > /proc/tc3162/led_internet_red"
DARK = [RED_OFF, GREEN_OFF]
DSL_IP = "IP.Interface.3"


def led_commands(gateway, mark):
    return [line["command"].strip() for line in gateway.journal(mark) if "/proc/tc3162/led_" in line["command"]]


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("led"))
    booted.boot({"DHCPv4.Client.2": {"Enable": False},
                 f"{DSL_IP}.IPv4Address.1": {"Enable": True, "Status": "Disabled", "IPAddress": ""},
                 f"{DSL_IP}.IPv6Address.1": {"Enable": True, "Status": "Disabled", "IPAddress": ""},
                 "PPP.Interface.1": {"Enable": True, "Status": "Down", "X_VORAN_IfName": "ptm0"},
                 "Routing.Router.1": {"X_VORAN_IPv6DefaultInterfaces": f"{DSL_IP},IP.Interface.9"}})
    booted.dsl_up()
    booted.wait(f"{DSL_IP}.Status=Up")
    booted.settle()
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    """DSL is up; the IP interface on it is up, has no address, and the LED shows that."""
    booted.set(f"{DSL_IP}.Status=Up", f"{DSL_IP}.Enable=true", f"{DSL_IP}.IPv4Enable=true", f"{DSL_IP}.IPv6Enable=false",
               f"{DSL_IP}.X_VORAN_WAN=true", f"{DSL_IP}.X_VORAN_ConnectionType=", f"{DSL_IP}.LowerLayers=PTM.Link.1",
               f"{DSL_IP}.IPv4Address.1.Status=Disabled", f"{DSL_IP}.IPv4Address.1.IPAddress=",
               f"{DSL_IP}.IPv6Address.1.Status=Disabled", f"{DSL_IP}.IPv6Address.1.IPAddress=",
               "PPP.Interface.1.Status=Down", "PPP.Interface.1.ConnectionStatus=")
    booted.tell(LED_UPDATE)
    assert booted.led() == "red"
    return booted


def shown(gateway, *parameters):
    gateway.set(*parameters)
    gateway.tell(LED_UPDATE)
    return gateway.led()


def test_interface_that_is_up_without_an_address_is_red(gateway):
    assert gateway.led() == "red"


def test_usable_ipv4_address_is_green(gateway):
    assert shown(gateway, f"{DSL_IP}.IPv4Address.1.Status=Enabled", f"{DSL_IP}.IPv4Address.1.IPAddress=192.0.2.7") == "green"


@pytest.mark.parametrize("parameters", [("Status=Enabled", "IPAddress=0.0.0.0"), ("Status=Enabled", "IPAddress="),
                                        ("Status=Disabled", "IPAddress=192.0.2.7")])
def test_address_that_cannot_be_used_is_red(gateway, parameters):
    assert shown(gateway, *(f"{DSL_IP}.IPv4Address.1.{parameter}" for parameter in parameters)) == "red"


def test_usable_ipv6_address_of_a_default_route_interface_is_green(gateway):
    assert shown(gateway, f"{DSL_IP}.IPv4Enable=false", f"{DSL_IP}.IPv6Enable=true", f"{DSL_IP}.IPv6Address.1.Status=Enabled",
                 f"{DSL_IP}.IPv6Address.1.IPAddress=2001:db8::7") == "green"


def test_interface_that_is_down_is_dark(gateway):
    assert shown(gateway, f"{DSL_IP}.Status=Down") == "dark"


def test_interface_that_is_not_marked_as_wan_is_dark(gateway):
    assert shown(gateway, f"{DSL_IP}.X_VORAN_WAN=false") == "dark"


def test_bridged_interface_alone_is_dark(gateway):
    assert shown(gateway, f"{DSL_IP}.X_VORAN_WAN=false", f"{DSL_IP}.X_VORAN_ConnectionType=IP_Bridged") == "dark"


@pytest.mark.parametrize("ppp", ["Status=LowerLayerDown", "ConnectionStatus=Connecting"])
def test_ppp_connection_that_is_being_attempted_is_red(gateway, ppp):
    assert shown(gateway, f"{DSL_IP}.Status=Down") == "dark"
    assert shown(gateway, f"{DSL_IP}.LowerLayers=PPP.Interface.1", f"PPP.Interface.1.{ppp}") == "red"


def test_colour_changes_through_dark(gateway):
    mark = gateway.mark()
    shown(gateway, f"{DSL_IP}.IPv4Address.1.Status=Enabled", f"{DSL_IP}.IPv4Address.1.IPAddress=192.0.2.7")
    assert led_commands(gateway, mark) == [*DARK, RED_OFF, GREEN_ON]
    mark = gateway.mark()
    shown(gateway, f"{DSL_IP}.IPv4Address.1.Status=Disabled")
    assert led_commands(gateway, mark) == [*DARK, GREEN_OFF, RED_ON]
    mark = gateway.mark()
    shown(gateway, f"{DSL_IP}.Status=Down")
    assert led_commands(gateway, mark) == DARK


def test_same_state_again_writes_no_file(gateway):
    mark = gateway.mark()
    gateway.tell(LED_UPDATE)
    assert led_commands(gateway, mark) == []
    assert len([line for line in gateway.journal(mark) if "route" in line["command"]]) == 2


def test_lost_link_is_dark_even_with_an_address(gateway):
    assert shown(gateway, f"{DSL_IP}.IPv4Address.1.Status=Enabled", f"{DSL_IP}.IPv4Address.1.IPAddress=192.0.2.7") == "green"
    gateway.dsl_down()
    assert gateway.led() == "dark"
    gateway.dsl_up()
    eventually(lambda: gateway.led() == "green")


def test_lease_over_ethernet_takes_the_led_from_dark_over_red_to_green(gateway):
    gateway.must("dsl", "down")
    gateway.handled()
    assert gateway.led() == "dark"
    mark = gateway.cable_in(WAN)
    eventually(lambda: gateway.led() == "green")
    commands = led_commands(gateway, mark)
    assert commands.index(RED_ON) < commands.index(GREEN_ON)
    gateway.cable_out(WAN)
    eventually(lambda: gateway.led() == "dark")
