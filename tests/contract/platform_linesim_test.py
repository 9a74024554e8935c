"""The line simulator: real devices with real carrier, and the data model told before anybody can hear of the link."""
import os

import pytest
from platform_support import effects, environment, eventually, namespace, receiver  # noqa: F401 (fixtures)

# Stands where the data model would be: records each call, with the devices that have carrier at that moment.
RECORDER = """#!/bin/sh
printf '%s | %s\\n' "$*" "$(ip -o link show up | sed -n 's/^[0-9]*: \\([a-z]*0\\): .*LOWER_UP.*/\\1/p' | tr '\\n' ' ')" \
    >>"$GW_HW_DIR/model"
[ ! -e "$GW_HW_DIR/nobody" ] || exit 3
"""


@pytest.fixture
def lines(namespace):
    if not os.access("/dev/net/tun", os.R_OK | os.W_OK):
        pytest.skip("no TAP devices here: /dev/net/tun cannot be opened")
    return Lines(namespace)


class Lines:
    def __init__(self, namespace, *arguments, train_ms=50):
        self.namespace = namespace
        self.hw = namespace.hardware
        folder = self.hw / "bin"
        folder.mkdir()
        (folder / "vcfgctl").write_text(RECORDER)
        (folder / "vcfgctl").chmod(0o755)
        self.path = f"{folder}:{environment(self.hw)['PATH']}"
        self.server = namespace.start("gw-linesim", "serve", *arguments, PATH=self.path, GW_DSL_TRAIN_MS=train_ms)

    def ask(self, *words, status=0):
        result = self.namespace.run(*words)
        assert result.returncode == status, result.stderr
        return result.stdout + result.stderr

    def state(self):
        return self.ask("gw-linesim", "state").splitlines()

    def comes(self, line):
        assert eventually(lambda: line in self.state()), self.state()

    def model(self):
        return (self.hw / "model").read_text().splitlines()

    def last(self, parameter):
        """The value last written to a parameter, and the devices that had carrier then."""
        for call in reversed(self.model()):
            written, _, carriers = call.partition(" | ")
            for word in written.split():
                if word.startswith(parameter + "="):
                    return word.partition("=")[2], carriers.split()
        return None


def test_signal_trains_the_line_and_gives_its_device_carrier(lines):
    assert lines.ask("gw-linesim", "dsl", "up") == "DSL line 1: training (ptm)\n"
    lines.comes("ptm0: carrier")
    assert "DSL line 1: up (ptm)" in lines.state()
    assert "atm0: no carrier" in lines.state()
    assert "LOWER_UP" in lines.namespace.sh("ip -o link show dev ptm0")


def test_data_model_knows_of_the_link_before_the_carrier_and_of_its_loss_too(lines):
    lines.ask("gw-linesim", "dsl", "up", "--mode", "atm")
    lines.comes("atm0: carrier")
    assert lines.last("DSL.Line.1.LinkStatus") == ("Up", [])
    assert lines.last("DSL.Line.1.X_VORAN_LinkTypeIsATM") == ("true", [])
    assert lines.last("DSL.Channel.1.LinkEncapsulationUsed") == ("G.992.3_Annex_K_ATM", [])
    assert int(lines.last("DSL.Channel.1.DownstreamCurrRate")[0]) > 0
    lines.ask("gw-linesim", "dsl", "down")
    assert lines.last("DSL.Line.1.LinkStatus") == ("NoSignal", ["atm0"])
    assert lines.last("DSL.Channel.1.DownstreamCurrRate")[0] == "0"


def test_closed_modem_takes_the_line_down_at_once_and_an_open_one_trains_it_again(lines):
    lines.ask("gw-linesim", "dsl", "up")
    lines.comes("ptm0: carrier")
    lines.ask("wan", "adsl", "close")
    assert "ptm0: no carrier" in lines.state()
    assert lines.last("DSL.Line.1.LinkStatus")[0] == "Disabled"
    lines.ask("wan", "adsl", "open")
    assert lines.last("DSL.Line.1.LinkStatus")[0] in ("EstablishingLink", "Up")
    lines.comes("ptm0: carrier")
    assert effects(lines.hw)[-2:] == ["DSL line 1: closed", "DSL line 1: training (ptm)"]


def test_close_and_open_without_a_pause_end_in_a_trained_line(lines):
    lines.ask("gw-linesim", "dsl", "up")
    lines.comes("DSL line 1: up (ptm)")
    lines.namespace.sh("wan adsl close; wan adsl open")
    lines.comes("ptm0: carrier")


def test_closed_modem_does_not_train(lines):
    lines.ask("wan", "adsl", "close")
    assert lines.ask("gw-linesim", "dsl", "up") == "DSL line 1: closed\n"


