"""vcfgctl against a real vcmd: what it prints, and its exit status (0 done, 1 refused, 2 wrong usage, 3 nobody answers)."""
import json
import select

import pytest
from vcfgctl_kit import PATIENCE, VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)


# get

def test_get_prints_path_and_value(bus):
    bus.ok("add", "IP.Interface")
    assert bus.ok("get", "IP.Interface.1.Status", "IP.Interface.1.Enable") == \
        "IP.Interface.1.Status=Down\nIP.Interface.1.Enable=false\n"


def test_get_star_stands_for_any_instance(bus):
    bus.ok("add", "IP.Interface")
    bus.ok("add", "IP.Interface")
    bus.ok("add", "IP.Interface.2.IPv4Address")
    assert bus.ok("get", "IP.Interface.*.Type") == "IP.Interface.1.Type=Normal\nIP.Interface.2.Type=Normal\n"
    assert bus.ok("get", "IP.Interface.*.IPv4Address.*.Status") == "IP.Interface.2.IPv4Address.1.Status=Disabled\n"
    assert bus.ok("get", "IP.Interface.1.IPv4Address.*.Status") == ""


def test_get_trailing_dot_is_the_subtree(bus):
    bus.ok("add", "PPP.Interface")
    printed = bus.ok("get", "PPP.Interface.1.")
    assert "PPP.Interface.1.Enable=false\n" in printed and "PPP.Interface.1.PPPoE.X_VORAN_SessionID=\n" in printed
    assert all(line.startswith("PPP.Interface.1.") for line in printed.splitlines())
    assert printed in bus.ok("get", "PPP.")
    assert "IP.IPv4Enable=false\n" in bus.ok("get", ".")


def test_get_json_lines_are_typed(bus):
    bus.ok("add", "IP.Interface")
    printed = lines(bus.ok("--json", "get", "IP.Interface.1.Status", "IP.Interface.1.Enable", "IP.Interface.1.LastChange"))
    assert printed == [{"path": "IP.Interface.1.Status", "value": "Down"},
                       {"path": "IP.Interface.1.Enable", "value": False},
                       {"path": "IP.Interface.1.LastChange", "value": 0}]


def test_get_keeps_one_value_on_one_line(bus):
    bus.ok("add", "IP.Interface")
    bus.ok("set", "IP.Interface.1.Alias=two\nlines\x01")
    assert bus.ok("get", "IP.Interface.1.Alias") == "IP.Interface.1.Alias=two\\nlines\\x01\n"
    assert lines(bus.ok("get", "IP.Interface.1.Alias", "--json"))[0]["value"] == "two\nlines\x01"


def test_get_refresh_asks_the_owner_first(bus):
    bus.ok("add", "IP.Interface")
    bus.hook("refresh", "IP.Interface.{i}", "echo '{\"Status\":\"Up\"}'")
    assert bus.ok("get", "IP.Interface.1.Status") == "IP.Interface.1.Status=Down\n"
    assert bus.ok("get", "--refresh", "IP.Interface.1.Status") == "IP.Interface.1.Status=Up\n"
    assert bus.ok("get", "IP.Interface.1.Status") == "IP.Interface.1.Status=Up\n"


@pytest.mark.parametrize("path, says", [
    ("IP.Interface.1.Status", "there is none yet"),
    ("IP.Interface.1.Stat", "Status"),
    ("IP.Interface.0.Status", "an instance number"),
    ("IP.Interfaces.1.Status", "Interface."),
    ("IP", '"IP."'),
    ("IP.Interface.Status", "an instance number, 1 to 255, or *; did you mean IP.Interface.*.Status?"),
    ("Colour.", "'vcfgctl list' shows"),
    ("IP.Interface.1.Colour", "'vcfgctl list IP.Interface.1' shows"),
    ("", "'vcfgctl list' shows"),
])
def test_get_says_what_exists_instead(bus, path, says):
    assert says in bus.fails(1, "get", path)


