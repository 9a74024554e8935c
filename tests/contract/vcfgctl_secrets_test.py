"""Passwords, PINs and keys are shown to who insists, and to nobody else."""
import json
import os
import stat

import pytest
from vcfgctl_kit import VCFGCTL, bus, lines, quiet_bus, wait_for  # noqa: F401 (fixtures)

PASSWORD = "PPP.Interface.1.Password"
HIDDEN = "********"


@pytest.fixture
def ppp(bus):  # noqa: F811
    bus.ok("add", "PPP.Interface", "Password=hunter2", "Username=me")
    return bus


def test_get_hides_them(ppp):
    assert ppp.ok("get", PASSWORD) == f"{PASSWORD}={HIDDEN}\n"
    assert "hunter2" not in ppp.ok("get", ".") and "hunter2" not in ppp.ok("get", "--json", ".")
    assert ppp.ok("get", "--show-secrets", PASSWORD) == f"{PASSWORD}=hunter2\n"
    assert lines(ppp.ok("get", "--json", PASSWORD)) == [{"path": PASSWORD, "value": HIDDEN}]


def test_an_empty_one_shows_as_empty(ppp):
    ppp.ok("set", f"{PASSWORD}=")
    assert ppp.ok("get", PASSWORD) == f"{PASSWORD}=\n"


def test_watch_hides_them(ppp):
    for options, old, new in (([], HIDDEN, HIDDEN), (["--show-secrets"], "x", "y")):
        watch = ppp.start(VCFGCTL, "watch", *options, PASSWORD, "--count", "40")
        values = iter(1000 * ["x", "y"])
        wait_for(lambda: ppp.ok("set", f"{PASSWORD}={next(values)}") == "" and watch.poll() is not None)  # noqa: B023
        assert f'{PASSWORD} "{old}" -> "{new}" (' in watch.stdout.read()


def test_wait_hides_them(ppp):
    assert ppp.ok("wait", f"{PASSWORD}==hunter2") == f"{PASSWORD}={HIDDEN}\n"
    assert ppp.ok("wait", "--show-secrets", f"{PASSWORD}~hunter") == f"{PASSWORD}=hunter2\n"
    assert "hunter2" not in ppp.fails(1, "wait", "--timeout", "20", f"{PASSWORD}==x")


def test_dump_hides_them_and_writes_them_to_a_private_file(ppp, tmp_path):
    assert json.loads(ppp.ok("dump"))["objects"]["PPP.Interface.1"] == {"Password": HIDDEN, "Username": "me"}
    backup = tmp_path / "backup"
    backup.write_text("old")
    backup.chmod(0o666)
    assert ppp.ok("dump", "--show-secrets", str(backup)) == ""
    assert stat.S_IMODE(backup.stat().st_mode) == 0o600
    assert json.loads(backup.read_text())["objects"]["PPP.Interface.1"]["Password"] == "hunter2"
    assert os.listdir(tmp_path).count("backup") == 1 and not [name for name in os.listdir(tmp_path) if "backup." in name]


def test_dump_keeps_them_nowhere_else(ppp, tmp_path):
    assert "--help" in ppp.fails(2, "dump", "--show-secrets")
    assert "--help" in ppp.fails(2, "dump", str(tmp_path / "backup"))
    assert "no regular file" in ppp.fails(1, "dump", "--show-secrets", "/dev/stdout")
    assert "No such file" in ppp.fails(1, "dump", "--show-secrets", "/no/such/file")


def test_what_they_are_shown_as_is_not_taken_back(ppp):
    assert "not what it is shown as" in ppp.fails(1, "set", f"{PASSWORD}={HIDDEN}")
    ppp.ok("set", f"PPP.Interface.1.Username={HIDDEN}")
    assert ppp.ok("get", "--show-secrets", PASSWORD) == f"{PASSWORD}=hunter2\n"


def test_a_refusal_and_the_log_do_not_tell_them(ppp):
    assert "sesame" not in ppp.fails(1, "set", PASSWORD + "=" + 20 * "sesame")
    ppp.run("send", "--to", "1", "--type", "0x00F0000B", "--oid", "999", "--payload", "sesame", "--reply")
    ppp.vcmd.terminate()
    _, logged = ppp.vcmd.communicate()
    assert "sesame" not in logged and "hunter2" not in logged


def test_load_takes_the_backup_and_not_what_hides_it(ppp, tmp_path):
    ppp.ok("dump", "--show-secrets", str(tmp_path / "backup"))
    (tmp_path / "hidden").write_text(ppp.ok("dump"))
    ppp.ok("set", f"{PASSWORD}=other")
    assert "not what it is shown as" in ppp.fails(1, "load", str(tmp_path / "hidden"))
    assert ppp.ok("get", "--show-secrets", PASSWORD) == f"{PASSWORD}=other\n"
    ppp.ok("load", str(tmp_path / "backup"))
    assert ppp.ok("get", "--show-secrets", PASSWORD) == f"{PASSWORD}=hunter2\n"
