"""The mail helper against real mail servers: what arrives, and what is said when nothing can arrive."""
import contextlib
import email
import email.policy
import json
import os
import pathlib
import re
import socket
import ssl
import subprocess
import threading
import time

import pytest
from aiosmtpd.controller import Controller
from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARN_BUILD_DIR", REPOSITORY / "build" / "debug"))
HELPER = BUILD / "bin" / "vcfg-mail"
PASSWORD = "pa:ss \"wört\""
# One server wants authentication without encryption, on purpose.
pytestmark = pytest.mark.filterwarnings("ignore:Requiring AUTH")


class Mailbox:
    """Keeps what arrives; refuses a recipient whose name begins with "nobody"."""

    def __init__(self):
        self.envelopes = []
        self.users = []

    async def handle_RCPT(self, server, session, envelope, address, options):  # noqa: N802 (called by that name)
        if address.startswith("nobody"):
            return "550 5.1.1 no such user here"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):  # noqa: N802
        self.envelopes.append((envelope.mail_from, envelope.rcpt_tos, envelope.content, server.transport.get_extra_info("cipher")))
        return "250 taken"

    def authenticate(self, server, session, envelope, mechanism, data):
        known = isinstance(data, LoginPassword) and (data.login, data.password) == (b"user", PASSWORD.encode())
        if known:
            self.users.append(data.login.decode())
        return AuthResult(success=known, handled=False)

    def message(self):
        return email.message_from_bytes(self.envelopes[-1][2], policy=email.policy.default)

    def text(self):
        return self.message().get_content().replace("\r\n", "\n")


class Server(Controller):
    def __init__(self, mailbox, security, context):
        self.mailbox, self.security, self.context = mailbox, security, context
        super().__init__(mailbox, hostname="127.0.0.1", port=0, ssl_context=context if security == "SSL" else None)

    def factory(self):
        tls = {"tls_context": self.context, "require_starttls": True} if self.security == "STARTTLS" else {}
        return SMTP(self.mailbox, authenticator=self.mailbox.authenticate, auth_require_tls=False,
                    auth_required=self.security == "auth", enable_SMTPUTF8=False, **tls)

    def _trigger_server(self):
        # Port 0: the kernel has chosen one by now.
        self.port = self.server.sockets[0].getsockname()[1]
        super()._trigger_server()


@pytest.fixture(scope="module")
def certificate(tmp_path_factory):
    folder = tmp_path_factory.mktemp("certificate")
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-days", "2", "-subj", "/CN=mail.test", "-addext", "subjectAltName=IP:127.0.0.1",
                    "-keyout", folder / "key.pem", "-out", folder / "cert.pem"], check=True, capture_output=True)
    return folder


@contextlib.contextmanager
def serving(security, certificate):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate / "cert.pem", certificate / "key.pem")
    mailbox = Mailbox()
    server = Server(mailbox, security, context)
    server.start()
    mailbox.port = server.port
    try:
        yield mailbox
    finally:
        server.stop()


@pytest.fixture
def mailbox(certificate):
    with serving("None", certificate) as plain:
        yield plain


def request(port, **changes):
    return {"SMTP": "127.0.0.1", "port": port, "mailfrom": "gateway@example.org", "mailto": "owner@example.net",
            "user": "", "pass": "", "security": "None", "subject": "3G backup", "body": "xDSL is up.",
            "Event": "MAILSEND_EVENT_3G_DOWN", **changes}


def send_text(text, **environment):
    if isinstance(text, str):
        text = text.encode()
    return subprocess.run([HELPER], input=text, capture_output=True, timeout=60, check=False,
                          env={"PATH": "/usr/bin:/bin", "http_proxy": "http://127.0.0.1:1", "all_proxy": "http://127.0.0.1:1",
                               **environment})


def send(port, environment=None, **changes):
    return send_text(json.dumps(request(port, **changes)), **(environment or {}))


def reason(result):
    """The one line that says why nothing was sent."""
    assert result.returncode == 1
    text = result.stderr.decode()
    assert text.startswith("vcfg-mail: ")
    assert text.endswith("\n")
    assert text.count("\n") == 1
    return text


def accepted(result):
    assert (result.returncode, result.stderr) == (0, b"")


def test_mail_arrives_with_its_headers(mailbox):
    accepted(send(mailbox.port))
    sender, recipients, _, _ = mailbox.envelopes[0]
    assert (sender, recipients) == ("gateway@example.org", ["owner@example.net"])
    message = mailbox.message()
    assert message["From"] == "gateway@example.org"
    assert message["To"] == "owner@example.net"
    assert message["Subject"] == "3G backup"
    assert re.fullmatch(r"<\S+@example\.org>", message["Message-ID"])
    assert abs(message["Date"].datetime.timestamp() - time.time()) < 60
    assert message.get_content_type() == "text/plain"
    assert mailbox.text() == "xDSL is up.\n"
    assert not message.defects


