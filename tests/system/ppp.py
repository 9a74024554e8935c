"""What stands for the PPP driver where the kernel has none: a device for the link, and pppd's scripts, run as pppd runs
them. The driver cannot be loaded from inside, so its device node tells whether it is there."""
import os

DRIVER = os.path.exists("/dev/ppp")
WHICH = ("PPP: pppd dials a PPPoE server" if DRIVER else
         "PPP: this kernel has no driver (/dev/ppp); the scripts of pppd were run with the arguments and environment that pppd gives them")

LOCAL, REMOTE = "198.51.100.20", "198.51.100.1"
LOCAL6, REMOTE6 = "fe80::20", "fe80::1"
LINK = "wan"


def run_script(gateway, script, local=None, remote=None, link=LINK, dns=("198.51.100.53", "198.51.100.54"), print_only=False, **more):
    """Runs one of /etc/ppp/*; afterwards the daemon has handled its event."""
    ipv6 = script.startswith("ipv6")
    local = local if local is not None else (LOCAL6 if ipv6 else LOCAL)
    remote = remote if remote is not None else (REMOTE6 if ipv6 else REMOTE)
    environment = {"DEVICE": "eth0.5", "IFNAME": "ppp0", "SPEED": "0", "ORIG_UID": "0", "PPPLOGNAME": "root", "LINKNAME": link,
                   "PPPD_PID": "4711", "MACREMOTE": "02:00:00:00:01:00", **more}
    if ipv6:
        environment.update(LLLOCAL=local, LLREMOTE=remote)
    else:
        environment.update(IPLOCAL=local, IPREMOTE=remote, USEPEERDNS="1")
        environment.update({f"DNS{number}": server for number, server in enumerate(dns, 1)})
    if script.endswith("down"):
        environment.update(CONNECT_TIME="12", BYTES_SENT="345", BYTES_RCVD="678")
    program = ["/usr/libexec/tarn/port-event", "--print", "pppd", script] if print_only else [f"/etc/ppp/{script}"]
    done = gateway.inside("env", "-i", *(f"{name}={value}" for name, value in environment.items()), *program, "ppp0", "eth0.5", "0",
                          local, remote, "gateway")
    if not print_only:
        gateway.settle()
    return done
