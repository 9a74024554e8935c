"""What the tests of the platform's programs share: the assembled root tree, a hardware directory, a namespace."""
import os
import pathlib
import subprocess
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARN_BUILD_DIR", REPOSITORY / "build" / "debug"))
ROOT = BUILD / "gateway" / "root"
PRELOAD = ROOT / "usr/lib/gateway/libkmonitor.so"
# A child namespace, also for an ordinary user.
UNSHARE_NET = ["unshare", "--net"] if os.geteuid() == 0 else ["unshare", "--map-root-user", "--net"]


def environment(hardware, **more):
    """A clean environment in which the platform's programs work on `hardware`."""
    path = ":".join(str(ROOT / folder) for folder in ("usr/bin", "usr/sbin", "userfs/bin"))
    return {
        "PATH": f"{path}:/usr/sbin:/usr/bin:/sbin:/bin",
        "GW_LIB_DIR": str(ROOT / "usr/lib/gateway"),
        "GW_HW_DIR": str(hardware),
        "GW_EFFECT_FILE": str(hardware / "effects"),
        "GW_QUARTER_HOURS_DIR": str(hardware / "quarterHours"),
        **{name: str(value) for name, value in more.items()},
    }


def run(hardware, *command, prefix=(), **more):
    return subprocess.run([*prefix, *map(str, command)], env=environment(hardware, **more), stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=60, check=False)


def effects(hardware):
    file = hardware / "effects"
    return file.read_text().splitlines() if file.exists() else []


def eventually(condition, seconds=10.0):
    """The first true value of `condition()`, or its last one when the time is over."""
    end = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < end:
        time.sleep(0.02)
    return value
