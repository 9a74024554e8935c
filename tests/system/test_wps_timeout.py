"""A session that nobody finishes, in real time. It begins before all other tests and is looked at after them, so that
its two minutes pass beside them."""
import pytest

from support import LATE, eventually
from wps import BUTTON, START, STATUS, WEB_SERVER, Setup, seconds_between, status

TIMEOUT = "wpsApWriteRunningStatus: write WPSRunningStatus: RegistrationSessionTimeout"


@pytest.fixture(scope="session")
def gateway(tmp_path_factory):
    """A gateway in which a session has been started and left alone."""
    booted = Setup(tmp_path_factory.mktemp("gateway"))
    booted.up()
    booted.wireless(STATUS=status(1))
    booted.ask(START, WEB_SERVER, **BUTTON)
    yield booted
    booted.down()


@pytest.mark.first
def test_session_begins(gateway):
    assert len(gateway.asked()) >= 2


@pytest.mark.last
def test_session_times_out_after_120_seconds(gateway):
    path = "WiFi.AccessPoint.1.WPS.X_VORAN_WPSRunningStatus"
    eventually(lambda: gateway.value(path) == "RegistrationSessionTimeout", 180)
    (end,) = gateway.logged(TIMEOUT)
    began = gateway.logged("wpsMsgSendWifidConfig: send msg rst = 0")[0]
    assert 119 <= seconds_between(began, end) < 120 + LATE
    assert [message_type for message_type, _ in gateway.asked()].count(STATUS) == 11
    told = gateway.inside("vcfgctl", "why", path)
    assert "VCFG_MSG_WPS_START" in told and "timer" in told, told
