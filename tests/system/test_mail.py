"""Mail events: from the message over the helper to a real mail server, and what the status file says."""
import json
import subprocess

import pytest

from links import MAIL_EVENT, WAN, Links, eventually
from mailbox import MailServer

STATUS = "/var/log/emailNotify"
EVENT, BACKUP_DOWN = "MAILSEND_EVENT_TEST", "MAILSEND_EVENT_3G_DOWN"
PASSWORD = 'pa:ss "wört" $(reboot)'
TRUSTED = "/etc/mail-ca.pem"
PORT = {"None": 25, "SSL": 465, "STARTTLS": 587}


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("mail"))
    booted.boot({"X_VORAN_MailEvent.1": {"Enable": True, "Event": EVENT, "MailTo": "owner@example.net",
                                         "Subject": "Störung der Leitung", "Body": "Erste Zeile\n.\nGrüße",
                                         "MailFrom": "gateway@example.org"},
                 "X_VORAN_MailEvent.2": {"Enable": True, "Event": BACKUP_DOWN, "MailTo": "owner@example.net,other@example.net",
                                         "Subject": "3G", "Body": "", "MailFrom": "gateway@example.org"},
                 "X_VORAN_MailEvent.3": {"Enable": False, "Event": "MAILSEND_EVENT_OFF", "MailFrom": "gateway@example.org"},
                 "X_VORAN_MailEvent.4": {"Enable": True, "Event": "MAILSEND_EVENT_NO_ACCOUNT", "MailFrom": "nobody@example.org"},
                 "X_VORAN_MailEvent.5": {"Enable": True, "Event": "MAILSEND_EVENT_ACCOUNT_OFF", "MailFrom": "off@example.org"},
                 "X_VORAN_MailAccount.1": {"Enable": True, "Server": "203.0.113.1", "Port": 25,
                                           "MailFrom": "gateway@example.org", "Security": "None"},
                 "X_VORAN_MailAccount.2": {"Enable": False, "Server": "off.example.org", "MailFrom": "off@example.org"}},
                unplugged=())
    booted.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    yield booted
    booted.down()


@pytest.fixture(scope="module")
def certificate(booted):
    """The mail server's certificate, which the gateway trusts."""
    folder = booted.state.isp  # the provider's /var/lib/isp
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-days", "2", "-subj", "/CN=mail.isp.example", "-addext", "subjectAltName=IP:203.0.113.1",
                    "-keyout", folder / "key.pem", "-out", folder / "cert.pem"], check=True, capture_output=True)
    (folder / "both.pem").write_text((folder / "key.pem").read_text() + (folder / "cert.pem").read_text())
    booted.must("exec", "--", "sh", "-c", f"cat >{TRUSTED}", text=(folder / "cert.pem").read_text())
    return "/var/lib/isp/both.pem"


def helper(gateway, settings):
    """The gateway's mail helper with these settings: the same program, less patient or with another trust."""
    path = "/usr/libexec/vcfg/vcfg-mail"
    script = f"#!/bin/sh\n{settings} exec /usr/lib/tarn/bin/vcfg-mail\n"
    gateway.must("exec", "--", "sh", "-c", f"rm -f {path}; cat >{path}; chmod 755 {path}", text=script)


@pytest.fixture
def gateway(booted):
    booted.set("X_VORAN_MailAccount.1.Security=None", "X_VORAN_MailAccount.1.Port=25", "X_VORAN_MailAccount.1.UserName=",
               "X_VORAN_MailAccount.1.Password=", "X_VORAN_MailEvent.2.Enable=true")
    booted.inside("rm", "-f", STATUS)
    helper(booted, f"VCFG_MAIL_CA_FILE={TRUSTED} VCFG_MAIL_TIMEOUT_S=10")
    return booted


def raise_event(gateway, event=EVENT, **more):
    """Returns the log mark; the event has been handled."""
    mark = gateway.mark()
    gateway.inside("vcfgctl", "send", "--to", "2", "--type", hex(MAIL_EVENT), "--payload", json.dumps({"Event": event, **more}))
    gateway.logged("emailEventHandle : Leaving", mark)
    return mark


def status(gateway):
    return gateway.inside("cat", STATUS)


def uses(gateway, security="None", user="", password=""):
    gateway.set(f"X_VORAN_MailAccount.1.Security={security}", f"X_VORAN_MailAccount.1.Port={PORT[security]}",
                f"X_VORAN_MailAccount.1.UserName={user}", f"X_VORAN_MailAccount.1.Password={password}")


def test_mail_arrives_as_the_event_says(gateway):
    with MailServer(gateway) as server:
        mark = raise_event(gateway)
        mail = server.mail()
    assert (mail["from"], mail["to"]) == ("gateway@example.org", ["owner@example.net"])
    assert (mail["subject"], mail["body"]) == ("Störung der Leitung", "Erste Zeile\n.\nGrüße\n")
    assert status(gateway) == "0"
    assert gateway.count("Mail sent success!", mark) == 1


