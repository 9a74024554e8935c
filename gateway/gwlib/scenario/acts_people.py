"""What somebody asks of a gateway, and what the player does in between."""
import json

from .. import inside
from ..state import ROOMS
from . import paths
from .kinds import act
from .types import anything, choice, duration, some, text, whole, words


@act("client", "the gateway's DHCP client is told to {client}", client=choice("renew", "release"), device=text)
def client(game, client, device="eth0.5"):
    name = "USR1" if client == "renew" else "USR2"
    inside.must(game.state, "sh", "-c", f'kill -{name} "$(cat /var/run/udhcpc-$1.pid)"', "client", device)


@act("set", "somebody sets {set}", set=paths.assignments)
def set_(game, set):
    inside.must(game.state, "vcfgctl", "set", *(f"{one.path}={one.value}" for one in set))


@act("send", "somebody sends {send}", send=paths.message, iid=whole(1, 255), sender=whole(1, 255), payload=anything, answer=text)
def send(game, send, iid=None, sender=None, payload=None, answer=None):
    """To the daemon. With `answer` the sender waits for one, under that name, while the scenario goes on."""
    told = payload if isinstance(payload, str) else None if payload is None else json.dumps(payload)
    options = {"--type": send, "--iid": iid, "--from": sender, "--payload": told}
    call = ["vcfgctl", "send", "--to", "2", *(str(word) for name, value in options.items() if value is not None for word in (name, value))]
    if answer:
        game.ask(answer, [*call, "--reply", "--timeout", "120000"])
    else:
        inside.must(game.state, *call)


@act("diagnose", "somebody asks for {diagnose}", diagnose=paths.path, by=paths.own_assignments)
def diagnose(game, diagnose, by={}):
    inside.must(game.state, "vcfgctl", "set", *(f"{diagnose}.{name}={value}" for name, value in by.items()), f"{diagnose}.DiagnosticsState=Requested")


@act("wps", "somebody pushes the WPS button of access point {wps}", wps=whole(1, 255), polls=some(choice("running", "joined", "failed")))
def wps(game, wps, polls=("running", "joined")):
    game.wps.push(wps, polls)


@act("run", "somebody runs {run}", run=words, room=choice(*ROOMS))
def run(game, run, room="gateway"):
    inside.must(game.state, *run, room=room)


@act("gw", "gw {gw}", gw=words)
def gw(game, gw):
    game.gw(*gw)


@act("wait", "{wait} s pass", wait=duration)
def wait(game, wait):
    game.idle(wait)
