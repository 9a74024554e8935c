"""Programs that are started without standard streams: nothing that they open takes a stream's number."""
import ctypes
import os
import signal

import pytest
from platform_support import BUILD, PORT, ROOT, environment

# Ends at once by its arguments, or by the stream that it cannot read.
WRONG_USAGE = ["--nonsense"]
PROGRAMS = {
    **{PORT / "usr/libexec/tarn" / name: WRONG_USAGE for name in (
        "port-apply", "port-clock", "port-diag", "port-event", "port-linkd", "port-rad", "port-refresh", "port-spawn")},
    PORT / "usr/libexec/tarn/port-ntp": [],
    **{ROOT / "usr/bin" / name: WRONG_USAGE for name in ("gw-huntd", "gw-kernel-event", "gw-linesim")},
    **{ROOT / "usr/lib/gateway" / name: WRONG_USAGE for name in ("gw-logd", "gw-procfs", "gw-sh", "gw-world")},
    ROOT / "usr/libexec/vcfg/vcfg-mail": [],
    BUILD / "bin/vcmd": ["--foreground", "--data-dir", "/nonexistent"],
    BUILD / "bin/vcfgctl": ["get", "."],
}
PATIENCE = 20
PTRACE_TRACEME, PTRACE_CONT, PTRACE_SETOPTIONS = 0, 7, 0x4200
PTRACE_O_TRACEEXIT, PTRACE_O_EXITKILL, PTRACE_EVENT_EXIT = 0x40, 0x100000, 6
LIBC = ctypes.CDLL(None, use_errno=True)
LIBC.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]


def start(program, arguments, variables):
    child = os.fork()
    if child == 0:
        LIBC.ptrace(PTRACE_TRACEME, 0, None, None)
        signal.alarm(PATIENCE)
        os.closerange(0, 3)
        try:
            os.execve(program, [str(program), *arguments], variables)
        finally:
            os._exit(99)
    return child


def at_its_end(child):
    """What the first descriptors are when the program ends."""
    _, status = os.waitpid(child, 0)
    assert os.WIFSTOPPED(status), "it could not be started"
    assert LIBC.ptrace(PTRACE_SETOPTIONS, child, None, PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL) == 0
    while status >> 8 != signal.SIGTRAP | PTRACE_EVENT_EXIT << 8:
        stopped_by = os.WSTOPSIG(status)
        assert LIBC.ptrace(PTRACE_CONT, child, None, 0 if stopped_by == signal.SIGTRAP else stopped_by) == 0
        _, status = os.waitpid(child, 0)
        assert os.WIFSTOPPED(status), "it ended unseen"
    streams = [os.readlink(f"/proc/{child}/fd/{number}") for number in range(3)]
    LIBC.ptrace(PTRACE_CONT, child, None, None)
    os.waitpid(child, 0)
    return streams


@pytest.mark.parametrize("program", PROGRAMS, ids=lambda path: path.name)
def test_closed_standard_streams_are_held(tmp_path, program):
    variables = environment(tmp_path, VCFG_RUN_DIR=tmp_path, HOME=tmp_path, ASAN_OPTIONS="detect_leaks=0")
    assert at_its_end(start(program, PROGRAMS[program], variables)) == 3 * ["/dev/null"]
