"""What the values of a scenario file may be. A converter raises ValueError with what is taken instead, and where."""
import difflib
import re
import shlex

from .. import values

UNITS = {"ms": 0.001, "s": 1.0, "min": 60.0, "h": 3600.0}
SHOWN = {str: "text", bool: "true or false", int: "number", float: "number", list: "list", dict: "table"}


def of(kind, value, what):
    if type(value) is not kind:
        raise ValueError(f"it takes {what}, not a {SHOWN.get(type(value), 'date')} ({value})")
    return value


def text(value):
    if not of(str, value, "a text"):
        raise ValueError("it takes a text that is not empty")
    return value


def anything(value):
    return value


def flag(value):
    return of(bool, value, "true or false")


def whole(least, most):
    def convert(value):
        if not least <= of(int, value, "a whole number") <= most:
            raise ValueError(f"it takes a whole number from {least} to {most}")
        return value
    return convert


def duration(value):
    """Seconds, of a time with its unit."""
    found = re.fullmatch(r"(\d+(?:\.\d+)?) ?(ms|s|min|h)", value) if isinstance(value, str) else None
    if not found:
        told = repr(value) if isinstance(value, str) else value
        raise ValueError(f'it takes a time with its unit (ms, s, min or h), as "20 s", not {told}')
    return float(found[1]) * UNITS[found[2]]


def choice(*words):
    def convert(value):
        if of(str, value, f"one of {', '.join(words)}") not in words:
            raise ValueError(f"{value!r} is none of {', '.join(words)}{nearest(value, words)}")
        return value
    return convert


def written(convert):
    """A text that the command line takes, too."""
    return lambda value: convert(text(value))


def some(convert):
    """One, or a list of them."""
    return lambda value: [convert(one) for one in (value if isinstance(value, list) else [value])]


class Command(list):
    """Its words."""

    def __str__(self):
        return shlex.join(self)


def words(value):
    """A command: its words, or one text that a shell would cut."""
    found = some(text)(value) if isinstance(value, list) else shlex.split(text(value))
    if not found:
        raise ValueError("it takes a command")
    return Command(found)


def port(value):
    """Held against the configuration when all of the file is known."""
    return text(value)


host = written(values.text(12))


def fields(wanted, required=()):
    """A table with these keys, {key: converter}."""
    def convert(value):
        given = of(dict, value, "a table")
        for key in given:
            if key not in wanted:
                raise ValueError(f"there is no key {key!r} here{nearest(key, wanted)}; there are {', '.join(wanted)}")
        for key in required:
            if key not in given:
                raise ValueError(f"{key} is missing")
        return {key: at(key, wanted[key], one) for key, one in given.items()}
    return convert


def each(convert):
    """A list, whose entries are told by their numbers."""
    return lambda value: [at(str(number_), convert, one) for number_, one in enumerate(of(list, value, "a list"), start=1)]


def at(place, convert, value):
    try:
        return convert(value)
    except ValueError as problem:
        raise ValueError(f"{place}: {problem}") from None


def nearest(word, known):
    close = difflib.get_close_matches(str(word), list(known), n=1, cutoff=0.5)
    return f" (is {close[0]!r} meant?)" if close else ""


def briefly(found):
    """The last of some lines, in one."""
    return " | ".join(line.strip() for line in found.strip().splitlines()[-6:])
