"""The rows below the stream of a live view: links, LED, addresses, connections and hosts of a gateway, as they are."""
from ..status_view import coloured
from ..terminal import paint


def rows(now):
    """Of a status."""
    lines = [line for line in now["lines"] if line["state"] != "no carrier"]
    yield _row("links", map(_port, now["cables"]), map(_line, lines))
    yield _row("LED", [coloured(now["internetLed"] or "unknown")])
    for interface in now["interfaces"] or ():
        yield _row(interface["alias"] or interface["path"], [f"{interface['device']:8}", coloured(interface["status"])],
                   interface["addresses"], map(_connection, interface["connections"]))
    yield _row("default", (f"via {route['via']} dev {route['device']}" for route in now["defaultRoutes"] if route["via"]),
               [f"DNS {', '.join(now['nameServers'])}"] if now["nameServers"] else [])
    if now["hosts"]:
        yield _row("hosts", map(_host, now["hosts"].items()))


def _row(word, *groups):
    return f"{word:9} " + ("  ".join(text for group in groups for text in group) or "none")


def _port(cable):
    if cable["link"]:
        return paint(f"{cable['port']} up", "green")
    return f"{cable['port']} {'down' if cable['plugged'] else 'out'}"


def _line(line):
    if line["state"] == "carrier":
        return paint(f"{line['line']} up", "green")
    return f"{line['line']} {line['state']}"


def _connection(connection):
    return f"{connection['path']} {coloured(connection['status'] or 'unknown')}"


def _host(entry):
    name, host = entry
    return f"{name} ({host['port']}) {', '.join(host['addresses']) or 'no address'}"