def test_get_names_the_instances_that_there_are(bus):
    bus.ok("add", "IP.Interface")
    assert "there is IP.Interface.1" in bus.fails(1, "get", "IP.Interface.7.")


@pytest.mark.parametrize("path, meant", [
    ("IP.Interface.1.Staus", "IP.Interface.1.Status"),
    ("IP.Interface.1.status", "IP.Interface.1.Status"),
    ("Device.IP.Interfaces.*.Statu", "IP.Interface.*.Status"),
    ("IP.Interface.1.Status.x", "IP.Interface.1.Status"),
    ("IP.Interface.1.Sta.", "IP.Interface.1.Stats. or IP.Interface.1.Status"),
    ("ip.", "IP."),
    ("DHCPv4.Servr.Pool.1.Enabl", "DHCPv4.Server.Pool.1.Enable"),
    ("IP.Interfac", "IP.Interface."),
    ("DHCP4.Client.1.Renw", "DHCPv4.Client.1.Renew or DHCPv6.Client.1.Renew"),
    ("IP.Interface.1.Ipv4Address.1.IPAddress", "IP.Interface.1.IPv4Address.1.IPAddress"),
    ("IP.Interface.1.IPv5Address.1.IPAddress",
     "IP.Interface.1.IPv4Address.1.IPAddress or IP.Interface.1.IPv6Address.1.IPAddress"),
])
def test_a_wrong_name_is_answered_with_the_nearest(quiet_bus, path, meant):
    assert quiet_bus.fails(1, "get", path).endswith(f"there is no such path; did you mean {meant}?\n")


@pytest.mark.parametrize("path", [500 * "a.", 3000 * "x", "IP.Interface." + 300 * "1.", 40 * "Interface.", "IP..Interface.1.Status",
                                  "IP.Interface.1.\xff\x01", "....", "1", "*"])
def test_a_path_that_is_nonsense_gets_one_line(quiet_bus, path):
    for verb in ("get", "list", "describe", "watch", "add", "del"):
        quiet_bus.fails(1, verb, path)


def test_every_path_may_begin_with_device(bus):
    assert bus.ok("add", "Device.IP.Interface") == "IP.Interface.1\n"
    assert bus.ok("set", "Device.IP.Interface.1.Alias=Device.x{i}") == ""
    assert bus.ok("get", "Device.IP.Interface.{i}.Alias") == "IP.Interface.1.Alias=Device.x{i}\n"
    assert bus.ok("get", "Device.") == bus.ok("get", ".")
    assert bus.ok("list", "Device.") == bus.ok("list")
    assert bus.ok("describe", "Device.IP.Interface.1.Alias") == bus.ok("describe", "IP.Interface.1.Alias")
    assert bus.ok("watch", "Device.IP.Interface.{i}.Alias", "--timeout", "50") == ""
    assert bus.ok("del", "Device.IP.Interface.1") == ""


# list, describe

def test_list_names_what_there_can_be_without_any_instance(quiet_bus):
    listed = quiet_bus.ok("list", "IP.Interface.7.IPv4Address").splitlines()
    assert listed[0] == "IP.Interface.{i}.IPv4Address.{i}."
    assert "IP.Interface.{i}.IPv4Address.{i}.IPAddress" in listed
    assert all(line.startswith(listed[0]) for line in listed)
    assert quiet_bus.ok("list", "IP.Interface.1.Status") == "IP.Interface.{i}.Status\n"


@pytest.mark.parametrize("path", ["IP.Interface.1", "IP.Interface.{i}.", "IP.Interface.*", "Device.IP.Interface", "IP.Interface."])
def test_list_takes_numbers_braces_stars_and_none(quiet_bus, path):
    listed = quiet_bus.ok("list", path).splitlines()
    assert listed[0] == "IP.Interface.{i}." and "IP.Interface.{i}.IPv4Address.{i}.Status" in listed


