"""Endpoints and message types go by name as well as by number, and a code is signed."""
import re
from pathlib import Path

import pytest
from vcfgctl_kit import VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)

TYPES = Path(__file__).parents[2] / "vcfg" / "include" / "vcfg" / "msg_types.h"


@pytest.mark.parametrize("type", ["VCFG_MSG_WAN_IP_RELEASE", "WAN_IP_RELEASE", "wan_ip_release", "1004", "0x3ec",
                                  "0x000003ec(VCFG_MSG_WAN_IP_RELEASE)"])
@pytest.mark.parametrize("to", ["vhttpd", "VHTTPD", "VCFG_EID_VHTTPD", "15", "0xf", "15(vhttpd)"])
def test_a_name_is_taken_wherever_a_number_is(quiet_bus, to, type):  # noqa: F811
    serve = quiet_bus.serve("15", "--count", "1")
    assert quiet_bus.ok("send", "--to", to, "--type", type, "--from", "wireless", "--reply") == \
        "type=0x000003ec(VCFG_MSG_WAN_IP_RELEASE) statCode=0 payload=\n"
    message, = lines(serve.communicate()[0])
    assert [message[key] for key in ("type", "typeName", "srcEid", "srcName", "dstEid", "dstName")] == \
        [1004, "VCFG_MSG_WAN_IP_RELEASE", 40, "wireless", 15, "vhttpd"]


def test_serve_takes_a_name(quiet_bus):  # noqa: F811
    assert "0 of 1" in quiet_bus.fails(1, "serve", "tarn", "--count", "1", "--timeout", "50")
    assert "nobody serves endpoint 2(tarn)" in quiet_bus.fails(3, "send", "--to", "tarn", "--type", "1", "--reply")


def test_every_type_of_the_header_has_its_name(quiet_bus):  # noqa: F811
    types = re.findall(r"(VCFG_MSG_\w+) (?:= )?(0x[0-9A-Fa-f]+|\d+)", TYPES.read_text())
    assert len(types) > 50
    serve = quiet_bus.serve("77", "--count", str(len(types)))
    for name, _ in types:
        quiet_bus.ok("send", "--to", "77", "--type", name)
    received = [(line["typeName"], line["type"]) for line in lines(serve.communicate()[0])]
    assert received == [(name, int(number, 0)) for name, number in types]


@pytest.mark.parametrize("arguments, says", [
    (["--to", "tarm", "--type", "1"], "by name (vcmd, tarn,"),
    (["--to", "2(vcmd)", "--type", "1"], "takes an endpoint"),
    (["--to", "2", "--type", "WAN_IP_RELEAS"], "did you mean VCFG_MSG_WAN_IP_RELEASE?"),
    (["--to", "2", "--type", "1(VCFG_MSG_RA_INFO)"], "a message's name"),
    (["--to", "2", "--type", "1", "--from", "0"], "takes an endpoint"),
])
def test_a_wrong_name_is_wrong_usage(quiet_bus, arguments, says):  # noqa: F811
    assert says in quiet_bus.fails(2, "send", *arguments)


@pytest.mark.parametrize("code, shown", [("-22", -22), ("4294967274", -22), ("-2147483648", -2**31), ("2147483647", 2**31 - 1)])
def test_a_code_is_signed(quiet_bus, code, shown):  # noqa: F811
    quiet_bus.serve("15", "--reply", code)
    assert f" statCode={shown} " in quiet_bus.ok("send", "--to", "15", "--type", "1", "--reply")
    assert lines(quiet_bus.ok("send", "--to", "15", "--type", "1", "--reply", "--json"))[0]["statCode"] == shown


def test_json_has_the_same_types_in_every_verb(bus):  # noqa: F811
    bus.ok("add", "--json", "IP.Interface", "MaxMTUSize=4294967295", "Enable=true")
    path = "IP.Interface.1.MaxMTUSize"
    assert lines(bus.ok("get", "--json", path)) == lines(bus.ok("wait", "--json", f"{path}>4294967294")) == \
        [{"path": path, "value": 4294967295}]
    assert lines(bus.ok("dump", "--json"))[0]["objects"]["IP.Interface.1"] == {"MaxMTUSize": 4294967295, "Enable": True}
    watch = bus.start(VCFGCTL, "watch", "--json", "IP.Interface.1.Enable", "--count", "2")
    values = iter(1000 * ["false", "true"])
    wait_for(lambda: bus.ok("set", f"IP.Interface.1.Enable={next(values)}") == "" and watch.poll() is not None)
    one, two = lines(watch.stdout.read())
    assert (one["new"], two["new"]) in ((True, False), (False, True)) and one["new"] is two["old"]
