"""What led to a sight that is not as expected."""
import subprocess

from .. import inside
from ..errors import GatewayError
from . import paths

SHOWN = 25  # lines of each of the two ways to tell it
PATIENCE_SECONDS = 10


def of(game, call):
    """Lines for people: how the parameters that the sight is about came to their values, and what happened in the step
    to their objects (or whatever did, when it is about none)."""
    about = list(_paths(call.given.values())) if call else []
    return [line for path, wanted in about for line in _why(game, path, wanted)] + _happened(game, [path for path, _ in about])


def _paths(values):
    """(path, the value that it should have, if that is known)."""
    for value in values:
        if isinstance(value, paths.Condition):
            yield value.path, value.wanted if value.sign == "=" else None
        elif isinstance(value, list):
            yield from _paths(value)
        elif isinstance(value, str) and paths.is_path(value):
            yield value, None


def _why(game, path, wanted):
    """What the flight recorder knows."""
    asked = [["--not", f"{path}={wanted}"], [path]] if wanted else [[path]]
    for words in asked:
        try:
            done = inside.run(game.state, "vcfgctl", "why", *words, timeout=PATIENCE_SECONDS)
        except (GatewayError, subprocess.TimeoutExpired):
            return []
        if done.returncode == 0:
            return [f"          {line}" for line in done.stdout.splitlines()[:SHOWN] if line]
    return []


def _happened(game, about):
    objects = [path.rstrip(".").rpartition(".")[0] for path in about]
    lines = [text for at, text in game.console.remembered if at is not None and at * 1e6 > game.mark]
    concerned = [line for line in lines if any(_is_about(line, name) for name in objects)]
    return (concerned or lines)[-SHOWN:]


def _is_about(line, name):
    fixed = name.partition(".*")[0].partition(".[")[0]
    return f" {fixed}." in line or any(f"  {kind:5}  " in line for kind in ("does", "in", "runs"))
