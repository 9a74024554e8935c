"""The view of the roads while they are travelled, their summary, and the page of figures."""
import resource
import sys
import threading

from .places import REPOSITORY

PAGE = REPOSITORY / "docs" / "performance-board.md"
COLOURS = {"ok": "32", "FAIL": "31;1", "road": "1", "figure": "36"}
HEAD = """# Figures from the 32-bit MIPS board

Written by `script/board`, measured on the [emulated board](board.md) with the programs as they ship.

| what | figure |
|---|---|
"""
_turn = threading.Lock()


def show(name, said):
    at, kind, text = said
    line = f"{name:6} {at:>8}  {kind:6}  {text}" if at else f"{name:6} {'':8}  {'':6}  {text}"
    if sys.stdout.isatty() and kind in COLOURS:
        line = f"\033[{COLOURS[kind]}m{line}\033[0m"
    with _turn:
        print(line, flush=True)


def once_more(outcome):
    print(f"\n{len(outcome.failures)} of {outcome.checks} checks failed; once more, only this board: {outcome.name}")
    for failure in outcome.failures:
        print(f"  {failure}", flush=True)


def summary(outcomes, seconds):
    """Exit status."""
    checks = sum(outcome.checks for outcome in outcomes)
    failures = [failure for outcome in outcomes for failure in outcome.failures]
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    took = f"{seconds:.0f} s ({used.ru_utime + used.ru_stime:.0f} s of processor time)"
    print()
    for name, value in figures(outcomes).items():
        print(f"{name}: {value}")
    if failures:
        print(f"\n{len(failures)} of {checks} checks failed in {took}:")
        for failure in failures:
            print(f"  {failure}")
        return 1
    print(f"\nall {checks} checks as expected on {len(outcomes)} boards, in {took}")
    return 0


def figures(outcomes):
    return {name: value for outcome in outcomes for name, value in outcome.figures.items()}


def write_page(outcomes):
    rows = "".join(f"| {name} | {value} |\n" for name, value in figures(outcomes).items())
    PAGE.write_text(HEAD + rows, encoding="utf-8")
