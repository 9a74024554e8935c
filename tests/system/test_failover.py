"""Who carries the WAN when several links are up: the rules of auto-detection, with one Ethernet port and with an SFP port
beside it.

The daemon starts with auto-detection (WANPriority 3) and with the copper port preferred (EthWANPriority 0), and nothing
outside it can say otherwise. The rules of the other priorities, 2 (DSL first) and 8, and of a preferred SFP port are
therefore held by the unit tests (wan_link_failover_test.cpp, wan_link_dsl_test.cpp), where these are set before a link event."""
import pytest

from links import CLOSE, DISABLE, ENABLE, OPEN, SFP, WAN, Links, eventually

SHUT_DOWN = "handleWANAutoDetectETH: ethernet link up, shut down dsl"
ALREADY = "handleWANAutoDetectETH: physical linkup mode is ethernet"
SET_UP_ANEW = "WANAutoDetectEthStart: dsl link down, and ethnet link is going to be activated !!!"
FALL_BACK = "updateWanLinkStatus: ethernet link down, activate dsl"


def wan_commands(gateway, mark):
    return [command for command in gateway.commands(mark) if command in (OPEN, CLOSE, ENABLE, DISABLE)]


def everything_out(gateway):
    """No cable is in, the DSL line has no signal, and its modem is open."""
    statuses = {port: f"Ethernet.Interface.{port[-1]}.Status" for port in (WAN, SFP)}
    there = [port for port, status in statuses.items() if gateway.value(status) is not None]
    for port in there:  # also of a port that is switched off: it may be about to be switched on
        gateway.cable(port, "out")
    for port in there:
        gateway.wait(f"{statuses[port]}=Down")
    gateway.handled()
    gateway.must("dsl", "down")
    gateway.inside("wan", "adsl", "open")
    gateway.wait("DSL.Line.1.LinkStatus=NoSignal")
    gateway.handled()
    return gateway


class TestOnePort:
    @pytest.fixture(scope="class")
    def gateway(self, tmp_path_factory):
        booted = Links(tmp_path_factory.mktemp("failover"))
        booted.boot()
        yield booted
        booted.down()

    @pytest.fixture
    def idle(self, gateway):
        return everything_out(gateway)

    def test_dsl_carries_when_it_comes_up_alone(self, idle):
        mark = idle.dsl_up()
        assert wan_commands(idle, mark) == []
        idle.wait("PTM.Link.1.Status=Up")

    def test_ethernet_takes_the_wan_when_nobody_carries_it(self, idle):
        mark = idle.cable_in()
        assert wan_commands(idle, mark) == [CLOSE]
        assert idle.count(ALREADY, mark) == 1 and idle.count(SHUT_DOWN, mark) == 0
        idle.wait("Ethernet.Link.1.Status=Up")

    def test_ethernet_that_comes_up_shuts_dsl_down_and_is_set_up_anew_when_dsl_is_gone(self, idle):
        idle.dsl_up()
        mark = idle.cable_in()
        texts = idle.texts(mark)
        order = [next(i for i, text in enumerate(texts) if part in text)
                 for part in (SHUT_DOWN, "xDSL: XTM link down.", SET_UP_ANEW, ALREADY, f"Ethernet Wan {WAN} link up")]
        assert order == sorted(order)
        assert idle.commands(mark).count(CLOSE) == 1
        idle.wait("PTM.Link.1.Status=LowerLayerDown")
        idle.wait("Ethernet.Link.1.Status=Up")

    def test_dsl_that_carried_and_goes_down_leaves_the_wan_to_nobody(self, idle):
        idle.dsl_up()
        mark = idle.dsl_down()
        assert idle.count(SET_UP_ANEW, mark) == 0
        mark = idle.cable_in()
        assert idle.count(SHUT_DOWN, mark) == 0 and idle.count(ALREADY, mark) == 1

    def test_ethernet_that_goes_down_opens_dsl_again(self, idle):
        idle.dsl_up()
        idle.cable_in()
        mark = idle.mark()
        idle.cable(WAN, "out")
        idle.ran(OPEN, mark)
        idle.logged("xDSL: link up", mark)
        assert idle.count(FALL_BACK, mark) == 1
        assert wan_commands(idle, mark) == [ENABLE, OPEN]
        idle.wait("Ethernet.Link.1.Status=LowerLayerDown")
        idle.wait("PTM.Link.1.Status=Up")

    def test_opening_dsl_trains_the_line_after_a_while(self, idle):
        idle.dsl_up()
        idle.cable_in()
        with idle.watching() as changes:
            mark = idle.mark()
            idle.cable(WAN, "out")
            idle.logged("xDSL: link up", mark)
        times = {new: at for at, path, _, new in changes if path == "DSL.Line.1.LinkStatus"}
        assert times["Up"] - times["EstablishingLink"] >= 0.1

    def test_ethernet_that_goes_down_without_a_dsl_signal_leaves_nobody(self, idle):
        idle.cable_in()
        mark = idle.cable_out()
        assert wan_commands(idle, mark) == [ENABLE, OPEN]
        assert idle.value("DSL.Line.1.LinkStatus") == "NoSignal"
        assert idle.led() == "dark"

    def test_repeated_event_changes_nothing(self, idle):
        idle.cable_in()
        mark = idle.mark()
        for _ in range(3):
            idle.inside("gw-kernel-event", f"{WAN}:up:1000:F")
        idle.handled()
        assert wan_commands(idle, mark) == []
        assert idle.count("Ethernet Wan", mark) == 0


