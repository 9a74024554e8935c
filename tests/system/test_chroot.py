"""A gateway in a plain chroot: a folder with a system in it, which is no mount of its own."""
import os
import shutil
import subprocess

import pytest

from support import BUILD, REPOSITORY, SLOWER

SYSTEM = ("usr/bin", "usr/sbin", "usr/lib/x86_64-linux-gnu", "usr/lib/python3", "usr/lib/python3.11", "usr/lib64", "etc")
OURS = ("bin", "lib", "gateway", "port")  # of the build
BODY = """
mount -t proc proc {root}/proc && mount --rbind /dev {root}/dev || exit 1
inside() {{ chroot {root} /usr/bin/env -u GW_BUILD -u GW_FINDINGS PATH=/usr/sbin:/usr/bin:/sbin:/bin /here/gateway/gw "$@"; }}
inside up && inside wait DHCPv4.Client.1.DHCPStatus=Bound && inside exec -- sh -c 'hostname; cat /proc/tc3162/led_internet_red; ls -d /here'
inside log -n 1 --grep 'System init finished'
inside down
"""


@pytest.fixture
def root():
    """Hard links make it a second's work, where the machine's programs lie on the same file system."""
    folder = REPOSITORY / "build" / "chroot"
    shutil.rmtree(folder, ignore_errors=True)
    for name in ("proc", "dev", "sys", "run", "tmp", "root", "var/run", "var/lib/misc", "usr/lib", "here/build/release"):
        (folder / name).mkdir(parents=True)
    for name in ("bin", "sbin", "lib", "lib64"):
        (folder / name).symlink_to(f"usr/{name}")
    copies = [(f"/{name}", folder / name) for name in SYSTEM if os.path.isdir(f"/{name}")]
    copies += [(str(REPOSITORY / "gateway"), folder / "here" / "gateway")]
    copies += [(str(BUILD / name), folder / "here/build/release" / name) for name in OURS]
    try:
        for source, target in copies:
            target.parent.mkdir(parents=True, exist_ok=True)
            if subprocess.run(["cp", "-al", source, str(target)], capture_output=True, check=False).returncode != 0:
                pytest.skip(f"{source} cannot be linked into {folder}")
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)


@pytest.mark.skipif(os.geteuid() != 0, reason="only root can make a chroot")
def test_gateway_boots_in_a_plain_chroot_and_leaves_no_mount(root):
    before = open("/proc/self/mounts", encoding="utf-8").read()
    done = subprocess.run(["unshare", "--mount", "sh", "-c", BODY.format(root=root)], capture_output=True, text=True, check=False, timeout=120 * SLOWER)
    assert "gateway\n0\n/here\n" in done.stdout, done.stderr
    assert "System init finished" in done.stdout and "the gateway is down" in done.stdout
    assert open("/proc/self/mounts", encoding="utf-8").read() == before
