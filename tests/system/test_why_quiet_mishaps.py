"""Mishaps of which nobody is told, or by which no parameter changes: what somebody asks about leads him there all the same."""
import contextlib
import os
import subprocess

import pytest

from connections import isp
from links import WAN, eventually
from support import REPOSITORY
from why import told
from wps import Setup

ROUTER = "Routing.RouteInformation.InterfaceSetting.1.SourceRouter"
PREFIX = "IP.Interface.1.IPv6Prefix"
POOL = "DHCPv4.Server.Pool.1"
LOOKUP = "DNS.Diagnostics.NSLookupDiagnostics"
CONFIGURATION = {"IP.Interface.1": {"IPv6Enable": True}, "IP.Interface.2": {"IPv6Enable": True},
                 "Routing.Router.1": {"X_VORAN_IPv6DefaultInterfaces": "IP.Interface.1"}}


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    """Connected, with both kinds of IP."""
    booted = Setup(tmp_path_factory.mktemp("quiet"))
    booted.boot(CONFIGURATION, unplugged=())
    booted.wait("DHCPv4.Client.1.DHCPStatus=Bound")
    eventually(lambda: booted.value(f"{PREFIX}.1.Status") == "Enabled" and booted.led() == "green")
    yield booted
    booted.down()


@contextlib.contextmanager
def full(gateway, directory):
    """A file system of one page there, without room for anything."""
    gateway.inside("mount", "-t", "tmpfs", "-o", "size=4k", "tmpfs", directory)
    gateway.inside("sh", "-c", f"head -c 4096 /dev/zero >{directory}/all")
    yield
    gateway.inside("umount", directory)


def test_router_that_falls_silent_is_missed(gateway):
    gateway.must("isp-router", 1, "--lifetime", 5)
    told(gateway, ROUTER, words=['is "fe80::1"'])
    eventually(lambda: "default router, for 5 s" in gateway.inside("vcfgctl", "trace"))
    isp(gateway, "sh", "-c", "kill -KILL $(cat /var/lib/isp/router-1.pid)")
    told(gateway, ROUTER, words=["what it stands on has met since", f"of {WAN} noticed: router fe80::1 is not heard any more"])
    told(gateway, "--not", "IP.Interface.1.IPv6Address.1.Status=Disabled", words=["router fe80::1 is not heard any more"])
    gateway.must("isp-router", 1, "--lifetime", 1800)


def test_router_that_takes_itself_back_is_told(gateway):
    eventually(lambda: "default router, for 1800 s" in gateway.inside("vcfgctl", "trace"))
    gateway.must("isp-router", 1, "--lifetime", 0)
    told(gateway, ROUTER, words=["router fe80::1 says that it is no default router any more"])
    gateway.must("isp-router", 1, "--lifetime", 1800)


def test_prefix_that_the_provider_takes_back_is_told_of_after_it_has_gone(gateway):
    gateway.must("isp-dhcpv6", "--preferred", 2, "--valid", 4)
    gateway.inside("vcfgctl", "set", "--wait", "DHCPv6.Client.1.Enable=false")
    gateway.inside("vcfgctl", "set", "--wait", "DHCPv6.Client.1.Enable=true")
    eventually(lambda: gateway.get(f"{PREFIX}.*.Prefix"))
    gateway.must("isp-dhcpv6", "--delegate", "none", "--address", "none")
    words = [f"{PREFIX}.1 is not there any more", f"of {WAN} reported: its DHCPv6 lease has ended"]
    told(gateway, f"{PREFIX}.1.Prefix", words=words)
    told(gateway, "--not", f"{PREFIX}.1.Status=Enabled", words=words)
    told(gateway, f"{PREFIX}.", words=words)


def test_default_route_that_somebody_deletes_is_missed_by_all_that_lie_on_its_device(gateway):
    gateway.inside("ip", "route", "del", "default")
    words = ["IPv4 default route via 203.0.113.1 was deleted by process "]
    told(gateway, "--ran", "led_internet", words=words)
    told(gateway, "IP.Interface.1.Status", words=words)
    gateway.inside("ip", "route", "add", "default", "via", "203.0.113.1", "dev", WAN)
    eventually(lambda: words[0] not in gateway.inside("vcfgctl", "why", "IP.Interface.1.Status"))


def test_configuration_that_finds_no_room_is_told_of_with_what_was_set(gateway):
    with full(gateway, "/data"):
        gateway.inside("vcfgctl", "set", "Time.NTPServer2=new.invalid")
        told(gateway, "Time.NTPServer2", words=['is "new.invalid"', "a start anew does away", "cannot be saved: ", "No space left"])
    eventually(lambda: "cannot be saved" not in gateway.inside("vcfgctl", "why", "Time.NTPServer2"))


