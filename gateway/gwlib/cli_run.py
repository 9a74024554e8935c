"""The verbs that run something in a room: exec, shell, spawn, put."""
import os
import pathlib
import stat
import sys

from . import inside
from .errors import GatewayError
from .state import ROOMS
from .values import taking

SHELLS = ("bash", "sh")
PUT = """set -e
[ ! -d "$1" ] || { echo "$1 is a folder" >&2; exit 1; }
mkdir -p "$(dirname "$1")"
cat >"$1.put"
chmod "$2" "$1.put"
mv -f "$1.put" "$1"
"""


def verb_exec(state, options):
    inside.replace_by(state, options.command, options.room)


def verb_shell(state, options):
    """Bash where the machine has it, else the plain one; its prompt says where it is."""
    find = f"for shell in {' '.join(SHELLS)}; do command -v $shell && break; done"
    shell = inside.must(state, "sh", "-c", find, room=options.room).strip()
    os.environ.setdefault("TERM", "dumb")
    words = [shell, *(["--norc"] if shell.endswith("bash") else []), *(["-i"] if sys.stdin.isatty() else [])]
    inside.replace_by(state, ["env", f"PS1={options.room}:\\w# ", *words], options.room)


def verb_spawn(state, options):
    inside.spawn(state, options.name, *options.command, collect=True)


def verb_put(state, options):
    data, mode = _content(options.file)
    path = _target(options)
    if inside.feed(state, ["sh", "-c", PUT, "gw", path, mode], data, options.room) != 0:
        raise GatewayError(f"{path} in the room {options.room} is as it was")


def _content(file):
    """Bytes and mode of the file; - is standard input."""
    if file == "-":
        return sys.stdin.buffer.read(), "644"
    path = pathlib.Path(file)
    if not path.is_file():
        raise GatewayError(f"{file} is no file that could be put" if path.exists() else f"there is no file {file}")
    return path.read_bytes(), f"{stat.S_IMODE(path.stat().st_mode) & 0o755:o}"


def _target(options):
    if options.path.endswith("/"):
        if options.file == "-":
            raise GatewayError("standard input has no name of its own; PATH has to say it")
        return options.path + pathlib.Path(options.file).name
    return options.path


def place(text):
    if not text.startswith("/"):
        raise ValueError("it takes a path from the room's root on, as /usr/bin/name; one that ends in / is a folder")
    return text


def service_name(text):
    if not text.replace("-", "").replace("_", "").isalnum() or len(text) > 32:
        raise ValueError("it takes a name of letters, digits, - and _")
    return text


def _add_room(new):
    new.add_argument("--room", choices=ROOMS, default="gateway", help="where (default: gateway)")


def add_verbs(verb):
    new = verb("exec", verb_exec, "run a command inside; its streams and exit status are its own")
    _add_room(new)
    new.add_argument("command", nargs="*", metavar="-- CMD...")
    _add_room(verb("shell", verb_shell, "a shell inside"))
    new = verb("spawn", verb_spawn, "start a daemon of one's own inside; its output goes to gw log --all, "
               "its number to /run/gateway/NAME.pid")
    new.add_argument("name", type=taking("NAME", service_name), metavar="NAME")
    new.add_argument("command", nargs="*", metavar="-- CMD...")
    new = verb("put", verb_put, "copy a file of this machine into the gateway, where it stays until gw down")
    _add_room(new)
    new.add_argument("file", metavar="FILE", help="- for standard input")
    new.add_argument("path", type=taking("PATH", place), metavar="PATH", help="its place inside; one that ends in / is a folder")
