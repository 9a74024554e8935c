"""What a gateway is like at this moment: one record, from its model, its kernel and its neighbours."""
import ipaddress
import json
import re

from . import inside, isp, isp6, lan, led, ports, services, times
from .state import inside_number

MARK = "\x1e"
TABLES = ("Ethernet.Interface.", "DSL.Line.", "IP.Interface.", "DHCPv4.Client.", "DHCPv6.Client.", "PPP.Interface.")
ASKED = ("vcfgctl get " + " ".join(TABLES), "ip -json addr", "ip -json route show default", "ip -json -6 route show default",
         "cat /etc/resolv.conf", "cat " + " ".join(led.FILES), "gw-linesim state")


def snapshot(state):
    """Whatever cannot be learnt is None."""
    # One shell inside asks for all of it, so that it is the state of one moment.
    orders = "; ".join(f"{command} 2>/dev/null; printf '{MARK}'" for command in ASKED)
    told = inside.run(state, "sh", "-c", orders).stdout.split(MARK)
    values, links, routes4, routes6, resolver, leds, lines = (told + [""] * len(ASKED))[: len(ASKED)]
    model = _objects(values)
    kernel = {link["ifname"]: link for link in _json(links) or ()}
    return {
        "state": str(state.directory),
        "upSeconds": round((times.now() - times.boot(state)) / 1e6),
        "services": {name: [inside_number(number) for number in services.running(state, program)]
                     for name, program in services.PROGRAMS.items()},
        "cables": _cables(state, kernel, model),
        "lines": _lines(lines, model),
        "interfaces": _interfaces(model, kernel),
        "defaultRoutes": [_route(route) for text in (routes4, routes6) for route in _json(text) or ()],
        "nameServers": re.findall(r"^nameserver\s+(\S+)", resolver, re.M),
        "internetLed": led.colour(leds.splitlines()) if leds else None,
        "provider": _provider(state),
        "hosts": lan.described(state),
    }


def _json(text):
    try:
        return json.loads(text)
    except ValueError:
        return None


def _objects(text):
    """{object: {parameter: value}}; None when there is nobody to tell."""
    found = {}
    for line in text.splitlines():
        path, _, value = line.partition("=")
        thing, _, parameter = path.rpartition(".")
        found.setdefault(thing, {})[parameter] = value
    return found or None


def _rows(model, pattern):
    """Instances in the order of their numbers."""
    found = [(path, record) for path, record in model.items() if re.fullmatch(pattern, path)]
    return sorted(found, key=lambda row: [int(word) for word in row[0].split(".") if word.isdecimal()])


def _cables(state, kernel, model):
    """Each port: whether its cable is plugged in, whether the kernel has a link, and what the model says of it."""
    far = {room: {link["ifname"]: "UP" in link["flags"]
                  for link in _json(inside.run(state, "ip", "-json", "link", room=room).stdout) or ()}
           for room in ("isp", "lan")}
    return [{
        "port": port.name, "to": "provider" if port.upstream else "LAN",
        "plugged": far[port.room].get(port.far, False),
        "link": "LOWER_UP" in kernel.get(port.name, {}).get("flags", ()),
        "status": None if model is None else model.get(port.path, {}).get("Status", ""),
    } for port in ports.of(state)]


def _lines(text, model):
    lines = [{"line": name, "state": now} for name, _, now in (line.partition(": ") for line in text.splitlines())]
    for line in lines:
        number = line["line"].removeprefix("DSL line ")
        line["status"] = ((model or {}).get(f"DSL.Line.{number}") or {}).get("LinkStatus") if number.isdecimal() else None
    return lines


def _interfaces(model, kernel):
    if model is None:
        return None
    return [_interface(path, record, model, kernel) for path, record in _rows(model, r"IP\.Interface\.\d+")]


def _interface(path, record, model, kernel):
    device = record.get("X_VORAN_IfName") or _ppp(record, model).get("X_VORAN_IfName") or record.get("Name", "")
    return {
        "path": path, "alias": record.get("Alias", ""), "device": device, "wan": ports.is_set(record.get("X_VORAN_WAN")),
        "status": record.get("Status", ""),
        "addresses": [f"{entry['local']}/{entry['prefixlen']}" for entry in kernel.get(device, {}).get("addr_info", ())
                      if entry["scope"] == "global"],
        "connections": [*_connections(path, model), *_dialled(record, model)],
    }


def _ppp(record, model):
    lower = record.get("LowerLayers", "")
    return model.get(lower, {}) if lower.startswith("PPP.Interface.") else {}


def _connections(path, model):
    for client, record in _rows(model, r"DHCPv[46]\.Client\.\d+"):
        if record.get("Interface") == path and ports.is_set(record.get("Enable")):
            yield {"path": client, "status": record.get("DHCPStatus") or record.get("Status", "")}


def _dialled(record, model):
    ppp = _ppp(record, model)
    if ppp:
        yield {"path": record["LowerLayers"], "status": ppp.get("ConnectionStatus", "")}


def _route(route):
    return {"family": 6 if ":" in route.get("gateway", "") else 4, "via": route.get("gateway", ""), "device": route.get("dev", "")}


def _provider(state):
    four, six = isp.settings(state), isp6.settings(state)
    dhcp = six["dhcp"]
    return {"dhcpv4": four["mode"], "leaseSeconds": four["lease"], "ntp": four["ntp"],
            "routers": [number for number, router in six["routers"].items() if router["advertise"]],
            "dhcpv6": "answer" if dhcp["serve"] else "silent",
            "prefix": str(ipaddress.ip_network(dhcp["delegate"])) if dhcp["delegate"] else ""}
