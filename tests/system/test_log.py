"""The log collector: three channels, one order."""
import json
import os
import pathlib
import re
import subprocess
import sys
import time

import pytest

from support import GW, LATE, LEASE_BOUND, REFUSED, SHELL_COMMAND, Gateway, eventually

KEYS = {"t_mono_us", "channel", "level", "source", "line", "function", "text"}


def test_line_carries_all_its_keys(gateway):
    assert all(KEYS <= set(line) for line in gateway.log())


def test_lines_come_in_the_order_in_which_they_were_written(gateway):
    times = [line["t_mono_us"] for line in gateway.log(0, "--all")]
    assert times == sorted(times)


def test_start_up_lines_interleave_over_the_channels(gateway):
    lines = [(line["channel"], line["text"]) for line in gateway.log()]
    wanted = [("vlog", "TARN Start"), ("stdout", "TARN msg server init..."), ("stdout", "[TARN] Initial kernel monitor ..."),
              ("vlog", "TARN usr config thread starts"), ("syslog", "System: System init finished")]
    positions = [lines.index(line) for line in wanted]
    assert positions == sorted(positions)


def test_framework_line_says_where_it_was_written(gateway):
    (line,) = [line for line in gateway.log() if line["text"] == "TARN Start"]
    assert (line["channel"], line["level"], line["source"]) == ("vlog", 6, "tarn")
    assert line["line"] > 0 and line["function"]


def test_system_log_line_has_its_priority_and_no_line_end(gateway):
    (line,) = [line for line in gateway.log() if line["text"] == "System: System init finished"]
    assert (line["channel"], line["level"]) == ("syslog", 5)


def test_output_of_the_daemons_commands_is_not_taken_for_its_own(gateway):
    mark = gateway.mark()
    gateway.inside("vcfgctl", "send", "--to", "2", "--type", hex(SHELL_COMMAND), "--payload", "ls /no/such/folder", "--reply")
    assert not [line for line in gateway.log(mark) if "No such file" in line["text"]]


def test_burst_of_lines_loses_none(gateway):
    mark = gateway.mark()
    count = 3000
    gateway.inside("sh", "-c", f"i=0; while [ $i -lt {count} ]; do echo line $i; i=$((i + 1)); done | logger -t burst")
    texts = [line["text"] for line in gateway.log(mark, "--all") if line["text"].startswith("line ")]
    assert texts == [f"line {number}" for number in range(count)]


def test_what_was_logged_before_is_in_the_log_that_is_asked_for(gateway):
    for number in range(30):
        gateway.inside("logger", "-t", "before", f"said {number}")
        assert words_of(gateway, "-n", "1", "--grep", "^said ") == [f"said {number}"]


def test_log_without_a_collector_is_told_at_once_as_it_is(gateway):
    said = words_of(gateway)
    gateway.must("service", "stop", "logd")
    begin = time.monotonic()
    done = gateway.gw("log", "--all", "--json")
    assert time.monotonic() - begin < LATE
    assert done.returncode == 0 and len(done.stdout.splitlines()) >= len(said)
    assert "the log collector does not answer" in done.stderr and len(done.stderr.splitlines()) == 1
    gateway.must("service", "start", "logd")
    gateway.inside("logger", "-t", "after", "it is back")
    assert words_of(gateway)[-1] == "it is back"


def test_log_of_a_collector_that_hangs_is_told_in_the_end(gateway):
    gateway.inside("pkill", "-STOP", "-x", "gw-logd")
    try:
        done = gateway.gw("log", "--all")
    finally:
        gateway.inside("pkill", "-CONT", "-x", "gw-logd")
    assert done.returncode == 0 and done.stdout and "the log collector does not answer" in done.stderr
    assert gateway.gw("log").stderr == ""


def test_readable_log_shows_the_same_lines(gateway):
    shown = gateway.must("log").splitlines()
    assert any("System: System init finished" in line and "notice" in line for line in shown)


def test_collector_that_stops_costs_lines_and_no_events(gateway):
    mark = gateway.mark()
    gateway.inside("pkill", "-STOP", "-x", "gw-logd")
    try:
        lease = f"vcfgctl send --to 2 --type {LEASE_BOUND:#x} --payload x"
        gateway.inside("sh", "-c", f"i=0; while [ $i -lt 300 ]; do {lease}; i=$((i + 1)); done")
        gateway.settle()
    finally:
        gateway.inside("pkill", "-CONT", "-x", "gw-logd")
    gateway.send(LEASE_BOUND, "y")
    assert gateway.logged(" log lines were lost: nobody took them", mark)
    assert gateway.logged("DHCPC Option y", mark)


