"""The lines that a file grows by. Who waits for more sleeps in the kernel until there is some."""
import ctypes
import os
import select
import time

IN_MODIFY, IN_ATTRIB = 0x2, 0x4
LARGEST = 64 * 1024
_libc = ctypes.CDLL(None, use_errno=True)


class Growth:
    """A file of whole lines that others append to. A gateway that boots anew begins it anew: then the new one is read."""

    def __init__(self, path):
        self.path = path
        self.inotify = _libc.inotify_init1(os.O_CLOEXEC)
        if self.inotify < 0:
            raise OSError(ctypes.get_errno(), "cannot watch files")
        self._open()

    def _open(self):
        self.file = open(self.path, "rb")
        self.rest = b""
        self._watch(self.path, IN_MODIFY | IN_ATTRIB)

    def _watch(self, path, mask):
        if _libc.inotify_add_watch(self.inotify, os.fsencode(path), ctypes.c_uint32(mask)) < 0:
            raise OSError(ctypes.get_errno(), "cannot watch", str(path))

    def new(self):
        """The lines that have come since this was last asked."""
        self.rest += self.file.read()
        *whole, self.rest = self.rest.split(b"\n")
        return [line.decode(errors="replace") for line in whole]

    def wait(self):
        """Returns when there may be more, or when the file is another one now. False when there will be none."""
        self._sleep()
        if os.fstat(self.file.fileno()).st_nlink > 0:
            return True
        self.file.close()
        return self._reopen()

    def _sleep(self):
        select.select([self.inotify], [], [])
        os.read(self.inotify, LARGEST)

    def _reopen(self):
        """A boot takes the folder away and makes another one, a moment later."""
        while self.path.parent.parent.is_dir():
            try:
                self._open()
                return True
            except FileNotFoundError:
                time.sleep(0.1)
        return False
