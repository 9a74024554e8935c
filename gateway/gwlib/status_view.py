"""The state of a gateway on one screen."""
from .terminal import fitted, paint

GOOD = {"Up", "Bound", "Enabled", "Connected", "green", "Renewing"}
BAD = {"Down", "Error", "red", "LowerLayerDown", "Disconnected"}
MODES = {"answer": "answers", "refuse": "refuses", "silent": "is silent"}
NOBODY = "vcmd does not answer"


def lines(now):
    """Rows of a margin word and a text; the word stands once for rows that belong together."""
    rows = [("gateway", f"up for {_duration(now['upSeconds'])}, state in {now['state']}")]
    for word, texts in (("services", _services(now)), ("cables", map(_cable, now["cables"])), ("lines", map(_line, now["lines"])),
                        ("IP", _interfaces(now)), ("default", map(_route, now["defaultRoutes"])),
                        ("DNS", [", ".join(now["nameServers"]) or "nobody to ask"]), ("LED", [coloured(now["internetLed"] or "unknown")]),
                        ("provider", [_provider(now["provider"])]), ("hosts", map(_host, now["hosts"].items()))):
        rows += [(word if number == 0 else "", text) for number, text in enumerate(list(texts) or ["none"])]
    return [fitted(f"{word:9} {text}") for word, text in rows]


def _duration(seconds):
    hours, minutes = seconds // 3600, seconds // 60 % 60
    return " ".join(f"{count} {unit}" for count, unit in ((hours, "h"), (minutes, "min"), (seconds % 60, "s")) if count) or "0 s"


def coloured(status):
    return paint(status, "green" if status in GOOD else "red" if status in BAD else None)


def _services(now):
    runs = [f"{name} {' '.join(map(str, numbers))}" for name, numbers in now["services"].items() if numbers]
    yield "process " + ", ".join(runs) if runs else "none runs"
    for name, numbers in now["services"].items():
        if not numbers:
            yield paint(f"{name} does not run", "red")


def _cable(cable):
    plug = "in" if cable["plugged"] else "out"
    link = "link" if cable["link"] else "no link"
    agreed = cable["status"] == ("Up" if cable["link"] else "Down")
    model = "" if agreed or cable["status"] is None else paint(f"the model says {cable['status'] or 'nothing'}", "yellow")
    return f"{cable['port']:8} {cable['to']:8} {plug:3}  {paint(link, 'green' if cable['link'] else None)}  {model}".rstrip()


def _line(line):
    return f"{line['line']:11} {line['state']}" + (f"  {coloured(line['status'])}" if line["status"] else "")


def _interfaces(now):
    if now["interfaces"] is None:
        return [paint(NOBODY, "red")]
    return [_interface(interface) for interface in now["interfaces"]]


def _interface(interface):
    connections = [f"{connection['path']} {coloured(connection['status'] or 'unknown')}" for connection in interface["connections"]]
    return (f"{interface['alias'] or interface['path']:8} {interface['device']:8} {coloured(interface['status'])}"
            + "".join(f"  {part}" for part in (*interface["addresses"], *connections)))


def _route(route):
    return f"via {route['via']} dev {route['device']}" if route["via"] else f"dev {route['device']}"


def _provider(provider):
    routers = f"IPv6 router {' and '.join(provider['routers'])} advertises" if provider["routers"] else "no IPv6 router"
    return (f"DHCPv4 {MODES[provider['dhcpv4']]} (lease {provider['leaseSeconds']} s), NTP {MODES[provider['ntp']]}, "
            f"{routers}, DHCPv6 {MODES[provider['dhcpv6']]}")


def _host(host):
    name, record = host
    return f"{name:8} {record['port']:8} {record['mac']}  {', '.join(record['addresses']) or 'no address'}"