class TestWithSfp:
    @pytest.fixture(scope="class")
    def gateway(self, tmp_path_factory):
        booted = Links(tmp_path_factory.mktemp("sfp"))
        booted.boot({"Ethernet.Interface.6": {"Enable": True, "Status": "Down", "Name": SFP, "Upstream": True,
                                              "X_VORAN_WANPort": True, "X_VORAN_SFP": True},
                     "Ethernet.Link.3": {"Enable": True, "Status": "LowerLayerDown", "LowerLayers": "Ethernet.Interface.6"},
                     "InterfaceStack.10": {"HigherLayer": "Ethernet.Link.3", "LowerLayer": "Ethernet.Interface.6"}})
        yield booted
        booted.down()

    @pytest.fixture
    def idle(self, gateway):
        return everything_out(gateway)

    def is_switched_on(self, gateway, port):
        return "UP" in gateway.inside("ip", "-o", "link", "show", "dev", port).partition("<")[2].partition(">")[0].split(",")

    def test_sfp_port_is_found_at_start_up(self, gateway):
        assert gateway.count("supportSFP=[1]") == 1

    def test_copper_port_that_comes_up_switches_the_sfp_port_off(self, idle):
        mark = idle.cable_in(WAN)
        assert wan_commands(idle, mark) == [CLOSE, DISABLE]
        assert idle.count("disable SFP port", mark) == 1
        assert not self.is_switched_on(idle, SFP)

    def test_copper_port_that_goes_down_switches_the_sfp_port_on_and_falls_back_to_dsl(self, idle):
        idle.cable_in(WAN)
        mark = idle.cable_out(WAN)
        assert wan_commands(idle, mark) == [ENABLE, OPEN]
        eventually(lambda: self.is_switched_on(idle, SFP))

    def test_sfp_port_that_comes_up_switches_nothing(self, idle):
        mark = idle.cable_in(SFP)
        assert wan_commands(idle, mark) == [CLOSE]
        assert self.is_switched_on(idle, WAN)
        idle.wait("Ethernet.Link.3.Status=Up")

    def test_sfp_port_that_goes_down_falls_back_to_dsl_and_switches_nothing(self, idle):
        idle.cable_in(SFP)
        mark = idle.cable_out(SFP)
        assert wan_commands(idle, mark) == [OPEN]
        idle.wait("Ethernet.Link.3.Status=LowerLayerDown")

    def test_copper_port_takes_over_from_the_sfp_port_without_dsl(self, idle):
        idle.cable_in(SFP)
        mark = idle.cable_in(WAN)
        idle.logged(f"Ethernet Wan {SFP} link down", mark)
        idle.handled()
        assert wan_commands(idle, mark) == [DISABLE]
        assert idle.count(FALL_BACK, mark) == 0
        idle.wait("Ethernet.Link.3.Status=LowerLayerDown")
        idle.wait("Ethernet.Link.1.Status=Up")

    def test_sfp_port_takes_over_when_the_copper_port_loses_its_cable(self, idle):
        idle.cable_in(SFP)
        mark = idle.cable_in(WAN)
        idle.logged(f"Ethernet Wan {SFP} link down", mark)
        idle.handled()
        mark = idle.mark()
        idle.cable(WAN, "out")
        idle.logged(f"Ethernet Wan {SFP} link up", mark)
        idle.handled()
        assert wan_commands(idle, mark)[:2] == [ENABLE, OPEN]
        assert wan_commands(idle, mark)[-1] == CLOSE
        idle.wait("Ethernet.Link.3.Status=Up")

    def test_dsl_gives_way_to_the_sfp_port(self, idle):
        idle.dsl_up()
        mark = idle.cable_in(SFP)
        assert idle.count(SHUT_DOWN, mark) == 1
        idle.wait("DSL.Line.1.LinkStatus=Disabled")
