"""The commands that the daemon runs, which wait for the results that they had, and its signals."""
import collections
import pathlib
import struct

from . import bus
from .doings import subject

PLAYER = pathlib.Path("/run/gateway/replay")
LONGEST = 65535


class Asks:
    """Who has asked and waits, by what was asked."""

    def __init__(self, loop, plain):
        self.loop, self.plain = loop, plain
        self.waiting = collections.OrderedDict()
        self.count = 0
        PLAYER.parent.mkdir(parents=True, exist_ok=True)
        self.listener = bus.listening(str(PLAYER))
        loop.watch(self.listener, self._accept)

    def _accept(self, listener):
        asker, _ = listener.accept()
        self.loop.watch(asker, self._take)

    def _take(self, asker):
        self.loop.forget(asker)
        kind, _, text = asker.recv(LONGEST).decode(errors="replace").partition(" ")
        if not kind:
            asker.close()
            return
        self.count += 1
        self.waiting[self.count] = (subject({"kind": kind, "what": self.plain(text)}), asker)

    def of(self, what):
        """The first who asks for that, or None."""
        return next((number for number, (asked, _) in self.waiting.items() if asked == what), None)

    def answer(self, number, line):
        """As the recorded line says; None is a success without a word."""
        _, asker = self.waiting.pop(number)
        line = line or {}
        output = bytes.fromhex(line["hex"]) if "hex" in line else line.get("text", "").encode()
        if output and not output.endswith(b"\n"):
            output += b"\n"
        try:
            asker.send(struct.pack("<i", line.get("result", 0)) + output[:LONGEST - 4])
        except OSError:
            pass  # it was stopped meanwhile
        asker.close()

    def close(self):
        for _, asker in self.waiting.values():
            asker.close()
        self.listener.close()


