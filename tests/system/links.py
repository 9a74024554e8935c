"""A gateway whose links are tried: the hardware through gw, as people do it; log, journal and data model read at once,
because these tests look at them often."""
import contextlib
import json
import os
import sys
import time

from support import DEADLINE, REPOSITORY, Gateway, eventually

sys.path.insert(0, str(REPOSITORY / "gateway"))

from gwlib import inside, logs, model  # noqa: E402
from gwlib.state import State  # noqa: E402
from gwlib.view import Watch  # noqa: E402

WAN, SFP = "eth0.5", "eth0.6"
CLOSE, OPEN = "/usr/bin/wan adsl close", "/usr/bin/wan adsl open"
ENABLE, DISABLE = (f"/userfs/bin/ethphxcmd eth0 wanactive {word}" for word in ("enable", "disable"))
WAN_LINK, WAN_READY, WAN_LOST, LED_UPDATE = 0x800003EF, 0x800003E8, 0x800003E9, 0x800003F6
OPTICAL, MAIL_EVENT, HUNT_FINISHED = 0x80000122, 0x8000010B, 0x800000F6
ASIDE = ("ip route | grep 'default'", "ip -6 route | grep 'default'", ":")  # the daemon's looks for the LED, and the round trips of these tests
LED = {("0 0", "0"): "dark", ("2 0", "0"): "green", ("0 0", "2"): "red"}


def configuration(directory, changes=None, without=()):
    """The factory defaults with other objects; those whose path begins with one of `without` are left out."""
    whole = json.loads((REPOSITORY / "gateway" / "defaults.json").read_text())
    objects = {path: record for path, record in whole["objects"].items() if not path.startswith(tuple(without))}
    for path, record in (changes or {}).items():
        objects[path] = {**objects.get(path, {}), **record}
    file = directory / "model.json"
    file.write_text(json.dumps({**whole, "objects": objects}))
    return file


class Links(Gateway):
    def __init__(self, directory):
        super().__init__(directory)
        self.state = State(directory)
        self.markers = 0
        self.carried = None  # the mode of the last DSL link

    def boot(self, changes=None, without=(), unplugged=(WAN,)):
        config = configuration(self.directory, changes, without)
        os.environ["GW_DSL_TRAIN_MS"] = "200"
        self.up("--config", config, *(word for port in unplugged for word in ("--unplugged", port)))

    # --- what can be seen ---

    def mark(self):
        return logs.mark()

    def log(self, since=0, *_):
        assert logs.settle(self.state)
        return logs.lines(self.state, int(since))

    def journal(self, since=0):
        return logs.commands(self.state, int(since))

    def get(self, path):
        return model.get(self.state, path)

    def wait(self, condition, seconds=20):
        path, _, wanted = condition.partition("=")
        eventually(lambda: self.value(path) == wanted, seconds)

    def inside(self, *command, **_):
        return inside.must(self.state, *command)

    def commands(self, since=0):
        """What the daemon ran, but for the LED and for these tests."""
        texts = [line["command"].strip() for line in self.journal(since)]
        return [text for text in texts if text not in ASIDE and "/proc/tc3162/led_" not in text]

    def ran(self, command, since=0):
        return eventually(lambda: command in self.commands(since))

    def count(self, part, since=0):
        return sum(part in text for text in self.texts(since))

    def led(self):
        texts = self.inside("cat", "/proc/tc3162/led_internet", "/proc/tc3162/led_internet_red").splitlines()
        return LED.get(tuple(texts), texts)

    def modules(self):
        return inside.run(self.state, "cat", "/run/hw/modules").stdout.split("\n")[:-1]

    # --- what is done to it ---

    def set(self, *parameters):
        self.inside("vcfgctl", "set", "--no-apply", *parameters)

    def cable(self, port, action):
        self.must("cable", port, action)

    def cable_in(self, port=WAN):
        """Plugs the cable in; returns when the daemon has set the link up, however often it had to look."""
        mark = self.mark()
        self.cable(port, "in")
        self.logged(f"Ethernet Wan {port} link up", mark)
        self.handled()
        return mark

    def cable_out(self, port=WAN):
        mark = self.mark()
        self.cable(port, "out")
        self.logged(f"Ethernet Wan {port} link down", mark)
        self.handled()
        return mark

    def dsl_up(self, mode="ptm"):
        mark = self.mark()
        self.must("dsl", "up", "--mode", mode)
        self.logged(f"xDSL: link up, Connection Type: {mode.upper()}", mark)
        self.carried = mode
        self.handled()
        return mark

    def dsl_down(self):
        mark = self.mark()
        self.must("dsl", "down")
        self.logged("xDSL: XTM link down.", mark)
        self.handled()
        return mark

    def tell(self, message, payload=None):
        """One message to the daemon; returns when it has handled it."""
        words = ["vcfgctl", "send", "--to", "2", "--type", hex(message)]
        self.inside(*words, *(["--payload", payload] if payload is not None else []))
        self.settle()

    def handled(self, seconds=DEADLINE):
        """Returns when the daemon has handled every kernel event and message that came before."""
        self.settle()
        self.markers += 1
        marker = f"x{self.markers}"
        mark = self.mark()
        self.inside("gw-kernel-event", f"{marker}:down")
        self.logged(f"payload: {marker}:down", mark, seconds)
        self.settle()

    def restart_daemon(self):
        """The daemon starts anew; returns when its start-up has completed."""
        self.must("service", "stop", "tarn")
        mark = self.mark()
        self.must("service", "start", "tarn")
        self.logged("sendInitFin() : ", mark)
        eventually(lambda: inside.run(self.state, "cat", f"/sys/class/net/{WAN}/flags").stdout.strip() == "0x1003")
        self.handled()
        return mark

    def fault(self, program, behaviour):
        """A platform command that misbehaves ("fail STATUS", "hang SECONDS"); None ends that."""
        self.inside("sh", "-c", f"mkdir -p /run/hw/fault; cd /run/hw/fault; rm -f {program};"
                    + (f"echo {behaviour} > {program}" if behaviour else ""))

    @contextlib.contextmanager
    def watching(self):
        """The changes of the data model meanwhile: [(seconds, path, old, new)]."""
        watch = Watch(self.state)
        changes = []
        try:
            self._await_watch(watch)
            yield changes
            self._await_watch(watch, changes)
        finally:
            watch.end()

    def _await_watch(self, watch, changes=None):
        """Until the watch has seen a change that is made now, and so all before it."""
        seen = []

        def sees_it():
            number = time.monotonic_ns() % 10**9
            self.set(f"X_VORAN_SystemDebug.Interval={number}")
            time.sleep(0.02)  # a change that comes later is seen at the next try
            seen.extend(watch.new())
            return any(line["path"].endswith("SystemDebug.Interval") and line["new"] == number for line in seen)

        eventually(sees_it)
        if changes is not None:
            changes += [(line["t_mono_us"] / 1e6, line["path"], _text(line["old"]), _text(line["new"])) for line in seen
                        if not line["path"].endswith("SystemDebug.Interval")]


def _text(value):
    """A value of the model as it is written; None when there is none."""
    return value if value is None or isinstance(value, str) else json.dumps(value)


def threads(gateway):
    """How many threads the daemon has."""
    (process,) = gateway.processes("tarn")
    return len(gateway.inside("ls", f"/.proc/{process}/task").split())
