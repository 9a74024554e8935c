"""What vcfgctl record writes down, and what it must not; and how a recording is cut to one event's chain."""
import json
import os
import signal
import stat

import pytest
from vcfgctl_kit import PATIENCE, VCFGCTL, bus, quiet_bus, wait_for  # noqa: F401 (fixtures)


class Recording:
    """Records while it is open; `lines` are there afterwards."""

    def __init__(self, bus, *words):  # noqa: F811
        self.bus, self.words, self.file = bus, words, bus.home / "recording.jsonl"

    def __enter__(self):
        self.process = self.bus.start(VCFGCTL, "record", *self.words, str(self.file))
        wait_for(lambda: self.file.exists() and b'"kind":"begin"' in self.file.read_bytes() or self.process.poll() is not None)
        assert self.process.poll() is None, self.process.stderr.read()
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        _, errors = self.process.communicate(timeout=PATIENCE)
        assert (self.process.returncode, errors) == (0, "")
        self.lines = [json.loads(line) for line in self.file.read_text().splitlines()]

    def of(self, kind):
        return [line for line in self.lines if line.get("kind") == kind]

    def knows(self, text):
        return text in self.file.read_text()


def test_it_begins_with_the_model_and_ends_with_its_end(bus):  # noqa: F811
    bus.ok("add", "IP.Interface", "Alias=wan")
    with Recording(bus) as told:
        pass
    header = told.lines[0]
    assert header["recording"] == 1 and header["daemon"] is None and len(header["model"]) == 16
    assert {"kind": "object", "path": "IP.Interface.1", "values": {"Alias": "wan"}} in told.lines
    assert told.lines[-1]["kind"] == "end"
    assert stat.S_IMODE(told.file.stat().st_mode) == 0o600


def test_payload_of_any_length_is_there_whole(bus):  # noqa: F811
    bus.serve("15")
    text = "x" * 60000
    with Recording(bus) as told:
        bus.ok("send", "--to", "15", "--type", "9", "--payload", text)
        bus.ok("send", "--to", "15", "--type", "10", "--payload-file", os.devnull)
    first, second = told.of("message") + told.of("call")
    assert first["text"] == text and "text" not in second and "hex" not in second


def test_what_is_no_text_is_there_in_hexadecimal(bus):  # noqa: F811
    bus.serve("15")
    payload = bus.home / "payload"
    payload.write_bytes(b"\xff\0\1")
    with Recording(bus) as told:
        bus.ok("send", "--to", "15", "--type", "9", "--payload-file", str(payload))
    (message,) = told.of("message") + told.of("call")
    assert message["hex"] == "ff0001"


