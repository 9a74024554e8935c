"""What must be seen of the kernel, the network and the processes."""
import json

from .. import inside, lan
from ..state import ROOMS
from .kinds import sight
from .types import briefly, choice, host, port, text, words

PING = ("ping", "-c1", "-W2")


@sight("route", "the kernel has the route {route}", route=text)
def route(game, route):
    """Texts of `ip route`, IPv4 and IPv6."""
    found = game.kernel("route") + game.kernel("-6", "route")
    return route in found, briefly(found)


@sight("address", "the kernel's {on} has the address {address}", required=("on",), address=text, on=text)
def address(game, address, on):
    found = [entry for entry in game.kernel("-brief", "addr", "show", "dev", on).split()[2:] if not entry.startswith("fe80:")]
    good = bool(found) if address == "any" else address in found or address in [entry.split("/")[0] for entry in found]
    return good, f"{on} has {', '.join(found) or 'no address'}"


@sight("resolver", "the resolver asks {resolver}", resolver=text)
def resolver(game, resolver):
    found = inside.run(game.state, "cat", "/etc/resolv.conf").stdout
    return resolver in found.split(), briefly(found)


@sight("bridge", "{port} is a port of the kernel's {bridge}", required=("port",), bridge=text, port=port)
def bridge(game, bridge, port):
    links = json.loads(inside.must(game.state, "bridge", "-json", "link"))
    master = next((link.get("master") for link in links if link["ifname"] == port), None)
    return master == bridge, f"{port} belongs to {master or 'no bridge'}"


@sight("ping", "a ping of {ping} comes back", ping=text, through=text, host=host)
def ping(game, ping, through=None, host=None):
    words_ = [*PING, *(["-I", through] if through else []), ping]
    there = {"room": "lan"} if host else {}
    done = inside.run(game.state, *([lan.HOST, "exec", host] if host else []), *words_, **there)
    return done.returncode == 0, briefly(done.stdout + done.stderr)


@sight("host", "the host {host} has the address {address}", required=("address",), host=host, address=text)
def host_(game, host, address):
    """Its beginning is enough, as 192.168.2.; none stands for no address."""
    found = lan.described(game.state).get(host, {}).get("addresses", [])
    good = not found if address == "none" else any(f"{one}." .startswith(f"{address.rstrip('.')}.") for one in found)
    return good, f"{host} has {', '.join(found) or 'no address'}"


@sight("runs", "{runs} says {prints}", required=("prints",), runs=words, prints=text, room=choice(*ROOMS))
def runs(game, runs, prints, room="gateway"):
    done = inside.run(game.state, *runs, room=room)
    return prints in done.stdout, briefly(done.stdout + done.stderr) or f"nothing, with status {done.returncode}"


@sight("process", "{process} runs", process=text)
def process(game, process):
    found = inside.run(game.state, "pgrep", "-x", process).stdout.split()
    return bool(found), f"{len(found)} processes of that name"
