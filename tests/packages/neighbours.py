"""Whoever is at the other ends of the machine's cables: providers and LAN hosts, each a network namespace."""
import os
import pathlib
import subprocess
import sys

from machine import run, until


class Neighbour:
    def __init__(self, machine, port):
        self.space = f"tarn{os.getpid()}-{port}"
        run("ip", "netns", "add", self.space)
        run("ip", "link", "add", "cable", "netns", self.space, "type", "veth", "peer", "name", port, "netns", machine.first)
        self.run("ip", "link", "set", "lo", "up")
        self.plug()

    def run(self, *words, check=True):
        return run("ip", "netns", "exec", self.space, *words, check=check)

    def plug(self):
        self.run("ip", "link", "set", "cable", "up")

    def pull(self):
        """The far end goes, so that the machine's own kernel reports the loss."""
        self.run("ip", "link", "set", "cable", "down")

    def end(self):
        run("ip", "netns", "del", self.space, check=False)


class Provider(Neighbour):
    """`net` is the first three numbers of its network, whose addresses .100 and following it leases."""

    def __init__(self, machine, port, net, six):
        super().__init__(machine, port)
        self.net, self.six, self.server, self.times = net, six, None, 0
        self.log = pathlib.Path(machine.state) / f"{port}.log"
        self.run("ip", "addr", "add", f"{net}.1/24", "dev", "cable")
        self.run("ip", "-6", "addr", "add", f"{six}::1/64", "dev", "cable", "nodad")

    def serve(self, *routes):
        """`routes`: what option 121 says; the default route is told by option 3 when there are none."""
        self.stop()
        told = [f"--dhcp-option=121,{','.join(routes)}"] if routes else []
        with open(self.log, "a", encoding="utf-8") as log:
            self.server = subprocess.Popen(
                ["ip", "netns", "exec", self.space, "dnsmasq", "--keep-in-foreground", "--log-facility=-", "--conf-file=/dev/null", "--pid-file=", "--user=root",
                 "--port=0", "--interface=cable", "--bind-interfaces", "--dhcp-authoritative", "--log-dhcp",
                 f"--dhcp-range={self.net}.100,{self.net}.199,255.255.255.0,600", f"--dhcp-leasefile={self.log}.leases",
                 f"--dhcp-option=3,{self.net}.1", f"--dhcp-option=6,{self.net}.53", "--enable-ra", "--ra-param=cable,10,600",
                 f"--dhcp-range={self.six}::100,{self.six}::1ff,64,600", f"--dhcp-option=option6:dns-server,[{self.six}::53]", *told],
                stdout=log, stderr=log)
        self.times += 1
        until(lambda: self.log.read_text(encoding="utf-8").count("DHCP, IP range") >= self.times,
              lambda: self.log.read_text(encoding="utf-8")[-2000:])

    def renumber(self, address, *routes):
        """Has the next renewal grant this address with these routes."""
        self.stop()
        self.server = subprocess.Popen(["ip", "netns", "exec", self.space, sys.executable,
                                        pathlib.Path(__file__).parent / "renewal_server.py", f"{self.net}.1", address, *routes],
                                       stdout=subprocess.PIPE, text=True)
        assert self.server.stdout.readline() == "ready\n"

    def stop(self):
        if self.server:
            self.server.terminate()
            self.server.wait()
            self.server = None

    def end(self):
        self.stop()
        super().end()


class Host(Neighbour):
    """A LAN host that takes what it is given."""

    SCRIPT = ("#!/bin/sh\n[ \"$1\" = bound ] && ip addr replace $ip/$mask dev $interface && "
              "ip route replace default via $router\nexit 0\n")

    def lease(self, machine):
        script = pathlib.Path(machine.state) / "host.script"
        script.write_text(self.SCRIPT, encoding="ascii")
        script.chmod(0o755)
        until(lambda: self.run("udhcpc", "-i", "cable", "-n", "-q", "-t", "5", "-T", "1", "-s", script,
                               check=False).returncode == 0, "a lease for a LAN host")
        return self.run("ip", "-4", "-o", "addr", "show", "dev", "cable").stdout.split()[3].split("/")[0]
