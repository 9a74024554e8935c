"""The hosts of the LAN: machines with a real DHCP client, each behind a port of the gateway."""
import hashlib
import json
import re

from . import inside, net
from .errors import GatewayError

NAME = re.compile(r"[a-z0-9][a-z0-9-]{0,11}")
FORUM = 3561  # whose numbers of vendor options a device identifies itself by
IDENTITY = {"oui": 1, "serial": 2, "product_class": 3}
HOST = "/usr/lib/lan/host"


def hosts(state):
    try:
        return json.loads((state.directory / "hosts.json").read_text(encoding="utf-8"))
    except FileNotFoundError:
        return {}


def forget(state):
    (state.directory / "hosts.json").unlink(missing_ok=True)


def _remember(state, all_hosts):
    (state.directory / "hosts.json").write_text(json.dumps(all_hosts), encoding="utf-8")


def add(state, name, port, mac=None, address=None, **announced):
    """A new host behind the port, whose cable is plugged in. It asks for a lease, unless it has an address of its own."""
    state.room("lan")
    known = hosts(state)
    if not NAME.fullmatch(name) or name in known:
        raise GatewayError(f"{name} is there already" if name in known else
                           f"{name} is no name for a host: 12 small letters, digits and '-'")
    hardware = mac or _hardware(name)
    options = _client_options(name, **announced)
    far = _far(state, port)
    inside.must(state, HOST, "attach", name, far, hardware, room="lan")
    _remember(state, {**known, name: {"port": port, "mac": hardware, "options": None if address else options}})
    net.plug(state, port, True)
    if address:
        inside.must(state, HOST, "exec", name, "ip", "addr", "add", address, "dev", "eth0", room="lan")
    else:
        inside.must(state, HOST, "client", name, *options, room="lan")


def remove(state, name):
    """The host is gone at once: it gives no lease back."""
    _host(state, name)
    inside.must(state, HOST, "remove", name, room="lan")
    _remember(state, {other: record for other, record in hosts(state).items() if other != name})


def move(state, name, port):
    """The host is plugged into another port, where it asks for a lease, if it has a client."""
    record = _host(state, name)
    inside.must(state, HOST, "move", name, _far(state, port), room="lan")
    _remember(state, {**hosts(state), name: {**record, "port": port}})
    net.plug(state, port, True)
    if record["options"] is not None:
        inside.must(state, HOST, "client", name, *record["options"], room="lan")


def signal(state, name, what):
    """Has the host's DHCP client renew or release its lease."""
    if _host(state, name)["options"] is None:
        raise GatewayError(f"{name} has no DHCP client")
    inside.must(state, "sh", "-c", f"kill -{'USR1' if what == 'renew' else 'USR2'} $(cat /run/hosts/{name}/client.pid)", room="lan")


def replace_by(state, name, command):
    """Becomes the command on the host."""
    _host(state, name)
    inside.replace_by(state, [HOST, "exec", name, *command], room="lan")


def described(state):
    """{name: {port, mac, addresses}} of all hosts."""
    return {name: {"port": record["port"], "mac": record["mac"], "addresses": _addresses(state, name)}
            for name, record in hosts(state).items()}


def _addresses(state, name):
    (device,) = json.loads(inside.must(state, HOST, "exec", name, "ip", "-json", "-4", "addr", "show", "dev", "eth0", room="lan"))[:1] or ({},)
    return [entry["local"] for entry in device.get("addr_info", ())]


def _host(state, name):
    state.room("lan")
    try:
        return hosts(state)[name]
    except KeyError:
        raise GatewayError(f"there is no host {name}") from None


def _far(state, name):
    port = net.port(state, name)
    if port.upstream:
        raise GatewayError(f"{name} is no LAN port")
    return port.far


def _hardware(name):
    """The host's own address, the same whenever it comes."""
    return "02:4c:" + ":".join(f"{byte:02x}" for byte in hashlib.sha256(name.encode()).digest()[:4])


def _client_options(name, hostname=None, vendor_class=None, client_id=None, **identity):
    """What the client announces, in its own words."""
    words = ["-x", f"hostname:{hostname or name}"]
    words += ["-V", vendor_class] if vendor_class is not None else []
    words += ["-C", "-x", f"0x3d:{client_id}"] if client_id else []
    told = b"".join(_field(code, (identity.get(key) or "").encode()) for key, code in IDENTITY.items() if identity.get(key))
    words += ["-x", f"0x7d:{(FORUM.to_bytes(4, 'big') + _counted(told)).hex()}"] if told else []
    return words


def _field(code, data):
    return bytes([code]) + _counted(data)


def _counted(data):
    if len(data) > 255:
        raise GatewayError("an option holds 255 bytes")
    return bytes([len(data)]) + data
