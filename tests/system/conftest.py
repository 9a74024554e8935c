"""One gateway per test module, booted in a directory of its own."""
import pytest

from connections import DUAL_STACK, PPP
from ppp import WHICH
from support import Gateway, eventually


ORDER = {"first": 0, "last": 2}


def pytest_configure(config):
    config.addinivalue_line("markers", "first: begins what takes real minutes, before all other tests")
    config.addinivalue_line("markers", "last: looks at what a first test has begun, after all other tests")


def pytest_collection_modifyitems(items):
    items.sort(key=lambda item: min([ORDER[mark.name] for mark in item.iter_markers() if mark.name in ORDER], default=1))


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    booted = Gateway(tmp_path_factory.mktemp("gateway"))
    booted.up()
    yield booted
    booted.down()


@pytest.fixture(scope="module")
def leased(gateway):
    """A gateway whose client holds a lease."""
    gateway.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    gateway.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    eventually(lambda: gateway.inside("cat", "/proc/tc3162/led_internet") == "2 0\n")
    gateway.settle()
    return gateway


@pytest.fixture(scope="module")
def dual_stack(tmp_path_factory):
    """A gateway whose WAN interface runs IPv4 and IPv6, at a provider that serves both."""
    booted = Gateway(tmp_path_factory.mktemp("gateway"))
    booted.up("--config", DUAL_STACK)
    yield booted
    booted.down()


@pytest.fixture(scope="module")
def connected(dual_stack):
    """The same with a lease, an IPv6 address and a delegated prefix."""
    dual_stack.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    dual_stack.wait("IP.Interface.1.IPv6Prefix.1.Status=Enabled")
    return dual_stack


@pytest.fixture(scope="module")
def ppp(tmp_path_factory):
    """A gateway whose WAN connection is a PPP link, with a device in the link's name but no link."""
    booted = Gateway(tmp_path_factory.mktemp("gateway"))
    booted.up("--config", PPP)
    booted.inside("vcfgctl", "set", "PPP.Interface.1.LowerLayers=")  # nothing is dialled here, driver or not
    booted.inside("ip", "tuntap", "add", "dev", "ppp0", "mode", "tun")
    booted.inside("ip", "link", "set", "ppp0", "up")
    yield booted
    booted.down()


def pytest_terminal_summary(terminalreporter):
    if any("test_ppp" in report.nodeid for report in terminalreporter.getreports("passed")):
        terminalreporter.line(WHICH)
