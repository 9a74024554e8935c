"""Scenario files: what docs/scenarios.md says is played as it stands there; what fails is told, and the next is played."""
import re
import subprocess
import sys

import pytest

from support import GW, REFUSED, REPOSITORY

PAGE = (REPOSITORY / "docs" / "scenarios.md").read_text()
BROKEN = '''"""A road that ends."""


def boots(road):
    road.title("1. It boots")
    road.boot()
    road.expect("UPnP.Device.Enable=true", seconds=0.2)
    road.gw("cable eth9 out")


def is_not_reached(road):
    road.check("nobody gets here", True)


STEPS = [boots, is_not_reached]
'''


def play(tmp_path, *words):
    return subprocess.run([sys.executable, str(GW), "--state", str(tmp_path / "state"), "play", *map(str, words)],
                          capture_output=True, text=True, check=False)


def test_example_of_the_page_is_a_road_of_twenty_lines(tmp_path):
    (example,) = re.findall(r"```python\n(.*?)```", PAGE, re.S)
    assert len([line for line in example.splitlines() if line.strip()]) <= 25
    (tmp_path / "pulled.py").write_text(example)
    done = play(tmp_path, tmp_path / "pulled.py", "--verbose")
    assert done.returncode == 0, done.stdout
    assert "all 6 checks as expected" in done.stdout and "== the road is as expected: 6 checks" in done.stdout
    assert "  model  IP.Interface.1.Status: Up -> LowerLayerDown" in done.stdout and "  runs   /usr/bin/wan adsl open" in done.stdout
    assert not (tmp_path / "state" / "world.pid").exists()


def test_scenario_that_cannot_go_on_is_told_and_the_next_is_played(tmp_path):
    (tmp_path / "broken.py").write_text(BROKEN)
    (tmp_path / "empty.py").write_text('"""Boots."""\nSTEPS = [lambda road: road.check("here", road.boot() is None)]\n')
    done = play(tmp_path, tmp_path / "broken.py", tmp_path / "empty.py")
    assert done.returncode == REFUSED
    assert "broken: UPnP.Device.Enable is true" in done.stdout
    assert "the road ends here: cable eth9 out: eth9 has no cable" in done.stdout
    assert "== 2 of 3 checks failed, on 1 of 2 roads" in done.stdout and "empty: all 1 checks as expected" in done.stdout
    assert "nobody gets here" not in done.stdout


@pytest.mark.parametrize(("text", "reason"), [
    ("STEPS = [", "SyntaxError"), ("import nothing_of_that_name", "ModuleNotFoundError"),
    ("", "it needs a text at its top and STEPS"), (None, "there is no scenario")])
def test_file_that_is_no_scenario_is_refused(tmp_path, text, reason):
    if text is not None:
        (tmp_path / "some.py").write_text(text)
    done = play(tmp_path, tmp_path / "some.py")
    assert done.returncode == REFUSED and reason in done.stderr and len(done.stderr.splitlines()) == 1
