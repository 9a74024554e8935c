"""Diagnostics in the words of the tests: what is asked for, what the real tool printed, what the data model says."""
import datetime
import os
import re
import signal
import subprocess

from links import State, inside
from support import eventually

PING, ROUTE, SERVERS = "IP.Diagnostics.IPPing", "IP.Diagnostics.TraceRoute", "IP.Diagnostics.ServerSelectionDiagnostics"
DOWNLOAD, UPLOAD = "IP.Diagnostics.DownloadDiagnostics", "IP.Diagnostics.UploadDiagnostics"
LOOKUP = "DNS.Diagnostics.NSLookupDiagnostics"
F5, F4 = "ATM.Diagnostics.F5Loopback", "ATM.Diagnostics.X_VORAN_F4Loopback"
COUNTS = ("SuccessCount", "FailureCount", "AverageResponseTime", "MinimumResponseTime", "MaximumResponseTime")
ROUTER, SECOND, NOBODY_THERE = "203.0.113.1", "203.0.113.2", "203.0.113.250"
SPEED = f"http://{ROUTER}:8080"
FIRST_ON_PATH = "/usr/lib/gateway/bin"
PRINTED = "/tmp/printed"


class Diagnostics:
    def __init__(self, gateway):
        self.gateway = gateway
        self.state = State(gateway.directory)

    def request(self, thing, **parameters):
        values = {**parameters, "DiagnosticsState": "Requested"}
        self.gateway.inside("vcfgctl", "set", *(f"{thing}.{name}={value}" for name, value in values.items()))

    def result(self, thing, seconds=40, **parameters):
        """Asks for the test; all of the object as it is when the daemon has stored the outcome."""
        self.request(thing, **parameters)
        return self.outcome(thing, seconds)

    def outcome(self, thing, seconds=40):
        eventually(lambda: self.gateway.value(f"{thing}.DiagnosticsState") != "Requested", seconds)
        self.gateway.settle()
        prefix = len(thing) + 1
        return {path[prefix:]: value for path, value in self.gateway.get(f"{thing}.").items()}

    def cancel(self, thing):
        self.gateway.inside("vcfgctl", "set", f"{thing}.DiagnosticsState=Canceled")
        self.gateway.wait(f"{thing}.DiagnosticsState=None")

    # --- the tools ---

    def keep_what(self, tool):
        """The real tool's output goes to a file too, one for each run."""
        self.replace(tool, f"""real=$(PATH=${{PATH#{FIRST_ON_PATH}:}} command -v {tool})
mkdir -p {PRINTED}
mkfifo {PRINTED}/pipe.$$
tee {PRINTED}/{tool}.$$ <{PRINTED}/pipe.$$ >&2 &
"$real" "$@" {"2" if tool == "curl" else ""}>{PRINTED}/pipe.$$ {"" if tool == "curl" else "2>&1"}
status=$?
wait
rm {PRINTED}/pipe.$$
exit $status
""")

    def printed(self, tool):
        """What its runs printed; they are forgotten."""
        names = self.gateway.run("sh", "-c", f"ls {PRINTED}/{tool}.*").stdout.split()
        texts = [self.gateway.inside("cat", name) for name in names]
        self.gateway.inside("rm", "-f", *names)
        return texts

    def replace(self, tool, script):
        self.gateway.must("exec", "--", "sh", "-c", f"cat >{FIRST_ON_PATH}/{tool}; chmod 755 {FIRST_ON_PATH}/{tool}",
                          text="#!/bin/sh\n" + script)

    def restore(self, tool):
        self.gateway.inside("rm", "-f", f"{FIRST_ON_PATH}/{tool}")

    def processes(self):
        """The tools that run, and what they have started."""
        return [name for name in ("port-diag", "pingsvrs", "pings", "ping", "traceroute", "curl", "dig")
                if self.gateway.processes(name)]


class SpeedServer:
    """The provider's speed-test server, while the tests last."""

    def __init__(self, diagnostics):
        words = ["/usr/bin/python3", "/usr/lib/isp/speedserver.py"]
        self.process = subprocess.Popen(inside.entering(diagnostics.state, "isp", words), env=inside.environment(),
                                        stdin=subprocess.DEVNULL, start_new_session=True)
        eventually(lambda: inside.run(diagnostics.state, "sh", "-c", "ss -Hltn | grep -q ':8080 '",
                                      room="isp").returncode == 0)

    def end(self):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()


def rounded(milliseconds):
    return str(int(float(milliseconds) + 0.5))


def ping_times(text):
    """("minimum", "average", "maximum") as ping printed them, in milliseconds."""
    return re.search(r"rtt min/avg/max/mdev = ([\d.]+)/([\d.]+)/([\d.]+)/", text).groups()


def moment(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00"))


def in_order(values, *names):
    moments = [moment(values[name]) for name in names]
    return moments == sorted(moments)


def entries(values, table):
    """The records of a table, by instance."""
    found = {}
    for path, value in values.items():
        match = re.fullmatch(rf"{table}\.(\d+)\.(\w+)", path)
        if match:
            found.setdefault(int(match[1]), {})[match[2]] = value
    return [found[number] for number in sorted(found)]
