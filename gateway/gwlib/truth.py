"""The links as they are, told to a gateway that has missed something: while the daemon, the link monitor or vcmd was away,
a cable may have moved."""
import sys
import time

from . import inside, model, ports

WITNESSES = ("vcmd", "linkd", "tarn")  # who together follow the links
SECONDS, STEP = 60, 0.3
DSL = {"ptm0": "PTM.Link", "atm0": "ATM.Link"}
LOOK = """cd /sys/class/net
for device; do
    [ ! -d "$device" ] || echo $device $(cat $device/carrier 2>/dev/null || echo 0) $(cat $device/speed $device/duplex 2>/dev/null)
done
"""


def tell(state):
    """Events for what kernel and model disagree about, until they agree. A link that is just changing has its event already,
    and a daemon that begins resets ports, which have no link for a moment: it takes two looks to agree."""
    before, told, end = None, {}, time.monotonic() + SECONDS
    while True:
        now = _disagreements(state)
        if not now and before == {}:
            return
        if time.monotonic() > end:
            for event in now.values():
                print(f"gw: the data model does not follow the kernel: {event}", file=sys.stderr)
            return
        for name, event in now.items():
            if (before or {}).get(name) == event and time.monotonic() > told.get(name, 0):
                inside.run(state, "gw-kernel-event", "--", event)
                told[name] = time.monotonic() + 3
        before = now
        time.sleep(STEP)


def _disagreements(state):
    """{device: the event that would tell the truth about it}."""
    devices = [port.name for port in ports.of(state)]
    seen = inside.run(state, "sh", "-c", LOOK, "look", *devices, *DSL).stdout
    linked = {words[0]: words[1:] for words in map(str.split, seen.splitlines())}
    believed = _believed(state, devices)
    return {name: _event(name, *told) for name, told in linked.items()
            if name in believed and _differs(name, told[0] == "1", believed[name])}


def _differs(name, linked, status):
    """A port is up or down; a vcmd that has begun anew says neither of it."""
    return (status == "Up") is not linked or (name not in DSL and status not in ("Up", "Down"))


def _believed(state, devices):
    """{device: its status in the model}."""
    found = model.get(state, *(f"{table}.*.{parameter}" for table in ("Ethernet.Interface", *DSL.values())
                               for parameter in ("Name", "Status")))
    names = {path.removesuffix(".Name"): name for path, name in found.items() if path.endswith(".Name")}
    return {name: found.get(f"{path}.Status", "") for path, name in names.items()
            if name in devices or path.rpartition(".")[0] == DSL.get(name)}


def _event(name, carrier, speed="0", duplex="half"):
    if name in DSL:
        return f"{name}:{'up' if carrier == '1' else 'down'}"
    return f"{name}:up:{speed}:{duplex[0].upper()}" if carrier == "1" else f"{name}:down:0:H"
