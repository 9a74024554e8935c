"""A cable that moves while somebody is away: what is started again ends in the true state."""
import pytest

from support import eventually


@pytest.mark.parametrize("absent", ("tarn", "linkd", "vcmd"))
def test_lan_cable_that_moved_meanwhile(leased, absent):
    for action, status in (("out", "Down"), ("in", "Up")):
        leased.must("service", "stop", absent)
        leased.must("cable", "eth0.1", action)
        leased.must("service", "start", absent)
        leased.wait(f"Ethernet.Interface.1.Status={status}")
        eventually(leased.agrees)


@pytest.mark.parametrize("absent", ("tarn", "linkd"))
def test_wan_cable_that_was_pulled_meanwhile_lets_dsl_have_its_turn(leased, absent):
    leased.must("service", "stop", absent)
    leased.must("cable", "eth0.5", "out")
    leased.must("service", "start", absent)
    leased.wait("IP.Interface.1.Status=LowerLayerDown")
    leased.wait("DSL.Line.1.LinkStatus=NoSignal")  # its modem is open
    leased.must("cable", "eth0.5", "in")
    leased.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")


def test_dsl_line_that_came_up_while_the_daemon_was_away(leased):
    leased.must("cable", "eth0.5", "out")
    leased.wait("DSL.Line.1.LinkStatus=NoSignal")
    leased.must("service", "stop", "tarn")
    leased.must("dsl", "up", "--mode", "ptm")
    eventually(lambda: "1\n" == leased.run("cat", "/sys/class/net/ptm0/carrier").stdout)
    leased.must("service", "start", "tarn")
    leased.wait("PTM.Link.1.Status=Up")