def test_mail_goes_to_every_recipient_of_the_list(mailbox):
    accepted(send(mailbox.port, mailto="a@example.net, b@example.net ,c@example.net,"))
    assert mailbox.envelopes[0][1] == ["a@example.net", "b@example.net", "c@example.net"]
    assert [address.addr_spec for address in mailbox.message()["To"].addresses] == mailbox.envelopes[0][1]


def test_other_letters_than_ascii_arrive_in_subject_and_body(mailbox):
    subject = "Störung: «3G» " + "δοκιμή " * 20 + "😀"
    body = "Grüße\nzweite Zeile 😀\n" + "ü" * 2000
    accepted(send(mailbox.port, subject=subject, body=body))
    assert mailbox.message()["Subject"] == subject
    assert mailbox.text() == body + "\n"
    raw = mailbox.envelopes[0][2]
    assert raw.isascii()
    assert max(map(len, raw.split(b"\r\n"))) <= 76


def test_subject_that_looks_encoded_arrives_as_it_is(mailbox):
    accepted(send(mailbox.port, subject="=?UTF-8?B?SGFsbG8=?="))
    assert mailbox.message()["Subject"] == "=?UTF-8?B?SGFsbG8=?="


@pytest.mark.parametrize(("body", "arrives"), [
    (".\nhidden", ".\nhidden\n"), ("..\n.x\n", "..\n.x\n"), ("a\r\n.\r\nMAIL FROM:<x@y>\r\n", "a\n.\nMAIL FROM:<x@y>\n"),
    ("a\n.\rb\r\r\nc", "a\n.\nb\n\nc\n"), ("", "\n"), ("x" * 3000, "x" * 3000 + "\n")])
def test_body_arrives_line_by_line(mailbox, body, arrives):
    accepted(send(mailbox.port, body=body))
    assert len(mailbox.envelopes) == 1
    assert mailbox.text() == arrives
    content = mailbox.envelopes[0][2]
    assert b"\n" not in content.replace(b"\r\n", b"")
    assert b"\r" not in content.replace(b"\r\n", b"")


@pytest.mark.parametrize("security", ["SSL", "STARTTLS"])
def test_mail_goes_over_tls_to_a_server_that_is_known(certificate, security):
    with serving(security, certificate) as mailbox:
        accepted(send(mailbox.port, {"VCFG_MAIL_CA_FILE": str(certificate / "cert.pem")}, security=security,
                      user="user", **{"pass": PASSWORD}))
        assert mailbox.envelopes[0][3], "the mail came without encryption"
        assert mailbox.users == ["user"]


@pytest.mark.parametrize("security", ["SSL", "STARTTLS"])
def test_server_with_an_unknown_certificate_gets_nothing(certificate, security):
    with serving(security, certificate) as mailbox:
        assert "certificate" in reason(send(mailbox.port, security=security, user="user", **{"pass": PASSWORD}))
        assert (mailbox.envelopes, mailbox.users) == ([], [])


def test_server_under_another_name_gets_nothing(certificate):
    with serving("STARTTLS", certificate) as mailbox:
        reason(send(mailbox.port, {"VCFG_MAIL_CA_FILE": str(certificate / "cert.pem")}, security="STARTTLS", SMTP="localhost"))
        assert mailbox.envelopes == []


def test_required_tls_that_the_server_does_not_offer_is_a_failure(mailbox):
    reason(send(mailbox.port, security="STARTTLS", user="user", **{"pass": PASSWORD}))
    assert (mailbox.envelopes, mailbox.users) == ([], [])


def test_user_and_password_are_shown_to_the_server(certificate):
    with serving("auth", certificate) as mailbox:
        accepted(send(mailbox.port, user="user", **{"pass": PASSWORD}))
        assert mailbox.users == ["user"]


@pytest.mark.parametrize("credentials", [{}, {"user": "user", "pass": "wrong"}])
def test_server_that_wants_to_know_who_sends_refuses_strangers(certificate, credentials):
    with serving("auth", certificate) as mailbox:
        assert str(mailbox.port) in reason(send(mailbox.port, **credentials))
        assert mailbox.envelopes == []


def test_refused_recipient_is_a_failure_with_the_servers_reason(mailbox):
    assert "550 5.1.1 no such user here" in reason(send(mailbox.port, mailto="owner@example.net,nobody@example.net"))
    assert mailbox.envelopes == []


def test_absent_server_is_a_failure():
    with socket.create_server(("127.0.0.1", 0)) as unused:
        port = unused.getsockname()[1]
    assert f"127.0.0.1:{port}: " in reason(send(port))


