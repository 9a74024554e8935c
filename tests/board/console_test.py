"""A person at the board's console, and at a debugger beside it."""
import contextlib
import os
import pathlib
import pty
import select
import subprocess
import sys
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
RUN = REPOSITORY / "board" / "run.py"
PATIENCE = 600
PROMPT = "# "


class Console:
    """A terminal on which script/board --shell runs."""

    def __init__(self, *words):
        self.said = ""
        self.terminal, theirs = pty.openpty()
        self.process = subprocess.Popen([sys.executable, str(RUN), "--shell", *words], stdin=theirs, stdout=theirs, stderr=theirs)
        os.close(theirs)

    def until(self, text):
        """Returns what has been said up to that text, and forgets it."""
        end = time.monotonic() + PATIENCE
        while text not in self.said:
            assert time.monotonic() < end, f"no {text!r} in {self.said!r}"
            if select.select([self.terminal], [], [], 1)[0]:
                self.said += os.read(self.terminal, 65536).decode(errors="replace").replace("\r", "")
        before, _, self.said = self.said.partition(text)
        return before

    def run(self, command):
        """What the console shows of a command that must succeed: itself, and what it prints."""
        os.write(self.terminal, f"{command}\necho END=$?\n".encode())
        return self.until("END=0\n")


@contextlib.contextmanager
def console(*words):
    board = Console(*words)
    try:
        board.until("exit or poweroff -f ends it.")
        board.until(PROMPT)
        board.run(". /usr/lib/board/words")
        yield board
    finally:
        board.process.kill()
        board.process.wait()
        os.close(board.terminal)


def test_console_takes_commands_and_ends_the_board():
    with console() as board:
        assert "IP.Interface.1.X_VORAN_IfName=eth0.5" in board.run("vcfgctl get IP.Interface.1.X_VORAN_IfName")
        board.run("cable eth0.5 out")
        board.run("until_true is Ethernet.Link.1.Status LowerLayerDown")
        os.write(board.terminal, b"exit\n")
        assert board.process.wait(PATIENCE) == 0


def test_debugger_sees_the_daemon_with_its_symbols():
    with console("--gdb") as board:
        board.run("settle")
        board.run("gdbserver --once /dev/ttyS1 --attach $(pidof tarn) >/tmp/gdbserver.txt 2>&1 &")
        board.run("until_true grep Attached /tmp/gdbserver.txt")
        done = subprocess.run(
            ["gdb-multiarch", "-nx", "-batch", "build/mipsel/bin/tarn", "-ex", "set sysroot build/roots/mipsel",
             "-ex", "target remote build/board/program.gdb", "-ex", "thread apply all backtrace", "-ex", "detach"],
            cwd=REPOSITORY, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE, check=False)
        assert " main (" in done.stdout, done.stdout + done.stderr
