"""What a scenario file may say of the data model and of messages: paths, conditions, assignments, types."""
import re
from typing import NamedTuple

from ..secrets import HIDDEN
from ..state import REPOSITORY
from . import model_names
from .types import nearest, of, text

MESSAGES = REPOSITORY / "vcfg" / "include" / "vcfg" / "msg_types.h"
PLAIN = r"[A-Z][A-Za-z0-9_]*(?:\.[A-Za-z0-9_]+)+"
PATH = rf"[A-Z][A-Za-z0-9_]*(?:\.(?:[A-Za-z0-9_*]+|\[[^]]*\]|{{{PLAIN}}}))*\.?"
REFERENCE = re.compile(rf"\{{({PLAIN})\}}")
CONDITION = re.compile(rf"({PATH})\s*(==|!=|<=|>=|=|~|<|>)\s*(.*)", re.DOTALL)


class Condition(NamedTuple):
    path: str
    sign: str
    wanted: str


class Assignment(NamedTuple):
    path: str
    value: str

    def __str__(self):
        return f"{self.path}={HIDDEN if model_names.is_secret(self.path) else self.value}"


def path(value):
    if not is_path(text(value)):
        raise ValueError(f"{value!r} is no path of the data model, as IP.Interface.1.Status")
    return _known(value)


def _known(value):
    """Without the name of the root, which every path may begin with."""
    short = value.removeprefix("Device.")
    model_names.check_path(short)
    return short


def message(value):
    """A message's type: its name, or its number."""
    known = re.findall(r"\bVCFG_MSG_(\w+)\b", MESSAGES.read_text(encoding="utf-8"))
    short = text(value).removeprefix("VCFG_MSG_")
    if short not in known and not re.fullmatch(r"0x[0-9a-fA-F]{1,8}|\d{1,10}", value):
        raise ValueError(f"{value!r} is no message{nearest(short, known)}; docs/messages.md has them all")
    return value


def is_path(value):
    return re.fullmatch(PATH, value) is not None


def condition(value):
    found = CONDITION.fullmatch(text(value))
    if not found:
        raise ValueError(f'{value!r} is no condition, as "IP.Interface.1.Status == Up" (or !=, ~, <, <=, >, >=)')
    sign = found[2].replace("==", "=")
    if sign in ("<", "<=", ">", ">=") and number(found[3]) is None:
        raise ValueError(f"{value!r}: behind {sign} stands a number")
    where = _known(found[1])
    if sign in ("=", "!="):
        model_names.check_value(where, found[3])
    return Condition(where, sign, found[3])


def number(value):
    try:
        return float(value)
    except ValueError:
        return None


def assignments(value):
    given = of(dict, value, "a table, as { \"UPnP.Device.Enable\" = true }")
    found = [Assignment(path(name), _plain(name, one)) for name, one in given.items()]
    for one in found:
        model_names.check_value(one.path, one.value)
    return found


def own_assignments(value):
    """The same for parameters of an object that the entry names: their names alone. They are held against it when all of
    the entry is known."""
    return {name: _plain(name, one) for name, one in of(dict, value, "a table, as { Host = \"203.0.113.1\" }").items()}


def _plain(name, value):
    if type(value) not in (str, bool, int, float):
        raise ValueError(f"{name} takes a text, a number, true or false")
    return str(value).lower() if isinstance(value, bool) else str(value)