def test_training_takes_its_time_and_closing_ends_it(namespace, lines):
    lines.server.kill()
    lines.server.wait()
    namespace.start("gw-linesim", "serve", PATH=lines.path, GW_DSL_TRAIN_MS=600_000)
    lines.ask("gw-linesim", "dsl", "up")
    assert "DSL line 1: training (ptm)" in lines.state()
    lines.ask("wan", "adsl", "close")
    assert "DSL line 1: closed" in lines.state()


def test_line_that_went_down_still_says_what_it_carried(lines):
    lines.ask("gw-linesim", "dsl", "up", "--mode", "ptm")
    lines.comes("ptm0: carrier")
    lines.ask("gw-linesim", "dsl", "up", "--mode", "atm")
    lines.comes("atm0: carrier")
    flags = [word for call in lines.model() for word in call.split() if "IsATM" in word or "Line.1.LinkStatus" in word]
    assert [word.partition("1.")[2] for word in flags] == [
        "LinkStatus=NoSignal", "LinkStatus=EstablishingLink", "LinkStatus=Up", "X_VORAN_LinkTypeIsATM=false",
        "LinkStatus=EstablishingLink", "LinkStatus=Up", "X_VORAN_LinkTypeIsATM=true"]


def test_link_monitor_hears_the_line(namespace, receiver, lines):
    namespace.start("port-linkd", "--pid-file", receiver.registration, "ptm[0-9]", "atm[0-9]")
    lines.ask("gw-linesim", "dsl", "up")
    assert eventually(lambda: receiver.texts() == ["ptm0:up"])
    lines.ask("wan", "adsl", "close")
    assert eventually(lambda: receiver.texts() == ["ptm0:up", "ptm0:down"])


def test_frames_cross_a_line_that_is_up(lines):
    lines.ask("gw-linesim", "dsl", "up")
    lines.comes("ptm0: carrier")
    lines.namespace.sh("""
        ip addr add 192.0.2.2/24 dev ptm0
        unshare --net sh -c 'echo $$ >"$GW_HW_DIR/isp"; exec sleep 60' &
        while [ ! -s "$GW_HW_DIR/isp" ]; do :; done
        isp=$(cat "$GW_HW_DIR/isp")
        ip link set ptm0-far netns $isp
        nsenter --target $isp --net sh -ec 'ip addr add 192.0.2.1/24 dev ptm0-far; ip link set ptm0-far up'
        ping -c 1 -w 5 192.0.2.1 >/dev/null
        kill $isp""")


def test_optical_link_reports_its_service_every_time(lines):
    for action in ("up", "up", "down"):
        lines.ask("gw-linesim", "optical", action)
    reports = [call.partition(" | ")[0] for call in lines.model() if "0x80000122" in call]
    assert reports == ['send --to 2 --type 0x80000122 --payload {"serviceStatus":true}'] * 2 + [
        'send --to 2 --type 0x80000122 --payload {"serviceStatus":false}']
    assert "opt0: no carrier" in lines.state()


def test_usb_link_is_written_before_the_daemon_is_asked_to_look(lines):
    lines.ask("gw-linesim", "usb", "up")
    assert lines.last("USB.Interface.1.Status") == ("Up", [])
    assert lines.model()[-1] == "send --to 2 --type 0x800003EF | usb0 "
    lines.ask("gw-linesim", "usb", "absent")
    assert "X_VORAN_WWANBackup.Status=No Device" in lines.model()[-2]


def test_report_that_nobody_takes_is_a_failure(lines):
    (lines.hw / "nobody").touch()
    assert "did not take the report" in lines.ask("gw-linesim", "optical", "up", status=1)


def test_without_a_simulator_requests_say_that_nobody_answers(namespace):
    for command in (["gw-linesim", "state"], ["wan", "adsl", "open"]):
        result = namespace.run(*command)
        assert (result.returncode, result.stderr) == (3, "gw-linesim: no line simulator answers\n")


@pytest.mark.parametrize("words", [["dsl"], ["dsl", "sideways"], ["dsl", "up", "--mode", "x"], ["dsl", "up", "--line", "x"],
                                   ["dsl", "up", "down"], ["optical"], ["usb", "x"], ["state", "x"], ["x"]])
def test_wrong_requests_are_wrong_usage(lines, words):
    assert "usage" in lines.ask("gw-linesim", *words, status=2)


def test_line_that_is_not_there_is_a_failure(lines):
    assert lines.ask("gw-linesim", "dsl", "up", "--line", "2", status=1) == "there is no DSL line 2\n"


def test_without_devices_the_simulator_sends_the_events_itself(namespace, receiver):
    lines = Lines(namespace, "--no-devices", "--pid-file", receiver.registration)
    lines.ask("gw-linesim", "dsl", "up")
    assert eventually(lambda: receiver.texts() == ["ptm0:up"])
    lines.ask("gw-linesim", "dsl", "down")
    assert receiver.texts() == ["ptm0:up", "ptm0:down"] or eventually(lambda: len(receiver.texts()) == 2)
