"""The board's own tools: what they say when something is not as it should be. The boards of these tests really boot."""
import os
import pathlib
import subprocess
import sys

import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
RUN = REPOSITORY / "board" / "run.py"
sys.path.insert(0, str(REPOSITORY / "board"))

from boardlib import console, kernel, libraries, places  # noqa: E402
from boardlib.errors import BoardError  # noqa: E402


def run(*words):
    return subprocess.run([sys.executable, str(RUN), *words], capture_output=True, text=True, timeout=1200, check=False)


def test_board_that_does_not_power_off_by_itself_is_a_failure(tmp_path):
    broken = tmp_path / "kernel"
    broken.write_bytes(b"no kernel")
    done = run("--board", "small", "--kernel", str(broken))
    assert done.returncode == 1
    assert "the board ended before its roads did" in done.stdout


def test_board_that_cannot_start_for_want_of_memory_says_so():
    done = run("--board", "24 MiB")
    assert done.returncode == 0
    assert "24 MiB board, limit met: memory too small for initial ram disk" in done.stdout


def test_road_that_does_not_exist_is_refused_before_a_board_boots():
    done = run("--roads", "boot,nowhere")
    assert (done.returncode, done.stdout) == (2, "")
    assert "there is no road nowhere" in done.stderr


def test_failed_check_is_counted_and_named():
    outcome = console.Outcome("one")
    for kind, text in (("ok", "good"), ("FAIL", "bad"), ("figure", "size: 12 bytes"), ("end", "road")):
        outcome.take(kind, text)
    assert (outcome.checks, outcome.failures, outcome.figures, outcome.ended) == (2, ["one: bad"], {"size": "12 bytes"}, True)


def test_assembled_root_is_not_assembled_again():
    before = os.stat(places.INITRD).st_mtime_ns
    run("--board", "small", "--kernel", os.devnull)
    assert os.stat(places.INITRD).st_mtime_ns == before


def test_missing_library_is_named(tmp_path):
    with pytest.raises(BoardError, match="has the library lib"):
        libraries.of([places.PACKAGES / "bin/dash"], tmp_path, tmp_path)


def test_missing_module_is_named():
    with pytest.raises(BoardError, match="has no module nonesuch"):
        kernel.modules(places.PACKAGES, ["nonesuch"])
