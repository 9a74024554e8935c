"""The cellular link: its statuses, the connections above, and the mails about the 3G backup."""
import pytest

from links import WAN, WAN_LINK, WAN_LOST, WAN_READY, Links, eventually
from mailbox import MailServer

USB, PPP, OFF = "USB.Interface.1", "PPP.Interface.1", "PPP.Interface.2"
BACKUP, PATH = "X_VORAN_WWANBackup", "IP.Interface.4"
UP, DOWN = "MAILSEND_EVENT_3G_UP", "MAILSEND_EVENT_3G_DOWN"


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    mail = {"Enable": True, "MailTo": "owner@example.net", "MailFrom": "gateway@example.org"}
    booted = Links(tmp_path_factory.mktemp("usb"))
    booted.boot({OFF: {"Enable": False, "Status": "Down", "LowerLayers": USB},
                 PPP: {"Enable": True, "Status": "Down", "LowerLayers": USB},
                 "InterfaceStack.10": {"HigherLayer": PPP, "LowerLayer": USB},
                 "InterfaceStack.11": {"HigherLayer": OFF, "LowerLayer": USB},
                 "X_VORAN_MailEvent.1": {**mail, "Event": UP, "Subject": "3G", "Body": "3G backup is up."},
                 "X_VORAN_MailEvent.2": {**mail, "Event": DOWN, "Subject": "3G"},
                 "X_VORAN_MailAccount.1": {"Enable": True, "Server": "203.0.113.1", "Port": 25,
                                           "MailFrom": "gateway@example.org"}}, unplugged=())
    booted.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    if booted.value(f"{USB}.Status") == "Up":
        booted.must("usb", "down")
        booted.wait(f"{PPP}.Status=LowerLayerDown")
    booted.set(f"{BACKUP}.Enable=true", f"{BACKUP}.Interface={PATH}")
    booted.inside("rm", "-f", "/var/log/emailNotify")
    return booted


def mails_about(gateway, message, path=PATH):
    """The bodies of the mails that the message brings, and its log mark."""
    with MailServer(gateway) as server:
        mark = gateway.mark()
        gateway.tell(message, path)
        return [mail["body"] for mail in server.mails()], mark


def test_link_that_comes_up_connects_its_ppp_interface(gateway):
    mark = gateway.mark()
    gateway.must("usb", "up")
    gateway.wait(f"{PPP}.Status=Up")
    assert gateway.value(f"{PPP}.ConnectionStatus") == "Connecting"
    assert gateway.count("Wireless Wan usb0 link up", mark) == 1


def test_link_that_goes_down_disconnects_its_ppp_interface(gateway):
    gateway.must("usb", "up")
    gateway.wait(f"{PPP}.Status=Up")
    mark = gateway.mark()
    gateway.must("usb", "down")
    gateway.wait(f"{PPP}.Status=LowerLayerDown")
    assert gateway.value(f"{PPP}.ConnectionStatus") == "Disconnected"
    assert gateway.count("Wireless Wan usb0 link down", mark) == 1


def test_ppp_interface_that_is_switched_off_is_left_alone(gateway):
    gateway.must("usb", "up")
    gateway.wait(f"{PPP}.Status=Up")
    assert gateway.value(f"{OFF}.Status") == "Down"


def test_link_without_a_change_is_not_announced_again(gateway):
    gateway.must("usb", "up")
    gateway.wait(f"{PPP}.Status=Up")
    mark = gateway.mark()
    gateway.tell(WAN_LINK)
    assert gateway.count("Wireless Wan", mark) == 0


def test_cellular_link_alone_lights_the_led(gateway):
    gateway.set("USB.Interface.1.Upstream=true")
    gateway.cable_out(WAN)
    eventually(lambda: gateway.led() == "dark")
    gateway.set("IP.Interface.3.Status=Up")
    gateway.must("usb", "up")
    eventually(lambda: gateway.led() == "red")
    gateway.must("usb", "down")
    eventually(lambda: gateway.led() == "dark")
    gateway.set("IP.Interface.3.Status=LowerLayerDown")
    gateway.cable_in(WAN)
    gateway.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")


def test_connection_that_is_ready_mails_that_the_backup_is_up(gateway):
    gateway.must("usb", "up")
    bodies, mark = mails_about(gateway, WAN_READY)
    assert bodies == ["3G backup is up.\n"]
    assert gateway.count("WWAN is Up!", mark) == 1
    assert gateway.inside("cat", "/var/log/emailNotify") == "0"


def test_connection_that_is_lost_mails_what_took_over(gateway):
    gateway.must("usb", "up")
    gateway.must("usb", "down")
    bodies, mark = mails_about(gateway, WAN_LOST)
    assert bodies == ["EtherWAN is up, 3G backup is down now.\n"]
    assert gateway.count("WWAN is Down!", mark) == 1


@pytest.mark.parametrize(("parameter", "line"), [("Enable=false", "WWANBackup was disabled"),
                                                 ("Interface=IP.Interface.5", None)])
def test_backup_that_is_not_concerned_sends_no_mail(gateway, parameter, line):
    gateway.must("usb", "up")
    gateway.set(f"{BACKUP}.{parameter}")
    bodies, mark = mails_about(gateway, WAN_READY)
    assert bodies == []
    assert line is None or gateway.count(line, mark) == 1


def test_backup_without_a_dongle_sends_no_mail(gateway):
    gateway.must("usb", "absent")
    bodies, mark = mails_about(gateway, WAN_LOST)
    assert bodies == []
    assert gateway.count("There are no 3G/LTE dongles...", mark) == 1


@pytest.mark.parametrize("payload", [None, "", "IP.Interface.4; reboot", "x" * 4000],
                         ids=["none", "empty", "shell", "long"])
def test_payload_that_names_no_interface_sends_no_mail(gateway, payload):
    gateway.must("usb", "up")
    bodies, _ = mails_about(gateway, WAN_READY, payload)
    assert bodies == []
