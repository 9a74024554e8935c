"""How the lines that were seen become events with causes, and states over the time."""
import sys

import pytest

from support import REPOSITORY

sys.path.insert(0, str(REPOSITORY / "gateway"))
from gwlib import arrivals, chains, events, history, lanes, recorded  # noqa: E402
from gwlib.growing import File  # noqa: E402
from gwlib.timeline import Snapshot  # noqa: E402


def log(at, text, daemon="tarn", channel="stdout", level=6):
    return {"t_mono_us": at, "daemon": daemon, "channel": channel, "level": level, "source": "", "line": 0, "function": "", "text": text}


def command(at, text, status=0, ms=5):
    return {"t_mono_us": at, "command": text, "status": status, "effect": "", "duration_ms": ms}


def change(at, path, old, new, name="tarn"):
    return {"t_mono_us": at, "path": path, "old": old, "new": new, "by": "eid 2" if name == "tarn" else "eid 250", "byName": name, "refreshedFor": None}


def message(at, name, number, program, payload="", source=None):
    return {"t_mono_us": at, "kind": "message", "type": number, "typeName": f"VCFG_MSG_{name}", "srcName": source, "srcProgram": program,
            "dstName": "tarn", "dstProgram": "tarn", "path": None, "payload": payload}


def made(logs=(), commands=(), changes=(), messages=(), trace=()):
    """All of it as events with causes."""
    arrived, rest = arrivals.split(logs, messages)
    recording = recorded.Recording(trace)
    found = arrived + [events.of_log(line) for line in rest] + [events.of_command(line) for line in commands] + events.of_writes(changes)
    found = sorted(found + recorded.added(recording, found), key=lambda event: event.at)
    chains.link(found)
    recorded.link(recording, found)
    return found


def cause(found, part):
    event = next(event for event in found if part in event.text)
    return found[event.cause].text if event.cause >= 0 else None


KERNEL = [log(1000, "updateLinkStatus 26: receiving Kernel event !!"), log(1010, "updateWanLinkStatus 42:MMMMMMMMMMMMMMMMM payload: eth0.5:down:0:H !!")]


def test_kernel_event_has_the_text_that_is_logged_behind_it():
    assert [event.text for event in made(KERNEL) if event.kind == "kernel"] == ["eth0.5 is down"]


def test_what_the_daemon_does_belongs_to_what_it_took_up_last():
    found = made(KERNEL, [command(2000, "first")], [change(3000, "IP.Interface.1.Status", "Up", "Down")])
    assert cause(found, "first") == cause(found, "IP.Interface.1") == "eth0.5 is down"


def test_what_it_does_much_later_belongs_to_nothing():
    assert cause(made(KERNEL, [command(9_000_000, "much later")]), "much later") is None


def test_message_waits_until_it_is_taken_up():
    (event,) = [event for event in made([log(5000, "process msg type = 1014 without reply, oid = 0, from EID = 0")],
                                        messages=[message(2000, "WAN_INTERNET_LED_UPDATE", 0x800003F6, "PTM.Link.{i}")]) if event.kind == "message"]
    assert (event.at, event.took, event.who) == (2000, 3000, "apply hook of PTM.Link.{i}")


def test_message_that_the_log_alone_tells_of_has_its_name_and_the_leases_words():
    found = made([log(1, "process msg type = 216 without reply, oid = 0, from EID = 0"), log(2, 'DHCPC Option {"addressAssigned":false}')])
    assert found[0].text.startswith("DHCPC_OPTION: no lease any more")


def test_what_an_apply_hook_sends_belongs_to_the_write_of_its_table():
    found = made(KERNEL, changes=[change(2000, "PTM.Link.1.Status", "Up", "Down"), change(3000, "IP.Interface.3.Status", "Up", "Down")],
                 messages=[message(4000, "WAN_INTERNET_LED_UPDATE", 0x800003F6, "PTM.Link.{i}")])
    assert cause(found, "WAN_INTERNET_LED_UPDATE").startswith("PTM.Link.1")


def test_line_that_trains_goes_on_with_what_set_it_going():
    found = made(KERNEL, [command(2000, "/usr/bin/wan adsl open", ms=50)],
                 [change(9000, "DSL.Line.1.LinkStatus", "Disabled", "EstablishingLink", "vcfgctl"), change(2_500_000, "DSL.Line.1.LinkStatus", "EstablishingLink", "Up", "vcfgctl")])
    assert cause(found, "Disabled → EstablishingLink") == "/usr/bin/wan adsl open" and cause(found, "EstablishingLink → Up").endswith("Disabled → EstablishingLink")


def test_parameters_of_one_write_are_one_event_and_others_their_own():
    found = events.of_writes([change(10, "A.B.1.X", "1", "2"), change(12, "A.B.1.Y", "1", ""), change(13, "A.B.2.X", "1", "2"), change(9000, "A.B.1.X", "2", "3")])
    assert [event.text for event in found] == ["A.B.1: X 1 → 2; Y 1 → (empty)", "A.B.2: X 1 → 2", "A.B.1: X 2 → 3"]


def test_object_that_comes_and_goes_is_said_to():
    found = events.of_writes([change(10, "A.B.1", None, ""), change(9000, "A.B.1", "", None)])
    assert [event.text for event in found] == ["A.B.1: is new", "A.B.1: is gone"]


