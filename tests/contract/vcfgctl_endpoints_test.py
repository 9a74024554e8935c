"""Who is on the bus, as vcfgctl endpoints says it."""
import os
import re
import signal
import socket
import subprocess
import time

import pytest
from vcfgctl_kit import PATIENCE, VCFGCTL, VCMD, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)


def endpoint(a_bus, eid):
    found, = [line for line in lines(a_bus.ok("endpoints", "--json")) if line["eid"] == eid]
    return found


def test_each_endpoint_is_a_line_sorted_by_its_id(bus):  # noqa: F811
    other = bus.serve("40")
    nameless = bus.serve("120")
    header, *rows = bus.ok("endpoints").splitlines()
    assert header.split() == ["EID", "NAME", "PROGRAM", "PROCESS", "SINCE", "STATE"]
    assert [re.sub(r"\d\d:\d\d:\d\d", "AGE", row).split() for row in rows] == [
        ["1", "vcmd", "vcmd", str(bus.vcmd.pid), "AGE", "alive"],
        ["40", "wireless", "vcfgctl", str(other.pid), "AGE", "alive"],
        ["120", "-", "vcfgctl", str(nameless.pid), "AGE", "alive"]]


def test_json_has_the_time_since_when_on_both_clocks(quiet_bus):  # noqa: F811
    before_us = time.monotonic_ns() // 1000
    serve = quiet_bus.serve("15")
    line = endpoint(quiet_bus, 15)
    now_us = time.monotonic_ns() // 1000
    assert before_us <= line["since_mono_us"] <= now_us
    assert 0 <= line["age_us"] <= now_us - before_us
    since = time.mktime(time.strptime(line["since"], "%Y-%m-%dT%H:%M:%SZ")) - time.timezone
    assert abs(since - time.time()) < 60
    assert {key: line[key] for key in ("name", "program", "process", "alive", "state")} == {
        "name": "vhttpd", "program": "vcfgctl", "process": serve.pid, "alive": True, "state": "alive"}


def test_nobody_is_no_failure_and_works_without_vcmd(quiet_bus):  # noqa: F811
    assert quiet_bus.ok("endpoints") == ""
    quiet_bus.serve("15")
    assert endpoint(quiet_bus, 15)["alive"]


def test_killed_holder_is_dead_and_still_has_its_name(quiet_bus):  # noqa: F811
    serve = quiet_bus.serve("15")
    serve.kill()
    serve.wait()
    line = endpoint(quiet_bus, 15)
    assert (line["state"], line["alive"], line["program"], line["process"]) == ("dead", False, "vcfgctl", serve.pid)
    assert line["since"] is None


def test_stopped_holder_is_stopped(quiet_bus):  # noqa: F811
    serve = quiet_bus.serve("15")
    serve.send_signal(signal.SIGSTOP)
    try:
        wait_for(lambda: endpoint(quiet_bus, 15)["state"] == "stopped")
        assert not endpoint(quiet_bus, 15)["alive"]
        assert "which is stopped; with --take-over" in quiet_bus.fails(1, "serve", "15")
    finally:
        serve.send_signal(signal.SIGCONT)


def test_holder_that_takes_no_connections_is_busy_and_is_not_taken_over_by_a_slip(quiet_bus):  # noqa: F811
    serve = quiet_bus.serve("15")
    serve.send_signal(signal.SIGSTOP)
    waiting = []
    try:
        with pytest.raises(BlockingIOError):
            while True:
                waiting.append(socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET))
                waiting[-1].setblocking(False)
                waiting[-1].connect(str(quiet_bus.home / "run" / "eid-15"))
        line = endpoint(quiet_bus, 15)
        assert (line["state"], line["process"], line["program"]) == ("busy", serve.pid, "vcfgctl")
        assert f"process {serve.pid} (vcfgctl), which takes no connections" in quiet_bus.fails(1, "serve", "15")
    finally:
        serve.send_signal(signal.SIGCONT)
        for one in waiting:
            one.close()


def listening_socket(path):
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    listener.bind(str(path))
    listener.listen()
    return listener


