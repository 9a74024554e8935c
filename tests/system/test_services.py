"""Daemons that die, start again, or start twice."""
from support import REFUSED, eventually

FINISHED = "System: System init finished"


def starts(gateway, since=0):
    return gateway.texts(since).count(FINISHED)


def registered(gateway):
    return int(gateway.inside("cat", "/proc/kmonitor/user_pid"))


def test_boot_completes_start_up_once(gateway):
    assert starts(gateway) == 1


def test_daemon_is_registered_with_the_kernel_monitor(gateway):
    assert [registered(gateway)] == gateway.processes("tarn")


def test_daemon_has_left_its_caller(gateway):
    number = gateway.processes("tarn")[0]
    assert gateway.inside("readlink", f"/.proc/{number}/cwd") == "/\n"
    status = gateway.inside("cat", f"/.proc/{number}/status")
    assert "PPid:\t1\n" in status
    assert gateway.run("readlink", f"/.proc/{number}/fd/0").stdout != "/dev/null\n"


def test_restarted_daemon_completes_its_start_up_again(gateway):
    mark = gateway.mark()
    gateway.must("service", "restart", "tarn")
    eventually(lambda: starts(gateway, mark) == 1)
    assert [registered(gateway)] == gateway.processes("tarn")


def test_daemon_goes_on_without_vcmd_and_with_it_again(gateway):
    gateway.wait("IP.Interface.1.IPv4Address.1.Status=Enabled")
    daemon = gateway.processes("tarn")
    gateway.must("service", "stop", "vcmd")
    mark = gateway.mark()
    gateway.lease(ip="203.0.113.40", subnet="255.255.255.0")
    gateway.logged("processDhcpcMsg : Enter", since=mark)
    gateway.must("service", "start", "vcmd")
    gateway.settle()
    gateway.lease(ip="203.0.113.41", subnet="255.255.255.0")
    gateway.wait("IP.Interface.1.IPv4Address.1.IPAddress=203.0.113.41")
    assert gateway.processes("tarn") == daemon


def test_killed_vcmd_comes_back_with_the_model_it_had(gateway):
    before = gateway.model()
    gateway.must("service", "restart", "vcmd")
    gateway.settle()
    eventually(lambda: gateway.run("vcfgctl", "dump").returncode == 0)
    assert gateway.model() == before


def test_second_daemon_takes_over(gateway):
    first = gateway.processes("tarn")
    mark = gateway.mark()
    gateway.inside("/usr/libexec/tarn/port-spawn", "/run/gateway/tarn2.pid", "/run/gateway/output", "env", "LD_PRELOAD=/usr/lib/gateway/libkmonitor.so", "tarn")
    eventually(lambda: starts(gateway, mark) == 1)
    second = set(gateway.processes("tarn")) - set(first)
    assert {registered(gateway)} == second
    # It switches the WAN port off and on, as at every start: the real client's new lease ends that.
    eventually(lambda: any('"addressAssigned":true' in text for text in gateway.texts(mark)))
    gateway.settle()
    gateway.lease(ip="203.0.113.45", subnet="255.255.255.0")
    gateway.wait("IP.Interface.1.IPv4Address.1.IPAddress=203.0.113.45")
    gateway.inside("kill", "-KILL", *map(str, first))
    gateway.lease(ip="203.0.113.46", subnet="255.255.255.0")
    gateway.wait("IP.Interface.1.IPv4Address.1.IPAddress=203.0.113.46")


def test_service_that_runs_is_not_started_twice(gateway):
    done = gateway.gw("service", "start", "vcmd")
    assert done.returncode == REFUSED and "runs already" in done.stderr