@pytest.mark.parametrize("security", ["SSL", "STARTTLS"])
def test_mail_arrives_encrypted(gateway, certificate, security):
    uses(gateway, security)
    with MailServer(gateway, PORT[security], security=security, certificate=certificate) as server:
        raise_event(gateway)
        assert server.mail()["encrypted"]
    assert status(gateway) == "0"


@pytest.mark.parametrize("security", ["None", "SSL", "STARTTLS"])
def test_mail_arrives_with_authentication(gateway, certificate, security):
    uses(gateway, security, "user", PASSWORD)
    with MailServer(gateway, PORT[security], security=security, certificate=certificate, user="user",
                    password=PASSWORD) as server:
        raise_event(gateway)
        assert server.mail()["user"] == "user"
    assert status(gateway) == "0"


def test_wrong_password_sends_nothing_and_empties_the_status(gateway):
    uses(gateway, "None", "user", "wrong")
    with MailServer(gateway, user="user", password=PASSWORD) as server:
        mark = raise_event(gateway)
        assert server.mails() == []
    assert status(gateway) == ""
    assert gateway.logged("mail not sent: ", mark)


def test_server_that_refuses_empties_the_status_and_its_reason_is_logged(gateway):
    with MailServer(gateway, behaviour="refuse") as server:
        mark = raise_event(gateway)
        assert server.mails() == []
    assert status(gateway) == ""
    (line,) = gateway.logged("mail not sent: ", mark)
    assert "550 5.1.1 no such user here" in line["text"] and line["level"] == 3


def test_absent_server_empties_the_status(gateway):
    mark = raise_event(gateway)
    assert status(gateway) == ""
    assert gateway.logged("mail not sent: ", mark)


def test_server_that_hangs_is_given_up_and_holds_up_no_link_event(gateway):
    helper(gateway, "VCFG_MAIL_TIMEOUT_S=3")
    with MailServer(gateway, behaviour="hang"):
        mark = gateway.mark()
        gateway.inside("vcfgctl", "send", "--to", "2", "--type", hex(MAIL_EVENT), "--payload", json.dumps({"Event": EVENT}))
        gateway.logged("emailEventHandle : Enter", mark)
        assert status(gateway) == "-5"
        gateway.inside("gw-kernel-event", "eth0.3:down:0:H")
        gateway.logged("setEthIfaceObj: eth0.3, Down", mark)
        assert gateway.count("emailEventHandle : Leaving", mark) == 0
        gateway.logged("emailEventHandle : Leaving", mark)
    assert status(gateway) == ""
    assert gateway.logged("mail not sent: ", mark)


@pytest.mark.parametrize(("event", "line"), [
    ("MAILSEND_EVENT_UNKNOWN", None), ("MAILSEND_EVENT_NO_ACCOUNT", None), ("", None),
    ("MAILSEND_EVENT_OFF", "emailEventHandle: Event MAILSEND_EVENT_OFF doesn't enable"),
    ("MAILSEND_EVENT_ACCOUNT_OFF", "Service off.example.org doesn't enable")])
def test_event_that_is_not_to_be_mailed_keeps_its_status(gateway, event, line):
    mark = raise_event(gateway, event)
    assert status(gateway) == "-5"
    assert line is None or gateway.count(line, mark) == 1
    assert gateway.count("mail not sent", mark) == 0


@pytest.mark.parametrize("payload", ["", "{", "[]", '{"Event":7}', '{"Event":null}', "x" * 4000], ids=range(6))
def test_payload_that_is_no_event_keeps_its_status(gateway, payload):
    mark = gateway.mark()
    gateway.tell(MAIL_EVENT, payload)
    gateway.logged("emailEventHandle : Leaving", mark)
    assert status(gateway) == "-5"


@pytest.mark.parametrize("enabled", [True, False])
def test_backup_mail_says_that_ethernet_took_over_and_the_text_is_kept(gateway, enabled):
    gateway.set(f"X_VORAN_MailEvent.2.Enable={str(enabled).lower()}", "X_VORAN_MailEvent.2.Body=old")
    with MailServer(gateway) as server:
        raise_event(gateway, BACKUP_DOWN)
        text = "EtherWAN is up, 3G backup is down now."
        assert gateway.value("X_VORAN_MailEvent.2.Body") == text
        assert [mail["body"] for mail in server.mails()] == ([text + "\n"] if enabled else [])


def test_backup_mail_says_that_dsl_took_over_without_an_ethernet_link(gateway):
    gateway.cable_out(WAN)
    gateway.wait("Ethernet.Link.1.Status=LowerLayerDown")
    gateway.dsl_up()
    gateway.wait("IP.Interface.3.IPv4Address.1.Status=Enabled")
    eventually(lambda: gateway.run("ping", "-c1", "-W1", "203.0.113.1").returncode == 0)
    with MailServer(gateway) as server:
        raise_event(gateway, BACKUP_DOWN)
        mail = server.mail()
    assert mail["body"] == "xDSL is up, 3G backup is down now.\n"
    assert mail["to"] == ["owner@example.net", "other@example.net"]
