"""One's own program inside: put, started, talked to, as docs/own-daemon.md has it."""
import os
import re
import subprocess

import pytest

from support import REFUSED, REPOSITORY, eventually

PAGE = (REPOSITORY / "docs" / "own-daemon.md").read_text()
DAEMON = r"""
#include <stdio.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

int main(void)
{
    if (vcfg_msg_eidInit(200, NULL) != VCFG_OK)
        return 1;
    puts("mydaemon is here");
    fflush(stdout);
    for (;;)
        pause();
}
"""


@pytest.mark.skipif("GW_FINDINGS" in os.environ, reason="a program without sanitizers does not load a library with them")
def test_commands_of_the_page_bring_a_daemon_in(gateway, tmp_path):
    (tmp_path / "mydaemon.c").write_text(DAEMON)
    (block,) = re.findall(r"```\n(gcc .*?)```", PAGE, re.S)
    compiled, _, put, spawned, *_, killed = [line.partition(" #")[0].strip() for line in block.splitlines()]
    subprocess.run(compiled.replace("build/mydaemon", str(tmp_path / "mydaemon")).replace(" mydaemon.c", f" {tmp_path}/mydaemon.c"),
                   shell=True, cwd=REPOSITORY, check=True)
    gateway.must(*put.replace("build/mydaemon", str(tmp_path / "mydaemon")).split()[1:])
    mark = gateway.mark()
    gateway.must(*spawned.split()[1:])
    eventually(lambda: "mydaemon is here" in [line["text"] for line in gateway.log(mark, "--all")])
    gateway.inside("sh", "-c", killed.partition("-c ")[2].strip("'"))
    eventually(lambda: not gateway.processes("mydaemon"))


def test_put_file_keeps_its_bytes_and_its_execute_bits(gateway, tmp_path):
    (tmp_path / "some").write_bytes(bytes(range(256)))
    gateway.must("put", tmp_path / "some", "/var/new/folder/")
    assert gateway.inside("sh", "-c", "stat -c %a /var/new/folder/some; sha256sum </var/new/folder/some").startswith("644\n40aff2e9")
    (tmp_path / "some").chmod(0o755)
    gateway.must("put", tmp_path / "some", "/var/new/folder/other", "--room", "isp")
    assert gateway.must("exec", "--room", "isp", "stat", "-c", "%a", "/var/new/folder/other") == "755\n"
    gateway.must("put", "-", "/tmp/from-input", text="typed\n")
    assert gateway.inside("cat", "/tmp/from-input") == "typed\n"


def test_what_cannot_be_put_is_refused(gateway, tmp_path):
    for words, reason in (((tmp_path / "none", "/x"), "there is no file"), ((tmp_path, "/x"), "is no file that could be put"),
                          (("/etc/hostname", "/usr"), "/usr is a folder"), (("-", "/tmp/"), "has no name of its own")):
        done = gateway.gw("put", *words)
        assert done.returncode == REFUSED and reason in done.stderr
