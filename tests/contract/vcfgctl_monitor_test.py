"""What passes on the bus, as vcfgctl monitor shows it."""
import json
import os
import pathlib
import re
import select
import signal
import socket
import subprocess
import threading
import time

import pytest
from vcfgctl_kit import PATIENCE, VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)


def sockets(a_bus):
    return list((a_bus.home / "run").glob("monitor-*"))


def places(a_bus):
    """How many look: each has a byte in the file that all processes of the bus share."""
    roster = a_bus.home / "run" / "roster"
    return sum(byte != 0 for byte in roster.read_bytes()[4:8]) if roster.exists() else 0


def monitor(a_bus, *arguments, **more):
    """Looks when it returns."""
    before = places(a_bus)
    process = a_bus.start(VCFGCTL, "monitor", "--timeout", str(PATIENCE * 1000), *arguments, **more)
    wait_for(lambda: places(a_bus) > before or process.poll() is not None)
    return process


def seen(process):
    output, errors = process.communicate(timeout=PATIENCE)
    assert (process.returncode, errors) == (0, ""), errors
    return output


def end(process):
    process.terminate()
    return seen(process)


def test_call_and_its_reply_are_a_line_each_and_linked(quiet_bus):  # noqa: F811
    serve = quiet_bus.serve("15", "--reply", "7:well\ndone")
    looking = monitor(quiet_bus, "--count", "2")
    sender = quiet_bus.start(VCFGCTL, "send", "--to", "15", "--type", "WAN_IP_RELEASE", "--request-id", "77",
                             "--iid", "1.2", "--payload", "a\tb", "--reply")
    sender.wait(PATIENCE)
    call, reply = seen(looking).splitlines()
    asker, answerer = f"250(vcfgctl)/vcfgctl[{sender.pid}]", f"15(vhttpd)/vcfgctl[{serve.pid}]"
    assert re.fullmatch(rf'\d+\.\d{{6}} call    {re.escape(asker)} -> {re.escape(answerer)} '
                        r'0x000003ec\(VCFG_MSG_WAN_IP_RELEASE\) #77 iid 1\.2 "a\\x09b"', call)
    assert re.fullmatch(rf'\d+\.\d{{6}} reply   {re.escape(answerer)} -> {re.escape(asker)} '
                        r'0x000003ec\(VCFG_MSG_WAN_IP_RELEASE\) #77 code 7 after \d+\.\d{3} ms iid 1\.2 "well\\ndone"', reply)


def test_json_has_the_message_with_both_processes_and_the_time_it_took(quiet_bus):  # noqa: F811
    serve = quiet_bus.serve("15", "--reply", "-3:done")
    looking = monitor(quiet_bus, "--json", "--count", "2")
    before_us = time.monotonic_ns() // 1000
    quiet_bus.ok("send", "--to", "15", "--type", "0x83", "--request-id", "5", "--payload", "hi", "--reply")
    call, reply = lines(seen(looking))
    assert before_us <= call["t_mono_us"] <= reply["t_mono_us"] <= time.monotonic_ns() // 1000
    assert reply["tookUs"] == reply["t_mono_us"] - call["t_mono_us"]
    assert (call["kind"], call["tookUs"], call["payload"], call["payloadHex"]) == ("call", None, "hi", "686900")
    assert (reply["kind"], reply["statCode"], reply["payload"]) == ("reply", -3, "done")
    assert (call["dstProcess"], call["dstProgram"]) == (serve.pid, "vcfgctl")
    assert (reply["dstProcess"], reply["srcProcess"]) == (call["srcProcess"], serve.pid)
    served = json.loads(serve.stdout.readline())
    assert {key: call[key] for key in served} == served


