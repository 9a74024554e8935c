"""The platform's commands change the state of the simulated hardware, say what they changed, and fail as real ones do."""
import os

import pytest
from platform_support import ROOT, UNSHARE_NET, effects, run

MODULES = f"/lib/modules/{os.uname().release}"
PTM = [("rmmod", "mt7510sar.ko"), ("rmmod", "qdma_wan.ko"),
       ("insmod", f"{MODULES}/qdma_wan.ko", "macType=2"), ("insmod", f"{MODULES}/mt7510ptm.ko")]
ATM = [("rmmod", "mt7510ptm.ko"), ("rmmod", "qdma_wan.ko"), ("insmod", f"{MODULES}/qdma_wan.ko", "macType=3"),
       ("rmmod", "mt7510sar.ko"), ("insmod", f"{MODULES}/mt7510sar.ko")]


@pytest.fixture
def hw(tmp_path):
    return tmp_path


def loaded(hw):
    return (hw / "modules").read_text().splitlines()


def test_insmod_keeps_the_parameters_of_a_module(hw):
    assert run(hw, *PTM[2]).returncode == 0
    assert loaded(hw) == ["qdma_wan macType=2"]
    assert effects(hw) == ["module qdma_wan loaded with macType=2"]


def test_insmod_refuses_a_module_that_is_loaded(hw):
    run(hw, *PTM[2])
    again = run(hw, *ATM[2])
    assert again.returncode == 1
    assert again.stderr == f"insmod: ERROR: could not insert module {MODULES}/qdma_wan.ko: File exists\n"
    assert loaded(hw) == ["qdma_wan macType=2"]


@pytest.mark.parametrize("file", ["/lib/modules/0.0/qdma_wan.ko", f"{MODULES}/other.ko", "qdma_wan.ko", "", "../x"])
def test_insmod_finds_only_this_kernels_modules_of_the_platform(hw, file):
    refused = run(hw, "insmod", file)
    assert refused.returncode == 1
    assert "No such file or directory" in refused.stderr
    assert effects(hw) == []


@pytest.mark.parametrize("name", ["mt7510sar.ko", "mt7510", "", ".*", "a b"])
def test_rmmod_refuses_a_module_that_is_not_loaded(hw, name):
    run(hw, "insmod", f"{MODULES}/mt7510ptm.ko")
    refused = run(hw, "rmmod", name)
    assert refused.returncode == 1
    assert "is not currently loaded" in refused.stderr
    assert loaded(hw) == ["mt7510ptm"]


def test_module_sequences_swap_the_stack_from_ptm_to_atm_and_back(hw):
    for command in PTM:
        run(hw, *command)
    assert loaded(hw) == ["qdma_wan macType=2", "mt7510ptm"]
    for command in ATM:
        run(hw, *command)
    assert loaded(hw) == ["qdma_wan macType=3", "mt7510sar"]
    assert [run(hw, *command).returncode for command in PTM] == [0, 0, 0, 0]
    assert loaded(hw) == ["qdma_wan macType=2", "mt7510ptm"]


def test_vlanctl_removes_the_rule_of_that_number_only(hw):
    for number in (0, 1, 10):
        assert run(hw, "vlanctl", "--tx", "--if", "ptm0", "--tags", 0, "--rule-append", number, "pop").returncode == 0
    assert run(hw, "vlanctl", "--tx", "--if", "ptm0", "--tags", 0, "--rule-remove", 1).returncode == 0
    assert (hw / "vlan/ptm0").read_text() == "tx 0 0 pop\ntx 0 10 pop\n"
    assert effects(hw)[-1] == "ptm0: tx rule 1 for 0 tags removed"


def test_vlanctl_refuses_to_remove_a_rule_that_is_not_there(hw):
    refused = run(hw, "vlanctl", "--tx", "--if", "ptm0", "--tags", 0, "--rule-remove", 0)
    assert refused.returncode == 1
    assert refused.stderr == "vlanctl: ptm0 has no tx rule 0 for 0 tags\n"


@pytest.mark.parametrize("arguments", [["--tx", "--if", "../x", "--tags", "0", "--rule-remove", "0"],
                                       ["--tx", "--if", "ptm0", "--tags", "0", "--rule-remove", "x"],
                                       ["--tx", "--if", "ptm0", "--tags", "0", "--rule-remove"],
                                       ["--tx", "--if"], ["--if", "ptm0", "--tags", "0", "--rule-remove", "0"], []])
