"""Mishaps of many kinds, made in one gateway by somebody who does not say what he did: one question finds each cause."""
import contextlib
import json
import time

import pytest

from links import HUNT_FINISHED, MAIL_EVENT, WAN
from mailbox import MailServer
from why import told
from wps import BUTTON, START, WEB_SERVER, Setup

CLIENT = "DHCPv4.Client.1"
BOUND = f"{CLIENT}.DHCPStatus=Bound"
PTM, USB_PPP, PPP = "PTM.Link.1", "PPP.Interface.1", "PPP.Interface.2"
WPS_STATUS = "WiFi.AccessPoint.1.WPS.X_VORAN_WPSRunningStatus"
MAIL = {"Enable": True, "MailTo": "owner@example.net", "MailFrom": "gateway@example.org", "Subject": "3G", "Body": "down"}
HOOK = "/etc/vcfg/hooks/apply/Time"


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Setup(tmp_path_factory.mktemp("mishaps"))
    booted.boot({USB_PPP: {"Enable": True, "Status": "Down", "LowerLayers": "USB.Interface.1"},
                 "InterfaceStack.10": {"HigherLayer": USB_PPP, "LowerLayer": "USB.Interface.1"},
                 PPP: {"Enable": True, "Status": "Down", "X_VORAN_LinkName": "wan", "X_VORAN_IfName": "ppp0"},
                 "X_VORAN_VlanAutoHunt.Interface.1": {"Enable": True, "Interface": "IP.Interface.3"},
                 "X_VORAN_MailEvent.1": {**MAIL, "Event": "MAILSEND_EVENT_TEST"},
                 "X_VORAN_MailAccount.1": {"Enable": True, "Server": "203.0.113.1", "Port": 25, "MailFrom": "gateway@example.org"}},
                unplugged=())
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    """Connected over Ethernet, whatever the mishap before was."""
    if booted.value("IP.Interface.1.Status") != "Up":
        booted.must("dsl", "down")
        booted.cable(WAN, "in")
        booted.wait("IP.Interface.1.Status=Up")
    if booted.value(f"{CLIENT}.DHCPStatus") != "Bound":
        booted.must("isp", "--mode", "answer")
        client(booted, "USR1")
        booted.wait(BOUND)
    booted.settle()
    return booted


def client(gateway, signal):
    gateway.inside("sh", "-c", f'kill -{signal} "$(cat /var/run/udhcpc-{WAN}.pid)"')


def because(text):
    return next(line for line in text.splitlines() if line.startswith("  because"))


def silent_provider(gateway):
    gateway.must("isp", "--mode", "silent")
    client(gateway, "USR2")
    gateway.wait(f"{CLIENT}.DHCPStatus=Release")
    client(gateway, "USR1")


def refusing_provider(gateway):
    gateway.must("isp", "--mode", "refuse")
    client(gateway, "USR1")


def release(gateway):
    gateway.inside("vcfgctl", "send", "--to", "tarn", "--type", "WAN_IP_RELEASE", "--iid", "1", "--reply")



def lost_line(gateway):
    gateway.cable_out()
    gateway.must("dsl", "up", "--mode", "ptm")
    gateway.wait(f"{PTM}.Status=Up")
    gateway.must("dsl", "down")


def lost_fibre(gateway):
    gateway.must("optical", "up")
    gateway.wait("Optical.Interface.1.Status=Up")
    gateway.must("optical", "down")


def lost_stick(gateway):
    gateway.must("usb", "up")
    gateway.wait(f"{USB_PPP}.Status=Up")
    gateway.must("usb", "down")


def ended_pppd(status):
    """pppd as it is seen from outside: what it says of its end is its exit status."""
    def mishap(gateway):
        gateway.set(f"{PPP}.ConnectionStatus=Connecting")
        gateway.inside("sh", "-c", f"mkdir -p /tmp/stand-in; printf '#!/bin/sh\\nexit {status}\\n' >/tmp/stand-in/pppd;"
                       " chmod 755 /tmp/stand-in/pppd; PATH=/tmp/stand-in:$PATH /usr/libexec/tarn/port-dial wan || true")
    return mishap


def no_wireless_daemon(gateway):
    gateway.must("wireless", "stop")
    gateway.ask(START, WEB_SERVER, **BUTTON)


