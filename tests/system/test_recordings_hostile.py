"""Recordings that somebody has spoilt, by chance: each is read or refused with its reason, and what was read can be sent."""
import io
import json
import random
import sys

import pytest

from support import REPOSITORY

sys.path.insert(0, str(REPOSITORY / "gateway"))
from gwlib.replaying import bus, recording  # noqa: E402

STORIES = [path.read_bytes().splitlines(True) for path in sorted((REPOSITORY / "tests" / "recordings").glob("*.jsonl"))]
LINES = 40  # of a story, at its end
TRIED = 150
VALUES = (None, True, -1, 2**70, 1.5, "", "\ud800", "x" * 70000, [], {}, "0x", "1:", "9:1.2.3.4.5.6.7", "-5", "\0", "9" * 5000, float("nan"))


def spoilt_byte(chance, text):
    place = chance.randrange(len(text))
    return text[:place] + bytes([chance.randrange(256)]) + text[place + 1:]


def spoilt_value(chance, text):
    line = json.loads(text)
    line[chance.choice([*line, "iid", "text", "code", "for"])] = chance.choice(VALUES)
    return json.dumps(line).encode() + b"\n"


def spoilt(chance, story):
    lines = story[:1] + story[-LINES:]
    place = chance.randrange(len(lines))
    lines[place] = chance.choice((spoilt_byte, spoilt_value))(chance, lines[place])
    return b"".join(lines)


def read(data):
    """The lines of messages; none when it is refused."""
    try:
        found = recording.read(io.BytesIO(data))
    except recording.Unreadable as why:
        assert "\n" not in str(why)
        return []
    assert found.is_warm in (True, False)
    return [line for line in found.lines if "to" in line]


@pytest.mark.parametrize("seed", range(8))
def test_spoilt_recording_is_read_or_refused(seed):
    chance = random.Random(seed)
    for _ in range(TRIED):
        for line in read(spoilt(chance, chance.choice(STORIES))):
            payload = bytes.fromhex(line["hex"]) if "hex" in line else line.get("text", "").encode() + b"\0"
            assert bus.packed(line, payload)
