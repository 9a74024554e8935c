"""The gateway's shell: a shell for everybody, and a journal of what the daemon runs."""
import pytest

from support import SHELL_COMMAND, eventually


@pytest.fixture(scope="module", autouse=True)
def quiet(leased):
    """The lease is there, so that the daemon runs nothing by itself any more."""


def run_by_daemon(gateway, command):
    """The journal's lines that the command made."""
    mark = gateway.mark()
    gateway.inside("vcfgctl", "send", "--to", "2", "--type", hex(SHELL_COMMAND), "--payload", command, "--reply")
    return gateway.journal(mark)


def test_start_up_commands_are_journaled_in_order(gateway):
    commands = [line["command"] for line in gateway.journal()]
    assert commands[0].startswith("echo ") and commands[0].rstrip().endswith("> /proc/kmonitor/user_pid")
    scripts = [command.strip() for command in commands if command.startswith("/etc/init.d/")]
    assert scripts == ["/etc/init.d/button_disable_for_manufacture.sh", "/etc/init.d/mcpd.sh reload", "/etc/init.d/disable_lan.sh stop"]


@pytest.mark.parametrize("status", (0, 1, 42, 255))
def test_status_of_the_daemons_command_is_kept(gateway, status):
    (line,) = run_by_daemon(gateway, f"exit {status}")
    assert (line["command"], line["status"]) == (f"exit {status}", status)


def test_command_text_is_kept_whole(gateway):
    command = """printf '%s\\n' "a  b" 'c"d' >/tmp/out; # \t$HOME ü"""
    (line,) = run_by_daemon(gateway, command)
    assert line["command"] == command
    assert gateway.inside("cat", "/tmp/out") == 'a  b\nc"d\n'


def test_effect_is_what_the_platforms_programs_say(gateway):
    (line,) = run_by_daemon(gateway, "/userfs/bin/ethphxcmd eth0 wanactive enable")
    assert (line["status"], line["effect"]) == (0, "port eth0.5 up")


def test_command_without_effect_has_an_empty_one(gateway):
    (line,) = run_by_daemon(gateway, "true")
    assert line["effect"] == ""
    assert line["duration_ms"] >= 0


def test_background_command_does_not_hold_the_daemon(gateway):
    (line,) = run_by_daemon(gateway, "sleep 30 &")
    assert line["status"] == 0 and line["duration_ms"] < 10000


def test_command_that_is_killed_has_the_signals_status(gateway):
    (line,) = run_by_daemon(gateway, "kill -TERM $$")
    assert line["status"] == 128 + 15


def test_daemon_finds_processes_by_name(gateway):
    gateway.inside("/usr/libexec/tarn/port-spawn", "/run/sleeper.pid", "/dev/null", "sleep", "300")
    eventually(lambda: gateway.processes("sleep"))
    (line,) = run_by_daemon(gateway, "killall sleep")
    assert line["status"] == 0
    eventually(lambda: not gateway.processes("sleep"))


def test_shells_of_others_are_not_journaled(gateway):
    mark = gateway.mark()
    assert gateway.inside("sh", "-c", "echo $0 $1", "name", "argument") == "name argument\n"
    assert gateway.inside("sh", "-c", "exit 0") == ""
    assert gateway.journal(mark) == []


def test_shell_reads_scripts_and_standard_input(gateway):
    assert gateway.inside("sh", text='echo "from input $((1 + 2))"\n') == "from input 3\n"
    gateway.inside("sh", "-c", "printf '#!/bin/sh\\necho script $1\\nexit 3\\n' >/tmp/script; chmod +x /tmp/script")
    done = gateway.run("/tmp/script", "argument")
    assert (done.returncode, done.stdout) == (3, "script argument\n")
    assert gateway.run("sh", "/tmp/script", "argument").stdout == "script argument\n"


def test_shell_takes_its_options(gateway):
    assert gateway.run("sh", "-e", "-c", "false; echo not reached").stdout == ""
    assert gateway.run("sh", "-ec", "false; echo not reached").stdout == ""
