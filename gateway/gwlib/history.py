"""How the model and the LED went on: what is known of them at some moments, and the changes between."""
import re

from . import timeline
from .model import value_text

LED = re.compile(r"echo ([\d ]+?) ?> ?(/proc/tc3162/led_internet(?:_red)?)$")
NOTHING = -1  # the place of an event that nobody has seen


def of_model(snapshots, events, begin):
    """(time, path, new value, place of the event), in order."""
    writes = [(line["t_mono_us"], line["path"], line["new"], place, line["old"])
              for place, event in enumerate(events) for line in event.lines]
    writes.sort(key=lambda write: write[0])
    values = _before(snapshots[0], writes) if snapshots else {}
    first = min([begin if not snapshots else snapshots[0].at, *(write[0] for write in writes[:1])])
    changes = [(max(begin, first), path, value, NOTHING) for path, value in values.items()]
    left = list(snapshots[1:])
    for at, path, new, place, _ in writes:
        while left and left[0].at < at:
            changes += _caught_up(values, left.pop(0))
        _apply(values, path, new)
        changes.append((at, path, new, place))
    for snapshot in left:
        changes += _caught_up(values, snapshot)
    return changes


def _before(snapshot, writes):
    """What the model was like before the writes that the snapshot holds already."""
    values = dict(snapshot.values)
    for at, path, _, _, old in reversed(writes):
        if at <= snapshot.at:
            _apply(values, path, old)
    return values


def _apply(values, path, new):
    if not path.rpartition(".")[2].isdecimal():
        values[path] = new
    elif new is None:
        for name in [name for name in values if name.startswith(path + ".")]:
            del values[name]


def _caught_up(values, snapshot):
    """What has changed unseen, as while nobody could tell: at the latest at the moment of the snapshot."""
    changed = [(snapshot.at, path, value, NOTHING) for path, value in snapshot.values.items()
               if value_text(values.get(path)) != value_text(value)]
    gone = {path.rpartition(".")[0] for path in values if path not in snapshot.values}
    values.clear()
    values.update(snapshot.values)
    return changed + [(snapshot.at, thing, None, NOTHING) for thing in gone if thing.rpartition(".")[2].isdecimal()]


def of_led(snapshots, events, begin):
    """(time, file, text, place of the event), in order, of both files."""
    found = [(event.at + event.took, told[2], told[1], place) for place, event in enumerate(events)
             if event.kind == "command" and (told := LED.search(event.text))]
    if not snapshots or len(snapshots[0].led) != len(timeline.LED_FILES):
        return found
    first, known = snapshots[0], dict(zip(timeline.LED_FILES, snapshots[0].led))
    if any(change[0] < first.at for change in found):
        return found
    return [(begin, file, text, NOTHING) for file, text in known.items()] + found