def refused_button(gateway):
    gateway.wireless(PUSH_BUTTON="2")
    gateway.ask(START, WEB_SERVER, **BUTTON)


def loaded_model(gateway):
    gateway.inside("sh", "-c", "vcfgctl dump | sed 's/\"pool.invalid\"/\"other.invalid\"/' >/tmp/model.json; vcfgctl load /tmp/model.json")


def hook(gateway, *lines):
    text = "\n".join(["#!/bin/sh", *lines, ""])
    gateway.must("exec", "--", "sh", "-c", f"rm -f {HOOK}; cat >{HOOK}; chmod 755 {HOOK}", text=text)


@pytest.mark.parametrize("mishap, question, words", [
    (silent_provider, ["--not", BOUND], ["until", "no DHCP server answers"]),
    (refusing_provider, ["--not", BOUND], ["until", "udhcpc", f"of {WAN} reported: the DHCP server refused its lease"]),
    (release, [f"{CLIENT}.DHCPStatus"], ['because  "vcfgctl send --to tarn --type WAN_IP_RELEASE', "signalled udhcpc"]),
    (lost_line, [f"{PTM}.Status"], ['is "LowerLayerDown"', "because  link ptm0 went down"]),
    (lost_fibre, ["Optical.Interface.1.Status"], ['is "Down"', "because"]),
    (lost_stick, [f"{USB_PPP}.Status"], ['is "LowerLayerDown"', "VCFG_MSG_WAN_LINK of endpoint"]),
    (ended_pppd(19), ["--not", f"{PPP}.ConnectionStatus=Connected"], ["of wan reported: the peer refused the user name or the password"]),
    (ended_pppd(15), ["--not", f"{PPP}.ConnectionStatus=Connected"], ["of wan reported: the peer answers no more"]),
    (no_wireless_daemon, [WPS_STATUS], ['is "DeviceBusy"', "PUSH_BUTTON to endpoint 40(wireless) failed: nobody serves"]),
    (refused_button, [WPS_STATUS], ['is "DeviceBusy"', "VCFG_MSG_WPS_START"]),
], ids=lambda value: getattr(value, "__name__", None))
def test_cause_is_one_question_away(gateway, mishap, question, words):
    mishap(gateway)
    told(gateway, *question, words=words)
    begin = time.monotonic()
    gateway.run("vcfgctl", "why", *question)
    assert time.monotonic() - begin < 20  # a second on a machine that does nothing else


def test_hunt_that_comes_to_no_end_holds_the_link(gateway):
    gateway.cable_out()
    gateway.must("hunt", "vlan", "accept")
    gateway.set("X_VORAN_VlanAutoHunt.Enable=true")
    try:
        gateway.must("dsl", "up", "--mode", "ptm")
        told(gateway, "--not", f"{PTM}.Status=Up", words=["link ptm0 came up", "to endpoint 37"])
    finally:
        gateway.set("X_VORAN_VlanAutoHunt.Enable=false")
        gateway.must("hunt", "vlan", "stop")
        gateway.tell(HUNT_FINISHED)


def test_client_that_somebody_switched_off(gateway):
    gateway.inside("vcfgctl", "set", "--wait", f"{CLIENT}.Enable=false")
    words = [f'because  "vcfgctl set --wait {CLIENT}.Enable=false" ran', "signalled udhcpc"]
    told(gateway, f"{CLIENT}.DHCPStatus", words=words)
    told(gateway, "--ran", "led_internet_red", words=words + ["it ended with status 0"])
    gateway.inside("vcfgctl", "set", "--wait", f"{CLIENT}.Enable=true")
    told(gateway, f"{CLIENT}.DHCPStatus", words=['is "Bound"', f'because  "vcfgctl set --wait {CLIENT}.Enable=true" ran'])


def test_lan_without_addresses_has_a_pool_that_somebody_switched_off(gateway):
    gateway.inside("vcfgctl", "set", "--wait", "DHCPv4.Server.Pool.1.Enable=false")
    told(gateway, "--not", "DHCPv4.Server.Pool.1.Enable=true", words=["it was, until", '"vcfgctl set --wait DHCPv4.Server.Pool.1.Enable=false" ran'])
    gateway.inside("vcfgctl", "set", "--wait", "DHCPv4.Server.Pool.1.Enable=true")


