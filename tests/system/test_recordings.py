"""Recorded stories, played to a fresh daemon; and recordings that are not what they should be."""
import concurrent.futures
import json
import subprocess
import sys

import pytest

from support import DONE, GW, REFUSED, REPOSITORY

sys.path.insert(0, str(REPOSITORY / "gateway"))

from gwlib.replaying import doings, said  # noqa: E402
from gwlib.state import State  # noqa: E402

FOLDER = REPOSITORY / "tests" / "recordings"
STORIES = sorted(path.stem for path in FOLDER.glob("*.jsonl"))
AT_ONCE = 4
PATIENCE = 400


def replay(*words):
    command = [sys.executable, str(GW), "replay", "--fast", *map(str, words)]
    return subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=PATIENCE, check=False)


def lines(story):
    return [json.loads(line) for line in (FOLDER / f"{story}.jsonl").read_text().splitlines()]


def otherwise(story):
    """Another gateway address was written then."""
    next(line for line in story if line.get("path", "").endswith("GatewayIPAddress") and line["kind"] == "change")["new"] = "203.0.113.99"


def less(story):
    """A command was not run then."""
    story[:] = [line for line in story if line.get("what") != "/usr/bin/wan adsl open"]


def of_another_model(story):
    story[0]["model"] = "0" * 16
    story.insert(1, {"kind": "object", "path": "IP.Nowhere.1", "values": {"Name": "x"}})
    story[2]["values"]["Nothing"] = 7


def with_what_is_not_known(story):
    story[-1:-1] = [{"at": story[-1]["at"], "kind": "telepathy", "what": "x"}, {"at": story[-1]["at"], "kind": "thread"}]


def broken_off(story):
    story.pop()


def with_another_word(story):
    """The daemon said something else then."""
    line = spoken(story, "[updateWanLinkStatus][112]isDslLinkUp=[0]")
    line["text"] = line["text"].replace("[0]", "[7]")


def less_said(story):
    story.remove(spoken(story, "Ethernet Wan eth0.5 link down"))


def with_a_hook_that_refuses(story):
    hook_of_daemon(story).update(result=3 << 8, text="there is no such device")


def less_applied(story):
    story.remove(hook_of_daemon(story))


def of_an_older_release(story):
    """It told neither log lines nor hooks."""
    del story[0]["logs"]
    story[:] = [line for line in story if line.get("kind") not in ("log", "hook")]


def of_a_busy_machine(story):
    """What somebody says because it takes long is nothing that he does."""
    end = story.pop()
    story += [{"at": end["at"], "kind": "log", "program": "tarn", "log": "vlog", "level": 4, "text": 'command "ls" took 2500 ms'},
              {"at": end["at"], "kind": "command", "program": "tarn", "result": 0}, end]


def spoken(story, text):
    return next(line for line in story if line.get("kind") == "log" and said.timeless(line["text"]) == said.timeless(text))


def hook_of_daemon(story):
    """The last one, so that others of its object are left."""
    return next(line for line in reversed(story) if line.get("kind") == "hook" and line["what"].startswith("apply/Ethernet.Link.") and line.get("for") == 2)


TRIED = {otherwise: "lease_change", less: "cable", of_another_model: "ping", with_what_is_not_known: "ping", broken_off: "ping",
         with_another_word: "cable", less_said: "cable", with_a_hook_that_refuses: "cable", less_applied: "cable",
         of_an_older_release: "ping", of_a_busy_machine: "ping"}


def tried(folder, change):
    story = lines(TRIED[change])
    change(story)
    file = folder / f"{change.__name__}.jsonl"
    file.write_text("".join(json.dumps(line) + "\n" for line in story) + ('{"at": 77' if change is broken_off else ""))
    return file


@pytest.fixture(scope="module")
def replayed(tmp_path_factory):
    """All of them, several at once: mostly they wait."""
    folder = tmp_path_factory.mktemp("tried")
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        files = {**{story: FOLDER / f"{story}.jsonl" for story in STORIES}, **{change: tried(folder, change) for change in TRIED}}
        yield {name: pool.submit(replay, file) for name, file in files.items()}


@pytest.mark.parametrize("story", STORIES)
def test_daemon_does_what_it_did(replayed, story):
    done = replayed[story].result()
    assert done.returncode == DONE, done.stdout + done.stderr
    assert f"{story}: as recorded: " in done.stdout


def test_there_are_ten_stories_with_something_to_do():
    assert len(STORIES) >= 10
    for story in STORIES:
        assert any(line["kind"] in ("datagram", "message") for line in lines(story)[1:]), story


def test_daemon_that_does_otherwise_is_found_with_what_led_there(replayed):
    done = replayed[otherwise].result()
    assert done.returncode == REFUSED
    assert 'GatewayIPAddress: "" -> "203.0.113.99"' in done.stdout and "has happened otherwise" in done.stdout
    assert "-> port-event sends endpoint 2: VCFG_MSG_DHCPC_RENEWED" in done.stdout


