"""One gateway per test module, booted in a directory of its own."""
import pytest

from support import Gateway, eventually


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
