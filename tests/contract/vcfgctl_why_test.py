"""Why a parameter has its value, as vcfgctl explains it from the recorder."""
import json
import os
import subprocess
import time

import pytest
from vcfgctl_kit import VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)

ENABLE = "DNS.Client.Enable"
SECRET = "topsecret-4711"


@pytest.fixture
def hooked(bus):
    """Applying DNS.Client sets another parameter."""
    hook = bus.home / "hooks" / "apply" / "DNS.Client"
    hook.write_text(f"#!/bin/sh\nexec '{VCFGCTL}' set UPnP.Device.Enable=true\n", encoding="utf-8")
    hook.chmod(0o700)
    return bus


def told(a_bus, *words):
    return [json.loads(line) for line in a_bus.ok("why", "--json", *words).splitlines()]


def test_explains_value_with_the_one_before_and_the_command_that_set_it(bus):
    bus.ok("set", f"{ENABLE}=true")
    text = bus.ok("why", ENABLE)
    assert f'{ENABLE} is "true"; before, it was "false"' in text
    assert f'"vcfgctl set {ENABLE}=true" ran' in text
    one, = told(bus, ENABLE)
    assert (one["value"], one["before"], one["current"], one["by"]) == ("true", "false", True, "eid 250")
    assert [step["program"] for step in one["chain"]] == ["vcfgctl", "vcfgctl", "vcmd"]


def test_chain_goes_through_a_hook_to_the_first_cause(hooked):
    hooked.ok("set", "--wait", f"{ENABLE}=true")
    one, = told(hooked, "UPnP.Device.Enable")
    assert one["cause"].startswith(f'"vcfgctl set --wait {ENABLE}=true" ran')
    texts = [step["text"] for step in one["chain"]]
    assert any("ran the hook apply/DNS.Client set DNS.Client" in text for text in texts)
    assert any('"vcfgctl set UPnP.Device.Enable=true" ran' in text for text in texts)


def test_never_written_is_said_to_be_as_configured(bus):
    assert "not written since vcmd began" in bus.ok("why", "Time.NTPServer1")


def test_refused_value_is_told_with_its_reason(bus):
    bus.run("send", "--to", "vcmd", "--type", "FE_WRITE", "--oid", "1", "--payload", "none", "--reply")
    assert "refused it" in bus.ok("trace")


def test_value_that_went_is_told_from_its_loss(bus):
    bus.ok("set", f"{ENABLE}=true")
    bus.ok("set", f"{ENABLE}=false")
    text = bus.ok("why", "--not", f"{ENABLE}=true")
    assert f'{ENABLE} is "false", not "true"' in text
    assert f'"vcfgctl set {ENABLE}=false" ran' in text


def test_value_that_was_refused_is_told_with_the_reason(bus):
    oid = json.loads(bus.ok("describe", "--json", "DNS.Client"))["oid"]
    bus.run("send", "--to", "vcmd", "--type", "FE_WRITE", "--oid", str(oid), "--payload", "none", "--reply")
    text = bus.ok("why", "--not", f"{ENABLE}=true")
    assert "a write was refused" in text and "no such kind of write" in text


def test_value_that_became_another_is_told_from_that(bus):
    bus.ok("set", "Time.NTPServer1=one.invalid")
    text = bus.ok("why", "--not", "Time.NTPServer1=two.invalid")
    assert 'it became "one.invalid"' in text and '"vcfgctl set Time.NTPServer1=one.invalid" ran' in text


def test_value_that_no_write_can_make_is_told(bus):
    assert "is not one of" in bus.ok("why", "--not", "Time.Status=Nonsense")
    assert 'cannot be "maybe"' in bus.ok("why", "--not", f"{ENABLE}=maybe")


@pytest.mark.parametrize("lines, words", [("echo no such clock >&2; exit 3", ["failed", '"no such clock"']),
                                          ("exec sleep 20", ["has not ended"])], ids=["fails", "hangs"])