def test_message_without_an_answer_and_one_that_does_not_arrive(quiet_bus):  # noqa: F811
    quiet_bus.serve("15")
    looking = monitor(quiet_bus, "--json", "--count", "3")
    quiet_bus.ok("send", "--to", "15", "--type", "0x80000009")
    quiet_bus.run("send", "--to", "16", "--type", "9", "--reply")
    message, call, failed = lines(seen(looking))
    assert (message["kind"], message["dstEid"]) == ("message", 15)
    assert (call["kind"], call["dstEid"], call["dstProcess"]) == ("call", 16, None)
    assert (failed["kind"], failed["code"], failed["type"], failed["requestId"]) == ("failed", -111, 9, call["requestId"])
    assert failed["tookUs"] >= 0


def test_call_that_is_not_answered_in_time_says_so(quiet_bus):  # noqa: F811
    serve = quiet_bus.serve("15")
    serve.send_signal(signal.SIGSTOP)
    looking = monitor(quiet_bus, "--count", "2")
    quiet_bus.run("send", "--to", "15", "--type", "9", "--request-id", "8", "--reply", "--timeout", "60")
    serve.send_signal(signal.SIGCONT)
    failed = seen(looking).splitlines()[1]
    assert re.search(r"failed .* -> 15\(vhttpd\)/\S* 0x00000009 #8 code -62 after \d+\.\d{3} ms: the time is over$", failed)
    assert float(re.search(r"after (\S+) ms", failed)[1]) >= 60


def test_filters_by_endpoint_and_by_type_take_names_and_numbers(quiet_bus):  # noqa: F811
    quiet_bus.serve("15")
    quiet_bus.serve("40")
    by_endpoint = monitor(quiet_bus, "--json", "--endpoint", "vhttpd", "--endpoint", "2")
    by_type = monitor(quiet_bus, "--json", "--type", "wan_ip_release", "--type", "0x83")
    for eid, kind in (("15", "0x83"), ("40", "WAN_IP_RELEASE"), ("40", "9"), ("15", "10")):
        quiet_bus.ok("send", "--to", eid, "--type", kind, "--reply")
    assert [(line["kind"], line["type"]) for line in lines(end(by_endpoint))] == [
        ("call", 0x83), ("reply", 0x83), ("call", 10), ("reply", 10)]
    assert [(line["kind"], line["type"]) for line in lines(end(by_type))] == [
        ("call", 0x83), ("reply", 0x83), ("call", 1004), ("reply", 1004)]


