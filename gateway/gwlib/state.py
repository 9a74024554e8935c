"""One gateway's state directory: where its files lie, and which processes it consists of."""
import contextlib
import fcntl
import os
import pathlib
import pwd
import shutil

from .errors import GatewayError, NobodyAnswers

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
ROOMS = ("gateway", "isp", "lan")


class State:
    def __init__(self, directory=None, build=None):
        self.build = pathlib.Path(build or os.environ.get("GW_BUILD") or REPOSITORY / "build" / "release").resolve()
        self.directory = pathlib.Path(directory or REPOSITORY / "build" / "gateway").resolve()
        self.log_directory = self.directory / "log"
        self.log = self.log_directory / "log.jsonl"
        self.journal = self.log_directory / "journal.jsonl"
        self.data = self.directory / "data"
        self.model = self.data / "vcfg_config.json"
        self.given = self.data / "defaults.json"  # the model that a gateway without a kept one begins with, state included
        self.booted = self.directory / "booted.json"  # the configuration that the hardware was laid out for
        self.since = self.directory / "since.json"  # when it was booted
        self.isp = self.directory / "isp"

    def prepare(self, fresh):
        """The directories of a gateway that is about to boot. The configuration outlives a power cycle, unless
        `fresh`; log and journal begin anew."""
        for directory in (self.log_directory, self.isp, *([self.data] if fresh else [])):
            shutil.rmtree(directory, ignore_errors=True)
        for directory in (self.log_directory, self.isp, self.data):
            directory.mkdir(parents=True, exist_ok=True)
        self.log.touch(0o600)  # they hold what was said and run, secrets included
        self.journal.touch(0o600)

    @contextlib.contextmanager
    def alone(self):
        """Booting and ending a gateway take turns."""
        self.directory.mkdir(parents=True, exist_ok=True)
        try:
            file = open(self.directory / "lock", "w", encoding="ascii")
        except PermissionError:
            raise self.foreign() from None
        with file:
            fcntl.flock(file, fcntl.LOCK_EX)
            yield

    def program(self, name):
        """A program of the gateway's own, on the host's side."""
        path = self.build / "gateway" / "root" / "usr" / "lib" / "gateway" / name
        if not path.exists():
            raise GatewayError(f"{path} is not built; script/build release builds it")
        return path

    def nobody(self):
        return f"no gateway runs in {self.directory}; gw up starts one"

    def foreign(self):
        return GatewayError(f"{self.directory} belongs to {_owner(self.directory)}; ask as that user")

    def _number(self, name):
        try:
            return int((self.directory / f"{name}.pid").read_text())
        except PermissionError:
            raise self.foreign() from None
        except (OSError, ValueError):
            return None

    def world(self):
        """The process that everything hangs on, or None."""
        number = self._number("world")
        return number if number and is_alive(number, "gw-world") else None

    def room(self, name):
        """First process of a room."""
        number = self._number(name)
        if self.world() is None or number is None or not is_alive(number, "gw-world"):
            raise NobodyAnswers(self.nobody())
        try:
            os.readlink(f"/proc/{number}/ns/pid")
        except PermissionError:
            raise GatewayError(f"the gateway in {self.directory} runs as {_owner(f'/proc/{number}')}; ask as that user") from None
        except FileNotFoundError:
            raise NobodyAnswers(self.nobody()) from None
        return number

    def forget_processes(self):
        for name in ("world", *ROOMS):
            (self.directory / f"{name}.pid").unlink(missing_ok=True)


def _owner(path):
    number = os.stat(path).st_uid
    try:
        return pwd.getpwuid(number).pw_name
    except KeyError:
        return f"user {number}"


def is_alive(number, name):
    """Whether that process lives (a dead one that nobody has collected does not) and bears that name."""
    try:
        text = pathlib.Path(f"/proc/{number}/stat").read_text(errors="replace")
    except OSError:
        return False
    comm, _, rest = text.partition("(")[2].rpartition(")")
    return comm == name and rest.split()[0] not in "ZX"


def processes(first):
    """{number: name} of the processes that share the PID namespace of process `first`, as the host numbers them."""
    try:
        namespace = os.readlink(f"/proc/{first}/ns/pid")
    except OSError:
        return {}
    found = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            if os.readlink(f"/proc/{entry}/ns/pid") == namespace:
                found[int(entry)] = pathlib.Path(f"/proc/{entry}/comm").read_text(errors="replace").rstrip("\n")
        except OSError:
            continue
    return found


def parent(number):
    """Number of the process that the process descends from; None when it is gone."""
    try:
        text = pathlib.Path(f"/proc/{number}/stat").read_text(errors="replace")
    except OSError:
        return None
    return int(text.rpartition(")")[2].split()[1])


def inside_number(number):
    """The number that the process has inside its own PID namespace."""
    for line in pathlib.Path(f"/proc/{number}/status").read_text(errors="replace").splitlines():
        if line.startswith("NSpid:"):
            return int(line.split()[-1])
    return number
