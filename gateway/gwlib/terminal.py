"""What a line looks like on the caller's terminal, or in a file."""
import os
import re
import shutil
import sys

COLOURS = {"red": "31", "green": "32", "yellow": "33", "violet": "35", "cyan": "36", "dim": "2", "bold": "1",
           "alarm": "31;1", "bright": "33;1"}
PAINT = re.compile("\033\\[[0-9;]*m")


def is_live():
    return sys.stdout.isatty()


def paint(text, colour):
    """The text in a colour, where colours are shown and wanted."""
    shown = colour and is_live() and not os.environ.get("NO_COLOR") and os.environ.get("TERM") != "dumb"
    return f"\033[{COLOURS[colour]}m{text}\033[0m" if shown else text


def harmless(text):
    """What the text holds that a terminal would take for an order, or a reader for another line, is spelt out."""
    return "".join(character if character.isprintable() else _spelt(character) for character in text)


def _spelt(character):
    known = {"\n": "\\n", "\t": "\\t", "\r": "\\r"}
    code = ord(character)
    return known.get(character) or (f"\\x{code:02x}" if code < 0x100 else f"\\u{code:04x}" if code < 0x10000 else f"\\U{code:08x}")


def fitted(text):
    """The text, painted or not, in one line of the terminal; in a file, whole."""
    width = shutil.get_terminal_size().columns
    if not is_live() or len(PAINT.sub("", text)) <= width:
        return text
    kept, room = [], width - 1
    for piece in re.split(f"({PAINT.pattern})", text):
        if PAINT.fullmatch(piece):
            kept.append(piece)
        else:
            kept.append(piece[:room])
            room = max(0, room - len(piece))
    return "".join(kept) + "…"
