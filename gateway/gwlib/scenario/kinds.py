"""The kinds of things that a step does and sees. Each is a function with a name, which the first key of its table is, and
with the keys that may stand beside it."""
from typing import Callable, NamedTuple

from . import paths, types


class Kind(NamedTuple):
    fields: dict
    required: tuple
    call: Callable
    tells: str


class Call(NamedTuple):
    """One entry of a file: what it says, checked."""
    name: str
    kind: Kind
    given: dict
    text: str
    told: str
    within: float = 0.0
    wanted: bool = True


def _registering(table):
    def register(name, tells, required=(), **fields):
        """For the function of one kind: @act("plug", "the cable of {plug} goes in", plug=port)."""
        def add(call):
            table[name] = Kind(fields, (name, *required), call, tells)
            return call
        return add
    return register


ACTS, SIGHTS = {}, {}
act, sight = _registering(ACTS), _registering(SIGHTS)
COMMON = {"text": types.text}
AWAITED = {**COMMON, "within": types.duration, "not": types.flag}


def entry(table, within=None):
    """The converter of a table that is one of these kinds. What is waited for has a time within which it has to come."""
    more = COMMON if within is None else AWAITED

    def convert(value):
        name = _first(table, value)
        kind = table[name]
        told = types.fields({**kind.fields, **more}, kind.required)(value)
        given = {key: one for key, one in told.items() if key in kind.fields}
        wanted = not told.get("not", False)
        meaning = ("" if wanted else "not so: ") + _told(kind, given)
        return Call(name, kind, given, told.get("text", meaning), meaning, told.get("within", within or 0.0), wanted)
    return convert


def _first(table, value):
    """The key that stands first says of which kind the entry is."""
    if not isinstance(value, dict) or not value:
        raise ValueError("it takes a table, as { " + next(iter(table)) + " = ... }")
    name = next(iter(value))
    if name not in table:
        hint = next((f"; {key!r} has to stand first" for key in value if key in table), types.nearest(name, table))
        raise ValueError(f"{name!r} is none of {', '.join(table)}{hint}")
    return name


def _told(kind, given):
    return kind.tells.format_map({name: _shown(value) for name, value in given.items()})


def _shown(value):
    if isinstance(value, paths.Condition):
        return f"{value.path} {'is' if value.sign == '=' else value.sign} {value.wanted}"
    if type(value) is list:
        return ", ".join(map(_shown, value))
    if isinstance(value, dict):
        return ", ".join(f"{key} {_shown(one)}" for key, one in value.items())
    return f"{value:g}" if isinstance(value, float) else str(value)
