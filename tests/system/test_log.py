"""The log collector: three channels, one order."""
from support import LEASE_BOUND, SHELL_COMMAND

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
