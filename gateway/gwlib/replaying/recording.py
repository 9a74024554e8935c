"""A recording as it is read: what the data model was, and what happened then."""
import datetime
import json
import re

VERSION = 1
LONGEST_LINE = 1 << 20
MOST_LINES = 1 << 20
DAEMON_EIDS = (2, 66)
DAEMON_AUTHORS = tuple(f"eid {eid}" for eid in DAEMON_EIDS)
LONGEST_US = 10 * 366 * 86400 * 10**6
LONGEST_PAYLOAD = 65535
FOR_DEBUGGERS = 7  # a log line's level
WORD = range(1 << 32)
NUMBERS = {"at": range(-LONGEST_US, LONGEST_US), "from": range(256), "to": range(256), "id": WORD, "oid": WORD, "event": WORD, "cause": WORD,
           "for": WORD, "code": range(-(1 << 31), 1 << 32), "result": range(-(1 << 31), 1 << 31), "level": range(256)}
INSTANCE = re.compile(r"\d{1,3}:(\d{1,3}(\.\d{1,3}){0,5})?", re.A)
TEXTS = ("kind", "path", "by", "program", "what", "type", "text", "hex", "iid", "name", "log")


class Unreadable(Exception):
    """Why a file cannot be played, in one line."""


class Recording:
    def __init__(self, header, objects, lines):
        self.header, self.objects, self.lines = header, objects, lines
        self.warnings = []

    @property
    def is_warm(self):
        """The daemon ran already when the recording began."""
        return self.header["daemon"] is not None

    @property
    def has_logs(self):
        """Log lines were recorded, too; an older release told none."""
        return self.header.get("logs") is True

    def compares(self, line):
        """How much is logged is set at some moment of a start: what is said for debuggers before is chance."""
        return line["kind"] != "log" or (self.has_logs and (self.is_warm or line.get("level", 0) < FOR_DEBUGGERS))

    def length_us(self):
        return self.lines[-1]["at"] if self.lines else 0


def read(file):
    """The recording of an open binary file. A last line that is cut off is left out, with a warning."""
    lines = list(_numbered(file))
    if not lines:
        raise Unreadable("it is empty")
    header = _header(lines[0])
    found = Recording(header, {}, [])
    _take(found, lines[1:])
    if not any(line["kind"] == "end" for line in found.lines):
        found.warnings.append("it breaks off: its writer did not end it")
    if "only" in header:
        found.warnings.append(f"it holds only what came of {header['only']}: the daemon has nothing else in its memory")
    if any(line["kind"] == "lost" for line in found.lines):
        found.warnings.append("it has gaps: not everything that happened is in it")
    return found


def _numbered(file):
    for number in range(1, MOST_LINES + 2):
        line = file.readline(LONGEST_LINE + 1)
        if not line:
            return
        if number > MOST_LINES:
            raise Unreadable(f"it has more than {MOST_LINES} lines")
        if len(line) > LONGEST_LINE:
            raise Unreadable(f"line {number} is longer than {LONGEST_LINE} bytes")
        yield number, line


def _parsed(number, text):
    try:
        line = json.loads(text)
    except (ValueError, RecursionError):
        raise Unreadable(f"line {number} is no JSON") from None
    if not isinstance(line, dict):
        raise Unreadable(f"line {number} is no JSON object")
    return line


def _header(first):
    header = _parsed(*first)
    version = header.get("recording")
    if type(version) is not int:
        raise Unreadable("it is no recording: its first line does not say so")
    if version > VERSION:
        raise Unreadable(f"it was made by a newer release ({header.get('release')}): recordings of form {version} are not known here")
    for name, kinds in (("release", str), ("model", str), ("t_mono_us", int), ("clock", str), ("daemon", (int, type(None)))):
        if name not in header or not isinstance(header[name], kinds) or isinstance(header[name], bool):
            raise Unreadable(f"its first line says nothing good of \"{name}\"")
    try:
        datetime.datetime.fromisoformat(header["clock"].replace("Z", "+00:00"))
    except ValueError:
        raise Unreadable("its first line says nothing good of \"clock\"") from None
    return header


def _take(found, lines):
    for number, text in lines:
        try:
            line = _parsed(number, text)
        except Unreadable:
            if number == lines[-1][0] and not text.endswith(b"\n"):
                return  # it was cut in the middle of a line
            raise
        _check(number, line)
        if line["kind"] == "object":
            found.objects[line["path"]] = line["values"]
        else:
            found.lines.append(line)
    found.lines.sort(key=lambda line: line["at"])


def _check(number, line):
    for name in NUMBERS:
        if name in line and (not isinstance(line[name], int) or isinstance(line[name], bool)):
            raise Unreadable(f"line {number}: \"{name}\" is no number")
    for name in TEXTS:
        if name in line and not _is_text(line[name]):
            raise Unreadable(f"line {number}: \"{name}\" is no text")
    needed = {"object": ("path",), "change": ("path", "by"), "message": ENDS, "call": ENDS, "reply": ENDS, "failed": ENDS, "log": ("program", "log")}
    kind = line.get("kind")
    missing = [name for name in ("kind", *needed.get(kind, ()), *(() if kind == "object" else ("at",))) if name not in line]
    if missing:
        raise Unreadable(f"line {number}: \"{missing[0]}\" is missing")
    if kind == "object" and not isinstance(line.get("values"), dict):
        raise Unreadable(f"line {number}: \"values\" is no JSON object")
    _check_bytes(number, line)


def _is_text(value):
    try:
        return isinstance(value, str) and b"\0" not in value.encode()
    except UnicodeEncodeError:  # half a character
        return False


ENDS = ("from", "to", "type", "program")


def _check_bytes(number, line):
    try:
        size = max(len(bytes.fromhex(line.get("hex", ""))), len(line.get("text", "").encode()) + 1)
        kind = int(line.get("type", "0"), 16)
    except ValueError:
        raise Unreadable(f"line {number}: what should be hexadecimal is not") from None
    if size > LONGEST_PAYLOAD and "type" in line:
        raise Unreadable(f"line {number}: no message is that long")
    _check_ranges(number, line, kind)


def _check_ranges(number, line, kind):
    for name in ("from", "to"):
        if line.get(name, 0) not in NUMBERS[name]:
            raise Unreadable(f"line {number}: there is no endpoint {line[name]}")
    for name, possible in NUMBERS.items():
        if line.get(name, 0) not in possible:
            raise Unreadable(f"line {number}: \"{name}\" is out of range")
    if kind not in WORD:
        raise Unreadable(f"line {number}: \"type\" is out of range")
    iid = line.get("iid", "0:")
    if not INSTANCE.fullmatch(iid) or any(int(part) > 255 for part in re.findall(r"\d+", iid)):
        raise Unreadable(f"line {number}: \"iid\" is no instance")
