"""What script/bench runs: measures, prints one table, and says which limits were missed."""
import argparse
import contextlib
import os
import pathlib
import platform
import sys
import time

from . import bus, events, footprint, growth, model, plot, table
from .programs import REPOSITORY, BenchError

PAGE = REPOSITORY / "docs" / "performance.md"
PLOT = REPOSITORY / "docs" / "performance-growth.svg"
BEGIN, END = "<!-- the table: script/bench --write-docs -->", "<!-- the end of the table -->"
PARTS = {"bus": "the bus, a bare socket and the peers", "model": "the data model",
         "footprint": "start of vcmd, sizes, memory", "events": "one event of each kind",
         "growth": "tables of 1 to 255 records, 1 to 64 WAN links"}
ROUNDS, QUICK_ROUNDS = 20, 3
WATCH_SECONDS = 0.5
REAL_TIME_PRIORITY = 1


def arguments():
    parser = argparse.ArgumentParser(
        prog="script/bench", formatter_class=argparse.RawDescriptionHelpFormatter,
        description="Measures the bus, the data model and the daemon, side by side with their peers, on one CPU.",
        epilog="parts:\n" + "\n".join(f"  {name:10} {what}" for name, what in PARTS.items()) +
               "\n\nExit status: 0 all limits are met, 1 one is missed or a part could not run, 2 wrong usage.")
    parser.add_argument("parts", nargs="*", metavar="PART", help="only these parts (default: all)")
    length = parser.add_mutually_exclusive_group()
    length.add_argument("--quick", action="store_const", dest="rounds", const=QUICK_ROUNDS,
                        help=f"{QUICK_ROUNDS} rounds instead of {ROUNDS}")
    length.add_argument("--rounds", type=int, metavar="N", help="so many rounds")
    parser.add_argument("--write-docs", action="store_true", help="puts table and plot into docs/; wants all parts")
    chosen = parser.parse_args()
    unknown = [part for part in chosen.parts if part not in PARTS]
    if unknown:
        parser.error(f"there is no part {', '.join(unknown)}; there are {', '.join(PARTS)}")
    if chosen.write_docs and chosen.parts:
        parser.error("--write-docs wants all parts")
    if chosen.rounds is not None and chosen.rounds < 1:
        parser.error("at least one round")
    chosen.rounds = chosen.rounds or ROUNDS
    return chosen


def idle_times():
    lines = pathlib.Path("/proc/stat").read_text(encoding="utf-8").splitlines()
    return {int(words[0][3:]): int(words[4]) for line in lines
            if (words := line.split()) and words[0].startswith("cpu") and words[0] != "cpu"}


def take_one_cpu():
    """The idlest, for this process and all that it starts, with as much right to it as is allowed."""
    before = idle_times()
    time.sleep(WATCH_SECONDS)
    idle = {cpu: after - before[cpu] for cpu, after in idle_times().items() if cpu in os.sched_getaffinity(0)}
    os.sched_setaffinity(0, {max(idle, key=idle.get)})
    with contextlib.suppress(PermissionError):
        os.sched_setscheduler(0, os.SCHED_RR, os.sched_param(REAL_TIME_PRIORITY))


def measure(parts, rounds):
    """(rows, missing peers, growth of tables, growth with links)"""
    rows, missing, tables, links = [], [], [], []
    for part in parts:
        print(f"measuring: {PARTS[part]}", file=sys.stderr)
        if part == "bus":
            found, missing = bus.measure(rounds)
            rows += found
        elif part == "growth":
            tables, links = growth.measure_tables(rounds), growth.measure_links(rounds)
            rows += growth.rows(tables, links)
        else:
            rows += {"model": model, "footprint": footprint, "events": events}[part].measure(rounds)
    return rows, missing, tables, links


def skipped(missing):
    return [f"skipped: {peer}" for peer in missing]


def circumstances(rounds):
    lines = pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    cpu = next((line.split(":")[1].strip() for line in lines if line.startswith("model name")), platform.machine())
    right = "real time" if os.sched_getscheduler(0) == os.SCHED_RR else "ordinary processes"
    return (f"{rounds} rounds, {right}, on {cpu}, Linux {platform.release()}, "
            f"load at the end {os.getloadavg()[0]:.1f}, {time.strftime('%Y-%m-%d')}")


def write_docs(lines, tables, links):
    before, rest = PAGE.read_text(encoding="utf-8").split(BEGIN)
    after = rest.split(END)[1]
    PAGE.write_text("\n".join([before + BEGIN, "", *lines, "", END]) + after, encoding="utf-8")
    PLOT.write_text(plot.svg(tables, links), encoding="utf-8")


def main():
    chosen = arguments()
    take_one_cpu()
    try:
        rows, missing, tables, links = measure(chosen.parts or list(PARTS), chosen.rounds)
    except BenchError as problem:
        print(f"bench: {problem}", file=sys.stderr)
        return 1
    lines = [circumstances(chosen.rounds), *skipped(missing), "", table.render(rows)]
    print("\n".join(lines))
    if chosen.write_docs:
        write_docs(lines, tables, links)
    over = [row.what for row in rows if not row.met]
    print("\nall limits are met" if not over else "\nover the limit:\n" + "\n".join(f"  {what}" for what in over))
    return 1 if over else 0


if __name__ == "__main__":
    sys.exit(main())