def test_list_is_in_tree_order_and_names_each_once(quiet_bus):
    listed = quiet_bus.ok("list").splitlines()
    assert len(set(listed)) == len(listed)
    open_paths = []
    for line in listed:
        above = line.rstrip(".").removesuffix(".{i}").rpartition(".")[0]
        while open_paths and open_paths[-1] != above:
            open_paths.pop()
        assert above == "" or open_paths, f"{line} does not stand below {above}."
        if line.endswith("."):
            open_paths.append(line.rstrip("."))


def test_list_next_is_one_level(quiet_bus):
    roots = quiet_bus.ok("list", "--next").splitlines()
    assert {"IP.", "DHCPv4.", "InterfaceStack.{i}.", "ManagementServer."} <= set(roots)
    assert all(line.removesuffix(".").removesuffix(".{i}").count(".") == 0 for line in roots)
    assert quiet_bus.ok("list", "--next", "DHCPv4") == "DHCPv4.Client.{i}.\nDHCPv4.Server.\n"
    below = quiet_bus.ok("list", "--next", "IP.Interface.3").splitlines()
    assert below[0] == "IP.Interface.{i}.Enable" and below[-1] == "IP.Interface.{i}.Stats."


def test_list_json_has_the_kind(quiet_bus):
    kinds = {line["path"]: line["kind"] for line in lines(quiet_bus.ok("list", "--json"))}
    assert [kinds[path] for path in ("DHCPv4.", "DHCPv4.Server.", "IP.Interface.{i}.", "IP.Interface.{i}.Status")] == \
        ["group", "object", "table", "parameter"]
    assert list(kinds) == quiet_bus.ok("list").splitlines()


def test_list_is_what_get_prints(bus):
    bus.ok("add", "IP.Interface")
    printed = [line.partition("=")[0] for line in bus.ok("get", "IP.Interface.1.").splitlines()]
    listed = [line.replace("{i}", "1", 1) for line in bus.ok("list", "IP.Interface").splitlines()]
    assert printed == [path for path in listed if "{i}" not in path and not path.endswith(".")]


def test_describe_says_what_a_parameter_takes(bus):
    assert bus.ok("describe", "IP.Interface.1.Status") == (
        "path: IP.Interface.{i}.Status\n"
        "kind: parameter\n"
        "type: enumeration\n"
        "length: 0 to 16\n"
        "values: Up,Down,Unknown,Dormant,NotPresent,LowerLayerDown,Error\n"
        "access: readOnly\n"
        "default: Down\n"
        "persistence: state\n"
        "secret: no\n"
        "apply hook: none\n"
        "refresh hook: none\n"
        f"served by: endpoint 1(vcmd), process {bus.vcmd.pid}\n")
    assert "range: 0 to 4294967295\n" in bus.ok("describe", "IP.Interface.1.MaxMTUSize")
    assert "persistence: configuration\nsecret: yes\n" in bus.ok("describe", "PPP.Interface.1.Password")
    assert "access: readOnly\n" in bus.ok("describe", "DeviceInfo.FirstUseDate")
    assert "persistence: configuration\n" in bus.ok("describe", "DeviceInfo.FirstUseDate")
    assert "persistence: counted\n" in bus.ok("describe", "IP.InterfaceNumberOfEntries")


def test_describe_json_is_one_typed_line(bus):
    bus.hook("apply", "IP.Interface.{i}", "exit 0")
    described, = lines(bus.ok("describe", "--json", "IP.Interface.{i}.Enable"))
    assert described == {
        "path": "IP.Interface.{i}.Enable", "kind": "parameter", "type": "boolean", "access": "readWrite",
        "default": False, "persistence": "configuration", "secret": False,
        "hooks": {"apply": f"{bus.home}/hooks/apply/IP.Interface.{{i}}", "refresh": None},
        "servedBy": {"name": "vcmd", "eid": 1, "process": bus.vcmd.pid}}
    status, = lines(bus.ok("describe", "--json", "IP.Interface.1.Status"))
    assert (status["maxLength"], status["values"][:2], status["access"]) == (16, ["Up", "Down"], "readOnly")
    mtu, = lines(bus.ok("describe", "--json", "IP.Interface.*.MaxMTUSize"))
    assert (mtu["min"], mtu["max"], mtu["default"]) == (0, 4294967295, 0)


