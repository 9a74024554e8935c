#!/usr/bin/env python3
"""Makes docs/messages.md out of the header that numbers and explains the message types, and of the daemon's table of
handlers. With --check nothing is written: status 1, and what differs, when the page is stale or something is missing."""
import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

import page

ROOT = Path(__file__).resolve().parents[2]
TYPES = ROOT / "vcfg/include/vcfg/msg_types.h"
TABLE = ROOT / "tarn/dispatch.cpp"
PAGE = ROOT / "docs/messages.md"

MESSAGE = re.compile(r"/\* ([^*]*?) ?\*/\s*(?:#define )?(VCFG_MSG_\w+) (?:= )?(0x[0-9A-Fa-f]+|\d+)")
NUMBERED = re.compile(r"^\s*(?:#define )?(VCFG_MSG_\w+) (?:= )?(?:0x)?\d", re.M)
FIELDS = ("from", "payload", "effects", "reply")
ROW = re.compile(r"\{(VCFG_MSG_\w+), \"[^\"]*\",(.*?)(?=\n    \{VCFG_MSG_|\n    // )", re.S)
ADAPTER = re.compile(r"^void (\w+)\(const Message& m\) \{\n    (?:if \()?(\w+)\(", re.M)

HEAD = """# Messages

Made by `docs/made/messages.py` from `<vcfg/msg_types.h>` and the daemon's table of handlers (`tarn/dispatch.cpp`); change it there.

Bit 31 of a type (0x80000000) says that the sender expects no answer. A payload is a NUL-terminated text; an `object` is one of JSON,
whose keys are named below. All keys are optional unless the message says nothing without them. `vcfgctl send --to tarn --type NAME`
sends one.

"""


@dataclass
class Message:
    name: str
    type: int
    what: str = ""
    said: dict = field(default_factory=dict)
    keys: list = field(default_factory=list)


def parse(name, number, text):
    """What the message is, then a "field: what" a line, below "payload" a "key: type" a line; each may go on, indented."""
    message = Message(name, int(number, 0))
    first, *rest = text.split("\n")
    base = min(len(line) - len(line.lstrip()) for line in rest)
    message.what, current = first, None
    for line in rest:
        depth = len(line) - len(line.lstrip()) - base
        word, _, what = line.strip().partition(": ")
        if depth == 0 and word in FIELDS:
            message.said[word], current = what, word
        elif depth == 2 and current == "payload":
            message.keys.append([word, what])
        elif current == "payload" and message.keys:
            message.keys[-1][1] += " " + line.strip()
        elif current:
            message.said[current] += " " + line.strip()
        else:
            message.what += " " + line.strip()
    return message


def messages():
    source = TYPES.read_text()
    found = [parse(name, number, text) for text, name, number in MESSAGE.findall(source)]
    for name in sorted(set(NUMBERED.findall(source)) - {one.name for one in found}):
        sys.exit(f"{TYPES}: nothing is said about {name}")
    for one in found:
        missing = [word for word in FIELDS if not one.said.get(word)]
        if missing or not one.what:
            sys.exit(f"{TYPES}: {one.name} lacks {', '.join(missing) or 'what it says'}")
    return found


def handlers():
    """{name: (function, whether a payload is required)} of the daemon's table."""
    source = TABLE.read_text()
    behind = dict(ADAPTER.findall(source))
    table = {}
    for name, row in ROW.findall(source + "\n    // "):
        call = re.search(r"\{ (\w+)\(", row)
        named = re.search(r"Payload::\w+,\s*(\w+)\}", row)
        function = call[1] if call else behind[named[1]] if named else ""
        table[name] = (function, "Payload::Required" in row)
    if len(table) < 40:
        sys.exit(f"{TABLE}: its table of handlers cannot be read")
    return table


def check_keys(found):
    """A key that no line of the daemon names would be a promise that nobody keeps."""
    sources = "\n".join(path.read_text() for path in (ROOT / "tarn").rglob("*.cpp"))
    for one in found:
        for key, _ in one.keys:
            if not re.search(rf'"{re.escape(key)}"|DIAG_KEY\(\w+, {re.escape(key)}\)', sources):
                sys.exit(f"{TYPES}: {one.name} has a key {key}, which the daemon does not know")


def entry(one, table):
    lines = [f"### {one.name}", "", f"0x{one.type:08x} ({one.type}), from {one.said['from']}. {one.what}", ""]
    if one.name in table:
        function, required = table[one.name]
        handler = f"`{function}`" if function else "none; a log line"
        lines.append(f"- handler: {handler}" + ("; nothing happens without a payload" if required else ""))
    lines.append(f"- payload: {one.said['payload']}")
    lines += [f"  - `{key}`: {meaning}" for key, meaning in one.keys]
    lines += [f"- effects: {one.said['effects']}", f"- reply: {one.said['reply']}", ""]
    return "\n".join(lines)


def main():
    found, table = messages(), handlers()
    unknown = set(table) - {one.name for one in found}
    if unknown:
        sys.exit(f"{TABLE}: {', '.join(sorted(unknown))} without a line in {TYPES}")
    check_keys(found)
    text = HEAD + "## To tarn\n\n" + "\n".join(entry(one, table) for one in found if one.name in table)
    text += "\n## From tarn to others\n\n" + "\n".join(entry(one, table) for one in found if one.name not in table)
    page.write_or_check(PAGE, text)


main()
