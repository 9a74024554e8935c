"""The system log thread: a debug script of the provider's, really fetched by FTP and run."""
import pytest

from ftp import FtpServer
from links import Links, eventually, inside, threads

START, STOP = 0x80000FD1, 0x80000FD2
SERVER, SERIAL = "203.0.113.1", "SN-0815"
SCRIPT, RAN = "/tmp/systemDebug.sh", "/tmp/ran"
WRITES_DOWN = f'#!/bin/sh\necho "$# $1 $2" >>{RAN}\n'
HANGS = "#!/bin/sh\nsleep 4711 &\nsleep 4712\n"
FETCH = f"ftpget -u debug -p debug {SERVER} {SCRIPT} systemDebug.sh"
CREATED = "[TARN] SystemLogThreadHandle:System log pthread create"
RESTARTED = "[TARN] SystemLogThreadHandle:System pthread restart"
STOPPED = "[TARN] SystemLogThreadHandle: Stop System log thread"
MISSING = "periodic_send_log_thread: Not found systemDebug.sh!"


class Debugged(Links):
    """A gateway whose debug script is asked for."""

    def uses(self, interval=0, user="debug", password="debug", server=SERVER):
        self.set(*(f"X_VORAN_SystemDebug.{name}={value}" for name, value in
                   (("Interval", interval), ("UserName", user), ("Password", password), ("Server", server))))

    def start(self):
        mark = self.mark()
        self.tell(START)
        return mark

    def stop(self):
        """Returns when the thread has ended."""
        self.tell(STOP)
        eventually(lambda: threads(self) == self.resting, 40)

    def ran(self):
        """What the fetched script has written down."""
        return inside.run(self.state, "cat", RAN).stdout.splitlines()

    def fetches(self, since):
        return [text for text in self.commands(since) if text.startswith("ftpget ")]


@pytest.fixture(scope="module")
def booted(tmp_path_factory):
    booted = Debugged(tmp_path_factory.mktemp("systemlog"))
    booted.boot()
    booted.resting = threads(booted)
    booted.cable_in()
    booted.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    eventually(lambda: booted.led() == "green")
    booted.set(f"DeviceInfo.SerialNumber={SERIAL}")
    yield booted
    booted.down()


@pytest.fixture
def gateway(booted):
    """Without a thread, and without a script that an earlier test left."""
    booted.tell(STOP)
    booted.inside("rm", "-f", SCRIPT, RAN)
    eventually(lambda: threads(booted) == booted.resting, 40)  # link work, too, ends by itself
    booted.uses()
    yield booted
    booted.stop()


def test_script_is_fetched_and_run_with_serial_number_and_server(gateway):
    with FtpServer(gateway, WRITES_DOWN) as server:
        mark = gateway.start()
        assert eventually(gateway.ran)[0] == f"2 {SERIAL} {SERVER}"
        gateway.stop()
        assert server.events()[0] == {"sent": "systemDebug.sh", "user": "debug"}
    assert gateway.commands(mark)[:3] == [FETCH, f"chmod 777 {SCRIPT}", f"{SCRIPT} {SERIAL} {SERVER}"]
    assert gateway.count(CREATED, mark) == 1


def test_without_interval_the_script_runs_again_and_again(gateway):
    with FtpServer(gateway, WRITES_DOWN):
        gateway.start()
        eventually(lambda: len(gateway.ran()) >= 3)


def test_nothing_follows_a_stop(gateway):
    with FtpServer(gateway, WRITES_DOWN):
        gateway.start()
        eventually(gateway.ran)
        gateway.stop()
        mark = gateway.mark()
        gateway.handled()
        assert gateway.fetches(mark) == []


def test_stop_while_it_sleeps(gateway):
    gateway.uses(interval=60)
    mark = gateway.start()
    assert threads(gateway) == gateway.resting + 1
    gateway.stop()
    assert gateway.count(STOPPED, mark) == 1
    assert gateway.fetches(mark) == []


