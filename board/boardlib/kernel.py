"""The kernel's package: its image, and the modules that the board loads in an order in which they can be."""
import pathlib
import subprocess

from .errors import BoardError


def image(packages):
    found = sorted((packages / "boot").glob("vmlinuz-*"))
    if not found:
        raise BoardError("no package of board/packages.txt has a kernel")
    return found[-1]


def modules(packages, wanted):
    """Files of the wanted modules and of those that they stand on, these first."""
    version = image(packages).name.removeprefix("vmlinuz-")
    folder = packages / "lib" / "modules" / version
    stands_on = _dependencies(packages, folder, version)
    order = []
    for name in wanted:
        for file in _with_dependencies(name, stands_on):
            if file not in order:
                order.append(file)
    return [folder / file for file in order]


def _dependencies(packages, folder, version):
    """{module: [its file, those that it stands on]}."""
    if not (folder / "modules.dep").exists():
        subprocess.run(["depmod", "-b", str(packages), version], check=True, stderr=subprocess.DEVNULL)
    found = {}
    for line in (folder / "modules.dep").read_text(encoding="utf-8").splitlines():
        file, _, below = line.partition(":")
        found[pathlib.Path(file).stem] = [file, *below.split()]
    return found


def _with_dependencies(name, stands_on):
    if name not in stands_on:
        raise BoardError(f"the kernel's package has no module {name}")
    return reversed(stands_on[name])
