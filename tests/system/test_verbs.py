"""gw's verbs and exit codes."""
import json
import os
import shutil
import subprocess
import sys

import pytest

from support import DONE, GW, NOBODY, REFUSED, USAGE, Gateway, eventually


def test_exec_passes_streams_and_status_through(gateway):
    done = gateway.gw("exec", "--", "sh", "-c", "cat; echo to-err >&2; exit 7", text="to-out\n")
    assert (done.returncode, done.stdout, done.stderr) == (7, "to-out\n", "to-err\n")


def test_exec_leaves_the_commands_options_alone(gateway):
    assert gateway.inside("echo", "--state", "-n", "--", "--help") == "--state -n -- --help\n"


def test_exec_without_dashes_runs_the_same(gateway):
    assert gateway.must("exec", "printf", "%s,", "-e", "--", "x") == "-e,--,x,"


def test_state_stands_behind_the_verbs_of_hosts_too(gateway):
    done = subprocess.run([sys.executable, str(GW), "lan", "host", "list", "--state", str(gateway.directory)], capture_output=True, text=True, check=False)
    assert (done.returncode, done.stdout) == (DONE, "{}\n")


def test_state_stands_before_or_after_the_verb(gateway):
    for words in (["--state", gateway.directory, "exec", "--", "hostname"], ["exec", "--state", gateway.directory, "hostname"],
                  ["exec", f"--state={gateway.directory}", "--", "hostname"]):
        done = subprocess.run([sys.executable, str(GW), *map(str, words)], capture_output=True, text=True, check=False)
        assert (done.returncode, done.stdout) == (DONE, "gateway\n")


def test_exec_reaches_every_room(gateway):
    for room in ("gateway", "isp", "lan"):
        assert gateway.must("exec", "--room", room, "--", "hostname") == f"{room}\n"
    assert gateway.gw("exec", "--room", "cellar", "hostname").returncode == USAGE


def test_shell_reads_what_it_is_given_and_ends_with_its_status(gateway):
    done = gateway.gw("shell", "--room", "lan", text="hostname\nexit 7\n")
    assert (done.returncode, done.stdout) == (7, "lan\n")


def test_standard_streams_have_their_names_inside(gateway):
    assert gateway.must("exec", "cat", "/dev/stdin", text="in\n") == "in\n"
    assert gateway.inside("bash", "-c", "cat <(echo substituted) /dev/fd/0; echo out >/dev/stdout", text="in\n") == "substituted\nin\nout\n"


def test_configuration_that_needs_what_the_machine_lacks_is_told(tmp_path):
    if os.access("/dev/ppp", os.F_OK):
        pytest.skip("this machine has a PPP driver")
    other = Gateway(tmp_path)
    done = other.gw("up", "--config", GW.parent / "defaults-ppp.json")
    other.down()
    assert done.returncode == DONE and "PPP.Interface.1 cannot be dialled: this machine has no PPP driver" in done.stderr


def completed(gateway, *words):
    return gateway.must("complete", "--", *words).split()


def test_completion_knows_verbs_options_and_values(gateway):
    assert {"up", "status", "log", "isp-router"} <= set(completed(gateway, "")) and "complete" not in completed(gateway, "")
    assert completed(gateway, "jo") == ["journal"]
    assert "--follow" in completed(gateway, "log", "--")
    assert completed(gateway, "log", "--channel", "") == ["vlog", "syslog", "stdout"]
    assert completed(gateway, "cable", "eth0.5", "") == ["in", "out"]
    assert completed(gateway, "lan", "host", "re") == ["remove", "renew", "release"]


def test_completion_knows_the_gateways_ports_and_its_model(gateway):
    assert completed(gateway, "cable", "eth0") == [f"eth0.{number}" for number in range(1, 6)]
    assert "Device" in "".join(completed(gateway, "wait", "UPnP."))
    assert completed(gateway, "wait", "UPnP.Device.En") == ["UPnP.Device.Enable="]


@pytest.mark.parametrize("shell", ("bash", "zsh"))
def test_shell_completes_by_it(gateway, shell):
    if not shutil.which(shell):
        pytest.skip(f"{shell} is not installed")
    told = gateway.must("completion", shell)
    script = told + f'COMP_WORDS=({GW} --state {gateway.directory} cable eth0.5 i); COMP_CWORD=5; _gw; echo "${{COMPREPLY[*]}}"\n' if shell == "bash" else \
        f"compdef() {{ }}; compadd() {{ print -l -- $@ }}\n{told}words=({GW} --state {gateway.directory} cable eth0.5 i); CURRENT=6; _gw\n"
    done = subprocess.run([shell, "-c", script], capture_output=True, text=True, check=False)
    assert done.stdout.split()[-1] == "in", done.stderr


def test_vcfgctl_finds_the_bus_without_options(gateway):
    assert gateway.inside("vcfgctl", "get", "UPnP.Device.Enable") == "UPnP.Device.Enable=false\n"


def test_wait_returns_when_the_model_says_so(gateway):
    assert gateway.gw("wait", "IP.Interface.*.X_VORAN_IfName=br0", "--timeout", "5").returncode == DONE


def test_wait_fails_when_it_does_not_in_time(gateway):
    done = gateway.gw("wait", "UPnP.Device.Enable=true", "--timeout", "0.3")
    assert done.returncode == REFUSED
    assert "UPnP.Device.Enable=false" in done.stderr


