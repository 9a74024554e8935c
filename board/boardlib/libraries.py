"""Which shared libraries a program needs, and where they lie in a tree of unpacked packages."""
import re
import subprocess

from .errors import BoardError

FOLDERS = ("lib/mipsel-linux-gnu", "usr/lib/mipsel-linux-gnu")
LOADER = "lib/ld.so.1"
NEEDED = re.compile(r"\(NEEDED\).*\[(.+)\]")


def of(programs, packages, own):
    """{name: file} of the libraries that the programs need, and that these need; `own` is a folder of the build's own."""
    found, waiting = {}, list(programs)
    while waiting:
        for name in _needed(waiting.pop()):
            if name not in found and not name.startswith("ld.so"):
                found[name] = _find(name, packages, own)
                waiting.append(found[name])
    return found


def _needed(program):
    done = subprocess.run(["readelf", "-dW", str(program)], capture_output=True, text=True, check=False)
    return NEEDED.findall(done.stdout)


def _find(name, packages, own):
    for folder in (own, *(packages / part for part in FOLDERS)):
        if (folder / name).exists():
            return folder / name
    raise BoardError(f"no package of board/packages.txt has the library {name}")
