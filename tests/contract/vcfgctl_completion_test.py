"""Completion of vcfgctl: what it offers, and that bash and zsh type it."""
import os
import pty
import select
import shutil
import time
from pathlib import Path

import pytest
from vcfgctl_kit import PATIENCE, VCFGCTL, bus, quiet_bus  # noqa: F401 (fixtures)

FILES = Path(__file__).parents[2] / "vcfgctl" / "completion"
BASH_COMPLETION = Path("/usr/share/bash-completion/bash_completion")


@pytest.mark.parametrize("words, offered", [
    (["desc"], ["describe"]),
    (["get", "IP.Interface.1.IPv4Addr"], ["IP.Interface.1.IPv4AddressNumberOfEntries", "IP.Interface.1.IPv4Address."]),
    (["get", "Device.IP.Interface.1.LastCh"], ["Device.IP.Interface.1.LastChange"]),
    (["get", "IP.Interface.[wan].LastCh"], ["IP.Interface.[wan].LastChange"]),
    (["get", "IP.Interface."], ["IP.Interface.*."]),
    (["--json", "get", "--refresh", "DNS.Cl"], ["DNS.Client."]),
    (["--run-dir", "/x", "get", "DNS.Cl"], ["DNS.Client."]),
    (["set", "IP.Interface.1.LastCh"], ["IP.Interface.1.LastChange="]),
    (["set", "IP.Interface.1.Enable="], ["IP.Interface.1.Enable=true", "IP.Interface.1.Enable=false"]),
    (["set", "IP.Interface.1.Status=D"], ["IP.Interface.1.Status=Down", "IP.Interface.1.Status=Dormant"]),
    (["wait", "IP.Interface.*.LastCh"], ["IP.Interface.*.LastChange=="]),
    (["wait", "IP.Interface.1.Status!=U"], ["IP.Interface.1.Status!=Up", "IP.Interface.1.Status!=Unknown"]),
    (["add", "IP.Interface.1.IPv4Addr"], ["IP.Interface.1.IPv4Address."]),
    (["add", "IP.Interface", "MaxM"], ["MaxMTUSize="]),
    (["add", "Device.IP.Interface.", "Status=U"], ["Status=Up", "Status=Unknown"]),
    (["send", "--to", "ta"], ["tarn", "tarn_ground"]),
    (["send", "--type", "VCFG_MSG_WAN_IP_"], ["VCFG_MSG_WAN_IP_RELEASE", "VCFG_MSG_WAN_IP_RENEW"]),
    (["send", "--payload-f"], ["--payload-file"]),
    (["serve", "vh"], ["vhttpd"]),
    (["endp"], ["endpoints"]),
    (["endpoints", "--js"], ["--json"]),
    (["monitor", "--en"], ["--endpoint"]),
    (["monitor", "--endpoint", "vh"], ["vhttpd"]),
    (["monitor", "--endpoint", "tarn", "--type", "FE_W"], ["FE_WRITE", "FE_WATCH"]),
    (["get", "Colour."], []),
    (["fly", "x"], []),
    (["dump", "x"], []),
])
def test_what_may_follow(quiet_bus, words, offered):  # noqa: F811
    assert quiet_bus.ok("complete", "--", *words).splitlines() == offered


def test_instances_that_are_there_are_offered(bus):  # noqa: F811
    for path in ("IP.Interface", "IP.Interface", "IP.Interface.2.IPv4Address"):
        bus.ok("add", path)
    assert bus.ok("complete", "--", "get", "IP.Interface.").split() == ["IP.Interface.*.", "IP.Interface.1.", "IP.Interface.2."]
    assert bus.ok("complete", "--", "get", "IP.Interface.1.IPv4Address.").split() == ["IP.Interface.1.IPv4Address.*."]
    assert bus.ok("complete", "--", "get", "IP.Interface.2.IPv4Address.").split()[1:] == ["IP.Interface.2.IPv4Address.1."]


class Shell:
    """An interactive shell, typed at."""

    def __init__(self, environment, *command):
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execvpe(command[0], command, environment | {"TERM": "dumb", "PS1": "$ ", "PATH": path_with_vcfgctl()})
        self.printed = ""

    def type(self, text):
        os.write(self.terminal, text.encode())

    def await_text(self, text):
        end = time.monotonic() + PATIENCE
        while text not in self.printed:
            assert time.monotonic() < end, self.printed
            if select.select([self.terminal], [], [], 0.1)[0]:
                self.printed += os.read(self.terminal, 4096).decode(errors="replace")
        self.printed = self.printed.partition(text)[2]

    def end(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


def path_with_vcfgctl():
    return f"{os.path.dirname(VCFGCTL)}:{os.environ['PATH']}"


def bash(environment):
    shell = Shell(environment, "bash", "--norc", "--noprofile", "-i")
    shell.type(f"source {BASH_COMPLETION}; source {FILES}/vcfgctl.bash; echo rea''dy\n")
    return shell


def zsh(environment):
    shell = Shell(environment, "zsh", "-f", "-i")
    shell.type(f"fpath=({FILES} $fpath); autoload -U compinit; compinit -D -u; echo rea''dy\n")
    return shell


@pytest.mark.parametrize("start", [
    pytest.param(bash, marks=pytest.mark.skipif(not BASH_COMPLETION.exists(), reason="no bash-completion")),
    pytest.param(zsh, marks=pytest.mark.skipif(shutil.which("zsh") is None, reason="no zsh")),
])
def test_a_shell_types_it(bus, start):  # noqa: F811
    bus.ok("add", "IP.Interface", "Alias=wan")
    shell = start(bus.environment)
    shell.await_text("ready")
    for typed, printed in (("desc\tIP.Inter\t\x15vcfgctl get Device.IP.Interface.1.Ali\t", "IP.Interface.1.Alias=wan"),
                           ("set IP.Interface.1.IPv6En\ttr\t; vcfgctl get IP.Interface.1.IPv6Enable", "Enable=true"),
                           ("get 'IP.Interface.[wan].Ali\t", "IP.Interface.1.Alias=wan"),
                           ("send --to vcm\t --type VCFG_MSG_INIT_DATA\t --rep\t", "statCode=0")):
        shell.type(f"vcfgctl {typed}\n")
        shell.await_text(printed)
    shell.end()