def test_wait_refuses_what_is_no_condition(gateway):
    assert gateway.gw("wait", "UPnP.Device.Enable").returncode == REFUSED


def test_second_up_is_refused(gateway):
    done = gateway.gw("up")
    assert done.returncode == REFUSED and len(done.stderr.splitlines()) == 1
    assert gateway.gw("status").returncode == DONE


def test_status_names_every_service(gateway):
    services = json.loads(gateway.must("status", "--json"))["services"]
    assert set(services) == {"logd", "vcmd", "linesim", "linkd", "tarn", "dhcpc", "dhcpd"}
    assert all(len(numbers) == 1 for numbers in services.values())


@pytest.mark.parametrize("words", ((), ("fly",), ("exec",), ("kernel",), ("wait",), ("service", "start", "toaster"), ("up", "--fast")))
def test_wrong_usage_is_2(gateway, words):
    assert gateway.gw(*words).returncode == USAGE


@pytest.mark.parametrize("words", (
    ("status",), ("exec", "true"), ("shell",), ("spawn", "x", "--", "true"), ("put", "/etc/hostname", "/x"), ("kernel", "x"), ("cable", "eth0.5", "out"),
    ("cable", "eth9", "out"), ("dsl", "up"), ("optical", "up"), ("usb", "up"), ("hunt", "vc", "received"), ("wireless", "received"), ("isp",),
    ("isp", "--mode", "silent"), ("isp-router", "1"), ("isp-dhcpv6",), ("lan", "host", "list"), ("lan", "host", "remove", "x"), ("log",), ("journal",),
    ("wait", "UPnP.Device.Enable=true"), ("wait", "nonsense"), ("service", "stop", "tarn")))
def test_without_a_gateway_every_verb_says_the_same(tmp_path, words):
    done = Gateway(tmp_path).gw(*words)
    assert (done.returncode, done.stdout, done.stderr) == (NOBODY, "", f"gw: no gateway runs in {tmp_path}; gw up starts one\n")


def test_down_without_a_gateway_is_done(tmp_path):
    assert Gateway(tmp_path).gw("down").returncode == DONE


def test_up_refuses_a_configuration_that_is_none(tmp_path):
    (tmp_path / "model.json").write_text("[]")
    other = Gateway(tmp_path / "state")
    assert other.gw("up", "--config", tmp_path / "model.json").returncode == REFUSED
    assert other.gw("status").returncode == NOBODY


def test_kernel_event_reaches_the_daemon(gateway):
    mark = gateway.mark()
    gateway.must("kernel", "eth0.3:up:100:F")
    gateway.logged("receiving Kernel event !!", since=mark)
    gateway.wait("Ethernet.Interface.3.Status=Up")
    gateway.must("kernel", "eth0.3:down:0:H")
    gateway.wait("Ethernet.Interface.3.Status=Down")


def test_kernel_event_of_an_unknown_type_is_passed_as_given(gateway):
    mark = gateway.mark()
    gateway.must("kernel", "x", "--type", "0x1234")
    gateway.logged(f"Unknown netlink nlmsg_type {0x1234}", since=mark)


def test_raw_kernel_bytes_go_as_they_are(gateway, tmp_path):
    mark = gateway.mark()
    header = (20).to_bytes(4, "little") + (0x4242).to_bytes(2, "little") + bytes(10)
    (tmp_path / "event").write_bytes(header + b"abc\0")
    gateway.must("kernel", "--raw", tmp_path / "event")
    gateway.logged(f"Unknown netlink nlmsg_type {0x4242}", since=mark)


def test_since_shows_only_what_came_later(gateway):
    mark = gateway.mark()
    assert all(line["t_mono_us"] > int(mark) for line in gateway.log(mark, "--all"))
    gateway.inside("logger", "-t", "tarn", "after the mark")
    eventually(lambda: "after the mark" in [line["text"] for line in gateway.log(mark, "--all")])


def test_pulled_cable_is_reported_by_the_kernel_itself(gateway):
    gateway.must("cable", "eth0.1", "out")
    gateway.wait("Ethernet.Interface.1.Status=Down")
    gateway.must("cable", "eth0.1", "in")
    gateway.wait("Ethernet.Interface.1.Status=Up")


def test_port_without_a_cable_is_refused(gateway):
    assert gateway.gw("cable", "eth9", "out").returncode == REFUSED


def test_dsl_line_trains_when_it_gets_a_signal(gateway):
    gateway.must("exec", "wan", "adsl", "open")
    gateway.must("dsl", "up", "--mode", "atm")
    gateway.wait("DSL.Line.1.LinkStatus=Up")
    assert gateway.value("DSL.Line.1.X_VORAN_LinkTypeIsATM") == "true"
    gateway.must("dsl", "down")
    gateway.wait("DSL.Line.1.Status=Down")


@pytest.mark.parametrize("verb", ("status", "log", "journal", "isp", "mark"))
@pytest.mark.parametrize(("output", "why"), ((">&-", "standard output is closed"), (">/dev/full", "No space left on device")))
def test_output_that_takes_nothing_ends_the_call(gateway, verb, output, why):
    done = subprocess.run(["bash", "-c", f"{sys.executable} {GW} --state {gateway.directory} {verb} {output}"], capture_output=True, text=True, check=False)
    assert (done.returncode, done.stderr) == (REFUSED, f"gw: {why}\n")
