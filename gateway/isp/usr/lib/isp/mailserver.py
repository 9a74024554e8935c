"""The provider's mail server: takes mail, refuses it, or says nothing, as told. A JSON line on standard output for every
mail that it has taken; it ends with its standard input.

mailserver.py PORT [--security None|SSL|STARTTLS] [--certificate PEM] [--user NAME --password TEXT]
              [--behaviour take|refuse|hang]"""
import argparse
import email
import email.policy
import json
import signal
import socket
import ssl
import sys
import time
import warnings

from aiosmtpd.controller import Controller
from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword

ADDRESS = "203.0.113.1"


class Mailbox:
    def __init__(self, options):
        self.options = options

    async def handle_RCPT(self, _server, _session, envelope, address, _options):  # noqa: N802 (called by that name)
        if self.options.behaviour == "refuse":
            return "550 5.1.1 no such user here"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):  # noqa: N802
        message = email.message_from_bytes(envelope.content, policy=email.policy.default)
        print(json.dumps({"t_mono_us": time.monotonic_ns() // 1000, "from": envelope.mail_from, "to": envelope.rcpt_tos,
                          "subject": message["Subject"], "body": message.get_content().replace("\r\n", "\n"),
                          "encrypted": server.transport.get_extra_info("cipher") is not None,
                          "user": session.auth_data.login.decode() if session.authenticated else None}), flush=True)
        return "250 taken"

    def authenticate(self, _server, _session, _envelope, _mechanism, data):
        known = isinstance(data, LoginPassword) and data == LoginPassword(self.options.user.encode(),
                                                                          self.options.password.encode())
        return AuthResult(success=known, handled=False, auth_data=data if known else None)


class Server(Controller):
    def __init__(self, options):
        self.options = options
        self.context = None
        if options.security != "None":
            self.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.context.load_cert_chain(options.certificate)
        super().__init__(Mailbox(options), hostname=ADDRESS, port=options.port,
                         ssl_context=self.context if options.security == "SSL" else None)

    def factory(self):
        tls = {"tls_context": self.context, "require_starttls": True} if self.options.security == "STARTTLS" else {}
        return SMTP(self.handler, authenticator=self.handler.authenticate, auth_require_tls=False,
                    auth_required=bool(self.options.user), enable_SMTPUTF8=False, **tls)


def hang(port):
    """Accepts everybody and says nothing to anybody."""
    server = socket.create_server((ADDRESS, port))
    print("ready", flush=True)
    signal.pause()
    server.close()


def main():
    warnings.simplefilter("ignore")
    options = argparse.ArgumentParser()
    options.add_argument("port", type=int)
    options.add_argument("--security", choices=("None", "SSL", "STARTTLS"), default="None")
    options.add_argument("--certificate")
    options.add_argument("--user", default="")
    options.add_argument("--password", default="")
    options.add_argument("--behaviour", choices=("take", "refuse", "hang"), default="take")
    options = options.parse_args()
    if options.behaviour == "hang":
        hang(options.port)
    server = Server(options)
    server.start()
    print("ready", flush=True)
    sys.stdin.read()
    server.stop()


if __name__ == "__main__":
    main()
