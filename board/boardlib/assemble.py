"""Puts together the archive that the board's kernel unpacks as its root: what is built here, the programs of the packages
with their libraries, the kernel's modules, and the board's own files."""
import gzip
import hashlib
import json
import pathlib
import shutil
import subprocess
import sys

from . import cpio, kernel, libraries
from .places import BUILD, CROSS, INITRD, PACKAGES, REPOSITORY, SMALL, SOURCE, listed

sys.path.insert(0, str(REPOSITORY / "gateway"))
from gwlib import boot  # noqa: E402

MODELS = ("defaults", "dual-stack", "ppp")
BUILT = ("bin", "lib", "port/linux/root", "gateway/root")
# A board with little memory has no provider, no mail and no room for either.
SMALL_PROGRAMS = ("/bin/busybox", "/bin/dash", "/bin/ip", "/usr/bin/flock")
SMALL_MODULES = ("veth", "bridge", "tun")
LEFT_OUT = ("vcfg-mail", "gw-huntd", "gw-world", "gw-wirelessd", "port-diag", "port-ntp")
TESTS = "*_tests"  # what script/foreign builds beside the programs
MERGED = ("bin", "sbin", "lib")


def once():
    """Assembles it, unless nothing that it is made of has changed since."""
    now = _state()
    stamp = BUILD / "assembled"
    if INITRD.exists() and SMALL.exists() and stamp.exists() and stamp.read_text() == now:
        return
    print("assembling the board's root", flush=True)
    _assemble()
    stamp.write_text(now)


def _state():
    """What is built and what is written here, by its times and sizes, and which packages there are."""
    digest = hashlib.sha256((PACKAGES / ".packages").read_bytes())
    for tree in (SOURCE, *(CROSS / part for part in BUILT), REPOSITORY / "gateway"):
        for path in sorted(tree.rglob("*")):
            if (path.is_file() or path.is_symlink()) and path.suffix != ".pyc" and not path.match(TESTS):
                digest.update(f"{path} {path.lstat().st_size} {path.lstat().st_mtime_ns}\n".encode())
    return digest.hexdigest()


def _assemble():
    _image(BUILD / "root", INITRD, listed("programs.txt"), listed("modules.txt"), ())
    _image(BUILD / "small-root", SMALL, SMALL_PROGRAMS, SMALL_MODULES, LEFT_OUT)


def _image(root, initrd, programs, modules, left_out):
    shutil.rmtree(root, ignore_errors=True)
    _folders(root)
    _built(root, left_out)
    _programs(root, programs)
    _modules(root, modules)
    _own(root)
    with gzip.open(initrd.with_suffix(".new"), "wb", compresslevel=6) as output:
        cpio.write(root, output)
    initrd.with_suffix(".new").rename(initrd)


def _folders(root):
    for name in ("usr/bin", "usr/sbin", "usr/lib", "dev", "proc", "sys", "run", "tmp", "data", "root", "etc", "var/log/gateway", "var/lib"):
        (root / name).mkdir(parents=True)
    for name in MERGED:
        (root / name).symlink_to(f"usr/{name}")
    (root / "var/run").symlink_to("/run")


def _built(root, left_out):
    """As on the virtual gateway: the port's tree, the platform's tree, the programs, all stripped."""
    for tree in (CROSS / "port/linux/root", CROSS / "gateway/root"):
        _lay(tree, root)
    (root / "usr/bin/sh").unlink()  # the journal's shell: the board is a device, which has none
    shutil.rmtree(root / "proc")
    (root / "proc").mkdir()
    _lay(SOURCE.parent / "gateway/root/proc", root / "usr/share/board/proc")
    for folder in ("bin", "lib"):
        _lay(CROSS / folder, root / "usr/lib/tarn" / folder)
    for path in [path for path in root.rglob("*") if path.name in left_out]:
        path.unlink()
    _strip(root)


def _lay(tree, target):
    shutil.copytree(tree, target, symlinks=True, dirs_exist_ok=True, ignore=shutil.ignore_patterns(TESTS))


def _strip(root):
    files = [path for path in root.rglob("*") if path.is_file() and not path.is_symlink() and _is_program(path)]
    subprocess.run(["mipsel-linux-gnu-strip", *map(str, files)], check=True)


def _is_program(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def _programs(root, paths):
    chosen = [PACKAGES / path.lstrip("/") for path in paths]
    for program in chosen:
        _copy(program, root / "usr" / program.relative_to(PACKAGES).as_posix().removeprefix("usr/"))
    built = [path for path in root.rglob("*") if path.is_file() and not path.is_symlink() and _is_program(path)]
    for name, file in libraries.of([*chosen, *built], PACKAGES, CROSS / "lib").items():
        if file.parent != CROSS / "lib":
            _copy(file, root / "usr/lib/mipsel-linux-gnu" / name)
    _copy(PACKAGES / libraries.LOADER, root / "usr/lib/ld.so.1")
    _applets(root)


def _copy(file, target):
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy2(file, target)


def _applets(root):
    """busybox is whatever else a script calls. The shell is another one: this one takes its own applets for what the platform
    has programs for."""
    (root / "usr/bin/sh").symlink_to("dash")
    done = subprocess.run(["qemu-mipsel-static", str(PACKAGES / "bin/busybox"), "--list"], capture_output=True, text=True, check=True)
    for name in done.stdout.split():
        if not any((root / folder / name).exists() or (root / folder / name).is_symlink() for folder in ("usr/bin", "usr/sbin")):
            (root / "usr/bin" / name).symlink_to("/bin/busybox")


def _modules(root, wanted):
    files = kernel.modules(PACKAGES, wanted)
    for file in files:
        _copy(file, root / "usr/lib/modules" / file.name)
    (root / "usr/lib/modules/load").write_text("".join(f"/lib/modules/{file.name}\n" for file in files))


def _own(root):
    _lay(SOURCE / "root", root)
    _lay(SOURCE / "roads", root / "usr/lib/board/roads")
    models = root / "usr/share/board/models"
    models.mkdir(parents=True)
    for name in MODELS:
        source = REPOSITORY / "gateway" / (f"defaults-{name}.json" if name != "defaults" else "defaults.json")
        (models / f"{name}.json").write_text(json.dumps(boot.read_model(pathlib.Path(source))))