def test_vlanctl_tells_wrong_usage(hw, arguments):
    refused = run(hw, "vlanctl", *arguments)
    assert refused.returncode == 2
    assert refused.stderr.startswith("usage: vlanctl")


def in_namespace(hw, script):
    return run(hw, "sh", "-ec", script, prefix=UNSHARE_NET)


PORT = """
ip link add eth0.5 type veth peer name far5 && ip link set far5 up && ip link set eth0.5 up
"""
LINKED = "ip -o link show dev {} | grep -q LOWER_UP"


def test_ethphxcmd_disable_takes_the_wan_port_down_and_its_far_end_sees_it(hw):
    result = in_namespace(hw, PORT + f"""
        ethphxcmd eth0 wanactive disable
        ! {LINKED.format('eth0.5')} && ! {LINKED.format('far5')}
        ethphxcmd eth0 wanactive enable
        {LINKED.format('eth0.5')} && {LINKED.format('far5')}""")
    assert result.returncode == 0, result.stderr
    assert effects(hw) == ["port eth0.5 down", "port eth0.5 up"]


def test_ethphxcmd_disable_leaves_the_wan_to_the_medium_that_found_its_link_last(hw):
    (hw / "eth_wan_ports").write_text("eth0.5 eth0.6\n")
    (hw / "link").mkdir()
    (hw / "link/eth0.6").touch()
    os.utime(hw / "link/eth0.6", (1000, 1000))
    (hw / "link/eth0.5").touch()
    result = in_namespace(hw, PORT + f"""
        ip link add eth0.6 type veth peer name far6 && ip link set far6 up && ip link set eth0.6 up
        ethphxcmd eth0 wanactive disable
        {LINKED.format('eth0.5')} && ! {LINKED.format('eth0.6')}""")
    assert result.returncode == 0, result.stderr
    assert effects(hw) == ["port eth0.6 down"]


def test_ethphxcmd_fails_without_its_port(hw):
    result = in_namespace(hw, "ethphxcmd eth0 wanactive disable")
    assert result.returncode == 1
    assert "port eth0.5 cannot be switched" in result.stderr


@pytest.mark.parametrize("arguments", [[], ["eth0", "wanactive"], ["eth0", "wanactive", "maybe"], ["eth1", "wanactive", "enable"]])
def test_ethphxcmd_tells_wrong_usage(hw, arguments):
    assert run(hw, "ethphxcmd", *arguments).returncode == 2


def test_disable_lan_stop_brings_the_lan_ports_up(hw):
    result = in_namespace(hw, f"""
        ip link add eth0.2 type veth peer name far2 && ip link set far2 up
        {ROOT}/etc/init.d/disable_lan.sh stop
        {LINKED.format('eth0.2')}""")
    assert result.returncode == 0, result.stderr
    assert (hw / "lan_ports").read_text() == "up\n"


def test_quarter_hour_files_start_at_zero(hw):
    (hw / "quarterHours").mkdir()
    (hw / "quarterHours/current").write_text("ES 17\n")
    assert run(hw, ROOT / "usr/etc/initQuarterHourFiles.sh").returncode == 0
    assert (hw / "quarterHours/current").read_text().startswith("ES 0\n")
    assert effects(hw) == ["quarter-hour statistics started afresh"]


def test_start_up_scripts_leave_their_marks(hw):
    assert run(hw, ROOT / "etc/init.d/button_disable_for_manufacture.sh").returncode == 0
    for _ in range(2):
        assert run(hw, ROOT / "etc/init.d/mcpd.sh", "reload").returncode == 0
    assert run(hw, "vupnp.sh", "-N").returncode == 0
    assert (hw / "buttons").read_text() == "enabled\n"
    assert (hw / "mcpd_reloads").read_text() == "2\n"
    assert (hw / "upnp").read_text() == "running with NAT traversal\n"


def test_a_fault_makes_a_command_fail_with_its_status_and_change_nothing(hw):
    (hw / "fault").mkdir()
    (hw / "fault/insmod").write_text("fail 3\n")
    failed = run(hw, *PTM[2])
    assert failed.returncode == 3
    assert failed.stderr == "insmod: the hardware does not answer\n"
    assert not (hw / "modules").exists()


def test_wan_tells_that_no_modem_answers(hw):
    assert run(hw, "wan", "adsl", "sideways").returncode == 2
    assert run(hw, "wan", "adsl", "open").returncode != 0