def test_changes_say_what_was_before_and_who_made_them(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    with Recording(bus) as told:
        bus.ok("set", "IP.Interface.1.Alias=wan", "IP.Interface.1.Enable=true")
        bus.ok("del", "IP.Interface.1")
    changes = {line["path"]: (line["old"], line["new"], line["by"]) for line in told.of("change")}
    assert changes["IP.Interface.1.Alias"] == ("", "wan", "eid 250")
    assert changes["IP.Interface.1.Enable"] == (False, True, "eid 250")
    assert changes["IP.Interface.1"][1] is None


def test_no_secret_is_in_it_whatever_carries_it(bus):  # noqa: F811
    secret = 'open "ses\'ame'
    bus.serve("15")
    bus.ok("set", f"ManagementServer.Password={secret}")
    payload = bus.home / "payload"
    payload.write_bytes(b"\xff" + secret.encode())
    with Recording(bus) as told:
        bus.ok("send", "--to", "15", "--type", "9", "--payload", f"the words are {secret}.")
        bus.ok("send", "--to", "15", "--type", "9", "--payload", json.dumps({"Note": secret, "StationPin": "12345670"}))
        bus.ok("send", "--to", "15", "--type", "9", "--payload-file", str(payload))
        bus.ok("set", "ManagementServer.Password=another one")
        bus.ok("send", "--to", "15", "--type", "9", "--payload", "now it is another one")
    for text in ("ses", "12345670", "another one", secret.encode().hex()):
        assert not told.knows(text), text
    texts = [line.get("text") for line in told.of("message") + told.of("call")]
    assert texts[0] == "the words are ********." and texts[-1] == "now it is ********"


def place_hook(bus, text):  # noqa: F811
    hook = bus.home / "hooks" / "apply" / "IP.Interface.{i}"
    hook.write_text(f"#!/bin/sh\n{text}\n")
    hook.chmod(0o700)


def test_hook_is_told_with_what_it_answered_and_for_whom(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    place_hook(bus, "echo there is no such device >&2; exit 3")
    with Recording(bus) as told:
        bus.fails(1, "set", "--wait", "IP.Interface.1.Enable=true")
        place_hook(bus, "exit 0")
        bus.ok("set", "--wait", "IP.Interface.1.Enable=false")
    what = "apply/IP.Interface.{i} set IP.Interface.1"
    refused, done = told.of("hook")
    assert (refused["what"], refused["for"], refused["result"], refused["text"]) == (what, 250, 3 << 8, "there is no such device")
    assert (done["what"], done["for"], done.get("result"), done.get("text")) == (what, 250, None, None)


def test_log_line_is_told_with_its_log_and_level_and_without_secrets(bus):  # noqa: F811
    bus.ok("add", "IP.Interface")
    bus.ok("set", "ManagementServer.Password=open sesame")
    place_hook(bus, "echo the door wants open sesame >&2; exit 1")
    with Recording(bus) as told:
        bus.fails(1, "set", "--wait", "IP.Interface.1.Enable=true")
    (line,) = [line for line in told.of("log") if "the door wants" in line["text"]]
    assert (line["program"], line["log"], line["level"]) == ("vcmd", "vlog", 3)
    assert "the door wants ********" in line["text"] and not told.knows("sesame")


def test_only_what_came_of_an_event_with_that_text_is_there(bus):  # noqa: F811
    bus.serve("15")
    bus.ok("add", "IP.Interface")
    with Recording(bus, "--only", "wanted") as told:
        bus.ok("send", "--to", "15", "--type", "9", "--payload", "another", "--reply")
        bus.ok("send", "--to", "15", "--type", "9", "--payload", "the wanted one", "--reply")
        bus.ok("set", "IP.Interface.1.Alias=wan")
    assert told.lines[0]["only"] == "wanted"
    assert [line["text"] for line in told.of("call")] == ["the wanted one"]
    assert [line["of"] for line in told.of("received")] == [line["at"] for line in told.of("call")]
    assert [(line["path"], line["new"], line["by"]) for line in told.of("change")] == [("IP.Interface.1.Alias", "wan", "elsewhere")]
    assert told.lines[-1]["kind"] == "end"


def test_only_one_event_by_its_number(bus):  # noqa: F811
    bus.serve("15")
    with Recording(bus, "--only", "4294967295") as told:
        bus.ok("send", "--to", "15", "--type", "9", "--payload", "x", "--reply")
    assert told.lines[0]["only"] == "event 4294967295"
    assert {line.get("kind") for line in told.lines[1:]} == {"begin", "end"}


def test_secret_of_which_another_is_a_part_leaves_no_rest(bus):  # noqa: F811
    bus.serve("15")
    bus.ok("set", "ManagementServer.Password=sesame")
    with Recording(bus) as told:
        bus.ok("set", "ManagementServer.Password=we say sesame twice")
        bus.ok("send", "--to", "15", "--type", "9", "--payload", "the words are we say sesame twice.")
    assert not told.knows("twice")
    assert (told.of("message") + told.of("call"))[-1]["text"] == "the words are ********."


def test_vcmd_that_comes_back_is_followed_and_the_gap_is_told(bus):  # noqa: F811
    with Recording(bus) as told:
        bus.vcmd.kill()
        bus.vcmd.wait()
        wait_for(lambda: told.knows('"lost"'))
        bus.start_vcmd()
        bus.ok("add", "IP.Interface")
        numbers = iter(range(10**6))
        wait_for(lambda: bus.ok("set", f"IP.Interface.1.Alias=a{next(numbers)}") == "" and told.knows("IP.Interface.1.Alias"))
    assert [line["by"] for line in told.of("change")][-1] == "eid 250"


def test_it_ends_by_itself_after_the_time_given(bus):  # noqa: F811
    file = bus.home / "recording.jsonl"
    bus.ok("record", "--for", "1", str(file))
    assert json.loads(file.read_text().splitlines()[-1])["kind"] == "end"


@pytest.mark.parametrize("words", [[], ["a", "b"], ["--for", "soon", "a"], ["--cut", "x", "a", "b"], ["--cut", "7", "a"], ["--only", "", "a"]])
def test_wrong_usage_is_told(bus, words):  # noqa: F811
    bus.fails(2, "record", *words)


def test_only_a_regular_file_is_written(bus):  # noqa: F811
    fifo = bus.home / "fifo"
    os.mkfifo(fifo)
    assert "fifo" in bus.fails(1, "record", str(fifo))
    (bus.home / "link").symlink_to(bus.home / "elsewhere")
    bus.fails(1, "record", str(bus.home / "link"))
    assert not (bus.home / "elsewhere").exists()


HEADER = {"recording": 1, "release": "1", "model": "0", "t_mono_us": 1, "clock": "2026-01-01T00:00:00Z", "daemon": 41}
STORY = [
    HEADER,
    {"kind": "object", "path": "IP", "values": {}},
    {"at": 1, "kind": "datagram", "hex": "00"},
    {"at": 2, "kind": "kernel", "what": "eth0.5:down", "event": 7},
    {"at": 3, "kind": "message", "from": 2, "to": 15, "type": "0x1", "program": "tarn", "event": 7},
    {"at": 4, "kind": "received", "of": 3, "event": 8, "cause": 7},
    {"at": 5, "kind": "change", "path": "IP.X", "by": "eid 15", "event": 8},
    {"at": 6, "kind": "datagram", "hex": "01"},
    {"at": 7, "kind": "timer", "what": "x", "event": 9},
    {"at": 8, "kind": "command", "what": "ls", "event": 10, "cause": 9},
    {"at": 9, "kind": "message", "from": 0, "to": 2, "type": "0x2", "program": "hook"},
    {"at": 10, "kind": "received", "of": 9, "event": 11},
    {"at": 11, "kind": "end"},
]


def cut(bus, event, story=None):  # noqa: F811
    source, target = bus.home / "in", bus.home / "out"
    source.write_text("".join(json.dumps(line) + "\n" for line in story or STORY))
    bus.ok("record", "--cut", str(event), str(source), str(target))
    lines = [json.loads(line) for line in target.read_text().splitlines()]
    assert lines[0]["only"] == f"event {event}"
    return [line.get("at") for line in lines]


@pytest.mark.parametrize("event, left", [(7, [1, 2, 3, 4, 5]), (8, [1, 2, 3, 4, 5]), (10, [5, 7, 8]), (11, [5, 9, 10])])
def test_what_is_left_is_from_the_first_cause_to_all_that_came_of_it(quiet_bus, event, left):  # noqa: F811
    assert cut(quiet_bus, event) == [None, None, *left, 11]


def test_change_that_came_of_something_else_is_left_as_what_was_there(quiet_bus):  # noqa: F811
    cut(quiet_bus, 10)
    (change,) = [json.loads(line) for line in (quiet_bus.home / "out").read_text().splitlines() if '"change"' in line]
    assert change["by"] == "elsewhere"


TAKEN = {"kind": "received", "program": "tarn"}
REMEMBERED = {
    "who is answered": ([{"at": 1, "kind": "call", "from": 250, "to": 2, "type": "0x1", "id": 7, "text": "x", "program": "x"},
                         {**TAKEN, "at": 2, "of": 1, "event": 2}, {**TAKEN, "at": 3, "of": 99, "event": 3},
                         {"at": 4, "kind": "timer", "what": "x", "event": 9},
                         {"at": 5, "kind": "reply", "from": 2, "to": 250, "type": "0x1", "id": 7, "program": "tarn", "event": 9}], [1, 2, 4, 5]),
    "timer that goes on": ([{"at": 1, "kind": "timer", "what": "poll", "result": 5, "event": 2}, {"at": 2, "kind": "timer", "what": "other", "event": 3},
                            {"at": 3, "kind": "timer", "what": "poll", "result": 5, "event": 4}, {"at": 4, "kind": "timer", "what": "poll", "event": 9}],
                           [1, 3, 4]),
    "looks at links": ([{"at": 1, "kind": "kernel", "what": "ptm0:up", "event": 2}, {"at": 2, "kind": "timer", "what": "x", "event": 3},
                        {"at": 3, "kind": "message", "from": 0, "to": 2, "type": "0x2", "program": "hook"}, {**TAKEN, "at": 4, "of": 3, "event": 4},
                        {"at": 5, "kind": "kernel", "what": "eth0.5:up", "event": 9}, {"at": 6, "kind": "kernel", "what": "ptm0:down", "event": 10}],
                       [1, 3, 4, 5]),
}


@pytest.mark.parametrize("story, left", REMEMBERED.values(), ids=REMEMBERED)
def test_what_the_daemon_remembers_for_a_chain_comes_with_it(quiet_bus, story, left):  # noqa: F811
    assert cut(quiet_bus, 9, [HEADER, *story]) == [None, *left]


def test_start_of_the_daemon_comes_with_a_chain_that_it_is_recorded_with(quiet_bus):  # noqa: F811
    start = [{"at": 1, "kind": "log", "program": "tarn", "text": "x"}, {"at": 2, "kind": "command", "program": "tarn", "what": "ls", "event": 2},
             {"at": 3, "kind": "thread", "program": "tarn", "event": 3}, {"at": 4, "kind": "kernel", "program": "tarn", "what": "x:up", "event": 4},
             {"at": 5, "kind": "timer", "program": "tarn", "what": "x", "event": 5}, {"at": 6, "kind": "timer", "what": "y", "event": 9}]
    assert cut(quiet_bus, 9, [{**HEADER, "daemon": None}, *start]) == [None, 1, 2, 3, 4, 6]
    assert cut(quiet_bus, 9, [HEADER, *start]) == [None, 6]


def test_first_line_stays_whatever_else_it_says(quiet_bus):  # noqa: F811
    story = [{**HEADER, "kind": "datagram", "at": 0}, {"at": 1, "kind": "kernel", "event": 8}, {"at": 2, "kind": "timer", "event": 7}]
    assert cut(quiet_bus, 7, story) == [0, 2]


def test_datagram_that_tells_of_the_event_itself_stays(quiet_bus):  # noqa: F811
    story = [HEADER, {"at": 1, "kind": "datagram", "event": 7}, {"at": 2, "kind": "datagram", "event": 8}, {"at": 3, "kind": "end"}]
    assert cut(quiet_bus, 7, story) == [None, 1, 3]


def test_causes_in_a_circle_end(quiet_bus):  # noqa: F811
    circle = [HEADER, {"at": 1, "kind": "a", "event": 1, "cause": 2}, {"at": 2, "kind": "b", "event": 2, "cause": 1}]
    assert cut(quiet_bus, 1, circle) == [None, 1, 2]


def test_long_chain_in_the_wrong_order_is_followed_without_delay(quiet_bus):  # noqa: F811
    last = 25000
    chain = [{"at": at, "kind": "timer", "event": at, "cause": at + 1} for at in range(1, last)]
    assert len(cut(quiet_bus, 1, [HEADER, *chain, {"at": last, "kind": "timer", "event": last}])) == last + 1


def test_datagrams_of_which_nothing_came_are_left_out_without_delay(quiet_bus):  # noqa: F811
    datagrams = [{"at": 1, "kind": "datagram"}] * 120000
    assert cut(quiet_bus, 1, [HEADER, {"at": 1, "kind": "timer", "event": 1}, *datagrams]) == [None, 1]


@pytest.mark.parametrize("data, why", [(b"", "is no recording"), (b"\0\xff\n", "line 1"), (b'{"recording":2}\n', "line 1"),
                                       (json.dumps(HEADER).encode() + b"\nnoise\n", "line 2"),
                                       (json.dumps(HEADER).encode() + b"\n" + b"x" * (1 << 21), "line 2 is too much"),
                                       (json.dumps(HEADER).encode() + b"\n", "nothing tells of event 7")])
def test_what_cannot_be_cut_is_refused_in_one_line(quiet_bus, data, why):  # noqa: F811
    source = quiet_bus.home / "in"
    source.write_bytes(data)
    assert why in quiet_bus.fails(1, "record", "--cut", "7", str(source), str(quiet_bus.home / "out"))
    assert not (quiet_bus.home / "out").exists()
