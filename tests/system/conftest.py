"""One gateway per test module, booted in a directory of its own."""
import pytest

from connections import DUAL_STACK
from support import Gateway


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
