"""Commands about WAN connections, and gateways with more than IPv4, in the words of the tests."""
import contextlib
import pathlib
import subprocess
import sys

from support import DEADLINE, DONE, GW, REPOSITORY, SLOWER, TARN, eventually

PPP_DISCONNECT, PPP_CONNECT, RELEASE, RENEW = 1002, 1003, 1004, 1005
RA_INFO, DHCPV6, PPPD = 0x800000DD, 0x800000DB, 0x80000110
ANSWER = "type=0x80000067(VCFG_MSG_WAN_REPLY) statCode=0 payload=\n"
UNANSWERED = 3
PATIENCE_MS = int(DEADLINE * 1000 * SLOWER)
SILENCE_MS = 5 * PATIENCE_MS  # the longer a server was silent, the longer its client waits until it asks again

DUAL_STACK = REPOSITORY / "gateway" / "defaults-dual-stack.json"
PPP = REPOSITORY / "gateway" / "defaults-ppp.json"


def _words(command, instance, patience_ms):
    return ["exec", "--", "vcfgctl", "send", "--to", str(TARN), "--type", str(command), "--iid", str(instance), "--reply",
            "--timeout", str(patience_ms)]


def ask(gateway, command, instance=1):
    """Asks, and returns when the answer is there."""
    done = gateway.gw(*_words(command, instance, PATIENCE_MS))
    assert (done.returncode, done.stdout) == (DONE, ANSWER), done.stderr


class Asking:
    """Somebody who has asked and waits for the answer."""

    def __init__(self, gateway, command, instance, patience_ms):
        words = [sys.executable, str(GW), "--state", str(gateway.directory), *_words(command, instance, patience_ms)]
        self.process = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True)
        self.patience = patience_ms / 1000 / SLOWER

    def waits(self):
        return self.process.poll() is None

    def is_answered(self):
        eventually(lambda: not self.waits(), max(self.patience, DEADLINE))
        assert (self.process.returncode, self.process.stdout.read()) == (DONE, ANSWER)
        return True

    def gives_up(self):
        eventually(lambda: not self.waits())
        assert (self.process.returncode, self.process.stdout.read()) == (UNANSWERED, "")
        return True


@contextlib.contextmanager
def asking(gateway, command, instance=1, patience_ms=SILENCE_MS):
    """Asks, and goes on when the daemon has taken the command, answered or not."""
    mark = gateway.mark()
    one = Asking(gateway, command, instance, patience_ms)
    try:
        gateway.logged(f"process msg type = {command} with reply", since=mark)
        gateway.settle()
        yield one
    finally:
        one.process.kill()
        one.process.wait()
        one.process.stdout.close()
        one.process.stderr.close()


def taken(gateway, message_type, since):
    """Waits until the daemon has handled a message of that type."""
    gateway.logged(f"process msg type = {message_type & 0x7FFFFFFF} without reply", since=since)
    gateway.settle()


def isp(gateway, *command):
    """A command at the provider's, finished."""
    first = (pathlib.Path(gateway.directory) / "isp.pid").read_text().strip()
    return subprocess.run(["nsenter", "-t", first, "-m", "-p", "-n", "-i", "-u", "--", *map(str, command)],
                          capture_output=True, text=True, timeout=60, check=False)