def test_service_whose_files_find_no_room_is_told_of_with_its_setting(gateway):
    with full(gateway, "/run/tarn"):
        gateway.run("vcfgctl", "set", "--wait", f"{POOL}.MinAddress=192.168.1.120")
        told(gateway, f"{POOL}.MinAddress", words=["a hook of it", "failed", "/run/tarn/dhcp-server", "No space left"])
    gateway.inside("vcfgctl", "set", "--wait", f"{POOL}.MinAddress=192.168.1.100")


def test_service_that_died_is_missed(gateway):
    gateway.inside("sh", "-c", "kill $(cat /run/tarn/dhcp-server-lan.pid)")
    told(gateway, f"{POOL}.Status", words=["dhcp-server of lan, process ", "runs no more; who or what has ended it, nobody has told"])
    gateway.inside("vcfgctl", "set", "--wait", f"{POOL}.Enable=true")
    eventually(lambda: "runs no more" not in gateway.inside("vcfgctl", "why", f"{POOL}.Status"))


def test_name_server_that_does_not_answer_is_known_to_who_asked_it(gateway):
    told(gateway, "DHCPv4.Client.1.DNSServers", words=["whether a name server answers is not told to anybody", "it has not asked"])
    isp(gateway, "sh", "-c", "kill -STOP $(cat /var/lib/isp/dnsmasq.pid)")
    gateway.inside("vcfgctl", "set", f"{LOOKUP}.HostName=www.isp.example", f"{LOOKUP}.DNSServer=203.0.113.1",
                   f"{LOOKUP}.Timeout=1000", f"{LOOKUP}.DiagnosticsState=Requested")
    told(gateway, "DHCPv4.Client.1.DNSServers", words=[f'{LOOKUP}.Result.1.Status is "Error_Timeout"'])
    isp(gateway, "sh", "-c", "kill -CONT $(cat /var/lib/isp/dnsmasq.pid)")


def test_light_that_stays_dark_leads_to_who_disabled_the_interface(gateway):
    gateway.inside("vcfgctl", "set", "--no-apply", "IP.Interface.1.Enable=false")
    gateway.cable_out()
    eventually(lambda: gateway.led() == "dark")
    gateway.cable_in()
    told(gateway, "--ran", "led_internet", words=[f"because  cable {WAN} pulled", f"cable {WAN} plugged in", 'IP.Interface.1.Enable is "false"',
                                                  '"vcfgctl set --no-apply IP.Interface.1.Enable=false" ran'])
    gateway.inside("vcfgctl", "set", "--no-apply", "IP.Interface.1.Enable=true")


def test_line_that_comes_up_in_another_mode_is_told_to_who_waits_for_this_one(gateway):
    gateway.cable_out()
    gateway.must("dsl", "up", "--mode", "atm")
    gateway.wait("DSL.Channel.2.Status=Up")
    for question in (["IP.Interface.3.Status"], ["--not", "IP.Interface.3.Status=Up"], ["--not", "PTM.Link.1.Status=Up"]):
        told(gateway, *question, words=["DSL.Channel.1.Status is ", 'DSL.Line.1 carries DSL.Channel.2 instead, which is "Up"'])


@pytest.mark.skipif("GW_FINDINGS" in os.environ, reason="a sanitized program takes nothing preloaded")
def test_clock_that_jumps_is_noticed(gateway, tmp_path):
    library = tmp_path / "clock.so"
    subprocess.run(["cc", "-shared", "-fPIC", "-o", library, REPOSITORY / "tests/system/clock.c", "-ldl"], check=True)
    gateway.must("put", library, "/tmp/clock.so")
    gateway.must("service", "stop", "vcmd")
    gateway.inside("env", "LD_PRELOAD=/tmp/clock.so", "vcmd", "--defaults", "/data/model.json")
    gateway.inside("vcfgctl", "set", "Time.NTPServer3=before.invalid")
    gateway.inside("sh", "-c", "echo 3600 >/tmp/clock")
    gateway.inside("vcfgctl", "set", "Time.NTPServer4=behind.invalid")
    told(gateway, "Time.NTPServer3", words=["(the clock was set forward by 3600 s after that)"])
    told(gateway, "--not", "Time.NTPServer3=x", words=["vcmd", "noticed: the clock was set forward by 3600 s"])
    assert "the clock was set" not in next(line for line in gateway.inside("vcfgctl", "why", "Time.NTPServer4").splitlines() if "since" in line)