@pytest.mark.parametrize("behaviour, words", [({"behaviour": "refuse"}, "550 5.1.1 no such user here"),
                                              ({"user": "user", "password": "right"}, "it failed: vcfg-mail: 203.0.113.1:25: Login denied")],
                         ids=["refusing server", "wrong password"])
def test_mail_that_does_not_come(gateway, behaviour, words):
    gateway.set("X_VORAN_MailAccount.1.UserName=" + ("user" if "user" in behaviour else ""),
                "X_VORAN_MailAccount.1.Password=" + ("wrong-4711" if "user" in behaviour else ""))
    with MailServer(gateway, **behaviour):
        gateway.inside("vcfgctl", "send", "--to", "2", "--type", hex(MAIL_EVENT), "--payload", json.dumps({"Event": "MAILSEND_EVENT_TEST"}))
        text = told(gateway, "--ran", "vcfg-mail", words=["vcfg-mail to owner@example.net through 203.0.113.1:25", words])
    gateway.set("X_VORAN_MailAccount.1.UserName=", "X_VORAN_MailAccount.1.Password=")
    assert "wrong-4711" not in text


def test_mail_that_nobody_takes(gateway):
    gateway.inside("vcfgctl", "send", "--to", "2", "--type", hex(MAIL_EVENT), "--payload", json.dumps({"Event": "MAILSEND_EVENT_TEST"}))
    told(gateway, "--ran", "vcfg-mail", words=["it failed: "])


@contextlib.contextmanager
def hooked(gateway, *lines):
    gateway.inside("cp", "-P", HOOK, "/tmp/hook")
    hook(gateway, *lines)
    yield
    gateway.inside("sh", "-c", f"rm -f {HOOK}; cp -P /tmp/hook {HOOK}")


def test_hook_that_fails_is_told_with_its_words(gateway):
    with hooked(gateway, "echo no such clock >&2", "exit 3"):
        gateway.run("vcfgctl", "set", "--wait", "Time.NTPServer2=pool.invalid")
        told(gateway, "--not", "Time.Status=Synchronized", words=["a hook of it", "failed", '"no such clock"'])
        told(gateway, "--ran", "apply/Time", words=["it failed: ended with status 3"])


def test_hook_that_hangs_is_told(gateway):
    with hooked(gateway, "exec sleep 25"):
        gateway.inside("vcfgctl", "set", "Time.NTPServer2=slow.invalid")
        told(gateway, "--not", "Time.Status=Synchronized", words=["a hook of it", "has not ended", "NTPServer2=slow.invalid"])
        told(gateway, "--ran", "apply/Time", words=["it has not ended"])
        gateway.inside("sh", "-c", "kill $(pgrep -x sleep)")


def test_value_that_the_type_does_not_take(gateway):
    gateway.run("vcfgctl", "set", "IP.Interface.1.Status=Broken")
    told(gateway, "--not", "IP.Interface.1.Status=Broken", words=['cannot be "Broken"', "is not one of Up,Down"])


def test_loaded_model_is_the_cause_of_what_it_changed(gateway):
    gateway.inside("vcfgctl", "set", "--wait", "Time.NTPServer3=pool.invalid")
    loaded_model(gateway)
    text = told(gateway, "Time.NTPServer3", words=['is "other.invalid"', '"pool.invalid"'])
    assert '"vcfgctl load /tmp/model.json" ran' in because(text)


def test_cable_that_was_pulled_while_the_daemon_was_dead(gateway):
    gateway.must("service", "stop", "tarn")
    gateway.cable(WAN, "out")
    gateway.must("service", "start", "tarn")
    told(gateway, "IP.Interface.1.Status", words=['is "LowerLayerDown"', f"because  cable {WAN} pulled"])


def test_cause_is_known_after_vcmd_was_killed_and_started_anew(gateway):
    gateway.cable_out()
    gateway.must("service", "stop", "vcmd")
    gateway.must("service", "start", "vcmd")
    told(gateway, "Ethernet.Interface.5.Status", words=[f"because  cable {WAN} pulled"])
