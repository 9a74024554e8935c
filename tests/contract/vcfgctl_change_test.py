"""Changes of several objects: each call of vcfgctl is one, whole or not at all."""
import json

import pytest
from vcfgctl_kit import VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401

HOOK = 'echo "$1 $2" >>"$VCFG_DATA_DIR/applied"'


def applied(bus):
    path = bus.home / "data" / "applied"
    return path.read_text().splitlines() if path.exists() else []


@pytest.fixture
def two(bus):
    bus.ok("add", "IP.Interface")
    bus.ok("add", "IP.Interface")
    return bus


def test_set_of_several_objects_is_whole_or_not_at_all(two):
    two.ok("set", "IP.Interface.1.Alias=one", "IP.Interface.2.Alias=two", "DNS.Client.Enable=true")
    assert two.ok("get", "IP.Interface.*.Alias") == "IP.Interface.1.Alias=one\nIP.Interface.2.Alias=two\n"
    assert two.fails(1, "set", "IP.Interface.1.Alias=x", "IP.Interface.9.Alias=y", "IP.Interface.2.Alias=z") == (
        "vcfgctl: IP.Interface.9: no such instance\n")
    assert two.ok("get", "IP.Interface.*.Alias") == "IP.Interface.1.Alias=one\nIP.Interface.2.Alias=two\n"


def test_set_of_several_objects_applies_each_once_in_the_order_given(two):
    for pattern in ("IP.Interface.{i}", "DNS.Client"):
        two.hook("apply", pattern, HOOK)
    two.ok("set", "--wait", "IP.Interface.2.Alias=two", "DNS.Client.Enable=true", "IP.Interface.1.Alias=one", "IP.Interface.2.Enable=true")
    assert applied(two) == ["set IP.Interface.2", "set DNS.Client", "set IP.Interface.1"]


def test_set_wait_says_which_object_could_not_be_applied(two):
    two.hook("apply", "IP.Interface.{i}", HOOK + '; echo no cable >&2; [ "$2" != IP.Interface.1 ]')
    told = two.fails(1, "set", "--wait", "IP.Interface.*.Alias=x")
    assert "set IP.Interface.1 ended with status 1" in told and "no cable" in told
    assert applied(two) == ["set IP.Interface.1", "set IP.Interface.2"]
    assert two.ok("get", "IP.Interface.*.Alias") == "IP.Interface.1.Alias=x\nIP.Interface.2.Alias=x\n"


def test_set_from_standard_input_is_one_change(two):
    assert two.run("set", "-", input="IP.Interface.1.Alias=a\n\nIP.Interface.2.Alias=b\nIP.Interface.7.Alias=c\n").returncode == 1
    assert two.ok("get", "IP.Interface.*.Alias") == "IP.Interface.1.Alias=\nIP.Interface.2.Alias=\n"
    assert two.run("set", "-", input="IP.Interface.1.Alias=a\n\nIP.Interface.2.Alias=b").returncode == 0
    assert two.ok("get", "IP.Interface.*.Alias") == "IP.Interface.1.Alias=a\nIP.Interface.2.Alias=b\n"
    assert two.run("set", "-", input="").returncode == 0


def test_set_beyond_one_request_is_refused_whole(bus):
    model = bus.home / "model.json"
    model.write_text(json.dumps({"version": 1, "objects": {f"X_VORAN_MailEvent.{n}": {} for n in range(1, 121)}}))
    bus.ok("load", model)
    body = "x" * 600
    fits = bus.run("set", "-", input="".join(f"X_VORAN_MailEvent.{n}.Body={body}\n" for n in range(1, 91)))
    assert (fits.returncode, fits.stderr) == (0, "")
    refused = bus.run("set", "-", input="".join(f"X_VORAN_MailEvent.{n}.Body=new{body}\n" for n in range(1, 121)))
    assert refused.returncode == 1
    assert refused.stderr == "vcfgctl: the request does not fit a message of 65535 bytes; nothing is changed\n"
    assert bus.ok("get", "X_VORAN_MailEvent.1.Body") == f"X_VORAN_MailEvent.1.Body={body}\n"
    assert "1 MiB" in bus.run("set", "-", input=2000 * f"X_VORAN_MailEvent.1.Body={body}\n").stderr


def test_add_comes_with_its_values_or_not_at_all(bus):
    bus.hook("apply", "PPP.Interface.{i}", HOOK)
    bus.hook("apply", "PPP.Interface.{i}.PPPoE", HOOK)
    assert bus.ok("add", "--wait", "PPP.Interface", "Enable=true", "PPPoE.ACName=ac", "Alias=wan") == "PPP.Interface.1\n"
    assert bus.ok("get", "PPP.Interface.1.Alias", "PPP.Interface.1.PPPoE.ACName") == "PPP.Interface.1.Alias=wan\nPPP.Interface.1.PPPoE.ACName=ac\n"
    assert applied(bus) == ["add PPP.Interface.1", "set PPP.Interface.1.PPPoE"]
    assert "given twice" in bus.fails(1, "add", "PPP.Interface", "Alias=a", "Alias=b")
    bus.fails(1, "add", "PPP.Interface", "Alias=a", "PPPoE.ACName=" + 300 * "x")
    assert bus.ok("get", "PPP.Interface.*.Alias") == "PPP.Interface.1.Alias=wan\n"
    assert bus.ok("add", "--no-apply", "PPP.Interface", "Alias=quiet") == "PPP.Interface.2\n"
    assert len(applied(bus)) == 2