@pytest.mark.parametrize(("security", "greeting"), [("None", b""), ("SSL", b""), ("STARTTLS", b""),
                                                    ("None", b"220 mail.test ESMTP\r\n"),
                                                    ("STARTTLS", b"220 mail.test ESMTP\r\n")])
def test_server_that_hangs_is_given_up(security, greeting):
    begin = time.monotonic()
    with hanging(greeting) as port:
        assert "time" in reason(send(port, {"VCFG_MAIL_TIMEOUT_S": "1"}, security=security)).lower()
    assert time.monotonic() - begin < 10


@contextlib.contextmanager
def hanging(greeting):
    """A server that says its greeting and nothing more."""
    with socket.create_server(("127.0.0.1", 0)) as server:
        clients = []

        def greet():
            with contextlib.suppress(OSError):
                clients.append(server.accept()[0])
                clients[0].sendall(greeting)

        thread = threading.Thread(target=greet)
        thread.start()
        try:
            yield server.getsockname()[1]
        finally:
            server.shutdown(socket.SHUT_RDWR)
            thread.join()
            for client in clients:
                client.close()


@pytest.mark.parametrize("answer", [b"\xff\x00garbage\r\n" * 50, b"554 go away\x1b[31m\r\n", b"220 " + b"x" * 200_000])
def test_server_that_talks_nonsense_is_a_failure_of_one_clean_line(answer):
    with hanging(answer) as port:
        assert reason(send(port, {"VCFG_MAIL_TIMEOUT_S": "1"})).rstrip("\n").isprintable()


FIELDS = ["SMTP", "mailfrom", "mailto", "user", "pass", "subject"]


@pytest.mark.parametrize("field", FIELDS)
@pytest.mark.parametrize("injected", ["\r\nBcc: thief@example.com", "\nX: y", "\rX", "\0", "\r\n.\r\nMAIL FROM:<x@y>"])
def test_line_break_or_nul_in_a_field_is_refused(mailbox, field, injected):
    value = request(0)[field] or "user"
    reason(send(mailbox.port, **{field: value + injected}))
    assert mailbox.envelopes == []


def test_nul_in_the_body_is_refused(mailbox):
    reason(send(mailbox.port, body="a\0b"))
    assert mailbox.envelopes == []


@pytest.mark.parametrize("address", ["", "no-at", "@x.org", "a@", "a b@x.org", "<a@x.org>", "a@x.org> SIZE=1", "a@[::1]",
                                     "ä@x.org", "a@x.org\t", "a\"@x.org", "a@x;org", "a@-x", "x" * 65 + "@x.org"])
def test_sender_that_is_no_address_is_refused(mailbox, address):
    assert "sender" in reason(send(mailbox.port, mailfrom=address))
    assert mailbox.envelopes == []


@pytest.mark.parametrize("list_", ["", " , ,", "a@x.org,b", "a@x.org;b@x.org", ",".join(["a@x.org"] * 101)])
def test_recipients_that_are_no_addresses_are_refused(mailbox, list_):
    assert "recipient" in reason(send(mailbox.port, mailto=list_))
    assert mailbox.envelopes == []


@pytest.mark.parametrize("server", ["", "a/b", "user@127.0.0.1", "127.0.0.1#", "127.0.0.1?x", "-x", "a b", "%00", "x" * 254])
def test_server_that_is_no_host_is_refused(mailbox, server):
    assert "mail server" in reason(send(mailbox.port, SMTP=server))


@pytest.mark.parametrize("port", [0, -1, 65536, 2**40, None, "x", [], {}])
def test_port_that_is_none_is_refused(port):
    assert "port" in reason(send(port))


@pytest.mark.parametrize("security", ["ssl", "TLS", "None "])
def test_security_that_is_unknown_is_refused(mailbox, security):
    assert "security" in reason(send(mailbox.port, security=security))


@pytest.mark.parametrize("text", [b"", b"{", b"[]", b"null", b"\xff\xfe", b'"x"', b"{} {", b"{" * 100_000,
                                  b'{"a":"' + b"x" * 600_000 + b'"}'])
def test_request_that_is_no_object_is_refused(text):
    assert "request" in reason(send_text(text))


@pytest.mark.parametrize("raw", [b"\xff", b"\xc0\xaf", b"\xed\xa0\x80", b"\xf5\x80\x80\x80", b"\xe2\x82"])
@pytest.mark.parametrize("field", ["subject", "body"])
def test_bytes_that_are_no_utf8_are_refused(mailbox, field, raw):
    text = json.dumps(request(mailbox.port, **{field: "@@"})).encode().replace(b'"@@"', b'"' + raw + b'"')
    reason(send_text(text))
    assert mailbox.envelopes == []
