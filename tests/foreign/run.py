#!/usr/bin/env python3
"""Runs the unit tests that are built for another machine, under user-mode emulation.
   run.py ARCHITECTURE

Those of skipped.txt are left out with their reason, and tried on their own: one that passes has no business in the list."""
import concurrent.futures
import os
import pathlib
import re
import resource
import subprocess
import sys
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = ("unit_tests", "os_tests", "thread_tests")
SHARDS = 2
SECONDS = 2400  # beside other work, at a low priority
SECONDS_OF_ONE = 20  # of a test that is not expected to pass; of processor time it has less, however busy this machine is
LIMITED = ("prlimit", "--cpu=5")
PASSED = re.compile(r"\[  PASSED  \] (\d+) test")
BAD = re.compile(r"^\[  FAILED  \] ([\w./]+)", re.MULTILINE)


def skipped(architecture):
    """{test: why} of the list, for that machine."""
    lines = (pathlib.Path(__file__).parent / "skipped.txt").read_text(encoding="utf-8").splitlines()
    rows = [line.split(maxsplit=2) for line in lines if line and not line.startswith("#")]
    return {test: why for machine, test, why in rows if machine in (architecture, "both")}


def run(architecture, program, tests, shard=0, shards=1, seconds=SECONDS, before=()):
    """(exit status, what it printed) of the tests that the filter names."""
    roots = REPOSITORY / "build" / "roots" / architecture
    words = [*before, f"qemu-{architecture}-static", "-L", roots, REPOSITORY / "build" / architecture / "bin" / program,
             f"--gtest_filter={tests}", "--gtest_brief=1"]
    sharding = {"GTEST_SHARD_INDEX": str(shard), "GTEST_TOTAL_SHARDS": str(shards)}
    try:
        done = subprocess.run(list(map(str, words)), env={**os.environ, **sharding}, stdin=subprocess.DEVNULL, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, errors="replace", timeout=seconds, check=False)
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired:
        return 1, f"{program} did not end in {seconds} s\n"


def run_all(architecture, left_out):
    """(count of passed tests, complaints)."""
    passed, complaints = 0, []
    chosen = "-" + ":".join(left_out) if left_out else "*"
    with concurrent.futures.ThreadPoolExecutor(SHARDS) as pool:
        runs = [pool.submit(run, architecture, program, chosen, shard, SHARDS) for program in PROGRAMS for shard in range(SHARDS)]
        for status, said in (one.result() for one in runs):
            passed += sum(map(int, PASSED.findall(said)))
            if status != 0:
                complaints += sorted(set(BAD.findall(said))) or [f"ended with status {status}: {said[-500:]}"]
                print(said)
    return passed, complaints


def needless(architecture, left_out):
    """Those of the list that pass after all, or do not exist; luck proves nothing, and what is left out for its costs would pass."""
    return [test for test, why in left_out.items() if not why.startswith(("sometimes ", "needless: "))
            and all(run(architecture, program, test, seconds=SECONDS_OF_ONE, before=LIMITED)[0] == 0 for program in PROGRAMS)]


def main(words):
    if len(words) != 1:
        print("usage: run.py ARCHITECTURE", file=sys.stderr)
        return 2
    architecture, began = words[0], time.monotonic()
    left_out = skipped(architecture)
    passed, complaints = run_all(architecture, left_out)
    for test, why in left_out.items():
        print(f"{architecture}: skipped {test}: {why}")
    complaints += [f"{test} passes: take it off tests/foreign/skipped.txt" for test in needless(architecture, left_out)]
    for complaint in complaints:
        print(f"{architecture}: FAILED {complaint}")
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    print(f"{architecture}: {passed} tests passed, {len(left_out)} skipped, in {time.monotonic() - began:.0f} s"
          f" ({used.ru_utime + used.ru_stime:.0f} s of processor time)")
    return 1 if complaints or not passed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