def test_describe_an_object(bus):
    assert "kind: table\noid: 2\nrecord: IpInterface\n" in bus.ok("describe", "IP.Interface")
    described, = lines(bus.ok("describe", "--json", "IP.Interface.1."))
    assert (described["path"], described["kind"]) == ("IP.Interface.{i}", "table")
    assert described["parameters"][:3] == ["Enable", "IPv4Enable", "Status"]
    assert lines(bus.ok("describe", "--json", "DNS.Client"))[0]["kind"] == "object"
    assert "'vcfgctl list --next DHCPv4' shows them" in bus.fails(1, "describe", "DHCPv4")


def test_describe_works_without_vcmd(quiet_bus):
    assert quiet_bus.ok("describe", "IP.Interface.1.Status").endswith("served by: nobody; its hooks are unknown\n")
    described, = lines(quiet_bus.ok("--run-dir", "/no/such", "describe", "--json", "IP.Interface.1.Status"))
    assert (described["hooks"], described["servedBy"]) == (None, None)


# set

def test_set_writes_read_only_parameters_too(bus):
    bus.ok("add", "IP.Interface")
    assert bus.ok("set", "IP.Interface.1.Status=Up", "IP.Interface.1.Enable=1") == ""
    assert bus.ok("get", "IP.Interface.1.Status", "IP.Interface.1.Enable") == \
        "IP.Interface.1.Status=Up\nIP.Interface.1.Enable=true\n"


def test_set_keeps_everything_behind_the_first_equals_sign(bus):
    bus.ok("add", "IP.Interface")
    bus.ok("set", "IP.Interface.1.Alias=a=b \"c\"")
    assert bus.ok("get", "IP.Interface.1.Alias") == "IP.Interface.1.Alias=a=b \"c\"\n"
    bus.ok("set", "IP.Interface.1.Alias=")
    assert bus.ok("get", "IP.Interface.1.Alias") == "IP.Interface.1.Alias=\n"


@pytest.mark.parametrize("assignment, says", [
    ("IP.Interface.1.Status=Foo", 'IP.Interface.1.Status: "Foo" is not one of Up,Down,'),
    ("IP.Interface.1.Enable=maybe", "true or false"),
    ("IP.Interface.1.MaxMTUSize=-1", "0 to 4294967295"),
    ("IP.Interface.1.X_VORAN_IfName=" + 17 * "x", "at most 16 characters"),
    ("IP.Interface.1.IPv4AddressNumberOfEntries=3", "counted"),
    ("IP.Interface.1.Colour=red", "there is no such path"),
    ("IP.Interface.9.Enable=true", "no such instance"),
    ("IP.Interface.1.=true", "IP.Interface.1."),
])
def test_set_says_what_would_be_accepted(bus, assignment, says):
    bus.ok("add", "IP.Interface")
    assert says in bus.fails(1, "set", assignment)


def test_set_writes_an_object_whole_or_not_at_all(bus):
    bus.ok("add", "IP.Interface")
    bus.fails(1, "set", "IP.Interface.1.Alias=new", "IP.Interface.1.Status=Foo")
    assert bus.ok("get", "IP.Interface.1.Alias") == "IP.Interface.1.Alias=\n"


def test_set_makes_one_write_per_object(bus):
    bus.ok("add", "IP.Interface")
    bus.hook("apply", "IP.Interface.{i}", f"echo $2 >>{bus.home}/applied")
    bus.ok("set", "--wait", "IP.Interface.1.Alias=a", "IP.IPv4Enable=true", "IP.Interface.1.Name=b")
    assert (bus.home / "applied").read_text() == "IP.Interface.1\n"


