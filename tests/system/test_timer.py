"""The timer thread in real seconds, at its own socket."""
import json

import pytest

from support import LATE, SLOWER, eventually
from wps import BUTTON, INTERNAL_SOCKET, POLL, START, STATUS, TR069, Setup, framed, pause, seconds_between, status

OUT_OF_USE = 0x112  # a message that the daemon acknowledges in its log and does nothing about
VOCLI_COMMAND = 0x11F
FIRED = "process msg type = 274 without reply, oid = 0, from EID = 0"


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    booted = Setup(tmp_path_factory.mktemp("gateway"))
    booted.up()
    yield booted
    booted.down()


def task(seconds, name="task", **more):
    return {"tmApplyObj": {"Name": name, "exprTime": seconds, "msg_type": OUT_OF_USE, **more}}


def fired(gateway, mark, count=1, seconds=20):
    """The lines of the messages that have come from the timer, when there are so many."""
    return eventually(lambda: (lines := [line for line in gateway.log(mark) if FIRED in line["text"]])
                      and len(lines) >= count and lines, seconds)


def microseconds(mark):
    return {"t_mono_us": int(mark)}


def test_task_fires_when_its_seconds_are_over(gateway):
    mark = gateway.mark()
    gateway.timer(task(3))
    (line,) = fired(gateway, mark)
    assert 2.9 <= seconds_between(microseconds(mark), line) < 3 + LATE


def test_interval_of_two_seconds_fires_five_seconds_at_the_third_tick(gateway):
    mark = gateway.mark()
    gateway.timer({"tminterval": 2, **task(5)})
    (line,) = fired(gateway, mark)
    gateway.timer({"tminterval": 1})
    assert 5.9 <= seconds_between(microseconds(mark), line) < 6 + LATE


def test_payload_comes_with_the_message(gateway):
    mark = gateway.mark()
    gateway.timer({"tmApplyObj": {"Name": "text", "exprTime": 0, "msg_type": 0xD8, "msgParmData": "{\"a\":1}"}})
    gateway.logged('DHCPC Option {"a":1}', mark)


def test_deleted_task_does_not_fire(gateway):
    mark = gateway.mark()
    gateway.timer(task(1, "kept"), task(1, "gone"), {"tmApplyObjDelete": "gone"}, task(1, "last"))
    assert len(fired(gateway, mark, 2)) == 2
    pause(1.5)
    assert gateway.count(FIRED, mark) == 2


def test_thousand_tasks_fire(gateway):
    """In the order in which they came, so that the last one's outcome tells of all. (The log may lose lines of such a burst.)"""
    count = int(1000 / SLOWER)  # it takes the daemon so long to handle them that its own queue is full otherwise
    mark = gateway.mark()
    program = ("import json,socket\n"
               "def add(name, kind, data):\n"
               " task={'Name':name,'exprTime':2,'msg_type':kind,'msgParmData':data}\n"
               " text=json.dumps({'tmApplyObj':task}).encode()+b'\\0'\n"
               f" s=socket.socket(socket.AF_UNIX); s.connect('{INTERNAL_SOCKET}')\n"
               " s.sendall(bytes(10)+len(text).to_bytes(2,'little')+bytes(44)+text); s.close()\n"
               f"for i in range({count - 1}): add('task %d'%i, {OUT_OF_USE}, 'x')\n"
               f"add('last', {VOCLI_COMMAND}, 'touch /tmp/last-task')\n")
    gateway.inside("/usr/bin/python3", "-c", program)
    eventually(lambda: gateway.run("test", "-e", "/tmp/last-task").returncode == 0)
    assert gateway.count(FIRED, mark) > count / 2
    assert gateway.count("is lost", mark) == 0


def test_hostile_clients_do_not_keep_a_task_from_its_time(gateway):
    mark = gateway.mark()
    gateway.timer(task(4))
    gateway.timer_bytes(b"")  # connects and says nothing
    gateway.timer_bytes(bytes(30), linger=1.2)  # part of a header
    gateway.timer_bytes(framed("{}")[:10] + b"\xff\xff" + bytes(44) + b"{")  # a length that never comes
    gateway.timer_bytes(framed("no JSON"))
    gateway.timer_bytes(b"\xff" * 3000)
    assert len(fired(gateway, mark)) == 1
    assert gateway.count("fail to recv msg", mark) >= 3
    assert len(gateway.processes("tarn")) == 1


def test_socket_is_its_users_alone(gateway):
    assert gateway.inside("stat", "-c", "%a %F", INTERNAL_SOCKET).strip() == "600 socket"


def test_session_is_polled_every_ten_seconds(gateway):
    gateway.wireless(STATUS=[status(1), status(2)])
    mark = gateway.mark()
    gateway.ask(START, TR069, **BUTTON)
    eventually(lambda: gateway.running_status() == "NoError, WPS ok!", 40)
    polls = [line for line in gateway.log(mark) if f"process msg type = {POLL & 0xFFFFFF} without" in line["text"]]
    assert 9.9 <= seconds_between(polls[0], polls[1]) < 10 + LATE


def test_socket_that_a_dead_daemon_left_is_replaced(gateway):
    gateway.timer(task(2, "lost"))
    mark = gateway.restart_daemon()
    gateway.timer(task(1, "kept"))
    assert len(fired(gateway, mark)) == 1
    pause(2)
    assert gateway.count(FIRED, mark) == 1  # tasks do not outlive the daemon


@pytest.mark.parametrize("there", ("echo mine > PATH", "mkdir PATH", "ln -s /etc/passwd PATH"))
def test_what_else_is_at_the_path_is_left_alone(gateway, there):
    gateway.must("service", "stop", "tarn")
    gateway.inside("sh", "-c", f"rm -f PATH; {there}; ls -ld PATH > /tmp/before".replace("PATH", INTERNAL_SOCKET))
    mark = gateway.mark()
    gateway.must("service", "start", "tarn")
    gateway.logged("fail to voUtilTcpSvrInit(TARN_INTERNAL_IPC)", mark)
    gateway.logged("sendInitFin() : ", mark)  # it goes on without the timer
    gateway.wireless()
    gateway.ask(START, TR069, **BUTTON)
    gateway.logged("Init skCltLocalConn failed", mark)
    gateway.inside("sh", "-c", f"ls -ld {INTERNAL_SOCKET} | cmp - /tmp/before && rm -rf {INTERNAL_SOCKET}")
    gateway.restart_daemon()
    assert json.loads(gateway.inside("vcfgctl", "get", "--json", "WiFi.AccessPoint.1.Enable"))