def test_holder_that_ended_and_left_its_socket_to_a_child_is_seen(quiet_bus):  # noqa: F811
    path = quiet_bus.home / "run" / "eid-15"
    ready, tell = os.pipe()
    parent = os.fork()
    if parent == 0:
        kept = listening_socket(path)
        if os.fork() == 0:
            os.write(tell, str(os.getpid()).encode())
            signal.pause() or kept.close()
        os._exit(0)
    os.waitpid(parent, 0)
    child = int(os.read(ready, 20))
    try:
        line = endpoint(quiet_bus, 15)
        assert (line["state"], line["alive"], line["process"]) == ("left", False, parent)
        assert f"process {parent}, which has ended and left it to a child" in quiet_bus.fails(1, "serve", "15")
    finally:
        os.kill(child, signal.SIGKILL)


def test_holder_that_has_not_signed_is_named_by_the_system(quiet_bus):  # noqa: F811
    listener = listening_socket(quiet_bus.home / "run" / "eid-15")
    line = endpoint(quiet_bus, 15)
    assert line["process"] == os.getpid()
    assert line["program"] == os.path.basename(os.path.realpath("/proc/self/exe"))
    assert line["since_mono_us"] <= time.monotonic_ns() // 1000
    listener.close()


def test_only_endpoints_are_listed(quiet_bus):  # noqa: F811
    for name in ("eid-0", "eid-256", "eid-02", "eid-2.77", "eid-x", "eid-", "monitor-3"):
        (quiet_bus.home / "run" / name).write_text("")
    (quiet_bus.home / "run" / "eid-7").write_text("no socket")
    assert [(line["eid"], line["state"]) for line in lines(quiet_bus.ok("endpoints", "--json"))] == [(7, "dead")]


@pytest.mark.skipif(os.geteuid() != 0, reason="needs root, to become somebody else")
def test_holder_of_another_user_without_proc_access_is_named(quiet_bus):  # noqa: F811
    run = quiet_bus.home / "run"
    for parent in (run, *run.parents[:4]):
        if os.stat(parent).st_uid == 0 and str(parent) not in ("/", "/tmp"):
            os.chmod(parent, 0o755)
    os.chown(run, 0, 65534)
    os.chmod(run, 0o770)
    root = quiet_bus.serve("40")
    said = quiet_bus.run("serve", "40", user=65534, group=65534, extra_groups=[])
    assert said.returncode == 1
    assert f"endpoint 40(wireless) is served by process {root.pid} (vcfgctl);" in said.stderr


def can_hide_processes():
    return subprocess.run([*WITHOUT_PROCESSES, "true"], capture_output=True, check=False).returncode == 0


# As in the virtual gateway, whose /proc has its own files: of the processes, a program sees itself only.
WITHOUT_PROCESSES = ["unshare", "--mount", "sh", "-c", 'mount --rbind /proc /mnt && mount -t tmpfs none /proc && '
                     'ln -s /mnt/self /mnt/sys /proc && exec "$0" "$@"']


@pytest.mark.skipif(not can_hide_processes(), reason="needs the right to mount")
def test_where_no_processes_are_shown_a_holder_is_named_and_vcmd_has_a_successor(bus):  # noqa: F811
    serve = bus.serve("15")
    hidden = subprocess.run([*WITHOUT_PROCESSES, VCFGCTL, "serve", "15"], env=bus.environment, capture_output=True,
                            text=True, timeout=PATIENCE, check=False)
    assert hidden.stderr.startswith(f"vcfgctl: endpoint 15(vhttpd) is served by process {serve.pid} (vcfgctl); ")
    first = bus.vcmd
    bus.start(*WITHOUT_PROCESSES, VCMD, "--foreground")
    assert first.wait(PATIENCE) == 0
    wait_for(lambda: bus.run("get", "IP.IPv4Enable").returncode == 0)


def test_exit_codes(quiet_bus):  # noqa: F811
    assert "takes no argument" in quiet_bus.fails(2, "endpoints", "tarn")
    assert "there is no bus" in quiet_bus.fails(3, "--run-dir", "/nowhere", "endpoints")


def test_end_of_a_served_endpoint_leaves_nothing(quiet_bus):  # noqa: F811
    quiet_bus.ok("serve", "15", "--timeout", "50")
    assert quiet_bus.ok("endpoints", "--json") == ""