def words_of(gateway, *words):
    return [json.loads(line)["text"] for line in gateway.must("log", "--all", "--json", *words).splitlines()]


def test_last_lines_and_those_that_match_are_shown(gateway):
    mark = gateway.mark()
    gateway.inside("sh", "-c", "for i in 1 2 3 4; do logger -t probe line $i; done; logger -t probe -p user.err grave")
    assert words_of(gateway, "--since", mark, "-n", "2") == ["line 4", "grave"]
    assert words_of(gateway, "--since", mark, "--grep", "line [23]") == ["line 2", "line 3"]
    assert words_of(gateway, "--since", mark, "--level", "error") == ["grave"]
    assert words_of(gateway, "--since", mark, "--channel", "stdout") == []
    assert words_of(gateway, "--since", "5m", "--grep", "^grave$") == ["grave"]
    assert words_of(gateway, "--since", "+99999") == []
    assert words_of(gateway, "--since", "0:00", "-n", "1") != [] or time.localtime().tm_hour == 0


@pytest.mark.parametrize("words", (("--since", "yesterday"), ("--since", "25:00"), ("--level", "loud"), ("-n", "-3"), ("--grep", "(")))
def test_what_is_no_selection_is_refused_with_what_would_be(gateway, words):
    done = gateway.gw("log", *words)
    assert done.returncode == REFUSED and words[0] in done.stderr and len(done.stderr.splitlines()) == 1


def test_times_are_seconds_since_the_boot_or_of_the_day(gateway):
    up, clock, mono = (gateway.must("log", "-n", "1", "--time", style).split()[0] for style in ("up", "clock", "mono"))
    assert float(up) < 600 and len(clock) == 15 and clock[2] == ":" and float(mono) >= float(up)


def test_orders_to_a_terminal_are_spelt_out(gateway):
    gateway.inside("sh", "-c", r"""printf 'a\033[31mb\a\nc\302\233d' | logger -t probe""")
    shown = gateway.must("log", "--all")
    assert r"a\x1b[31mb\x07" in shown and "\x1b" not in shown and "\x9b" not in shown


class Following:
    def __init__(self, gateway, *words):
        self.process = subprocess.Popen([sys.executable, str(GW), "--state", str(gateway.directory), *words, "-f"],
                                        stdout=subprocess.PIPE, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()

    def line(self):
        return self.process.stdout.readline()

    def line_with(self, words):
        return next(line for line in self.process.stdout if words in line)

    def spent(self):
        """System calls for reading, and context switches, so far."""
        reads = re.search(r"syscr: (\d+)", pathlib.Path(f"/proc/{self.process.pid}/io").read_text())
        switches = re.search(r"^voluntary_ctxt_switches:\s+(\d+)", pathlib.Path(f"/proc/{self.process.pid}/status").read_text(), re.M)
        return int(reads[1]), int(switches[1])


def test_follower_shows_what_comes_and_sleeps_meanwhile(gateway):
    mark = gateway.mark()
    with Following(gateway, "log", "--all", "--since", mark, "--grep", "probed") as following:
        gateway.inside("logger", "-t", "probe", "probed once")
        assert "probed once" in following.line()
        gateway.inside("true")
        before = following.spent()
        time.sleep(1)  # in which nothing happens in the gateway
        assert following.spent() == before
        gateway.inside("logger", "-t", "probe", "probed twice")
        assert "probed twice" in following.line()


def test_journal_is_followed_too(gateway):
    gateway.send(SHELL_COMMAND, "echo before")
    with Following(gateway, "journal") as following:
        following.line_with("echo before")
        gateway.send(SHELL_COMMAND, "echo followed")
        following.line_with("echo followed")


def test_reader_who_has_had_enough_ends_it_silently(gateway):
    gw = f"{sys.executable} {GW} --state {gateway.directory}"
    done = subprocess.run(["bash", "-c", f"{gw} log --all | head -1 >/dev/null; {gw} exec -- yes | head -1"], capture_output=True, text=True, check=False)
    assert (done.stdout, done.stderr) == ("y\n", "")


def test_log_of_a_gateway_that_is_gone_can_be_read_and_a_follower_sees_the_next(tmp_path):
    gateway = Gateway(tmp_path)
    gateway.up()
    with Following(gateway, "log", "--grep", "System init finished") as following:
        assert "System init finished" in following.line()
        gateway.down()
        left = gateway.gw("log", "-n", "1")
        assert left.returncode == 0 and left.stdout and "no gateway runs" in left.stderr
        gateway.up()
        assert "System init finished" in following.line()
    gateway.down()
