"""The Ethernet ports of a gateway, as its configuration names them."""
import json
import re
from typing import NamedTuple

from .errors import GatewayError
from .state import REPOSITORY

USUAL = REPOSITORY / "gateway" / "defaults.json"
TABLE = re.compile(r"Ethernet\.Interface\.(\d+)")
DEVICE = re.compile(r"[A-Za-z0-9][A-Za-z0-9._-]{0,14}")
OTHERS = ("lo", "ptm0", "atm0", "opt0", "usb0")  # devices that are no ports


class Port(NamedTuple):
    name: str
    instance: int
    upstream: bool
    sfp: bool

    @property
    def path(self):
        return f"Ethernet.Interface.{self.instance}"

    @property
    def room(self):
        """Where the far end of its cable is."""
        return "isp" if self.upstream else "lan"

    @property
    def far(self):
        return f"eth{self.instance}"

    @property
    def hardware(self):
        """The port's address, the same at every boot."""
        return f"02:00:00:00:00:{self.instance:02x}"


def of(state):
    """All ports of the gateway's configuration, in its order. One that names none leaves the hardware as it usually is."""
    found = named(objects(state)) or named(_objects(USUAL))
    names = [port.name for port in found]
    for port in found:
        if not DEVICE.fullmatch(port.name) or port.name in OTHERS:
            raise GatewayError(f"{port.path}: {port.name!r} is no name for an Ethernet port")
        if names.count(port.name) > 1:
            raise GatewayError(f"{port.path}: {port.name} is the name of another port, too")
    return sorted(found, key=lambda port: port.instance)


def objects(state):
    """The configuration that the gateway has booted with; what cannot be read is none."""
    return _objects(state.booted)


def _objects(file):
    try:
        found = json.loads(file.read_text(encoding="utf-8"))["objects"]
        return {path: record for path, record in found.items() if isinstance(record, dict)}
    except (OSError, ValueError, KeyError, TypeError, AttributeError):
        return {}


def named(found):
    return [port for path, record in found.items() if (port := _port(path, record))]


def _port(path, record):
    instance = TABLE.fullmatch(path)
    if not instance or not record.get("Name"):
        return None
    upstream = is_set(record.get("Upstream")) or is_set(record.get("X_VORAN_WANPort"))
    return Port(str(record["Name"]), int(instance[1]), upstream, is_set(record.get("X_VORAN_SFP")))


def is_set(value):
    return str(value).lower() in ("true", "1")


def main(found):
    """The WAN port that is plugged in when a gateway is set up: a copper one, if there is any; None without WAN ports."""
    return next(iter(sorted((port for port in found if port.upstream), key=lambda port: port.sfp)), None)


def plugged(found):
    """The ports that are plugged in when a gateway is set up: the WAN, and one of the LAN."""
    first = (main(found), next((port for port in found if not port.upstream), None))
    return [port for port in first if port]
