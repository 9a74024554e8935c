"""What the data model can have, as vcfgctl knows it without a gateway: a scenario with another name or value is refused."""
import functools
import json
import re
import subprocess

from ..errors import GatewayError
from ..state import State
from .types import nearest

INSTANCE = re.compile(r"(?<=\.)(?:\d+|\*|\[[^]]*\]|\{[^}]*\})(?=\.|$)")
WHOLE = ("int", "unsignedInt", "long", "unsignedLong")


def check_path(path):
    form = INSTANCE.sub("{i}", path).rstrip(".")
    if form not in _known() and f"{form}.{{i}}" not in _known():
        raise ValueError(f"the data model has no {path}{nearest(form, _known())}")


def check_value(path, value):
    """Whether the parameter can have it. What refers to another parameter is known later."""
    found = _described(INSTANCE.sub("1", path))
    allowed = ["true", "false"] if found.get("type") == "boolean" else found.get("values")
    if "{" in value:
        return
    if allowed and value not in allowed:
        raise ValueError(f"{path} is never {value!r}{nearest(value, allowed)}; it is one of {', '.join(allowed)}")
    if found.get("type") in WHOLE and not re.fullmatch(r"-?\d+", value):
        raise ValueError(f"{path} is never {value!r}: it is a whole number")


def is_secret(path):
    return _described(INSTANCE.sub("1", path)).get("secret", False)


@functools.cache
def _known():
    return {found["path"].rstrip(".") for found in _asked("list")}


@functools.cache
def _described(path):
    return _asked("describe", path)[0]


def _asked(*words):
    program = State().build / "bin" / "vcfgctl"
    if not program.exists():
        raise GatewayError(f"{program} is not built; script/build release builds it")
    done = subprocess.run([str(program), "--json", *words], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise GatewayError(f"{program} {' '.join(words)}: {done.stderr.strip()}")
    return [json.loads(line) for line in done.stdout.splitlines()]
