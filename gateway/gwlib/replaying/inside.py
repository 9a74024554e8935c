"""Runs inside the room: plays the recording from standard input, and prints what came of it."""
import json
import sys

from . import doings, recording
from .player import Player
from .rig import Rig, Unplayable


def told(player, warnings):
    return {"steps": player.steps, "warnings": warnings,
            "differences": [{"at": one.at, "text": one.text, "led": [shown(line) for line in one.led]} for one in player.differences]}


def shown(line):
    return [line["at"], doings.words(line) if doings.is_doing(line) else doings.arrival(line), doings.is_doing(line)]


def main(fast):
    found = recording.read(sys.stdin.buffer)
    warnings = []
    rig = Rig(found, warnings.append)
    try:
        rig.start()
        player = Player(found, rig, fast)
        player.play()
        print(json.dumps(told(player, warnings)))
    except Unplayable as problem:
        print(json.dumps({"problem": str(problem), "warnings": warnings}))
    finally:
        rig.close()


if __name__ == "__main__":
    main("--fast" in sys.argv[1:])