def test_add_is_never_seen_without_its_values(bus):
    watch = bus.start(VCFGCTL, "watch", "--count", "3", "--json")
    wait_for(lambda: bus.ok("add", "IP.Interface", "Alias=x") and watch.poll() is not None)
    first, *others = [line["path"] for line in lines(watch.stdout.read())]
    assert others == ["IP.InterfaceNumberOfEntries", first + ".Alias"]


def test_del_of_several_is_whole_or_not_at_all(two):
    two.ok("add", "IP.Interface.1.IPv4Address")
    two.ok("add", "PPP.Interface")
    assert "IP.Interface.7" in two.fails(1, "del", "IP.Interface.1", "IP.Interface.7", "PPP.Interface.1")
    assert "given twice" in two.fails(1, "del", "IP.Interface.1", "IP.Interface.*")
    assert two.ok("get", "IP.InterfaceNumberOfEntries") == "IP.InterfaceNumberOfEntries=2\n"
    two.hook("apply", "IP.Interface.{i}", HOOK)
    two.hook("apply", "IP.Interface.{i}.IPv4Address.{i}", HOOK)
    assert two.ok("del", "--wait", "IP.Interface.1", "IP.Interface.1.IPv4Address.*", "PPP.Interface.1") == ""
    assert applied(two) == ["del IP.Interface.1.IPv4Address.1", "del IP.Interface.1"]
    two.ok("del", "--no-apply", "IP.Interface.*")
    assert len(applied(two)) == 2
    two.ok("del", "IP.Interface.*")
    assert two.ok("get", "IP.InterfaceNumberOfEntries", "PPP.Interface.*.Alias") == "IP.InterfaceNumberOfEntries=0\n"


def test_load_applies_what_differs_unless_told_otherwise(two):
    model = two.home / "model.json"
    two.ok("set", "IP.Interface.2.Alias=two")
    model.write_text(two.ok("dump"))
    two.ok("set", "IP.Interface.2.Alias=other")
    two.hook("apply", "IP.Interface.{i}", HOOK)
    two.ok("load", "--wait", model)
    assert applied(two) == ["set IP.Interface.2"]
    two.ok("load", "--wait", model)
    assert applied(two) == ["set IP.Interface.2"]
    two.ok("set", "--no-apply", "IP.Interface.2.Alias=other")
    two.ok("load", "--no-apply", model)
    two.ok("set", "--wait", "IP.Interface.1.Alias=last")
    assert applied(two) == ["set IP.Interface.2", "set IP.Interface.1"]
    assert "nothing to --wait for" in two.fails(2, "load", "--no-apply", "--wait", model)


def test_load_is_watched(two):
    model = two.home / "model.json"
    model.write_text('{"version": 1, "objects": {"IP.Interface.1": {"Alias": "loaded"}}}')
    empty = two.home / "empty.json"
    empty.write_text('{"version": 1, "objects": {}}')
    watch = two.start(VCFGCTL, "watch", "IP.Interface.1.Alias", "--count", "1", "--json")

    def load():
        two.ok("load", empty)
        two.ok("load", model)
        return watch.poll() is not None
    wait_for(load)
    (line,) = lines(watch.stdout.read())
    assert (line["old"], line["new"], line["by"], line["refreshedFor"]) == ("", "loaded", "eid 250", None)


def test_watch_tells_a_refreshed_value_from_a_written_one(two):
    two.hook("refresh", "IP.Interface.{i}", 'n=$(cat "$VCFG_DATA_DIR/n" 2>/dev/null); n=$((n + 1)); echo $n >"$VCFG_DATA_DIR/n"; echo "{\\"LastChange\\":$n}"')
    for options in (["--json"], []):
        watch = two.start(VCFGCTL, "watch", "IP.Interface.1.LastChange", "--count", "1", *options)
        wait_for(lambda: two.ok("get", "--refresh", "IP.Interface.1.LastChange") and watch.poll() is not None)
        told = watch.stdout.read()
        if options:
            (line,) = lines(told)
            assert (line["by"], line["byEid"], line["refreshedFor"]) == ("refresh hook", None, 250)
        else:
            assert told.endswith(" (refresh hook, refreshed for eid 250(vcfgctl))\n")
    watch = two.start(VCFGCTL, "watch", "IP.Interface.1.Alias", "--count", "1")
    states = iter(1000 * ["a", "b"])
    wait_for(lambda: two.ok("set", f"IP.Interface.1.Alias={next(states)}") == "" and watch.poll() is not None)
    assert watch.stdout.read().endswith(" (eid 250(vcfgctl))\n")
