"""The other daemons: what they sent is sent again, and what they answered is answered."""
from . import bus
from .recording import DAEMON_EIDS


def served(lines):
    """The endpoints that were there for the daemon."""
    there = {line["to"] for line in lines if line["kind"] in ("message", "call") and line["program"] == "tarn"}
    there |= {line["from"] for line in lines if line["kind"] == "reply" and line["to"] in DAEMON_EIDS}
    away = {line["to"] for line in lines if line["kind"] == "failed" and line["program"] == "tarn"}
    answering = {line["from"] for line in lines if line["kind"] == "reply"}
    return (there - (away - answering)) - {0, 1, *DAEMON_EIDS}


class Neighbours:
    def __init__(self, loop, lines):
        self.loop = loop
        self.calls = []  # (endpoint, letter, connection) that wait for an answer
        self.links = {}
        self.sockets = []
        for eid in served(lines):
            listener = bus.listening(str(bus.RUN_DIR / f"eid-{eid}"))
            self.sockets.append(listener)
            loop.watch(listener, lambda from_, eid=eid: self._accept(from_, eid))

    def _accept(self, listener, eid):
        peer, _ = listener.accept()
        self.sockets.append(peer)
        self.loop.watch(peer, lambda from_: self._take(from_, eid))

    def _take(self, peer, eid):
        packet = peer.recv(bus.LARGEST)
        if len(packet) < bus.ENVELOPE.size:
            self.loop.forget(peer)
            peer.close()
            return
        letter = bus.Letter(packet)
        if not letter.type & bus.NO_REPLY:
            self.calls.append((eid, letter, peer))

    def asked(self, line):
        """The call that the recorded reply answers, or None."""
        kind = int(line["type"], 16) & ~bus.NO_REPLY
        return next((call for call in self.calls if call[0] == line["from"] and call[1].type & ~bus.NO_REPLY == kind), None)

    def answer(self, call, line, payload):
        self.calls.remove(call)
        eid, letter, peer = call
        peer.send(bus.packed(line, payload, request=letter.request, source=eid, target=letter.source))

    def send(self, line, payload):
        """What somebody sent to the daemon. Each call has a connection of its own, where its answer may come."""
        if line["kind"] == "call":
            link = bus.connected(line["to"])
            self.sockets.append(link)
            self.loop.watch(link, self._drain)
        else:
            link = self.links.get((line["from"], line["to"]))
            if link is None:
                link = self.links[line["from"], line["to"]] = bus.connected(line["to"])
        link.send(bus.packed(line, payload))

    def _drain(self, link):
        try:
            if link.recv(bus.LARGEST):
                return
        except OSError:
            pass
        self.loop.forget(link)

    def close(self):
        for link in (*self.sockets, *self.links.values()):
            link.close()

