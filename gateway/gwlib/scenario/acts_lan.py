"""What the hosts of the LAN do."""
from .. import cli_lan, lan
from .. import values as line
from .kinds import act
from .types import host, port, written

ANNOUNCED = {name.lstrip("-").replace("-", "_"): written(convert) for name, (_, convert) in cli_lan.ANNOUNCED.items()}


@act("join", "{join} joins the LAN behind {port}", required=("port",), join=host, port=port, mac=written(line.hardware),
     address=written(line.interface4), **ANNOUNCED)
def join(game, join, port, **announced):
    lan.add(game.state, join, port, **announced)


@act("leave", "{leave} leaves the LAN", leave=host)
def leave(game, leave):
    lan.remove(game.state, leave)


@act("move", "{move} is plugged into {port}", required=("port",), move=host, port=port)
def move(game, move, port):
    lan.move(game.state, move, port)


@act("renew", "{renew} renews its lease", renew=host)
def renew(game, renew):
    lan.signal(game.state, renew, "renew")


@act("release", "{release} gives its lease back", release=host)
def release(game, release):
    lan.signal(game.state, release, "release")
