"""gw replay: a recording, played to a fresh daemon in a room of its own."""
import io
import json
import pathlib
import subprocess
import sys
import tempfile
import time

from . import boot, inside
from .errors import GatewayError
from .replaying import recording
from .state import REPOSITORY, State
from .terminal import harmless, paint

PLACE = "/usr/lib/gateway/gw"  # of these files, inside the room


def verb_replay(_state, options):
    results = [_replayed(file, options.fast) for file in options.file]
    return 0 if all(results) else 1


def _replayed(file, fast):
    found, data = _read(file)
    began = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="gw-replay-") as directory:
        state = State(directory)
        try:
            _build_room(state)
            done = _played(state, data, fast)
        finally:
            boot.end_world(state)
    return _told(pathlib.Path(file).stem, found, done, time.monotonic() - began)


def _read(file):
    try:
        data = sys.stdin.buffer.read() if file == "-" else pathlib.Path(file).read_bytes()
        return recording.read(io.BytesIO(data)), data
    except OSError as problem:
        raise GatewayError(f"{file}: {problem.strerror}") from None
    except recording.Unreadable as problem:
        raise GatewayError(f"{file} cannot be played: {problem}") from None


def _build_room(state):
    """The gateway's own room alone, with another shell."""
    layer = state.directory / "layer" / "usr" / "bin"
    layer.mkdir(parents=True)
    (layer / "sh").symlink_to("../lib/gateway/gw-replay-sh")
    for directory in (state.data, state.log_directory):
        directory.mkdir(parents=True)
    boot.build_world(state, ("gateway",), ["--layer", state.directory / "layer", "--bind", REPOSITORY / "gateway", PLACE])


def _played(state, data, fast):
    words = inside.entering(state, "gateway", ["python3", "-m", "gwlib.replaying.inside", *(["--fast"] if fast else [])])
    done = subprocess.run(words, input=data, env=inside.environment({"PYTHONPATH": PLACE, "PYTHONDONTWRITEBYTECODE": "1"}),
                          stdout=subprocess.PIPE, check=False)
    try:
        return json.loads(done.stdout)
    except ValueError:
        raise GatewayError(f"the replay has ended with status {done.returncode}") from None


def _told(name, found, done, seconds):
    for warning in (*found.warnings, *done["warnings"]):
        print(paint(f"{name}: {harmless(warning)}", "yellow"))
    if "problem" in done:
        raise GatewayError(f"{name} cannot be played: {done['problem']}")
    for difference in done["differences"]:
        _tell_difference(name, difference)
    length = found.length_us() / 1e6
    if done["differences"]:
        print(paint(f"{name}: {len(done['differences'])} differences, {done['steps']} steps of {length:.1f} s, in {seconds:.1f} s", "alarm"))
    else:
        print(paint(f"{name}: as recorded: {done['steps']} steps of {length:.1f} s, in {seconds:.1f} s", "green"))
    return not done["differences"]


def _tell_difference(name, difference):
    print(paint(f"{name}: at {difference['at'] / 1e6:.3f} s {difference['text']}", "red"))
    for at, text, is_doing in difference["led"]:
        print(paint(f"    {at / 1e6:9.3f} {'     ' if is_doing else '-> '}{harmless(text)}", "dim" if is_doing else None))


def add_verbs(verb):
    new = verb("replay", verb_replay, "play recordings of vcfgctl record to a fresh daemon, and compare what it does (docs/recordings.md)")
    new.add_argument("file", nargs="+", metavar="FILE", help="- for standard input")
    new.add_argument("--fast", action="store_true", help="as fast as it goes, not with the times of then")
    return new


