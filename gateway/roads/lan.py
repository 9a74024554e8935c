#!/usr/bin/env python3
"""The road of a LAN client: it says who it is and becomes a manageable device with an address of its own; a guest is moved to
the guests' bridge; the client leaves."""
import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from gwlib import boot, inside, lan, model  # noqa: E402
from gwlib.road import Road, travel  # noqa: E402
from gwlib.state import REPOSITORY, State  # noqa: E402

CONFIGURATION = REPOSITORY / "gateway" / "defaults-guests.json"
DEVICES, POOL = "ManagementServer.ManageableDevice", "DHCPv4.Server.Pool.1"
GUEST_PORT, GUEST_FILTER = "eth0.2", "Bridging.Filter.1"
OUI, SERIAL, PRODUCT_CLASS = "0011AA", "BOX 7", "Box"
WORTH_SHOWING = ("tarnProcessDhcpdOption", "mgabDevUpdate", "add RDM_OID")


def values(state, path):
    return set(model.get(state, path).values())


def address(state, name):
    """Empty while the host has none."""
    return next(iter(lan.described(state)[name]["addresses"]), "")


def static_address(state):
    return next(iter(values(state, f"{POOL}.StaticAddress.1.Yiaddr")), "")


def is_reached(state, name):
    ping = ["ip", "netns", "exec", name, "ping", "-c1", "-W1", "192.168.1.1"]
    return inside.run(state, *ping, room="lan").returncode == 0


def bridge_of(state, port):
    """As the gateway's kernel has it."""
    links = json.loads(inside.must(state, "bridge", "-json", "link"))
    return next((link["master"] for link in links if link["ifname"] == port), None)


class LanRoad(Road):
    """Shows what becomes of the DHCP server's reports; the links and the WAN side have roads of their own."""

    def _of_log(self, line):
        shown = line["text"].startswith(WORTH_SHOWING)
        return super()._of_log(line) if shown or line["channel"] == "vlog" and line["level"] >= 7 else None

    def _of_model(self, line):
        return super()._of_model(line) if line["path"].startswith((DEVICES, "DHCPv4.Server", "Bridging.Filter")) else None

    def _of_journal(self, line):
        return None


def boots(road, state):
    road.title("1. The gateway boots: a LAN whose leases are all static, and a bridge for guests")
    boot.up(state, config=CONFIGURATION, say=lambda text: None)
    road.watch(state)
    road.check("start-up has completed, and no device is known", not values(state, f"{DEVICES}.*.SerialNumber"))


def client_arrives(road, state):
    road.title("2. A client asks for a lease and says who it is: OUI, serial number and product class (option 125)")
    lan.add(state, "box", "eth0.3", oui=OUI, serial=SERIAL, product_class=PRODUCT_CLASS)
    mac = lan.hosts(state)["box"]["mac"]
    road.until("it is a manageable device", lambda: {OUI, SERIAL, PRODUCT_CLASS, mac} <= values(state, f"{DEVICES}.1."))
    road.until("its lease is a static one", lambda: {mac, "true"} <= values(state, f"{POOL}.StaticAddress.1."))
    road.until(f"its address is {static_address(state)}", lambda: address(state, "box") == static_address(state))
    road.until("it reaches the gateway", lambda: is_reached(state, "box"))


def is_served_again(road, state):
    road.title("3. The pool gets other addresses; the client asks anew, behind another port, and so does a newcomer")
    inside.must(state, "vcfgctl", "set", f"{POOL}.MinAddress=192.168.1.50", f"{POOL}.MaxAddress=192.168.1.59")
    lan.remove(state, "box")
    lan.add(state, "box", "eth0.4", oui=OUI, serial=SERIAL, product_class=PRODUCT_CLASS)
    lan.add(state, "newcomer", "eth0.4")
    road.until("the client has its own address again", lambda: address(state, "box") == static_address(state))
    road.until("the newcomer has one of the new", lambda: address(state, "newcomer").startswith("192.168.1.5"))
    road.check("the device is known once", len(values(state, f"{DEVICES}.*.SerialNumber")) == 1)


def guest_moves(road, state):
    road.title(f"4. A guest is plugged into {GUEST_PORT}: its vendor class belongs to the guests' bridge")
    lan.add(state, "phone", GUEST_PORT, vendor_class="guest phone")
    road.until("the port's filter names the guests' bridge",
               lambda: "Bridging.Bridge.2" in values(state, f"{GUEST_FILTER}.Bridge"))
    road.until(f"{GUEST_PORT} is a port of the kernel's br1", lambda: bridge_of(state, GUEST_PORT) == "br1")
    lan.move(state, "phone", GUEST_PORT)
    road.until("the guest's next lease is one of the guests'", lambda: address(state, "phone").startswith("192.168.2."))


def client_leaves(road, state):
    road.title("5. The client gives its lease back")
    lan.signal(state, "box", "release")
    road.until("no device is known", lambda: not values(state, f"{DEVICES}.*.SerialNumber"))
    road.check("the static address is kept for it", lan.hosts(state)["box"]["mac"] in values(state, f"{POOL}.StaticAddress.*.Chaddr"))
    road.until("the client has no address", lambda: not address(state, "box"))


def main():
    return travel(LanRoad("The road of a LAN client"), State(REPOSITORY / "build" / "run-lan"),
                  boots, client_arrives, is_served_again, guest_moves, client_leaves)


if __name__ == "__main__":
    sys.exit(main())