def test_set_wait_returns_when_it_is_applied_and_says_when_that_failed(bus):
    bus.ok("add", "IP.Interface")
    bus.hook("apply", "IP.Interface.{i}", "sleep 0.1; echo no such device >&2; exit 1")
    assert "no such device" in bus.fails(1, "set", "--wait", "IP.Interface.1.Alias=a")
    assert bus.ok("get", "IP.Interface.1.Alias") == "IP.Interface.1.Alias=a\n"
    bus.ok("set", "IP.Interface.1.Alias=b")


def test_set_no_apply_runs_no_hook(bus):
    bus.ok("add", "IP.Interface")
    bus.hook("apply", "IP.Interface.{i}", f"echo $1 >>{bus.home}/applied")
    bus.ok("set", "--no-apply", "IP.Interface.1.Alias=a")
    bus.ok("set", "--wait", "IP.Interface.1.Alias=b")
    assert (bus.home / "applied").read_text() == "set\n"


def test_a_request_reaches_the_hook_and_reads_false_again(bus):
    bus.ok("add", "IP.Interface")
    bus.hook("apply", "IP.Interface.{i}", f"cat >>{bus.home}/applied; echo >>{bus.home}/applied")
    bus.ok("set", "--wait", "IP.Interface.1.Reset=true", "IP.Interface.1.Alias=a")
    assert bus.ok("get", "IP.Interface.1.Reset", "IP.Interface.1.Alias") == \
        "IP.Interface.1.Reset=false\nIP.Interface.1.Alias=a\n"
    bus.ok("set", "--wait", "IP.Interface.1.Reset=true")
    bus.ok("set", "--wait", "IP.Interface.1.Alias=b")
    applied = lines((bus.home / "applied").read_text())
    assert [(record["Reset"], record["previous"]["Reset"]) for record in applied] == \
        [(True, False), (True, False), (False, False)]
    bus.ok("set", "--no-apply", "IP.Interface.1.Reset=true")
    assert bus.ok("get", "IP.Interface.1.Reset") == "IP.Interface.1.Reset=false\n"


# add, del, dump

def test_add_prints_the_new_path(bus):
    assert bus.ok("add", "IP.Interface") == "IP.Interface.1\n"
    assert bus.ok("add", "IP.Interface.") == "IP.Interface.2\n"
    assert lines(bus.ok("add", "IP.Interface.2.IPv4Address", "--json")) == [{"path": "IP.Interface.2.IPv4Address.1"}]


def test_add_takes_only_tables(bus):
    assert "table" in bus.fails(1, "add", "DNS.Client")
    assert "table" in bus.fails(1, "add", "IP.Interface.1")
    assert "no such parent" in bus.fails(1, "add", "IP.Interface.1.IPv4Address")


def test_del_removes_what_is_below_too(bus):
    bus.ok("add", "IP.Interface")
    bus.ok("add", "IP.Interface.1.IPv4Address")
    assert bus.ok("del", "IP.Interface.1") == ""
    assert bus.ok("get", "IP.Interface.*.IPv4Address.*.Status") == ""
    assert "no such instance" in bus.fails(1, "del", "IP.Interface.1")
    assert "instance" in bus.fails(1, "del", "IP.Interface.1.Status")
    assert "instance" in bus.fails(1, "del", "DNS.Client")


def test_dump_is_the_model_with_its_state_and_starts_vcmd(bus):
    bus.ok("add", "PPP.Interface")
    bus.ok("set", "PPP.Interface.1.PPPoE.X_VORAN_SessionID=17", "PPP.Interface.1.Enable=true")
    dumped = json.loads(bus.ok("dump"))
    bus.ok("save")
    kept = json.loads((bus.home / "data" / "vcfg_config.json").read_text())
    assert kept["objects"] == {"PPP.Interface.1": {"Enable": True}}
    assert dumped["objects"]["PPP.Interface.1.PPPoE"] == {"X_VORAN_SessionID": "17"}
    assert dumped["objects"]["PPP.Interface.1"] == {"Enable": True}
    assert len(bus.ok("dump", "--json").splitlines()) == 1


# watch

