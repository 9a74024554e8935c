#!/usr/bin/env python3
"""Travels the roads on emulated boards, or leaves one at its console. script/board calls it when all is built."""
import argparse
import concurrent.futures
import os
import pathlib
import subprocess
import sys
import time
from typing import NamedTuple

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from boardlib import assemble, console, machine, places, report  # noqa: E402
from boardlib.errors import BoardError  # noqa: E402


class Board(NamedTuple):
    """One machine, which boots once."""
    roads: tuple
    memory: int = 128
    counted: bool = False
    initrd: pathlib.Path = places.INITRD
    may_meet_limit: bool = False


# Two run at a time.
BOARDS = {
    "ipv4": Board(("boot", "lease", "cable", "clock", "dual-stack")),
    "ppp": Board(("boot", "pppoe", "pppoe-faults", "full", "killed")),
    "figure": Board(("boot", "figures"), counted=True),
    "many": Board(("boot", "many")),
    "small": Board(("small",), memory=56, initrd=places.SMALL),
    "24 MiB": Board(("small",), memory=24, initrd=places.SMALL, may_meet_limit=True),
}


def options(words):
    parser = argparse.ArgumentParser(prog="script/board", description=__doc__)
    parser.add_argument("--shell", action="store_true", help="a console on a board whose gateway has started")
    parser.add_argument("--gdb", action="store_true", help="with --shell: the emulator's gdb stub and a line for gdbserver")
    parser.add_argument("--board", action="append", choices=BOARDS, help="only this board's roads")
    parser.add_argument("--roads", help="only these roads, on one board (comma between them; boot comes first)")
    parser.add_argument("--memory", type=int, help="MiB of the board's memory")
    parser.add_argument("--kernel", type=pathlib.Path, help="another kernel image")
    parser.add_argument("--dtb", type=pathlib.Path, help="another device tree")
    chosen = parser.parse_args(words)
    for road in chosen.roads.split(",") if chosen.roads else ():
        if not (places.SOURCE / "roads" / f"{road}.sh").exists():
            parser.error(f"there is no road {road}")
    return chosen


def hardware(chosen, board=Board(())):
    return machine.Hardware(memory=chosen.memory or board.memory, kernel=chosen.kernel, device_tree=chosen.dtb, gdb=chosen.gdb,
                            counted=board.counted, initrd=board.initrd)


def shell(chosen):
    words = machine.command(hardware(chosen), "board.shell=1")
    if chosen.gdb:
        print(f"gdb: target remote {machine.GDB_KERNEL} for the kernel; on the board, gdbserver /dev/ttyS1 --attach PID,\n"
              f"and here target remote {machine.GDB_PROGRAM}", flush=True)
    else:
        words += ["-serial", "mon:stdio"]
    print("Ctrl-A X ends the board", flush=True)
    os.execvp(words[0], words)


def with_second_chance(outcome, boot):
    """A machine under load may miss a deadline: a board where something failed boots once more, alone, and everybody sees it."""
    if not outcome.failures:
        return outcome
    report.once_more(outcome)
    return boot(outcome.name)


def travel(chosen):
    boards = {name: BOARDS[name] for name in chosen.board or BOARDS}
    if chosen.roads:
        boards = {"board": Board(("boot", *(road for road in chosen.roads.split(",") if road != "boot")))}
    started = time.monotonic()

    def boot(name):
        board = boards[name]
        return console.travel(name, hardware(chosen, board), board.roads, report.show, board.may_meet_limit)

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        outcomes = [with_second_chance(outcome, boot) for outcome in list(pool.map(boot, boards))]
    status = report.summary(outcomes, time.monotonic() - started)
    if status == 0 and len(boards) == len(BOARDS):
        report.write_page(outcomes)
    return status


def main(words):
    chosen = options(words)
    try:
        assemble.once()
        return shell(chosen) if chosen.shell else travel(chosen)
    except (BoardError, subprocess.CalledProcessError) as problem:
        print(f"board: {problem}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
