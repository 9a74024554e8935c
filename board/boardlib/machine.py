"""The emulated machine: which one, and what it is started with."""
import pathlib
from typing import NamedTuple, Optional

from . import kernel
from .places import BUILD, INITRD, PACKAGES

GDB_KERNEL = BUILD / "kernel.gdb"
GDB_PROGRAM = BUILD / "program.gdb"

COUNTED = ("-icount", "shift=2", "-rtc", "clock=vm")  # 250 million instructions a second


class Hardware(NamedTuple):
    memory: int = 128
    kernel: Optional[pathlib.Path] = None
    device_tree: Optional[pathlib.Path] = None
    initrd: pathlib.Path = INITRD
    gdb: bool = False
    counted: bool = False  # time is the count of instructions, the same however busy this machine is


def command(hardware, *words):
    """QEMU's words. The board has a serial console and no way to a network of this machine's; with gdb, the emulator's
    stub for the kernel and the board's second serial line are sockets here."""
    image = hardware.kernel or kernel.image(PACKAGES)
    # A root that is a tmpfs gets half the memory at most, which is too little on a small board.
    line = " ".join(("console=ttyS0", "loglevel=3", "panic=-1", "nokaslr", "rootfstype=ramfs", *words))
    tree = ["-dtb", str(hardware.device_tree)] if hardware.device_tree else []
    return ["qemu-system-mipsel", "-M", "malta", "-m", str(hardware.memory), "-vga", "none", "-nic", "none", "-no-reboot",
            "-display", "none", "-kernel", str(image), "-initrd", str(hardware.initrd), "-append", line, *tree,
            *(COUNTED if hardware.counted else ()), *(_gdb() if hardware.gdb else ())]


def _gdb():
    return ["-gdb", f"unix:{GDB_KERNEL},server=on,wait=off", "-serial", "mon:stdio",
            "-serial", f"unix:{GDB_PROGRAM},server=on,wait=off"]