def test_command_that_is_run_now_and_was_not_then_is_found(replayed):
    done = replayed[less].result()
    assert done.returncode == REFUSED
    assert "was not in the recording: runs /usr/bin/wan adsl open" in done.stdout


def test_line_that_says_something_else_is_found(replayed):
    done = replayed[with_another_word].result()
    assert done.returncode == REFUSED
    assert "has happened otherwise: says in stdout (6): [updateWanLinkStatus][(line)]isDslLinkUp=[7]" in done.stdout
    assert "now: says in stdout (6): [updateWanLinkStatus][(line)]isDslLinkUp=[0]" in done.stdout


def test_line_that_was_not_said_then_is_found(replayed):
    done = replayed[less_said].result()
    assert done.returncode == REFUSED
    assert "Ethernet Wan eth0.5 link down" in done.stdout and "1 differences" in done.stdout


def test_hook_refuses_what_it_refused(replayed):
    """What is compared is what vcmd took the end of the hook for."""
    done = replayed[with_a_hook_that_refuses].result()
    assert done.returncode == DONE, done.stdout + done.stderr


def test_hook_that_runs_now_and_did_not_then_is_found(replayed):
    done = replayed[less_applied].result()
    assert done.returncode == REFUSED
    assert "was not in the recording: has the hook run: apply/Ethernet.Link.{i} set Ethernet.Link.1" in done.stdout


def test_recording_of_an_older_release_is_compared_in_what_it_has(replayed):
    done = replayed[of_an_older_release].result()
    assert done.returncode == DONE, done.stdout + done.stderr


def test_how_slow_the_machine_was_is_no_difference(replayed):
    done = replayed[of_a_busy_machine].result()
    assert done.returncode == DONE, done.stdout + done.stderr


def cut(tmp_path, story, event):
    part = tmp_path / "part.jsonl"
    subprocess.run([State().build / "bin" / "vcfgctl", "record", "--cut", str(event), FOLDER / f"{story}.jsonl", part], check=True)
    return part


def last_of(story, kind):
    return [line["event"] for line in lines(story) if line.get("kind") == kind and line.get("program") == "tarn" and "event" in line][-1]


def test_recording_that_is_cut_to_a_chain_is_played_and_says_what_it_is(tmp_path):
    event = next(line["event"] for line in lines("cable") if line.get("kind") == "kernel" and line["what"].startswith("eth0.5:down"))
    part = cut(tmp_path, "cable", event)
    assert 0 < len(part.read_text().splitlines()) < len(lines("cable"))
    done = replay(part)
    assert done.returncode == DONE, done.stdout + done.stderr
    assert f"part: it holds only what came of event {event}: " in done.stdout and done.stdout.count("\n") == 2


@pytest.mark.parametrize("story, kind", [("wps", "timer"), ("first_boot", "reply")], ids=["timer that was set before", "with the daemon's start"])
def test_chain_that_goes_on_with_what_was_before_it_is_played_with_that(tmp_path, story, kind):
    done = replay(cut(tmp_path, story, last_of(story, kind)))
    assert done.returncode == DONE, done.stdout + done.stderr


@pytest.mark.parametrize("one, other", [
    ("begun at 2026-01-02T03:04:05Z", "begun at 2026-11-22T13:00:00.123Z"), ("kernelFd=0", "kernelFd=11"),
    ("AutoHuntProcess():113", "AutoHuntProcess():120"), ("updateWanLinkStatus 42:payload: x2:down !!", "updateWanLinkStatus 7:payload: x2:down !!"),
    ("[updateWanLinkStatus][112]isDslLinkUp=[0]", "[updateWanLinkStatus][90]isDslLinkUp=[0]"), ("tarn line 74, a()", "tarn line 75, a()")])
def test_what_every_run_says_otherwise_is_no_difference(one, other):
    assert said.timeless(one) == said.timeless(other)


@pytest.mark.parametrize("one, other", [
    ("wpsParseReplyMsg: rst: 0", "wpsParseReplyMsg: rst: 1"), ("[updateWanLinkStatus][112]isDslLinkUp=[0]", "[updateWanLinkStatus][112]isDslLinkUp=[1]"),
    ("process msg type = 251 without reply", "process msg type = 252 without reply"), ("eth0.5:up:100:F", "eth0.5:up:1000:F")])
def test_numbers_that_mean_something_are_compared(one, other):
    assert said.timeless(one) != said.timeless(other) and said.outline(one) == said.outline(other)


def test_level_and_log_of_a_line_are_compared():
    line = {"kind": "log", "program": "tarn", "log": "vlog", "level": 6, "text": "x"}
    assert len({doings.words(line), doings.words({**line, "level": 7}), doings.words({**line, "log": "syslog"})}) == 3


