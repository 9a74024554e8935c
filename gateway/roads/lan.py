"""The road of a LAN client: it says who it is and becomes a manageable device with an address of its own; a guest is moved to
the guests' bridge; the client leaves."""
import json
from gwlib import lan
from gwlib.state import REPOSITORY

CONFIGURATION = REPOSITORY / "gateway" / "defaults-guests.json"
DEVICES, POOL = "ManagementServer.ManageableDevice", "DHCPv4.Server.Pool.1"
GUEST_PORT, GUEST_FILTER = "eth0.2", "Bridging.Filter.1"
OUI, SERIAL, PRODUCT_CLASS = "0011AA", "BOX 7", "Box"
WORTH_SHOWING = ("tarnProcessDhcpdOption", "mgabDevUpdate", "add RDM_OID")


def values(road, path):
    return set(road.values(path).values())


def address(road, name):
    """Empty while the host has none."""
    return next(iter(lan.described(road.state)[name]["addresses"]), "")


def static_address(road):
    return next(iter(values(road, f"{POOL}.StaticAddress.1.Yiaddr")), "")


def is_reached(road, name):
    ping = ["/usr/lib/lan/host", "exec", name, "ping", "-c1", "-W1", "192.168.1.1"]
    return road.run(*ping, room="lan").returncode == 0


def bridge_of(road, port):
    """As the gateway's kernel has it."""
    links = json.loads(road.inside("bridge", "-json", "link"))
    return next((link["master"] for link in links if link["ifname"] == port), None)


def shows(line, describe):
    """Of the raw lines: what becomes of the DHCP server's reports; the links and the WAN side have roads of their own."""
    if "path" in line:
        return describe(line) if line["path"].startswith((DEVICES, "DHCPv4.Server", "Bridging.Filter")) else None
    if "command" in line:
        return None
    return describe(line) if line["text"].startswith(WORTH_SHOWING) or line["channel"] == "vlog" and line["level"] >= 7 else None


def boots(road):
    road.title("1. The gateway boots: a LAN whose leases are all static, and a bridge for guests")
    road.boot(config=CONFIGURATION)
    road.check("start-up has completed, and no device is known", not values(road, f"{DEVICES}.*.SerialNumber"))


def client_arrives(road):
    road.title("2. A client asks for a lease and says who it is: OUI, serial number and product class (option 125)")
    lan.add(road.state, "box", "eth0.3", oui=OUI, serial=SERIAL, product_class=PRODUCT_CLASS)
    mac = lan.hosts(road.state)["box"]["mac"]
    road.until("it is a manageable device", lambda: {OUI, SERIAL, PRODUCT_CLASS, mac} <= values(road, f"{DEVICES}.1."))
    road.until("its lease is a static one", lambda: {mac, "true"} <= values(road, f"{POOL}.StaticAddress.1."))
    road.until(f"its address is {static_address(road)}", lambda: address(road, "box") == static_address(road))
    road.until("it reaches the gateway", lambda: is_reached(road, "box"))


def is_served_again(road):
    road.title("3. The pool gets other addresses; the client asks anew, behind another port, and so does a newcomer")
    road.set(f"{POOL}.MinAddress=192.168.1.50", f"{POOL}.MaxAddress=192.168.1.59")
    lan.remove(road.state, "box")
    lan.add(road.state, "box", "eth0.4", oui=OUI, serial=SERIAL, product_class=PRODUCT_CLASS)
    lan.add(road.state, "newcomer", "eth0.4")
    road.until("the client has its own address again", lambda: address(road, "box") == static_address(road))
    road.until("the newcomer has one of the new", lambda: address(road, "newcomer").startswith("192.168.1.5"))
    road.check("the device is known once", len(values(road, f"{DEVICES}.*.SerialNumber")) == 1)


def guest_moves(road):
    road.title(f"4. A guest is plugged into {GUEST_PORT}: its vendor class belongs to the guests' bridge")
    lan.add(road.state, "phone", GUEST_PORT, vendor_class="guest phone")
    road.until("the port's filter names the guests' bridge",
               lambda: "Bridging.Bridge.2" in values(road, f"{GUEST_FILTER}.Bridge"))
    road.until(f"{GUEST_PORT} is a port of the kernel's br1", lambda: bridge_of(road, GUEST_PORT) == "br1")
    lan.move(road.state, "phone", GUEST_PORT)
    road.until("the guest's next lease is one of the guests'", lambda: address(road, "phone").startswith("192.168.2."))


def client_leaves(road):
    road.title("5. The client gives its lease back")
    lan.signal(road.state, "box", "release")
    road.until("no device is known", lambda: not values(road, f"{DEVICES}.*.SerialNumber"))
    road.check("the static address is kept for it", lan.hosts(road.state)["box"]["mac"] in values(road, f"{POOL}.StaticAddress.*.Chaddr"))
    road.until("the client has no address", lambda: not address(road, "box"))


STEPS = [boots, client_arrives, is_served_again, guest_moves, client_leaves]