def told(at, kind, number, caused_by=0, program="tarn", text="", **more):
    return {"t_mono_us": at, "kind": kind, "event": number, "cause": caused_by, "program": program, "process": 1, "thread": 1, "text": text, **more}


TRACE = [told(990, "event", 7, text="cable eth0.5 pulled, of which the kernel told tarn[55]"),
         told(1500, "event", 8, 7, text="tarn[55] went on in a thread of its own"), told(2900, "received", 9, 8, "vcmd"),
         told(3001, "changed", 9, program="vcmd", path="IP.Interface.1.Status", old="Up", new="Down"),
         told(3100, "event", 10, 9, "vcmd", "vcmd[14] ran the hook apply/IP.Interface.{i} set IP.Interface.1"),
         told(3900, "event", 11, 7, text='tarn[55] ran the command "echo \\"x\\"\\n"'),
         told(5000, "event", 12, program="vcfgctl", text='"vcfgctl wait" ran'), told(6000, "received", 13, 12, "vcmd")]


def test_recorder_knows_threads_hooks_and_causes():
    found = made(KERNEL, [command(3500, "another message's"), command(4000, 'echo "x"\n')], [change(3000, "IP.Interface.1.Status", "Up", "Down")], trace=TRACE)
    assert cause(found, "IP.Interface.1: Status") == "tarn[55] went on in a thread of its own"
    assert cause(found, "a thread of its own") == cause(found, 'echo "x"') == "eth0.5 is down"
    assert cause(found, "ran the hook") == "IP.Interface.1: Status Up → Down"
    assert not any("vcfgctl wait" in event.text for event in found)


def test_recorder_that_has_forgotten_leaves_the_order_of_things():
    found = made(KERNEL, [command(2000, "first")], trace=[told(1999, "event", 50, 49, text='tarn[55] ran the command "first"')])
    assert cause(found, "first") == "eth0.5 is down"


def test_causes_in_a_circle_end():
    found = made(KERNEL, trace=[told(1, "event", 1, 2, "a", "one"), told(2, "event", 2, 1, "b", "two")])
    assert {event.text for event in found} >= {"one", "two"}


def test_changes_before_the_watch_are_the_recorders():
    (line,) = recorded.writes_before(recorded.Recording([told(10, "received", 1, 0, "vcmd", "vcmd[14] took FE_SET of endpoint 250(vcfgctl)", srcEid=250),
                                                         told(11, "changed", 1, program="vcmd", path="A.B.1.X", old="1", new="2"), told(99, "changed", 1, program="vcmd", path="A.B.1.X")]), 50)
    assert (line["path"], line["old"], line["new"], line["byName"]) == ("A.B.1.X", "1", "2", "vcfgctl")


def states(snapshots, changes):
    found = sorted(events.of_writes(changes), key=lambda event: event.at)
    return {lane["path"]: [(span[0], span[1]) for span in lane["spans"]] for lane in lanes.of(history.of_model(snapshots, found, 0))}


def test_state_before_the_first_look_is_what_the_writes_have_changed():
    looked = Snapshot(100_000, {"IP.Interface.1.Status": "Up"}, ())
    changes = [change(50_000, "IP.Interface.1.Status", "Up", "Down"), change(90_000, "IP.Interface.1.Name", "a", "b"), change(95_000, "IP.Interface.1.Status", "Down", "Up")]
    assert states([looked], changes) == {"IP.Interface.1": [(50_000, "Down"), (95_000, "Up")]}


def test_what_changed_unseen_is_told_at_the_next_look():
    looks = [Snapshot(0, {"IP.Interface.1.Status": "Up"}, ()), Snapshot(70_000, {"IP.Interface.1.Status": "Down"}, ())]
    assert states(looks, []) == {"IP.Interface.1": [(0, "Up"), (70_000, "Down")]}


def test_address_is_called_after_its_interface_and_goes_with_its_object():
    looks = [Snapshot(0, {"IP.Interface.1.Alias": "wan", "IP.Interface.1.IPv4Address.1.IPAddress": "192.0.2.1", "IP.Interface.1.IPv4Address.1.Status": "Enabled"}, ())]
    found = events.of_writes([change(9000, "IP.Interface.1.IPv4Address.1", "", None)])
    (lane,) = [lane for lane in lanes.of(history.of_model(looks, found, 0)) if "IPv4Address" in lane["path"]]
    assert lane["name"] == "wan" and [span[1:3] for span in lane["spans"]] == [["192.0.2.1", "good"], ["", "none"]]


@pytest.mark.parametrize(("text", "tone"), [("Up", "good"), ("LowerLayerDown", "off"), ("Error_Misconfigured", "bad"), ("EstablishingLink", "warn"), ("", "off")])
def test_states_look_as_they_are(text, tone):
    assert lanes.tone(text) == tone


def test_file_that_begins_anew_is_read_anew_and_noise_is_passed_over(tmp_path):
    path = tmp_path / "log.jsonl"
    file = File(path)
    assert file.new() == []
    path.write_text('{"a": 1}\nnoise\n[3]\n{"a":')
    assert file.new() == [{"a": 1}]
    path.unlink()
    path.write_text('{"a": 2}\n')
    assert file.new() == [{"a": 2}]
    file.close()
