"""The LAN's clients in the words of the tests: what they have, and what the gateway knows of them."""
import contextlib
import json

from support import REPOSITORY, eventually

POOL = "DHCPv4.Server.Pool.1"
DEVICES = "ManagementServer.ManageableDevice"
SPEAKER = REPOSITORY / "tests" / "system" / "dhcp_speaker.py"


@contextlib.contextmanager
def visitors(home):
    """Adds hosts, which go at the end."""
    names = []

    def add(name, *options, port="eth0.3"):
        home.must("lan", "host", "add", name, "--port", port, *options)
        names.append(name)
        return name

    yield add
    for name in names:
        home.must("lan", "host", "remove", name)


def described(home, name):
    return json.loads(home.must("lan", "host", "list"))[name]


def address(home, name, prefix="192.168.1."):
    found = eventually(lambda: [text for text in described(home, name)["addresses"] if text.startswith(prefix)])
    return found[0]


def speak(home, name, mac, **options):
    """Asks for a lease on the host with these bytes as options (`o60` is option 60), as no decent client would; the address."""
    told = [f"{code[1:]}:{data.hex()}" for code, data in options.items()]
    return home.must("lan", "host", "exec", name, "/usr/bin/python3", str(SPEAKER), "eth0", mac, *told).strip()


def devices(home):
    """{serial number: (OUI, product class, hardware address)} of the table's entries."""
    found = home.get(f"{DEVICES}.*.")
    return {serial: tuple(found[path.replace("SerialNumber", other)] for other in ("ManufacturerOUI", "ProductClass", "X_VORAN_HardwareAddress"))
            for path, serial in found.items() if path.endswith(".SerialNumber") and serial}


def static_addresses(home):
    found = home.get(f"{POOL}.StaticAddress.*.")
    return {value: found[path.replace("Chaddr", "Yiaddr")] for path, value in found.items() if path.endswith(".Chaddr")}


def bridge_of(home, port):
    return next((entry["master"] for entry in json.loads(home.inside("bridge", "-json", "link")) if entry["ifname"] == port), None)


def server(home):
    return home.processes("dnsmasq")