def test_recording_that_breaks_off_in_a_line_is_played_so_far(replayed):
    done = replayed[broken_off].result()
    assert done.returncode == DONE, done.stdout + done.stderr
    assert "it breaks off" in done.stdout


def test_recording_of_another_model_is_played_without_what_is_not_there(replayed):
    done = replayed[of_another_model].result()
    assert done.returncode == DONE, done.stdout + done.stderr
    assert "another data model" in done.stdout


def test_what_has_no_kind_that_is_known_is_passed_over(replayed):
    assert replayed[with_what_is_not_known].result().returncode == DONE


def refused(tmp_path, data):
    file = tmp_path / "tried.jsonl"
    file.write_bytes(data)
    done = replay(file)
    assert done.returncode == REFUSED, done.stdout
    assert done.stdout == "" and done.stderr.count("\n") == 1, done.stderr
    return done.stderr


HEADER = json.dumps({"recording": 1, "release": "1", "model": "0", "t_mono_us": 1, "clock": "2026-01-01T00:00:00Z", "daemon": None}).encode() + b"\n"


def message(**more):
    line = {"at": 1, "kind": "message", "from": 1, "to": 2, "type": "0x1", "program": "x", **more}
    return json.dumps(line).encode() + b"\n"


NO_RECORDINGS = [
    (b"", "it is empty"),
    (b"\0\xff\x17" * 1000, "line 1 is no JSON"),
    (b"[1]\n", "line 1 is no JSON object"),
    (b'{"at": 1}\n', "it is no recording"),
    (HEADER.replace(b'"recording": 1', b'"recording": 2').replace(b'"release": "1"', b'"release": "9.9"'), "a newer release (9.9)"),
    (HEADER.replace(b'"2026-01-01T00:00:00Z"', b'"yesterday"'), '"clock"'),
    (HEADER + b"x" * (1 << 21) + b"\n", "line 2 is longer than 1048576 bytes"),
    (HEADER + b"[" * 100000 + b"\n", "line 2 is no JSON"),
    (HEADER + b'{"at": true, "kind": "end"}\n', 'line 2: "at" is no number'),
    (HEADER + b'{"at": 1, "kind": "message", "from": 1}\n', 'line 2: "to" is missing'),
    (HEADER + b'{"at": 1, "kind": "message", "from": 1, "to": 777, "type": "0x1", "program": "x"}\n', "there is no endpoint 777"),
    (HEADER + b'{"at": 1, "kind": "datagram", "hex": "0x"}\n', "hexadecimal"),
    (HEADER + message(type="0x100000000"), 'line 2: "type" is out of range'),
    (HEADER + message(type="-0x5"), 'line 2: "type" is out of range'),
    (HEADER + message(id=1 << 70), 'line 2: "id" is out of range'),
    (HEADER + message(oid=-5), 'line 2: "oid" is out of range'),
    (HEADER + message(at=1 << 62), 'line 2: "at" is out of range'),
    (HEADER + message(iid="1:1.x"), 'line 2: "iid" is no instance'),
    (HEADER + message(iid="1:999"), 'line 2: "iid" is no instance'),
    (HEADER + message(text="\ud800"), 'line 2: "text" is no text'),
    (HEADER + message(text="x" * 65535), "line 2: no message is that long"),
    (HEADER + b'{"kind": "object", "path": "IP", "values": 3}\n', '"values" is no JSON object'),
    (HEADER + b'{"at": 1, "kind": "log", "program": "tarn", "text": "x"}\n', 'line 2: "log" is missing'),
    (HEADER + b'{"at": 1, "kind": "file", "what": "/tmp/\\u0000"}\n', 'line 2: "what" is no text'),
    (HEADER + b'{"at": 1, "kind": "command", "what": "\\ud800"}\n', 'line 2: "what" is no text'),
    (HEADER + b'{"at": 1, "kind": "end"}\nnoise\n{"at": 2, "kind": "end"}\n', "line 3 is no JSON"),
]


@pytest.mark.parametrize("data, why", NO_RECORDINGS, ids=[why for _, why in NO_RECORDINGS])
def test_what_is_no_recording_is_refused_in_one_line(tmp_path, data, why):
    assert why in refused(tmp_path, data)


def test_stories_tell_of_all_logs_and_of_hooks():
    told = [line for story in STORIES for line in lines(story)]
    assert {line["log"] for line in told if line.get("kind") == "log"} == {"vlog", "syslog", "stdout"}
    assert any(doings.is_doing(line) for line in told if line.get("kind") == "hook")


def test_stories_hold_no_secrets():
    for story in STORIES:
        assert "a secret of the line" not in (FOLDER / f"{story}.jsonl").read_text()
    assert '"Password":"********"' in (FOLDER / "backup_mail.jsonl").read_text()