def test_writes_to_the_model_are_readable_and_hide_secrets(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    looking = monitor(bus, "--type", "FE_CHANGE_ALL")
    as_json = monitor(bus, "--json", "--type", "FE_CHANGE_ALL")
    insisting = monitor(bus, "--show-secrets", "--type", "FE_CHANGE_ALL")
    bus.ok("set", "IP.Interface.1.Alias=wan", "DeviceInfo.ProvisioningCode=x")
    bus.ok("set", "ManagementServer.Password=open sesame", "ManagementServer.Username=me")
    bus.ok("add", "IP.Interface", "Alias=lan")
    bus.ok("del", "IP.Interface.1")
    text, told, whole = end(looking), end(as_json), end(insisting)
    assert '0x00f00014(FE_CHANGE_ALL)' in text
    assert '"IP.Interface.1 {"Alias":"wan"}; DeviceInfo {"ProvisioningCode":"x"}"' in text
    assert '"ManagementServer {"Password":"********","Username":"me"}"' in text
    assert '"add IP.Interface.{i} {"Alias":"lan"}"' in text and '"delete IP.Interface.1"' in text
    assert "sesame" not in text + told and b"sesame".hex() not in told
    assert "open sesame" in whole
    requests = [line for line in lines(told) if line["kind"] == "call"]
    assert [line["payloadHex"] is None for line in requests] == [False, True, False, False]


def test_every_request_to_the_data_model_has_a_name(quiet_bus):  # noqa: F811
    source = (pathlib.Path(__file__).parents[2] / "vcfg" / "client" / "fe_wire.h").read_text()
    types = re.findall(r"k\w+ = (0x00F0\w+)", source)
    assert len(types) > 15
    quiet_bus.serve("15")
    looking = monitor(quiet_bus, "--json", "--count", str(len(types)))
    for kind in types:
        quiet_bus.ok("send", "--to", "15", "--type", kind)
    assert [line["typeName"] for line in lines(seen(looking)) if line["typeName"] is None] == []


def test_secret_in_news_in_a_model_and_in_a_message_is_hidden(bus):  # noqa: F811
    bus.ok("set", "ManagementServer.Password=sesame")
    backup = bus.home / "backup.json"
    bus.ok("dump", "--show-secrets", str(backup))
    looking = monitor(bus, "--json")
    bus.serve("15")
    watch = bus.start(VCFGCTL, "watch", "--count", "1", "ManagementServer.Password")
    bus.ok("load", str(backup))
    wait_for(lambda: bus.ok("set", f"ManagementServer.Password=sesame{time.monotonic_ns()}") == "" and watch.poll() is not None)
    bus.ok("send", "--to", "15", "--type", "WLAN_WPS_PIN", "--payload", '{"StationPin": "sesame", "Other": [1, {"PIN":12345670}]}')
    told = end(looking)
    assert "sesame" not in told and b"sesame".hex() not in told and "12345670" not in told
    assert '{\\"StationPin\\": \\"********\\", \\"Other\\": [1, {\\"PIN\\":\\"********\\"}]}' in told
    assert [line["typeName"] for line in lines(told) if line["typeName"] == "FE_LOAD_PART"]


def test_long_payload_is_shown_in_part(quiet_bus):  # noqa: F811
    quiet_bus.serve("15")
    looking = monitor(quiet_bus, "--count", "1")
    big = quiet_bus.home / "big"
    big.write_bytes(b"x" * 65000)
    quiet_bus.ok("send", "--to", "15", "--type", "0x80000009", "--payload-file", str(big))
    text = seen(looking)
    assert text.endswith('x (4096 of 65000 bytes)"\n') and text.count("x") == 4096 + 1


def test_processes_that_were_there_before_are_seen(bus):  # noqa: F811
    change = lambda: bus.ok("set", f"ManagementServer.Username={time.monotonic_ns()}") == ""  # noqa: E731
    watch = bus.start(VCFGCTL, "watch")
    wait_for(lambda: change() and select.select([watch.stdout], [], [], 0)[0])
    looking = monitor(bus, "--json", "--type", "FE_CHANGE", "--count", "1")
    change()
    news, = lines(seen(looking))
    assert news["srcProcess"] == bus.vcmd.pid and '"path":"ManagementServer.Username"' in news["payload"]


def test_four_look_at_once_and_a_fifth_is_refused_until_one_ends(quiet_bus):  # noqa: F811
    quiet_bus.serve("15")
    looking = [monitor(quiet_bus, "--count", "1") for _ in range(4)]
    assert "4 monitors look already" in quiet_bus.fails(1, "monitor")
    quiet_bus.ok("send", "--to", "15", "--type", "0x80000009")
    assert all("message" in seen(one) for one in looking)
    assert sockets(quiet_bus) == []
    seen(monitor(quiet_bus, "--timeout", "50"))


def test_stopped_monitor_delays_nobody_and_says_what_it_lost(quiet_bus):  # noqa: F811
    server = quiet_bus.serve("2")
    reader = threading.Thread(target=server.stdout.read, daemon=True)
    reader.start()
    looking = monitor(quiet_bus, "--json")
    looking.send_signal(signal.SIGSTOP)
    flood = pathlib.Path(VCFGCTL).with_name("board-flood")
    subprocess.run([flood, "8000", "0x80000009", "x"], env=quiet_bus.environment, check=True, timeout=PATIENCE)
    server.terminate()
    reader.join()
    looking.send_signal(signal.SIGCONT)
    told = lines(end(looking))
    lost = sum(line["count"] for line in told if line["kind"] == "lost")
    shown = sum(line["kind"] != "lost" for line in told)
    assert (lost > 0, shown > 0, shown + lost) == (True, True, 8000)


def test_killed_monitor_is_cleared_away(quiet_bus):  # noqa: F811
    quiet_bus.serve("15")
    looking = monitor(quiet_bus)
    looking.kill()
    looking.wait()
    assert len(sockets(quiet_bus)) == 1
    for _ in range(2):
        quiet_bus.ok("send", "--to", "15", "--type", "9", "--reply")
    assert sockets(quiet_bus) == []


def test_monitor_comes_in_again_when_the_run_directory_is_cleared(quiet_bus):  # noqa: F811
    looking = monitor(quiet_bus, "--count", "2")
    for path in (quiet_bus.home / "run").iterdir():
        path.unlink()
    wait_for(lambda: places(quiet_bus))
    quiet_bus.serve("15")
    quiet_bus.ok("send", "--to", "15", "--type", "9", "--reply")
    assert "reply" in seen(looking)


def test_what_is_no_copy_is_thrown_away(quiet_bus):  # noqa: F811
    quiet_bus.serve("15")
    looking = monitor(quiet_bus, "--count", "1")
    path, = sockets(quiet_bus)
    for junk in (b"", b"x", b"\xff" * 56, b"VCP1" + b"\xff" * 200, b"x" * 100000):
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as stranger:
            stranger.connect(str(path))
            stranger.send(junk)
    quiet_bus.ok("send", "--to", "15", "--type", "0x80000009")
    assert seen(looking).count("\n") == 1


@pytest.mark.parametrize("output", [">/dev/full", "| head -n 1 >/dev/null", ">&-"])
def test_output_that_takes_no_more_ends_it_with_status_1(quiet_bus, output):  # noqa: F811
    quiet_bus.serve("15")
    shell = quiet_bus.start("bash", "-c", f"set -o pipefail; {VCFGCTL} monitor {output}")
    while shell.poll() is None:
        quiet_bus.ok("send", "--to", "15", "--type", "0x80000009")
    assert shell.returncode == 1
    assert shell.stderr.read() == "vcfgctl: standard output cannot be written\n"


def test_reader_that_goes_ends_it_also_while_nothing_passes(quiet_bus):  # noqa: F811
    looking = monitor(quiet_bus)
    looking.stdout.close()
    assert looking.wait(PATIENCE) == 1


@pytest.mark.parametrize("which", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_signal_ends_it_and_leaves_nothing(quiet_bus, which):  # noqa: F811
    looking = monitor(quiet_bus)
    looking.send_signal(which)
    assert seen(looking) == ""
    assert sockets(quiet_bus) == []


@pytest.mark.skipif(os.geteuid() != 0, reason="needs root, to become somebody else")
def test_who_may_use_the_bus_may_look_and_nobody_else(quiet_bus):  # noqa: F811
    run = quiet_bus.home / "run"
    for parent in run.parents[:-1]:
        if str(parent) != "/tmp":
            parent.chmod(0o755)
    os.chown(run, 0, 65534)
    run.chmod(0o770)
    quiet_bus.serve("15")
    as_member = {"user": 1234, "group": 1234, "extra_groups": [65534]}
    member = monitor(quiet_bus, "--count", "1", **as_member)
    quiet_bus.ok("send", "--to", "15", "--type", "0x80000009", "--payload", "for members")
    assert "for members" in seen(member)
    stranger = quiet_bus.run("monitor", "--timeout", "50", user=1234, group=1234, extra_groups=[])
    assert stranger.returncode != 0 and stranger.stdout == "" and stranger.stderr.count("\n") == 1
    assert "is closed to this user" in stranger.stderr


def test_exit_codes(quiet_bus):  # noqa: F811
    assert "takes an endpoint, 1 to 255 or by name" in quiet_bus.fails(2, "monitor", "--endpoint", "0")
    assert "did you mean VCFG_MSG_WAN_IP_RELEASE?" in quiet_bus.fails(2, "monitor", "--type", "WAN_IP_RELEAS")
    assert "takes no argument" in quiet_bus.fails(2, "monitor", "tarn")
    assert "0 of 1 messages have come" in quiet_bus.fails(1, "monitor", "--count", "1", "--timeout", "50")
    assert "there is no bus" in quiet_bus.fails(3, "--run-dir", "/nowhere", "monitor")
