"""The benchmarks: one round gives the whole table, and the verdict follows from it. No test looks at a time."""
import os
import pathlib
import subprocess
import sys
import xml.etree.ElementTree

import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "bench"))

from benchlib import __main__ as bench, events, growth, plot, programs, table  # noqa: E402


def run(*arguments, **environment):
    return subprocess.run([REPOSITORY / "script" / "bench", *arguments], capture_output=True, text=True, check=False,
                          env={**os.environ, **environment})


@pytest.fixture(scope="module")
def build(tmp_path_factory):
    """What is built, without the program that measures nng."""
    assert run("--prepare").returncode == 0
    built = REPOSITORY / "build" / "release"
    copy = tmp_path_factory.mktemp("build")
    (copy / "bin").mkdir()
    (copy / "lib").symlink_to(built / "lib")
    for program in (built / "bin").iterdir():
        if program.name != "bench_nng":
            (copy / "bin" / program.name).symlink_to(program)
    return copy


@pytest.fixture(scope="module")
def whole(build):
    return run("--rounds", "1", TARN_BUILD_DIR=str(build))


def cells(output):
    """{what: {column: cell}} of the table."""
    lines = [[cell.strip() for cell in line.strip("|").split("|")] for line in output.splitlines() if line[:1] == "|"]
    return {line[0]: dict(zip(lines[0], line)) for line in lines[2:]}


def test_every_part_is_in_the_table(whole):
    rows = cells(whole.stdout)
    for start in ("bare socket: call", "bus: call", "bus: one way", "bus: 64 senders", "model: get", "model: walk",
                  "model: add", "vcmd: start", "tarn: size", "tarn: private", "growth: walk", "growth: DHCPv4 lease"):
        found = [row for what, row in rows.items() if what.startswith(start)]
        assert found and all(row["median"] or row["p99"] for row in found), (start, whole.stderr)


def test_every_event_says_what_it_cost(whole):
    rows = cells(whole.stdout)
    for event in events.EVENTS:
        assert all(rows[f"event: {event.what}"][cost].isdigit() for cost in events.COSTS)


def test_an_event_costs_what_its_handler_does(whole):
    row = cells(whole.stdout)["event: shell command"]
    assert (row["reads"], row["writes"], row["messages"], row["processes"]) == ("0", "0", "1", "1")


def test_a_peer_that_is_not_there_is_named_and_left_out(whole):
    skipped = [line for line in whole.stdout.splitlines() if line.startswith("skipped: ")]
    assert any(line.startswith("skipped: nng (") and "libnng-dev" in line for line in skipped)
    peers = {name for name, _ in programs.PEERS.values()}
    named = {name for name in peers if any(line.startswith(f"skipped: {name} ") for line in skipped)}
    assert peers & next(iter(cells(whole.stdout).values())).keys() == peers - named


def test_the_exit_status_tells_whether_a_limit_is_missed(whole):
    missed = [what for what, row in cells(whole.stdout).items() if row["met"] == "**NO**"]
    assert whole.returncode == (1 if missed else 0)
    assert all(f"\n  {what}\n" in whole.stdout for what in missed)


def test_parts_are_chosen_by_name(build):
    rows = cells(run("--rounds", "1", "footprint", TARN_BUILD_DIR=str(build)).stdout)
    assert rows and all(what.startswith(("vcmd: ", "tarn: ")) for what in rows)


@pytest.mark.parametrize("arguments", [["nothing"], ["--rounds", "0"], ["--write-docs", "bus"],
                                       ["--quick", "--rounds", "2"]])
def test_wrong_usage_is_refused(build, arguments):
    assert run(*arguments, TARN_BUILD_DIR=str(build)).returncode == 2


def test_help_names_the_parts():
    done = run("--help")
    assert done.returncode == 0
    assert all(part in done.stdout for part in bench.PARTS)


@pytest.mark.parametrize("limit, met, missed", [
    (table.Limit(1.2), 1.2, 1.21), (table.Limit(0.8, least=True), 0.8, 0.79), (table.Limit(0, unit="lost"), 0, 1)])
def test_a_limit_holds_up_to_its_bound(limit, met, missed):
    assert table.Row("it", "", value=met, limit=limit).met
    assert not table.Row("it", "", value=missed, limit=limit).met


def test_growth_beyond_linear_misses_the_limit():
    assert growth.Growth("linear", [1, 16, 64], [10, 160, 640]).row("records").met
    assert not growth.Growth("square", [1, 16, 64], [1, 256, 4096]).row("records").met


def test_what_is_measured_together_is_compared_round_by_round():
    reference, ours = programs.Series(), programs.Series()
    for slow in (1, 3, 1):  # the machine is busy in the second round
        reference.add([8 * slow] * 3)
        ours.add([10 * slow] * 3)
    assert ours.over(reference) == 1.25


def test_the_page_keeps_its_text_and_gets_a_new_table(tmp_path, monkeypatch):
    monkeypatch.setattr(bench, "PAGE", tmp_path / "page.md")
    monkeypatch.setattr(bench, "PLOT", tmp_path / "plot.svg")
    bench.PAGE.write_text(f"before\n\n{bench.BEGIN}\nold\n{bench.END}\n\nafter\n", encoding="utf-8")
    lines = [growth.Growth("get", [1, 16], [5, 6.5]), growth.Growth("walk", [1, 16], [5, 80])]
    for _ in range(2):
        bench.write_docs(["| new |"], lines, lines)
    assert bench.PAGE.read_text(encoding="utf-8") == f"before\n\n{bench.BEGIN}\n\n| new |\n\n{bench.END}\n\nafter\n"
    drawn = xml.etree.ElementTree.parse(bench.PLOT).getroot()
    assert {"get", "walk"} <= {element.text for element in drawn.iter() if element.tag.endswith("text")}
    assert plot.svg(lines, lines) == bench.PLOT.read_text(encoding="utf-8")
