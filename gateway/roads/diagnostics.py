"""The road of three diagnostics: a ping, a traceroute and a download through the gateway, each made by the real tool and
shown as the object that it leaves in the data model."""
from gwlib import isp
from gwlib.waiting import until

PING, ROUTE, DOWNLOAD = (f"IP.Diagnostics.{name}" for name in ("IPPing", "TraceRoute", "DownloadDiagnostics"))
SIZE = 1_000_000
URL = f"http://{isp.ROUTER}:8080/{SIZE}/400000"
HIDDEN = ("Interface", "DSCP", "EthernetPriority", "Detailed")  # the tools are not asked for these, and tell nothing of them


def boots(road):
    road.title("1. The gateway boots and gets a lease; its provider has a speed-test server")
    road.boot(ready=lambda: road.check("start-up has completed", True))
    road.until("the address is enabled",
               lambda: "Enabled" in road.values("IP.Interface.1.IPv4Address.1.Status").values())
    road.inside("sh", "-c", "setsid python3 /usr/lib/isp/speedserver.py >/dev/null 2>&1 </dev/null &", room="isp")
    road.check("the server listens", until(lambda: "8080" in road.run("ss", "-Hltn", room="isp").stdout, 10))


def diagnose(road, thing, **parameters):
    """Asks for the test, waits for its outcome and shows the object; its values."""
    values = {**parameters, "DiagnosticsState": "Requested"}
    road.note(f"somebody asks for {thing}: " + ", ".join(f"{name} {value}" for name, value in parameters.items()))
    road.set(*(f"{thing}.{name}={value}" for name, value in values.items()))

    def outcome():
        found = {path.removeprefix(f"{thing}."): value for path, value in road.values(f"{thing}.").items()}
        return found if found["DiagnosticsState"] != "Requested" else None

    found = until(outcome, 30) or {}
    for name, value in found.items():
        if value and not name.endswith(HIDDEN):
            road.note(f"{thing}.{name} = {value}")
    road.check("the test is complete", found.get("DiagnosticsState") == "Complete")
    return found


def pings(road):
    road.title("2. A ping of the provider's router")
    found = diagnose(road, PING, Host="router.isp.example", NumberOfRepetitions=3)
    road.check("every packet came back", (found.get("SuccessCount"), found.get("FailureCount")) == ("3", "0"))


def traces(road):
    road.title("3. The route to it")
    found = diagnose(road, ROUTE, Host=isp.SECOND)
    hops = int(found.get("RouteHopsNumberOfEntries", 0))
    road.check("the last hop is the host", found.get(f"RouteHops.{hops}.HostAddress") == isp.SECOND)


def downloads(road):
    road.title("4. A download over two connections, measured every second")
    found = diagnose(road, DOWNLOAD, DownloadURL=URL, NumberOfConnections=2, EnablePerConnectionResults="true",
                     TimeBasedTestMeasurementInterval=1)
    road.check("both files have come", int(found.get("TestBytesReceived", 0)) >= 2 * SIZE)
    road.check("each connection has its result", found.get("PerConnectionResultNumberOfEntries") == "2"
               and "PerConnectionResult.2.EOMTime" in found)
    road.check("and so has each second", int(found.get("IncrementalResultNumberOfEntries", 0)) >= 1)


STEPS = [boots, pings, traces, downloads]
