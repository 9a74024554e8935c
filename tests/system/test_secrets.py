"""Passwords, PINs and keys that the daemon uses are shown to who insists, and to nobody else."""
import json
import stat

import pytest

from support import SHELL_COMMAND, Gateway, eventually

PASSWORD = "X_VORAN_SystemDebug.Password"
HIDDEN = "********"


@pytest.fixture(scope="module")
def debugged(leased):
    """A gateway that was told a password with everything in it that a shell and JSON mind."""
    leased.inside("vcfgctl", "set", f"{PASSWORD}=hunter'2\"\\x")
    return leased


def run(gateway, command):
    """The daemon runs it; returns the time before."""
    mark = gateway.mark()
    gateway.inside("vcfgctl", "send", "--to", "tarn", "--type", hex(SHELL_COMMAND), "--payload", command, "--reply")
    return mark


def shown(gateway, verb, since, *words):
    return gateway.must(verb, "--since", since, *words)


COMMANDS = {
    "as the shell takes it": "true -p 'hunter'\\''2\"\\x' host",
    "as JSON has it": 'true \'{"Key":"hunter\'2\\"\\\\x"}\'',
    "by its option": "true --password other9 host",
    "by its name": "true password=other9; true WPSPIN='other9'",
    "the client's that fetches": "true ftpget -u me -p other9 host; true",
    "in JSON by its name": """true '{"user":"me","pass":"other9"}'""",
}


@pytest.mark.parametrize("command", COMMANDS.values(), ids=COMMANDS)
def test_journal_hides_a_secret(debugged, command):
    mark = run(debugged, command)
    for words in ((), ("--json",)):
        assert HIDDEN in shown(debugged, "journal", mark, *words)
        assert not any(part in shown(debugged, "journal", mark, *words) for part in ("hunter", "other9"))
    (line,) = [json.loads(line) for line in shown(debugged, "journal", mark, "--json", "--show-secrets").splitlines()]
    assert line["command"] == command


def test_rest_of_a_command_is_as_it_was(debugged):
    mark = run(debugged, "true ftpget -u me -p other9 203.0.113.1 /tmp/x x; echo passing pins 1 2 3")
    (line,) = [json.loads(line) for line in shown(debugged, "journal", mark, "--json").splitlines()]
    assert line["command"] == f"true ftpget -u me -p {HIDDEN} 203.0.113.1 /tmp/x x; echo passing pins 1 2 3"


def test_log_hides_a_secret_of_anybody(debugged):
    mark = debugged.mark()
    debugged.inside("logger", "-t", "probe", """dialling with hunter'2"\\x now""")
    debugged.inside("logger", "-t", "probe", "PIN: 12345670 and PSK=abcd")
    told = [json.loads(line)["text"] for line in shown(debugged, "log", mark, "--all", "--json").splitlines()]
    assert f"dialling with {HIDDEN} now" in told and f"PIN: {HIDDEN} and PSK={HIDDEN}" in told
    assert "hunter" not in shown(debugged, "log", mark, "--all") and "12345670" not in shown(debugged, "log", mark, "--all")
    assert "hunter" in shown(debugged, "log", mark, "--all", "--show-secrets")


def test_pattern_does_not_find_what_is_hidden(debugged):
    mark = run(debugged, "true -p 'hunter'\\''2\"\\x'")
    assert shown(debugged, "journal", mark, "--grep", "hunter") == ""
    assert shown(debugged, "journal", mark, "--grep", "hunter", "--show-secrets") != ""


def test_files_are_their_owners(debugged):
    for name in ("log.jsonl", "journal.jsonl"):
        assert stat.S_IMODE((debugged.directory / "log" / name).stat().st_mode) == 0o600


def test_gateway_that_is_gone_keeps_its_secrets(tmp_path):
    gateway = Gateway(tmp_path)
    gateway.up()
    gateway.inside("vcfgctl", "set", f"{PASSWORD}=hunter2")
    run(gateway, "echo hunter2")
    eventually(lambda: "echo hunter2" in gateway.must("journal", "--show-secrets"))
    gateway.down()
    assert "hunter2" not in gateway.must("journal") and f"echo {HIDDEN}" in gateway.must("journal")
