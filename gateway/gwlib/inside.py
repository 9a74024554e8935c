"""Running programs in the rooms of the world."""
import os
import signal
import subprocess
import sys

from .errors import GatewayError

PATH = "/usr/lib/gateway/bin:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin:/userfs/bin"
KEPT = ("TERM", "LANG", "LC_ALL", "COLUMNS", "LINES")


def environment(extra=None):
    """What a program inside starts with: nothing of the caller's but how its terminal looks."""
    kept = {name: os.environ[name] for name in KEPT if name in os.environ}
    return {"PATH": PATH, "HOME": "/root", "VCFG_RUN_DIR": "/run/vcfg", **kept, **(extra or {})}


def entering(state, room, command):
    first = state.room(room)
    user = ["-U", "--preserve-credentials"] if os.geteuid() != 0 else []
    return ["nsenter", "-t", str(first), *user, "-m", "-p", "-n", "-i", "-u", "-r", "-w", "--", *map(str, command)]


def replace_by(state, command, room="gateway"):
    """Becomes the command inside the room: standard streams, signals and exit status are its own."""
    words = entering(state, room, command)
    for ignored in (signal.SIGPIPE, signal.SIGXFSZ):  # by Python, and so by what it becomes
        signal.signal(ignored, signal.SIG_DFL)
    sys.stdout.flush()
    os.execvpe(words[0], words, environment())


def run(state, *command, room="gateway", text=None, timeout=60):
    """The finished process; nothing is raised when it failed."""
    return subprocess.run(entering(state, room, command), env=environment(), input=text, text=True, errors="replace",
                          capture_output=True, timeout=timeout, check=False)


def must(state, *command, room="gateway", text=None):
    """What the command printed."""
    done = run(state, *command, room=room, text=text)
    if done.returncode != 0:
        said = (done.stderr or done.stdout).strip().splitlines()
        raise GatewayError(f"{room}: {' '.join(map(str, command))}: {said[-1] if said else f'status {done.returncode}'}")
    return done.stdout


def spawn(state, name, *command, collect=False, extra=None, room="gateway"):
    """Starts a service in the background; the log collector takes its output, or a file."""
    output = "/run/gateway/output" if collect else f"/var/log/gateway/{name}.txt"
    words = ["/usr/libexec/tarn/port-spawn", f"/run/gateway/{name}.pid", output, *command]
    done = subprocess.run(entering(state, room, words), env=environment(extra), capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise GatewayError(f"{name} does not start: {done.stderr.strip()}")


def hand_over(state, room, devices, process):
    """Moves network devices of the room into the network of a process (numbered as on the host)."""
    user = ["-U", "--preserve-credentials"] if os.geteuid() != 0 else []
    words = ["nsenter", "-t", str(state.room(room)), *user, "-n", "--",
             "ip", "-batch", "-"]
    orders = "\n".join(f"link set {device} netns {process}" for device in devices)
    done = subprocess.run(words, input=orders, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise GatewayError(f"cannot connect {', '.join(devices)}: {done.stderr.strip()}")


def feed(state, command, data, room="gateway"):
    """Runs the command with these bytes on standard input; its exit status."""
    return subprocess.run(entering(state, room, command), env=environment(), input=data, check=False).returncode
