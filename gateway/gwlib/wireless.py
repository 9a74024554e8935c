"""The wireless daemon: a stand-in that answers as it is told."""
import json
import os
import pathlib
import re

from . import inside
from .errors import GatewayError
from .state import inside_number, processes
from .waiting import until

NAME = "gw-wirelessd"
READY_SECONDS = 60
ANSWER = re.compile(r"silent|-?[0-9]+(:.*)?", re.DOTALL)


def _file(state, name):
    return pathlib.Path(f"/proc/{state.room('gateway')}/root/run/hw/wireless/{name}")


def _socket(state):
    return pathlib.Path(f"/proc/{state.room('gateway')}/root/run/vcfg/eid-40")


def _running(state):
    return [number for number, name in processes(state.room("gateway")).items() if name == NAME]


def start(state):
    """Starts the daemon anew, which has been told nothing and has taken nothing."""
    stop(state)
    for name in ("answers", "received"):
        _file(state, name).unlink(missing_ok=True)
    _socket(state).unlink(missing_ok=True)
    inside.spawn(state, NAME, NAME)
    if not until(_socket(state).is_socket, READY_SECONDS):
        raise GatewayError(f"the wireless daemon does not start; see {state.log_directory}/{NAME}.txt")


def stop(state):
    """Kills it, as a fault would."""
    numbers = _running(state)
    if numbers:
        inside.run(state, "kill", "-KILL", *(inside_number(number) for number in numbers))
        if not until(lambda: not _running(state), READY_SECONDS):
            raise GatewayError("the wireless daemon does not end")


def answer(state, message_type, words):
    """From now on, requests of the type get these answers in turn, and the last one from then on."""
    if not _running(state):
        raise GatewayError("the wireless daemon does not run; gw wireless start")
    for word in words:
        if not ANSWER.fullmatch(word) or word != "silent" and not -(2**31) <= int(word.partition(":")[0]) < 2**31:
            raise GatewayError(f"{word!r} is no answer; CODE (of 32 bits), CODE:TEXT or silent is")
    file = _file(state, "answers")
    told = json.loads(file.read_text()) if file.exists() else {}
    told[str(message_type)] = list(words)
    fresh = file.with_suffix(".new")
    fresh.write_text(json.dumps(told))
    os.rename(fresh, file)


def received(state):
    """The requests that it has taken, one record each."""
    try:
        return [json.loads(line) for line in _file(state, "received").read_text().splitlines()]
    except FileNotFoundError:
        return []
