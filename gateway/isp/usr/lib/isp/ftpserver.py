"""The provider's FTP server: hands out the files of a folder to one user, or says nothing to anybody, as told. A JSON line
on standard output for every file that it has sent and every login that it has refused; it ends with its caller.

ftpserver.py FOLDER [--user NAME --password TEXT] [--behaviour serve|hang]"""
import argparse
import json
import logging
import os
import signal
import socket

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer

ADDRESS, PORT = "203.0.113.1", 21


def report(**line):
    print(json.dumps(line), flush=True)


class Handler(FTPHandler):
    def on_file_sent(self, file):
        report(sent=os.path.basename(file), user=self.username)

    def on_login_failed(self, username, password):
        report(refused=username, password=password)


def serve(options):
    Handler.authorizer = DummyAuthorizer()
    Handler.authorizer.add_user(options.user, options.password, options.folder)
    Handler.auth_failed_timeout = 0
    server = FTPServer((ADDRESS, PORT), Handler)
    print("ready", flush=True)
    server.serve_forever()


def hang():
    """Accepts everybody and says nothing to anybody."""
    server = socket.create_server((ADDRESS, PORT))
    print("ready", flush=True)
    signal.pause()
    server.close()


def main():
    logging.basicConfig(level=logging.CRITICAL)
    options = argparse.ArgumentParser()
    options.add_argument("folder")
    options.add_argument("--user", default="debug")
    options.add_argument("--password", default="debug")
    options.add_argument("--behaviour", choices=("serve", "hang"), default="serve")
    options = options.parse_args()
    hang() if options.behaviour == "hang" else serve(options)


if __name__ == "__main__":
    main()
