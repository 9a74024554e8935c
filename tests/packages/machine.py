"""A clean Debian machine that the packages are installed on: a root made by mmdebstrap, with systemd as its first process, in
namespaces of its own. No virtual gateway is in it or around it."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BASE = REPOSITORY / "build" / "packages-root"
HERE = pathlib.Path(__file__).resolve().parent
# What is on a small Debian machine, and what the packages depend on or recommend, for a machine without a network to install from.
SYSTEM = "systemd-sysv,udev,dbus,iproute2,iputils-ping,adduser,procps"
NEEDED = ("udhcpc", "psmisc", "libjson-c5", "liblmdb0", "libcurl4", "dhcpcd-base", "dnsmasq-base")

ROUTER = ("tarn", "libvcfg1", "vcfg-tools", "tarn-linux")


def run(*words, check=True, **more):
    done = subprocess.run([str(word) for word in words], text=True, capture_output=True, check=False, **more)
    if check and done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, words))}: {done.returncode}\n{done.stdout[-3000:]}{done.stderr[-3000:]}")
    return done


def until(true, what, seconds=40):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = true()
        if value:
            return value
        time.sleep(0.2)
    raise AssertionError(f"not in {seconds} s: {what() if callable(what) else what}")


def base():
    """The clean root, from the machine's own mirror settings; what the packages need lies in its cache, and is not installed."""
    if (BASE / "made").exists():
        return BASE / "root"
    shutil.rmtree(BASE, ignore_errors=True)
    BASE.mkdir(parents=True)
    run("mmdebstrap", "--quiet", "--variant=minbase", f"--include={SYSTEM}", "--skip=cleanup/apt",
        f"--customize-hook=chroot \"$1\" apt-get install -y -qq --no-install-recommends --download-only {' '.join(NEEDED)}",
        "bookworm", BASE / "root", *mirror())
    (BASE / "made").touch()
    return BASE / "root"


def mirror():
    for name in ("/etc/apt/sources.list.d/debian.sources", "/etc/apt/sources.list"):
        if os.path.exists(name):
            return [name]
    return []


class Machine:
    """Two WAN ports and two LAN ports, `wan0` to `lan1`, whose other ends lie in namespaces of others."""

    def __init__(self, packages):
        self.state = pathlib.Path(tempfile.mkdtemp(prefix="tarn-machine-"))
        (self.state / "above").mkdir()
        shutil.copytree(packages, self.state / "packages")
        self.process = subprocess.Popen(
            ["unshare", "--mount", "--pid", "--net", "--ipc", "--uts", "--cgroup", "--fork", "--kill-child",
             str(HERE / "boot"), str(base()), str(self.state)], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        self.first = until(self._first, "a first process")
        until(lambda: self.sh("systemctl is-system-running", check=False).stdout.strip() in ("running", "degraded"),
              "a machine that has booted")

    def _first(self):
        children = pathlib.Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text().split()
        return children[0] if children and "systemd" in pathlib.Path(f"/proc/{children[0]}/comm").read_text() else None

    def run(self, *words, check=True, **more):
        return run("nsenter", "-t", self.first, "-a", "env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "HOME=/root",
                   "DEBIAN_FRONTEND=noninteractive", *words, check=check, **more)

    def sh(self, text, check=True):
        return self.run("sh", "-c", text, check=check)

    def out(self, text):
        return self.sh(text, check=False).stdout

    def install(self, folder):
        """All but the virtual gateway, which a router has no use for."""
        names = " ".join(f"/packages/{folder}/{name}_*.deb" for name in ROUTER)
        return self.sh(f"apt-get install -y -qq --no-install-recommends {names} dhcpcd-base dnsmasq-base")

    def get(self, path):
        return dict(line.partition("=")[::2] for line in self.out(f"vcfgctl get '{path}'").splitlines())

    def until(self, path, value, seconds=40):
        return until(lambda: value in self.get(path).values(),
                     lambda: f"{path} is {value}: {self.get(path)}\n{self.out('journalctl --no-pager -n 60')}", seconds)

    def end(self):
        self.process.kill()
        self.process.wait()
        shutil.rmtree(self.state, ignore_errors=True)
