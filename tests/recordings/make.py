#!/usr/bin/env python3
"""Records the stories of this folder anew, in virtual gateways: make.py [STORY...]."""
import contextlib
import json
import os
import pathlib
import shutil
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "system"))

import diagnostics  # noqa: E402
from connections import DUAL_STACK, RELEASE, RENEW, ask  # noqa: E402
from links import WAN, WAN_LOST, WAN_READY, eventually, threads  # noqa: E402
from mailbox import MailServer  # noqa: E402
from support import REPOSITORY  # noqa: E402
from wps import START, STATUS, Setup, WebServer, status  # noqa: E402

from gwlib import services  # noqa: E402

GUESTS = REPOSITORY / "gateway" / "defaults-guests.json"
ADDRESS = "IP.Interface.1.IPv4Address.1.Status=Enabled"
BACKUP = {"IP.Interface.4": {"Enable": True, "IPv4Enable": True, "Status": "Down", "LowerLayers": "PPP.Interface.1", "X_VORAN_WAN": True},
          "PPP.Interface.1": {"Enable": True, "Status": "Down", "LowerLayers": "USB.Interface.1", "Username": "line", "Password": "a secret of the line"},
          "InterfaceStack.10": {"HigherLayer": "PPP.Interface.1", "LowerLayer": "USB.Interface.1"},
          "X_VORAN_WWANBackup": {"Enable": True, "Interface": "IP.Interface.4"},
          "X_VORAN_MailAccount.1": {"Enable": True, "Server": "203.0.113.1", "Port": 25, "MailFrom": "gateway@example.org"},
          "X_VORAN_MailEvent.1": {"Enable": True, "Event": "MAILSEND_EVENT_3G_UP", "MailTo": "owner@example.net",
                                  "MailFrom": "gateway@example.org", "Subject": "3G", "Body": "3G backup is up."},
          "X_VORAN_MailEvent.2": {"Enable": True, "Event": "MAILSEND_EVENT_3G_DOWN", "MailTo": "owner@example.net",
                                  "MailFrom": "gateway@example.org", "Subject": "3G"}}


@contextlib.contextmanager
def recorded(gateway):
    """From now on; and until the daemon has nothing left to do."""
    quiet(gateway)
    services.start_recorder(gateway.state)
    yield
    quiet(gateway)
    services.stop_recorder(gateway.state)


def quiet(gateway):
    eventually(lambda: threads(gateway) <= 4, 60)
    gateway.settle()


def green(gateway):
    gateway.wait(ADDRESS)
    eventually(lambda: gateway.led() == "green")


def first_boot(gateway):
    gateway.up("--fresh", "--record")
    green(gateway)
    quiet(gateway)
    services.stop_recorder(gateway.state)


def lease_change(gateway):
    gateway.up()
    green(gateway)
    with recorded(gateway):
        gateway.must("isp", "--renumber", "203.0.113.60", "--routes", "10.50.0.0/16,203.0.113.2,10.51.1.0/24,203.0.113.1")
        gateway.signal_client("USR1")
        gateway.wait("DHCPv4.Client.1.IPAddress=203.0.113.60")


def cable(gateway):
    gateway.up()
    green(gateway)
    with recorded(gateway):
        gateway.cable_out()
        quiet(gateway)
        gateway.cable_in()
        green(gateway)


def failover(gateway):
    gateway.boot()
    with recorded(gateway):
        gateway.dsl_up()
        gateway.wait("IP.Interface.3.IPv4Address.1.Status=Enabled")
        quiet(gateway)
        gateway.cable_in()
        green(gateway)
        quiet(gateway)
        gateway.cable_out()
        gateway.wait("PTM.Link.1.Status=Up")
        gateway.wait("IP.Interface.3.IPv4Address.1.Status=Enabled")


def dsl_retrain(gateway):
    gateway.boot()
    gateway.dsl_up()
    gateway.wait("IP.Interface.3.IPv4Address.1.Status=Enabled")
    with recorded(gateway):
        gateway.dsl_down()
        quiet(gateway)
        gateway.dsl_up()
        gateway.wait("IP.Interface.3.IPv4Address.1.Status=Enabled")


def atm_to_ptm(gateway):
    gateway.boot()
    gateway.dsl_up("atm")
    with recorded(gateway):
        gateway.dsl_down()
        quiet(gateway)
        gateway.dsl_up("ptm")
        gateway.wait("PTM.Link.1.Status=Up")


def dual_stack(gateway):
    gateway.up("--config", DUAL_STACK, "--unplugged", WAN)
    with recorded(gateway):
        gateway.cable_in()
        gateway.wait("DHCPv4.Client.1.DHCPStatus=Bound")
        gateway.wait("IP.Interface.1.IPv6Prefix.1.Status=Enabled")


def release_and_renew(gateway):
    gateway.up()
    green(gateway)
    with recorded(gateway):
        ask(gateway, RELEASE)
        gateway.wait("DHCPv4.Client.1.DHCPStatus=Release")
        quiet(gateway)
        ask(gateway, RENEW)
        green(gateway)


def wps(gateway):
    gateway.up()
    web_server = WebServer(gateway.state)
    gateway.wireless(STATUS=[status(1), status(2)])
    with recorded(gateway):
        gateway.ask(START, 15, WPSActivationMethod="PushButton")
        gateway.poll(2)
        web_server.hears()
    web_server.end()


def backup_mail(gateway):
    gateway.boot(BACKUP, unplugged=())
    green(gateway)
    with MailServer(gateway) as server, recorded(gateway):
        gateway.must("usb", "up")
        gateway.wait("PPP.Interface.1.Status=Up")
        gateway.tell(WAN_READY, "IP.Interface.4")
        eventually(lambda: len(server.mails()) == 1)
        gateway.must("usb", "down")
        gateway.tell(WAN_LOST, "IP.Interface.4")
        eventually(lambda: len(server.mails()) == 2)


def ping(gateway):
    gateway.up()
    green(gateway)
    with recorded(gateway):
        diagnostics.Diagnostics(gateway).result(diagnostics.PING, Host="203.0.113.1", NumberOfRepetitions=3)


def lan_client(gateway):
    gateway.up("--config", GUESTS)
    with recorded(gateway):
        gateway.must("lan", "host", "add", "box", "--port", "eth0.3", "--mac", "02:4c:00:00:00:07", "--oui", "0011AA", "--serial", "BOX 7",
                     "--product-class", "Box")
        gateway.wait("ManagementServer.ManageableDevice.1.SerialNumber=BOX 7")
        gateway.must("lan", "host", "release", "box")
        eventually(lambda: "BOX 7" not in gateway.get("ManagementServer.ManageableDevice.*.SerialNumber").values())


STORIES = (first_boot, lease_change, cable, failover, dsl_retrain, atm_to_ptm, dual_stack, release_and_renew, wps, backup_mail, ping,
           lan_client)


def make(story):
    with tempfile.TemporaryDirectory() as directory:
        gateway = Setup(directory)
        try:
            story(gateway)
            shutil.copyfile(gateway.state.log_directory / "recording.jsonl", HERE / f"{story.__name__}.jsonl")
        finally:
            gateway.down()
    lines = (HERE / f"{story.__name__}.jsonl").read_text().splitlines()
    print(f"{story.__name__}: {len(lines)} lines, {sum(map(len, lines))} bytes")
    assert json.loads(lines[-1])["kind"] == "end", os.fspath(HERE)


def main(names):
    known = {story.__name__: story for story in STORIES}
    for name in names or known:
        make(known[name])


if __name__ == "__main__":
    main(sys.argv[1:])