def test_watch_prints_a_line_per_change(bus):
    bus.ok("add", "IP.Interface")
    watch = bus.start(VCFGCTL, "watch", "IP.Interface.*.Status", "--count", "2", "--json")
    states = iter(1000 * ["Up", "Down"])
    wait_for(lambda: bus.ok("set", f"IP.Interface.1.Status={next(states)}") == "" and watch.poll() is not None)
    printed = lines(watch.stdout.read())
    assert [sorted(line) for line in printed] == 2 * [["by", "byEid", "byName", "new", "old", "path", "refreshedFor", "t_mono_us"]]
    assert {line["path"] for line in printed} == {"IP.Interface.1.Status"}
    assert printed[0]["new"] == printed[1]["old"]
    assert (printed[0]["by"], printed[0]["byEid"], printed[0]["byName"]) == ("eid 250", 250, "vcfgctl")


def test_watch_gives_up_when_nothing_happens(bus):
    assert "0 of 1" in bus.fails(1, "watch", "--count", "1", "--timeout", "50")
    assert bus.ok("watch", "--timeout", "50") == ""


def test_watch_ends_with_vcmd(bus):
    bus.ok("add", "IP.Interface")
    watch = bus.start(VCFGCTL, "watch")
    states = iter(1000 * ["Up", "Down"])
    wait_for(lambda: bus.ok("set", f"IP.Interface.1.Status={next(states)}") == ""
             and select.select([watch.stdout], [], [], 0)[0])
    bus.vcmd.terminate()
    assert watch.wait(PATIENCE) == 3


# send, serve

def test_serve_prints_what_send_sends(quiet_bus):
    bus = quiet_bus
    serve = bus.serve("15", "--count", "1")
    bus.ok("send", "--to", "15", "--type", "0x80000102", "--from", "9", "--request-id", "0x11", "--oid", "5",
           "--iid", "1.2", "--payload", "text")
    assert serve.wait(PATIENCE) == 0
    assert lines(serve.stdout.read()) == [{
        "type": 0x80000102, "typeName": None, "srcEid": 9, "srcName": "tr069",
        "dstEid": 15, "dstName": "vhttpd", "oid": 5, "requestId": 0x11, "statCode": 0, "objIid": "2:1.2",
        "length": 5, "payload": "text", "payloadHex": b"text\0".hex(),
        "headerHex": "02010080" "05000000" "090f" "0500" "11000000" "00000000" + 28 * "00" + "02010200000000" "00"}]


def test_send_without_payload_has_length_0_and_a_file_goes_as_it_is(quiet_bus, tmp_path):
    bus = quiet_bus
    (tmp_path / "bytes").write_bytes(b"a\0b\xff")
    serve = bus.serve("15", "--count", "2")
    bus.ok("send", "--to", "15", "--type", "2147483649")
    bus.ok("send", "--to", "15", "--type", "0x80000001", "--payload-file", str(tmp_path / "bytes"))
    serve.wait(PATIENCE)
    empty, full = lines(serve.stdout.read())
    assert (empty["length"], empty["payload"], empty["payloadHex"], empty["objIid"]) == (0, "", "", "0:")
    assert (full["length"], full["payload"], full["payloadHex"]) == (4, "a", "610062ff")


def test_send_reply_prints_type_stat_code_and_payload(quiet_bus):
    bus = quiet_bus
    bus.serve("15", "--reply", "7:well done")
    assert bus.ok("send", "--to", "15", "--type", "0x83", "--reply") == \
        "type=0x00000083(VCFG_MSG_VOSH_COMMAND) statCode=7 payload=well done\n"
    reply = lines(bus.ok("send", "--to", "15", "--type", "0x83", "--request-id", "9", "--reply", "--json"))[0]
    assert (reply["srcEid"], reply["dstEid"], reply["requestId"], reply["statCode"], reply["length"]) == (15, 250, 9, 7, 10)


def test_serve_answers_those_who_wait_though_the_type_says_otherwise(quiet_bus):
    bus = quiet_bus
    bus.serve("1")
    assert "statCode=0" in bus.ok("send", "--to", "1", "--from", "2", "--type", "0x800000EB", "--reply")


