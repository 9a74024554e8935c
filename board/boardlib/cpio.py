"""The archive that a kernel unpacks as its first root (the "newc" form of cpio)."""
import os
import stat


def write(tree, output):
    """Packs everything below the folder `tree`, all of it owned by root."""
    number = 0
    for folder, folders, files in os.walk(tree):
        folders.sort()
        for name in [*folders, *sorted(files)]:
            number += 1
            path = os.path.join(folder, name)
            _entry(output, os.path.relpath(path, tree), os.lstat(path), _content(path), number)
        folders[:] = [name for name in folders if not os.path.islink(os.path.join(folder, name))]
    _header(output, "TRAILER!!!", 0, 0, 0)


def _content(path):
    if os.path.islink(path):
        return os.readlink(path).encode()
    if os.path.isdir(path):
        return b""
    with open(path, "rb") as file:
        return file.read()


def _entry(output, name, status, content, number):
    mode = 0o777 if stat.S_ISLNK(status.st_mode) else 0o755 if status.st_mode & 0o100 else 0o644
    _header(output, name, stat.S_IFMT(status.st_mode) | mode, len(content), number)
    output.write(content + bytes(-len(content) % 4))


def _header(output, name, mode, size, number):
    fields = (number, mode, 0, 0, 1, 0, size, 0, 0, 0, 0, len(name) + 1, 0)
    head = b"070701" + b"".join(b"%08x" % field for field in fields) + name.encode() + b"\0"
    output.write(head + bytes(-len(head) % 4))
