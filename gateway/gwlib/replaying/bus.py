"""The bus as a player needs it: messages from anybody, and endpoints that answer as somebody did."""
import os
import pathlib
import socket
import struct

RUN_DIR = pathlib.Path("/run/vcfg")
ENVELOPE = struct.Struct("<IIBBHII28sB6sx")
NO_REPLY = 0x80000000
LARGEST = ENVELOPE.size + 65535


def instance(text):
    """Level and six numbers of "2:1.3"."""
    level, _, numbers = text.partition(":")
    parts = [int(part) for part in numbers.split(".") if part]
    return int(level), bytes((parts + [0] * 6)[:6])


def packed(line, payload, kind=None, request=None, code=None, source=None, target=None):
    """The message of a recorded line; what is given otherwise counts."""
    level, numbers = instance(line.get("iid", "0:"))
    return ENVELOPE.pack(int(line["type"], 16) if kind is None else kind, line.get("oid", 0),
                         line["from"] if source is None else source, line["to"] if target is None else target, len(payload),
                         line.get("id", 0) if request is None else request,
                         (line.get("code", 0) if code is None else code) & 0xFFFFFFFF, bytes(28), level, numbers) + payload


class Letter:
    def __init__(self, packet):
        (self.type, self.oid, self.source, self.target, self.length, self.request, self.code, _, self.level,
         self.numbers) = ENVELOPE.unpack_from(packet)
        self.payload = packet[ENVELOPE.size:]


def connected(eid):
    made = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    made.settimeout(10)
    made.connect(str(RUN_DIR / f"eid-{eid}"))
    return made


def asked(eid, kind, source=250, payload=b""):
    """The answer to a request of one's own."""
    with connected(eid) as made:
        made.send(ENVELOPE.pack(kind, 0, source, eid, len(payload), 1, 0, bytes(28), 0, bytes(6)) + payload)
        return Letter(made.recv(LARGEST))


def listening(path, mode=0o600):
    """A socket that takes packets, under this name."""
    made = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    fresh = f"{path}.new"
    made.bind(fresh)
    os.chmod(fresh, mode)
    made.listen(128)
    os.rename(fresh, path)
    return made
