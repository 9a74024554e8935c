"""Somebody without root's rights has a whole gateway, too."""
import json
import os
import shutil
import subprocess
import tempfile

import pytest

from support import GW, SLOWER, Gateway, eventually

NOBODY = 65534
AS_NOBODY = ["setpriv", "--reuid", str(NOBODY), "--regid", str(NOBODY), "--clear-groups"] if os.geteuid() == 0 else []


class Rootless(Gateway):
    def gw(self, *words, text=None, data=None):
        return subprocess.run([*AS_NOBODY, "/usr/bin/python3", str(GW), "--state", str(self.directory), *map(str, words)], text=True,
                              input=text, stdin=subprocess.DEVNULL if text is None else None, capture_output=True, timeout=120, check=False)


def is_allowed(folder):
    """Whether the machine gives such a user a namespace of its own, and lets it read the programs."""
    done = subprocess.run([*AS_NOBODY, "unshare", "--user", "--map-root-user", "test", "-x", str(GW)], cwd=folder, capture_output=True, check=False)
    return done.returncode == 0


@pytest.fixture(scope="module")
def rootless():
    folder = tempfile.mkdtemp()
    os.chmod(folder, 0o777)
    try:
        if not is_allowed(folder):
            pytest.skip("this machine gives users no namespaces, or does not let them read the checkout")
        booted = Rootless(f"{folder}/gateway")
        booted.up()
        yield booted
        booted.down()
    finally:
        shutil.rmtree(folder)


AT_FULL_SPEED = pytest.mark.skipif(SLOWER > 1, reason="the first lease comes before its interface is up, and is taken only at its renewal")


@AT_FULL_SPEED
def test_every_service_runs(rootless):
    rootless.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    services = eventually(lambda: (now := json.loads(rootless.must("status", "--json"))["services"]) and all(now.values()) and now)
    assert set(services) == {"logd", "vcmd", "linesim", "linkd", "tarn", "dhcpc", "dhcpd"}


@AT_FULL_SPEED
def test_only_the_real_time_priority_is_refused(rootless):
    grave = [line["text"].strip() for line in rootless.log(0, "--all", "--level", "error")]
    assert grave == ["Failed to make tarn as realtime process"]


def test_host_of_the_lan_has_a_lease_and_sees_its_own_devices(rootless):
    rootless.must("lan", "host", "add", "tv", "--port", "eth0.2")
    eventually(lambda: json.loads(rootless.must("lan", "host", "list"))["tv"]["addresses"])
    assert "1 received" in rootless.must("lan", "host", "exec", "tv", "--", "ping", "-c1", "-W5", "192.168.1.1")
    hardware = json.loads(rootless.must("lan", "host", "list"))["tv"]["mac"]
    assert f"link/ether {hardware}" in rootless.must("lan", "host", "exec", "tv", "--", "ip", "link", "show", "eth0")
    rootless.must("lan", "host", "move", "tv", "eth0.3")
    rootless.must("lan", "host", "remove", "tv")


def test_cable_and_journal_are_there(rootless):
    rootless.must("cable", "eth0.5", "out")
    rootless.wait("IP.Interface.1.Status=LowerLayerDown")
    rootless.must("cable", "eth0.5", "in")
    rootless.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    assert any("/usr/bin/wan adsl" in line["command"] for line in rootless.journal())
