"""Passwords, PINs and keys in what the daemon ran and said: people see ********, unless they insist."""
import json
import re
import shlex
import subprocess
import time

from . import inside
from .errors import GatewayError

HIDDEN = "********"
NAMES = r"(?:\w*(?:password|passphrase|passwd)|pass|psk|\w*pin|secret)"
WORD = r"""(?:'(?:[^']|'\\'')*'|"(?:[^"\\]|\\.)*"|[^\s'",;&|}]+)"""
# What is one by its name, also when the data model has another one by now.
NAMED = (re.compile(rf"""((?<![\w])["']?-*{NAMES}["']?\s*[=:]\s*){WORD}""", re.IGNORECASE),
         re.compile(rf"((?<![\w-])--{NAMES}\s+){WORD}", re.IGNORECASE),
         re.compile(rf"(\bftp(?:get|put)\b[^;&|]*?\s-p\s+){WORD}"))
MAYBE = re.compile("pass|psk|pin|secret|ftp", re.IGNORECASE)  # most lines have nothing of the kind
SHORTEST = 4  # a shorter one is found by its name alone, or every number would be hidden
FRESH_SECONDS = 1
PATIENCE_SECONDS = 5


class Secrets:
    def __init__(self, state):
        self.state = state
        self.pattern, self.until = None, 0.0

    def hidden(self, line):
        """The line of the log or the journal without them."""
        return {**line, **{key: self._hide(line[key]) for key in ("text", "command", "effect") if line.get(key)}}

    def _hide(self, text):
        if time.monotonic() >= self.until:
            self.pattern, self.until = _pattern(_values(self.state)), time.monotonic() + FRESH_SECONDS
        text = self.pattern.sub(HIDDEN, text) if self.pattern else text
        for named in NAMED if MAYBE.search(text) else ():
            text = named.sub(lambda found: found[1] + HIDDEN, text)
        return text


def _pattern(values):
    """Finds them as they are, as a shell takes them and as JSON has them."""
    long = {value for value in values if len(value) >= SHORTEST}
    forms = {form for value in long for form in (value, shlex.quote(value), json.dumps(value)[1:-1], value.replace("'", "'\\''"))}
    ordered = "|".join(map(re.escape, sorted(forms, key=len, reverse=True)))
    return re.compile(rf"(?<![\w])(?:{ordered})(?![\w])") if ordered else None


def _values(state):
    return _kept(state) | _live(state)


def _kept(state):
    """Those that the configuration on the flash has, or had when the gateway was booted."""
    return {str(value) for file in (state.model, state.given, state.booted) for record in _objects(file).values()
            for name, value in record.items() if re.fullmatch(NAMES, name, re.IGNORECASE)}


def _objects(file):
    try:
        return json.loads(file.read_text(encoding="utf-8"))["objects"]
    except (OSError, ValueError, KeyError):
        return {}


def _live(state):
    """Those that the model has now: what it shows hidden only."""
    try:
        shown = inside.run(state, "vcfgctl", "get", "--json", ".", timeout=PATIENCE_SECONDS).stdout
        paths = [found["path"] for found in map(json.loads, shown.splitlines()) if found["value"] == HIDDEN]
        told = inside.run(state, "vcfgctl", "get", "--json", "--show-secrets", *paths, timeout=PATIENCE_SECONDS).stdout if paths else ""
        return {json.loads(line)["value"] for line in told.splitlines()}
    except (GatewayError, ValueError, subprocess.TimeoutExpired):
        return set()
