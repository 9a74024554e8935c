"""The hunting daemons, which search the virtual circuits and VLANs of a WAN link: stand-ins that do as they are told."""
import json
import pathlib

from . import inside
from .errors import GatewayError
from .state import processes
from .waiting import until

EIDS = {"vc": 28, "vlan": 37}
MODES = ("accept", "refuse", "mute", "absent")
NAMES = {"vc": "vcautohunt", "vlan": "vlanautohunt"}
READY_SECONDS = 60


def _file(state, kind, name):
    return pathlib.Path(f"/proc/{state.room('gateway')}/root/run/hw/hunt/{EIDS[kind]}.{name}")


def _running(state, kind):
    return [number for number, name in processes(state.room("gateway")).items() if name == NAMES[kind]]


def start(state, kind, mode, finish_after=None):
    """Starts the daemon anew; from its return on it accepts requests, refuses them, lets them wait or is not there."""
    stop(state, kind)
    _file(state, kind, "state").unlink(missing_ok=True)
    words = ["gw-huntd", EIDS[kind], "--mode", mode]
    if finish_after is not None:
        words += ["--finish-after", finish_after]
    inside.spawn(state, NAMES[kind], *words)
    if not until(_file(state, kind, "state").exists, READY_SECONDS):
        raise GatewayError(f"{NAMES[kind]} does not start; see {state.log_directory}/{NAMES[kind]}.txt")


def stop(state, kind):
    if not _running(state, kind):
        return
    inside.run(state, "killall", NAMES[kind])
    if not until(lambda: not _running(state, kind), READY_SECONDS):
        raise GatewayError(f"{NAMES[kind]} does not end")


def received(state, kind):
    """The messages that it has taken, one record each."""
    try:
        return [json.loads(line) for line in _file(state, kind, "received").read_text().splitlines()]
    except FileNotFoundError:
        return []
