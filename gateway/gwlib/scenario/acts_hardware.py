"""What happens to a gateway from without: its cables, its lines, its kernel, its services."""
from .. import inside, net, services
from .kinds import act
from .types import choice, port, text, whole

UP = choice("up", "down")
RETRAINING = 3  # seconds without a signal: less than a real line takes, and more than a daemon needs to notice


@act("plug", "the cable of {plug} goes in", plug=port)
def plug(game, plug):
    net.plug(game.state, plug, True)


@act("pull", "the cable of {pull} is pulled", pull=port)
def pull(game, pull):
    net.plug(game.state, pull, False)


@act("dsl", "the DSL line's signal: {dsl}", dsl=choice("up", "down", "retrain"), mode=choice("atm", "ptm"), line=whole(1, 255))
def dsl(game, dsl, mode=None, line=None):
    which = ["--line", line] if line else []
    if dsl != "up":
        inside.must(game.state, "gw-linesim", "dsl", "down", *which)
    if dsl == "retrain":
        game.idle(RETRAINING)
    if dsl != "down":
        inside.must(game.state, "gw-linesim", "dsl", "up", *which, *(["--mode", mode] if mode else []))


@act("optical", "the optical link: {optical}", optical=UP)
def optical(game, optical):
    inside.must(game.state, "gw-linesim", "optical", optical)


@act("usb", "the cellular dongle: {usb}", usb=choice("up", "down", "absent"))
def usb(game, usb):
    inside.must(game.state, "gw-linesim", "usb", usb)


@act("kernel", "the kernel tells {kernel}", kernel=text)
def kernel(game, kernel):
    inside.must(game.state, "gw-kernel-event", "--", kernel)


@act("service", "the service {service}: {to}", required=("to",), service=choice(*services.STARTERS),
     to=choice("start", "stop", "restart"))
def service(game, service, to):
    game.gw("service", to, service)