def test_serve_answers_who_does_not_wait_with_a_message(quiet_bus):
    bus = quiet_bus
    bus.serve("15", "--reply", "3:later")
    asker = bus.serve("9", "--count", "1")
    bus.ok("send", "--to", "15", "--from", "9", "--type", "0x83")
    assert asker.wait(PATIENCE) == 0
    answer = lines(asker.stdout.read())[0]
    assert (answer["srcEid"], answer["statCode"], answer["payload"]) == (15, 3, "later")


def test_serve_leaves_an_endpoint_to_the_process_that_serves_it(quiet_bus):
    bus = quiet_bus
    holder = bus.serve("15", "--reply", "1")
    said = bus.fails(1, "serve", "15", "--timeout", "50")
    assert said == (f"vcfgctl: endpoint 15(vhttpd) is served by process {holder.pid} (vcfgctl); "
                    "with --take-over it is taken from it\n")
    bus.serve("15", "--reply", "2", "--take-over")
    wait_for(lambda: "statCode=2" in bus.ok("send", "--to", "15", "--type", "7", "--reply"))


def test_serve_takes_the_endpoint_of_a_process_that_is_gone(quiet_bus):
    holder = quiet_bus.serve("15")
    holder.kill()
    holder.wait(PATIENCE)
    assert quiet_bus.ok("serve", "15", "--timeout", "50") == ""


@pytest.mark.parametrize("output", (">/dev/full", ">&-", "| true"))
def test_serve_ends_with_status_1_when_its_output_takes_nothing(quiet_bus, output):
    shell = quiet_bus.start("bash", "-c", f"set -o pipefail; {VCFGCTL} serve 15 {output}")
    wait_for((quiet_bus.home / "run" / "eid-15").is_socket)

    def ends():
        quiet_bus.run("send", "--to", "15", "--type", "0x80000007")
        return shell.poll() is not None
    wait_for(ends)
    assert shell.returncode == 1
    assert "standard output cannot be written" in shell.stderr.read()


@pytest.mark.parametrize("output", (">/dev/full", ">&-", "| true"))
def test_watch_ends_with_status_1_when_its_output_takes_nothing(bus, output):
    shell = bus.start("bash", "-c", f"set -o pipefail; {VCFGCTL} watch {output}")

    def ends():
        bus.ok("add", "IP.Interface")
        bus.ok("del", "IP.Interface.1")
        return shell.poll() is not None
    wait_for(ends)
    assert shell.returncode == 1
    assert "standard output cannot be written" in shell.stderr.read()


def test_serve_fails_when_fewer_messages_come_in_time(quiet_bus):
    assert "0 of 1" in quiet_bus.fails(1, "serve", "15", "--count", "1", "--timeout", "50")
    assert quiet_bus.ok("serve", "15", "--timeout", "50") == ""


# status and usage

def test_nobody_answers_is_status_3(quiet_bus):
    assert "vcmd" in quiet_bus.fails(3, "get", "IP.")
    assert "endpoint 2" in quiet_bus.fails(3, "send", "--to", "2", "--type", "1", "--reply")
    assert "/no/such" in quiet_bus.fails(3, "--run-dir", "/no/such", "get", "IP.")


def test_no_answer_in_time_is_status_3(quiet_bus):
    quiet_bus.start("python3", "-c", "import socket, os, time\n"
                    "s = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)\n"
                    "s.bind(os.environ['VCFG_RUN_DIR'] + '/eid-15'); s.listen(); time.sleep(60)")
    wait_for(lambda: quiet_bus.run("send", "--to", "15", "--type", "1").returncode == 0)
    assert "in time" in quiet_bus.fails(3, "send", "--to", "15", "--type", "1", "--reply", "--timeout", "50")


