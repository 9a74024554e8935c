"""gw status: the true state of a gateway on one screen."""
import json
import os
import subprocess
import sys

import pytest

from support import GW, REFUSED, eventually

CABLE = "eth0.2"


def status(gateway):
    return json.loads(gateway.must("status", "--json"))


def cable(gateway, name):
    return next(cable for cable in status(gateway)["cables"] if cable["port"] == name)


def test_screen_tells_everything_of_a_leased_gateway(leased):
    shown = leased.must("status")
    for part in ("tarn ", "eth0.5   provider in   link", "eth0.3   LAN      out  no link", "DSL line 1", "203.0.113.167/24",
                 "DHCPv4.Client.1 Bound", "via 203.0.113.1 dev eth0.5", "203.0.113.1, 203.0.113.2", "green", "DHCPv4 answers"):
        assert part in shown
    assert max(map(len, shown.splitlines())) < 130


def test_record_tells_the_same(leased):
    now = status(leased)
    (wan,) = [interface for interface in now["interfaces"] if interface["alias"] == "wan"]
    assert wan["addresses"] == ["203.0.113.167/24"] and wan["connections"] == [{"path": "DHCPv4.Client.1", "status": "Bound"}]
    assert now["defaultRoutes"] == [{"family": 4, "via": "203.0.113.1", "device": "eth0.5"}]
    assert now["nameServers"] == ["203.0.113.1", "203.0.113.2"] and now["internetLed"] == "green"


def test_cable_and_link_are_the_kernels(leased):
    leased.must("cable", CABLE, "in")
    leased.wait("Ethernet.Interface.2.Status=Up")
    assert cable(leased, CABLE) == {"port": CABLE, "to": "LAN", "plugged": True, "link": True, "status": "Up"}
    leased.inside("vcfgctl", "set", "Ethernet.Interface.2.Status=Down")
    assert "the model says Down" in leased.must("status")
    leased.must("cable", CABLE, "out")


def test_service_that_is_gone_is_named_and_what_it_knew_is_shown(leased):
    leased.must("service", "stop", "vcmd")
    assert "vcmd does not run" in leased.must("status")
    assert [interface["alias"] for interface in status(leased)["interfaces"]] == ["wan", "lan", "wan-dsl"]
    leased.must("service", "start", "vcmd")
    assert "does not run" not in leased.must("status")


def test_provider_and_hosts_are_told(leased):
    leased.must("isp", "--mode", "silent")
    leased.must("lan", "host", "add", "tv", "--port", "eth0.3", "--address", "192.168.1.44/24")
    now = status(leased)
    assert now["provider"]["dhcpv4"] == "silent" and now["hosts"]["tv"]["addresses"] == ["192.168.1.44"]
    leased.must("isp", "--mode", "answer")
    leased.must("lan", "host", "remove", "tv")


def test_watch_tells_again_when_something_has_changed(leased):
    words = [sys.executable, str(GW), "--state", str(leased.directory), "status", "--watch", "--json"]
    with subprocess.Popen(words, stdout=subprocess.PIPE, text=True) as watching:
        try:
            assert json.loads(watching.stdout.readline())["hosts"] == {}
            leased.must("cable", CABLE, "in")
            while not next(one for one in json.loads(watching.stdout.readline())["cables"] if one["port"] == CABLE)["plugged"]:
                pass
        finally:
            watching.kill()
    leased.must("cable", CABLE, "out")


@pytest.mark.skipif(os.geteuid() != 0, reason="only root can ask as somebody else")
@pytest.mark.parametrize("words", (("status",), ("exec", "true"), ("down",)))
def test_who_has_no_right_to_see_is_told_so(leased, words):
    for folder in (leased.directory, *leased.directory.parents):
        if folder.stat().st_uid == 0 and folder != folder.parent and "pytest" in str(folder):
            folder.chmod(0o755)
    done = subprocess.run(["setpriv", "--reuid", "65534", "--clear-groups", "/usr/bin/python3", str(GW), "--state", str(leased.directory), *words],
                          capture_output=True, text=True, check=False)
    assert done.returncode == REFUSED and "root; ask as that user" in done.stderr and "does not run" not in done.stdout
    eventually(lambda: leased.gw("status").returncode == 0)
