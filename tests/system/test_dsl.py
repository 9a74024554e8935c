"""DSL in both modes: what the daemon does to the modules, the line's files and the links above."""
import os

import pytest

from links import Links, eventually

RELEASE = os.uname().release
TO_PTM = ["killall br2684ctl", "rmmod mt7510sar.ko", "rmmod qdma_wan.ko", "echo 1 > /proc/sys/vm/drop_caches",
          f"insmod /lib/modules/{RELEASE}/qdma_wan.ko macType=2", f"insmod /lib/modules/{RELEASE}/mt7510ptm.ko"]
TO_ATM = ["rmmod mt7510ptm.ko", "rmmod qdma_wan.ko", "echo 1 > /proc/sys/vm/drop_caches",
          f"insmod /lib/modules/{RELEASE}/qdma_wan.ko macType=3", "rmmod mt7510sar.ko",
          f"insmod /lib/modules/{RELEASE}/mt7510sar.ko"]
QUARTER_HOURS = ["rm -rf /tmp/quarterHours/", "/usr/etc/initQuarterHourFiles.sh"]
NO_VC_HUNT, NO_VLAN_HUNT = "killall vcautohunt", "killall vlanautohunt"
RULES = ["vlanctl --tx --if ptm0 --tags 0 --rule-remove 0", "vlanctl --tx --if ptm0 --tags 0 --rule-remove 1"]


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("dsl"))
    booted.boot({"IP.Interface.4": {"Enable": False, "Name": "ptm0.7", "X_VORAN_IfName": "ptm0.7"},
                 "InterfaceStack.10": {"HigherLayer": "DSL.BondingGroup.1", "LowerLayer": "DSL.Channel.1"}})
    yield booted
    booted.down()


@pytest.fixture
def down(gateway):
    """The line is down; what it carried last is whatever the test before left."""
    if gateway.value("DSL.Line.1.LinkStatus") == "Up":
        gateway.dsl_down()
    return gateway


@pytest.fixture
def was_ptm(down):
    if down.carried != "ptm":
        down.dsl_up("ptm")
        down.dsl_down()
    return down


@pytest.fixture
def was_atm(down):
    if down.carried != "atm":
        down.dsl_up("atm")
        down.dsl_down()
    return down


def test_first_ptm_link_loads_the_ptm_modules_in_order(gateway):
    mark = gateway.dsl_up("ptm")
    assert gateway.commands(mark) == [*QUARTER_HOURS, *TO_PTM, NO_VLAN_HUNT]
    assert gateway.modules() == ["qdma_wan macType=2", "mt7510ptm"]


def test_ptm_after_ptm_reloads_nothing(was_ptm):
    mark = was_ptm.dsl_up("ptm")
    assert was_ptm.commands(mark) == [*QUARTER_HOURS, "echo 1 >/proc/tc3162/ptm_do_reset_sequence", NO_VLAN_HUNT]
    assert was_ptm.inside("cat", "/proc/tc3162/ptm_do_reset_sequence") == "1\n"


def test_atm_after_ptm_swaps_the_modules(was_ptm):
    mark = was_ptm.dsl_up("atm")
    assert was_ptm.commands(mark) == [*QUARTER_HOURS, *TO_ATM, NO_VC_HUNT]
    assert was_ptm.modules() == ["qdma_wan macType=3", "mt7510sar"]


def test_atm_after_atm_touches_no_module(was_atm):
    mark = was_atm.dsl_up("atm")
    assert was_atm.commands(mark) == [*QUARTER_HOURS, NO_VC_HUNT]


def test_ptm_after_atm_swaps_the_modules(was_atm):
    mark = was_atm.dsl_up("ptm")
    assert was_atm.commands(mark) == [*QUARTER_HOURS, *TO_PTM, NO_VLAN_HUNT]
    assert was_atm.modules() == ["qdma_wan macType=2", "mt7510ptm"]


def test_ptm_link_that_goes_down_is_reset_and_loses_a_rule_for_each_interface_on_it(down):
    down.dsl_up("ptm")
    mark = down.dsl_down()
    assert down.commands(mark) == [*QUARTER_HOURS, "echo 0 >/proc/tc3162/ptm_do_reset_sequence", *RULES]
    assert down.inside("cat", "/proc/tc3162/ptm_do_reset_sequence") == "0\n"


def test_atm_link_that_goes_down_runs_nothing(down):
    down.dsl_up("atm")
    mark = down.dsl_down()
    assert down.commands(mark) == QUARTER_HOURS


@pytest.mark.parametrize(("mode", "rates"), [("ptm", "PTM, Speed: RX:100000 / TX:40000"),
                                             ("atm", "ATM, Speed: RX:16000 / TX:1024")])
def test_rates_of_the_link_are_logged(down, mode, rates):
    mark = down.dsl_up(mode)
    (line,) = down.logged("xDSL: link up", mark)
    assert (line["channel"], line["level"]) == ("syslog", 6)
    assert line["text"].rstrip("\n") == f"xDSL: link up, Connection Type: {rates} (Kbps)"


@pytest.mark.parametrize(("mode", "link", "other"), [("ptm", "PTM.Link.1", "ATM.Link.1"), ("atm", "ATM.Link.1", "PTM.Link.1")])
def test_link_above_the_channel_in_use_follows_the_line(down, mode, link, other):
    before = down.value(f"{other}.Status")
    down.dsl_up(mode)
    down.wait(f"{link}.Status=Up")
    down.dsl_down()
    down.wait(f"{link}.Status=LowerLayerDown")
    assert down.value(f"{other}.Status") == before


def test_quarter_hour_statistics_start_at_zero_with_each_link_change(down):
    down.inside("sh", "-c", "mkdir -p /tmp/quarterHours; echo 'ES 9' > /tmp/quarterHours/stale")
    down.dsl_up("ptm")
    assert down.inside("ls", "/tmp/quarterHours").split() == ["1", "2", "3", "4", "current"]


def test_real_traffic_crosses_the_line(down):
    down.dsl_up("ptm")
    down.wait("IP.Interface.3.IPv4Address.1.Status=Enabled")
    eventually(lambda: down.run("ping", "-c1", "-W1", "-I", "ptm0", "203.0.113.1").returncode == 0)
