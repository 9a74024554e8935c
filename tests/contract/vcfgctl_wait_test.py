"""vcfgctl wait: returns when the model is as wanted, and says what is missing when it is not."""
import contextlib
import os

import pytest
from vcfgctl_kit import PATIENCE, VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)


def waiting(bus, *conditions):  # noqa: F811
    """A wait that has sent its request: it has a connection, and sleeps on it."""
    process = bus.start(VCFGCTL, "wait", "--timeout", str(PATIENCE * 1000), *conditions)
    wait_for(lambda: is_connected(process) and sleeps(process))
    return process


def is_connected(process):
    with contextlib.suppress(FileNotFoundError):  # what is open now may be closed in a moment
        return any(os.readlink(one.path).startswith("socket:") for one in os.scandir(f"/proc/{process.pid}/fd"))
    return False


def sleeps(process):
    with open(f"/proc/{process.pid}/stat") as stat:
        fields = stat.read().rpartition(")")[2].split()
    return (fields[0], fields[17]) == ("S", "1")


def ended(process):
    printed, complaint = process.communicate(timeout=PATIENCE)
    return process.returncode, printed, complaint


def test_what_holds_already_returns_at_once(bus):  # noqa: F811
    bus.ok("add", "IP.Interface", "Alias=wan")
    assert bus.ok("wait", "IP.Interface.[wan].Status==Down", "IP.IPv4Enable!=true") == \
        "IP.Interface.1.Status=Down\nIP.IPv4Enable=false\n"
    assert lines(bus.ok("wait", "--json", "Device.IP.Interface.1.Enable=0", "IP.Interface.1.Alias~a")) == \
        [{"path": "IP.Interface.1.Enable", "value": False}, {"path": "IP.Interface.1.Alias", "value": "wan"}]


def test_a_change_ends_the_wait(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    process = waiting(bus, "IP.Interface.1.Status==Up")
    bus.ok("set", "IP.Interface.1.Status=Dormant")
    bus.ok("set", "IP.Interface.1.Status=Up")
    assert ended(process) == (0, "IP.Interface.1.Status=Up\n", "")


def test_a_state_that_lasts_no_time_is_seen(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    process = waiting(bus, "IP.Interface.1.Status==Up", "IP.Interface.1.MaxMTUSize>7")
    bus.ok("set", "IP.Interface.1.Status=Up")
    bus.ok("set", "IP.Interface.1.MaxMTUSize=9")
    bus.ok("set", "IP.Interface.1.Status=Down", "IP.Interface.1.MaxMTUSize=0")
    assert ended(process)[0] == 0


def test_all_conditions_hold_at_the_same_time(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    process = waiting(bus, "IP.Interface.1.Status==Up", "IP.Interface.1.Enable==true")
    bus.ok("set", "IP.Interface.1.Status=Up")
    bus.ok("set", "IP.Interface.1.Status=Down")
    bus.ok("set", "IP.Interface.1.Enable=true")
    bus.ok("get", "IP.Interface.1.Enable")
    assert process.poll() is None
    bus.ok("set", "IP.Interface.1.Status=Up")
    assert ended(process)[0] == 0


def test_an_instance_that_is_not_there_yet_is_waited_for(bus):  # noqa: F811
    process = waiting(bus, "IP.Interface.[wan].IPv4Address.[Enable==true].IPAddress~192.0.2.")
    bus.ok("add", "IP.Interface")
    bus.ok("add", "IP.Interface", "Alias=wan")
    for number in "12":
        bus.ok("add", f"IP.Interface.{number}.IPv4Address", f"IPAddress=192.0.2.{number}", "Enable=true")
    assert ended(process) == (0, "IP.Interface.2.IPv4Address.1.IPAddress=192.0.2.2\n", "")


def test_defaults_of_a_new_instance_count_and_those_of_what_comes_with_it(bus):  # noqa: F811
    process = waiting(bus, "PPP.Interface.*.PPPoE.X_VORAN_SessionID==", "PPP.Interface.1.Enable==false")
    bus.ok("add", "PPP.Interface")
    assert ended(process)[0] == 0


def test_an_instance_that_went_counts_no_more(bus):  # noqa: F811
    bus.ok("add", "IP.Interface", "Status=Up")
    process = waiting(bus, "IP.Interface.*.Status==Up", "IP.IPv4Enable==true")
    bus.ok("del", "IP.Interface.1")
    bus.ok("set", "IP.IPv4Enable=true")
    bus.ok("get", "IP.IPv4Enable")
    assert process.poll() is None
    bus.ok("add", "IP.Interface", "Status=Up")
    assert ended(process)[0] == 0


def test_the_end_of_the_time_says_what_there_is(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    assert bus.fails(1, "wait", "--timeout", "50", "IP.Interface.1.Status==Up", "IP.Interface.1.Enable==false") == \
        "vcfgctl: not in 50 ms: IP.Interface.1.Status=Down\n"
    assert "there is no IP.Interface.[wan].Status" in bus.fails(1, "wait", "IP.Interface.[wan].Status==Up", "--timeout", "50")


@pytest.mark.parametrize("condition, says", [
    ("IP.Interface.1.Staus==Up", "did you mean IP.Interface.1.Status?"),
    ("IP.Interface.1.Status==Upp", '"Upp" is not one of Up,'),
    ("IP.Interface.1.Status<Up", "is no number"),
    ("IP.Interface.1.MaxMTUSize>x", "a number"),
    ("IP.Interface.[Colour==1].Status==Up", 'no parameter "Colour"'),
    ("IP.Interface.1.==Up", "is no parameter"),
])
def test_a_wrong_name_or_value_is_refused_at_once(quiet_bus, condition, says):  # noqa: F811
    assert says in quiet_bus.fails(1, "wait", condition)


@pytest.mark.parametrize("arguments", [[], ["IP.IPv4Enable"], ["IP.IPv4Enable!true"], ["--timeout", "x", "IP.IPv4Enable==1"]])
def test_what_is_no_condition_is_wrong_usage(quiet_bus, arguments):  # noqa: F811
    assert "--help" in quiet_bus.fails(2, "wait", *arguments)


def test_the_loss_of_vcmd_ends_the_wait(bus):  # noqa: F811
    process = waiting(bus, "IP.IPv4Enable==true")
    bus.vcmd.terminate()
    assert ended(process)[0] == 3
    assert "vcmd" in bus.fails(3, "wait", "IP.IPv4Enable==true")