def test_hook_that_does_not_do_it_is_told_by_not_and_by_ran(bus, lines, words):
    hook = bus.home / "hooks" / "apply" / "Time"
    hook.write_text(f"#!/bin/sh\n{lines}\n", encoding="utf-8")
    hook.chmod(0o700)
    bus.ok("set", "Time.NTPServer1=one.invalid")
    wait_for(lambda: all(word in bus.ok("why", "--not", "Time.Status=Synchronized") for word in words))
    assert words[-1] in bus.ok("why", "--ran", "apply/Time")
    assert '"vcfgctl set Time.NTPServer1=one.invalid" ran' in bus.ok("why", "--not", "Time.Status=Synchronized")


def test_hook_that_has_ended_well_is_no_trouble(hooked):
    hooked.ok("set", "--wait", f"{ENABLE}=true")
    assert "hook of it" not in hooked.ok("why", "--not", "DNS.Client.Status=Enabled")
    assert "it ended with status 0" in hooked.ok("why", "--ran", "apply/DNS.Client")


def test_works_while_vcmd_is_away(bus):
    bus.ok("set", f"{ENABLE}=true")
    bus.vcmd.kill()
    bus.vcmd.wait()
    assert f'"vcfgctl set {ENABLE}=true" ran' in bus.ok("why", ENABLE)


def test_secrets_are_not_recorded(bus):
    bus.ok("set", f"ManagementServer.Password={SECRET}")
    assert SECRET.encode() not in (bus.home / "run" / "recorder").read_bytes()
    one, = told(bus, "ManagementServer.Password")
    assert one["value"] == "********"
    assert SECRET not in json.dumps(one)


@pytest.mark.parametrize("parts", ["hidden1 hidden2", "hidden1,hidden2;hidden3", "'hidden1' \"hidden2\\", "hidden1=hidden2&hidden3"])
def test_secret_of_several_parts_is_recorded_in_none(bus, parts):
    bus.ok("set", f"ManagementServer.Password={parts}")
    assert b"hidden" not in (bus.home / "run" / "recorder").read_bytes()


def test_recorder_that_is_none_is_one_line(bus):
    (bus.home / "run" / "recorder").write_bytes(b"noise")
    assert bus.ok("why", ENABLE)  # made anew
    (bus.home / "run" / "recorder").unlink()
    bus.environment["VCFG_RECORDER"] = "0"
    assert "recorder" in bus.fails(1, "why", ENABLE)


def test_two_thousand_are_explained_while_a_storm_runs(bus):
    storm = subprocess.Popen(["sh", "-c", f"while :; do '{VCFGCTL}' set {ENABLE}=true; '{VCFGCTL}' set {ENABLE}=false; done"],
                             env=bus.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        asked = 0
        while asked < 2000:
            asked += len(bus.ok("why", ".").splitlines())
        assert told(bus, ENABLE)[0]["chain"]
    finally:
        storm.kill()
        storm.wait()


def test_follow_prints_what_happens(bus):
    process = bus.start(VCFGCTL, "trace", "--follow", "--timeout", "3000", ENABLE)
    end = time.monotonic() + 2
    value = "true"
    while time.monotonic() < end:
        bus.ok("set", f"{ENABLE}={value}")
        value = "false" if value == "true" else "true"
    output, errors = process.communicate(timeout=20)
    assert (process.returncode, errors) == (0, "")
    assert f"changed {ENABLE}" in output


def test_browser_file_has_bars_and_arrows(bus):
    bus.ok("set", f"{ENABLE}=true")
    file = bus.home / "trace.json"
    bus.ok("trace", "--browser", str(file))
    phases = {event["ph"] for event in json.loads(file.read_text(encoding="utf-8"))["traceEvents"]}
    assert {"X", "M", "i", "s", "f"} <= phases
    assert "cannot be written" in bus.fails(1, "trace", "--browser", os.fspath(bus.home / "no" / "such"))


def test_wrong_usage_says_what_is_wanted(bus):
    assert "a path is missing" in bus.fails(2, "why")
    assert "takes one PATH=VALUE" in bus.fails(2, "why", "--not", "a", "b")
    assert "stands alone" in bus.fails(2, "why", "--ran", "x", ENABLE)
    assert "--event takes a number" in bus.fails(2, "trace", "--event", "x")
    assert "no command that holds" in bus.fails(1, "why", "--ran", "nothing of the kind")