def test_stop_without_a_thread_says_nothing(gateway):
    mark = gateway.mark()
    gateway.tell(STOP)
    assert gateway.count("TARN]", mark) == 0


def test_stop_while_it_fetches_ends_the_fetch(gateway):
    with FtpServer(gateway, behaviour="hang"):
        mark = gateway.start()
        eventually(lambda: gateway.processes("ftpget"))
        gateway.stop()
        eventually(lambda: not gateway.processes("ftpget"))
    assert gateway.count(MISSING, mark) == 0


def test_stop_while_a_script_runs_that_never_ends_ends_all_of_it(gateway):
    with FtpServer(gateway, HANGS):
        gateway.start()
        eventually(lambda: len(gateway.processes("sleep")) == 2)
        gateway.stop()
        eventually(lambda: not gateway.processes("sleep"))
        assert gateway.processes("systemDebug.sh") == []


def test_daemon_serves_on_while_a_fetch_hangs(gateway):
    with FtpServer(gateway, behaviour="hang"):
        gateway.start()
        eventually(lambda: gateway.processes("ftpget"))
        gateway.handled()
        assert gateway.processes("ftpget")


def test_restart_while_it_fetches_ends_the_fetch_and_begins_anew(gateway):
    with FtpServer(gateway, behaviour="hang"):
        gateway.start()
        (first,) = eventually(lambda: gateway.processes("ftpget"))
        mark = gateway.start()
        assert gateway.count(RESTARTED, mark) == 1
        eventually(lambda: gateway.processes("ftpget") not in ([], [first]))
        assert len(gateway.processes("ftpget")) == 1


def test_restart_takes_the_new_settings(gateway):
    with FtpServer(gateway, WRITES_DOWN):
        gateway.uses(interval=60)
        gateway.start()
        gateway.uses(interval=0)
        gateway.handled()
        assert gateway.ran() == []
        gateway.start()
        eventually(gateway.ran)


def test_missing_script_is_told_and_the_thread_goes_on(gateway):
    with FtpServer(gateway, script=None) as server:
        mark = gateway.start()
        eventually(lambda: gateway.count(MISSING, mark) >= 2)
        assert server.events() == []
    assert all(text.startswith("ftpget ") for text in gateway.commands(mark))


def test_server_that_is_not_there_gives_no_script(gateway):
    mark = gateway.start()
    eventually(lambda: gateway.count(MISSING, mark) >= 1)


def test_script_that_an_earlier_fetch_left_is_run_when_the_login_is_refused(gateway):
    with FtpServer(gateway, WRITES_DOWN):
        gateway.start()
        eventually(gateway.ran)
        gateway.stop()
    gateway.inside("rm", "-f", RAN)
    gateway.uses(password="wrong")
    with FtpServer(gateway, WRITES_DOWN) as server:
        gateway.start()
        eventually(gateway.ran)
        assert server.events()[0] == {"refused": "debug", "password": "wrong"}


@pytest.mark.parametrize(("user", "password"), [
    ("the operator", "two words"), ("op;reboot", "$(touch /tmp/pwned)`touch /tmp/pwned`"),
    ("it's", "\"quoted\" & 'more' | >x"), ("Müller", "%s%n\\")])
def test_credentials_reach_the_server_as_they_are(gateway, user, password):
    gateway.uses(user=user, password=password)
    with FtpServer(gateway, WRITES_DOWN, user=user, password=password) as server:
        gateway.start()
        assert eventually(gateway.ran)[0] == f"2 {SERIAL} {SERVER}"
        assert server.events()[0] == {"sent": "systemDebug.sh", "user": user}
    assert inside.run(gateway.state, "ls", "/tmp/pwned").returncode != 0


def test_without_the_internet_nothing_is_fetched(gateway):
    gateway.cable_out()
    eventually(lambda: gateway.led() == "dark")
    with FtpServer(gateway, WRITES_DOWN):
        mark = gateway.start()
        gateway.handled()
        assert gateway.fetches(mark) == []
        gateway.cable_in()
        eventually(gateway.ran)