@pytest.mark.parametrize("arguments", [
    [], ["fly"], ["--fly"], ["get"], ["get", "--fly", "IP."], ["--run-dir"], ["set"], ["set", "IP.IPv4Enable"],
    ["set", "--wait", "--no-apply", "IP.IPv4Enable=true"], ["add"], ["add", "a", "b"], ["del"], ["dump", "IP."],
    ["send", "--to", "2"], ["send", "--type", "2"], ["send", "--to", "256", "--type", "1"],
    ["send", "--to", "0", "--type", "1"], ["send", "--to", "2", "--type", "x"], ["send", "--to", "2", "--type", "0x100000000"],
    ["send", "--to", "2", "--type", "1", "--iid", "1.2.3.4.5.6.7"], ["send", "--to", "2", "--type", "1", "--iid", "1."],
    ["send", "--to", "2", "--type", "1", "--payload", "a", "--payload-file", "b"], ["send", "--to", "2", "--type", "1", "text"],
    ["serve"], ["serve", "0"], ["serve", "15", "--reply", "x:y"], ["serve", "15", "--count", "-1"], ["watch", "--count", "x"],
    ["list", "IP.", "DNS."], ["list", "--fly"], ["describe"], ["describe", "IP.", "DNS."],
])
def test_wrong_usage_is_status_2(quiet_bus, arguments):
    assert "--help" in quiet_bus.fails(2, *arguments)


def test_global_options_stand_before_or_after_the_verb(bus):
    run_dir = bus.environment.pop("VCFG_RUN_DIR")
    expected = '{"path":"IP.IPv4Enable","value":false}\n'
    assert bus.ok("--run-dir", run_dir, "--json", "get", "IP.IPv4Enable") == expected
    assert bus.ok("get", "IP.IPv4Enable", "--json", f"--run-dir={run_dir}") == expected


def test_help_is_there_for_the_program_and_each_verb(quiet_bus):
    overview = quiet_bus.ok("--help")
    for verb in ("get", "set", "add", "del", "dump", "list", "describe", "watch", "wait", "send", "serve", "endpoints",
                 "monitor", "complete"):
        assert f"\n  {verb} " in overview
        assert quiet_bus.ok(verb, "--help").startswith(f"Usage: vcfgctl {verb} ")
    assert quiet_bus.ok("--version").startswith("vcfgctl ")


def test_load_replaces_the_model_by_a_dump_and_save_writes_its_configuration(bus):
    bus.ok("add", "IP.Interface")
    bus.ok("set", "IP.Interface.1.Alias=wan", "IP.Interface.1.Status=Up")
    model = bus.home / "model.json"
    model.write_text(bus.ok("dump"))
    bus.ok("del", "IP.Interface.1")
    bus.ok("load", model)
    assert bus.ok("get", "IP.Interface.1.Alias", "IP.Interface.1.Status") == "IP.Interface.1.Alias=wan\nIP.Interface.1.Status=Up\n"
    bus.ok("save")
    saved = (bus.home / "data" / "vcfg_config.json").read_text()
    assert "wan" in saved and "Up" not in saved


def test_load_of_a_large_model_takes_many_parts(bus):
    model = bus.home / "model.json"
    model.write_text(json.dumps({"version": 1, "objects": {
        f"X_VORAN_MailEvent.{n}": {"Body": f"{n} " + "x" * 1000} for n in range(1, 256)}}))
    bus.ok("load", model)
    assert bus.ok("get", "X_VORAN_MailEvent.255.Body").startswith("X_VORAN_MailEvent.255.Body=255 x")


def test_load_refuses_a_wrong_model_whole(bus):
    bus.ok("add", "IP.Interface")
    model = bus.home / "model.json"
    model.write_text('{"version": 1, "objects": {"IP.Interface.2": {}, "IP.Interface.3": {"Status": "Odd"}}}')
    assert "IP.Interface.3: Status takes one of" in bus.fails(1, "load", model)
    assert "No such file" in bus.fails(1, "load", "/no/such")
    bus.fails(2, "load")
    assert bus.ok("get", "IP.Interface.*.Status") == "IP.Interface.1.Status=Down\n"
