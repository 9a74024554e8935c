"""The link that pppd really dials, where the kernel has the driver for it."""
import pytest

from connections import PPP, PPP_CONNECT, PPP_DISCONNECT, ask, isp
from ppp import DRIVER, LOCAL, REMOTE, WHICH
from support import Gateway, eventually

pytestmark = pytest.mark.skipif(not DRIVER, reason=WHICH)

LINK = "PPP.Interface.1"


@pytest.fixture(scope="module")
def dialled(tmp_path_factory):
    """A gateway with a PPPoE server at its provider."""
    booted = Gateway(tmp_path_factory.mktemp("gateway"))
    booted.up("--config", PPP)
    (booted.directory / "isp" / "pppoe-options").write_text("noauth\nms-dns 198.51.100.53\nlcp-echo-interval 0\n")
    done = isp(booted, "setsid", "pppoe-server", "-I", "wan0", "-L", REMOTE, "-R", LOCAL, "-N", "1", "-O", "/var/lib/isp/pppoe-options")
    assert done.returncode == 0, done.stderr
    yield booted
    booted.down()


def test_connect_is_answered_when_pppd_has_the_link_up(dialled):
    ask(dialled, PPP_CONNECT)
    assert dialled.value(f"{LINK}.ConnectionStatus") == "Connected"
    assert dialled.value(f"{LINK}.IPCP.LocalIPAddress") == LOCAL
    assert dialled.value(f"{LINK}.PPPoE.X_VORAN_SessionID") != ""
    assert dialled.run("ping", "-c1", "-W2", REMOTE).returncode == 0


def test_disconnect_ends_pppd(dialled):
    ask(dialled, PPP_DISCONNECT)
    eventually(lambda: not dialled.processes("pppd"))
    dialled.wait("IP.Interface.1.IPv4Address.1.Status=Disabled")


@pytest.mark.parametrize("request_", (f"{LINK}.Reset", "IP.Interface.1.Reset"))
def test_reset_dials_anew(dialled, request_):
    ask(dialled, PPP_CONNECT)
    (before,) = dialled.processes("pppd")
    dialled.inside("vcfgctl", "set", "--wait", f"{request_}=true")
    assert dialled.value(request_) == "false"
    eventually(lambda: [process for process in dialled.processes("pppd") if process != before])
    dialled.wait(f"{LINK}.ConnectionStatus=Connected")
    assert dialled.run("ping", "-c1", "-W2", REMOTE).returncode == 0
    ask(dialled, PPP_DISCONNECT)
