"""The scripts say what they take, and do nothing when they are asked for something else."""
import os
import subprocess

import pytest

from support import DONE, REPOSITORY, USAGE

SCRIPTS = ("bench", "board", "bootstrap", "build", "check", "foreign", "format", "fuzz", "pictures", "run", "test")


def script(name, *words, path=None):
    return subprocess.run([str(REPOSITORY / "script" / name), *words], capture_output=True, text=True, check=False, timeout=20,
                          env={**os.environ, **({"PATH": f"{path}:{os.environ['PATH']}"} if path else {})})


@pytest.mark.parametrize("name", SCRIPTS)
def test_help_says_what_it_takes_and_does_nothing_else(name):
    done = script(name, "--help")
    assert done.returncode == DONE and done.stdout.startswith(f"usage: script/{name}") and done.stderr == ""


@pytest.mark.parametrize("name", SCRIPTS)
def test_what_is_not_known_is_refused(name):
    done = script(name, "--no-such-thing")
    assert done.returncode == USAGE and done.stdout == "" and done.stderr


@pytest.mark.parametrize(("what", "there", "absent"), [
    ("build", {"cmake", "libjson-c-dev"}, {"dnsmasq-base", "clang-tidy", "libgtest-dev"}),
    ("run", {"cmake", "dnsmasq-base", "ppp"}, {"clang-tidy", "libgtest-dev", "cppcheck"}),
    ("test", {"cmake", "dnsmasq-base", "clang-tidy", "libgtest-dev"}, set())])
@pytest.mark.skipif(os.geteuid() != 0, reason="anybody else would be asked for a password")
def test_bootstrap_installs_what_the_purpose_needs(tmp_path, what, there, absent):
    (tmp_path / "dpkg-query").write_text("#!/bin/sh\nexit 1\n")
    (tmp_path / "apt-get").write_text(f'#!/bin/sh\necho "$@" >>{tmp_path}/asked\n')
    for name in ("dpkg-query", "apt-get"):
        (tmp_path / name).chmod(0o755)
    assert script("bootstrap", what, path=tmp_path).returncode == DONE
    asked = set((tmp_path / "asked").read_text().split())
    assert there <= asked and not absent & asked
