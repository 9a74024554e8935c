"""What runs inside the gateway, and how each of it is started and stopped."""
import os
import pathlib
import re

from . import inside, logs, model, ports
from .errors import GatewayError
from .state import inside_number, parent, processes
from .waiting import until

PRELOAD = "/usr/lib/gateway/libkmonitor.so"
LINK_FOLDER = "/run/hw/link"
READY_SECONDS = 120


def running(state, name):
    """Numbers (of the host) of the gateway's processes of that name, but for the helpers that such a process has forked."""
    numbers = [number for number, comm in processes(state.room("gateway")).items() if comm == name]
    return [number for number in numbers if parent(number) not in numbers]


def start_logd(state):
    inside.must(state, "mkdir", "-p", "-m", "0700", "/run/vcfg")
    inside.spawn(state, "logd", "/usr/lib/gateway/gw-logd", "/run/vcfg/vlog", "/dev/log", "/run/gateway/output",
                 "/var/log/gateway/log.jsonl", logs.ASKERS)
    if not until(lambda: logs.settle(state), READY_SECONDS):
        raise GatewayError(f"the log collector did not come up; see {state.log_directory}/logd.txt")


def start_vcmd(state):
    inside.spawn(state, "vcmd", "vcmd", *(["--defaults", f"/data/{state.given.name}"] if state.given.exists() else []))
    _await(state, "vcmd", "/run/vcfg/eid-1", process="vcmd")


def start_tarn(state):
    """The daemon as it is shipped: it forks, leaves its caller and closes its standard input by itself."""
    inside.spawn(state, "tarn", "tarn", collect=True, extra={"LD_PRELOAD": PRELOAD})
    _await(state, "tarn", "/run/vcfg/eid-2", process="tarn")


def start_recorder(state):
    """From now on all that happens is written down in the state directory, until it is stopped."""
    file = state.log_directory / "recording.jsonl"
    inside.spawn(state, "record", "vcfgctl", "record", f"/var/log/gateway/{file.name}")
    if not until(lambda: file.exists() and b'"kind":"begin"' in file.read_bytes(), READY_SECONDS):
        raise GatewayError(f"nothing is recorded; see {state.log_directory}/record.txt")


def stop_recorder(state):
    """The recording is whole, and nobody writes it any more."""
    inside.must(state, "sh", "-c", "kill -TERM $(cat /run/gateway/record.pid)")
    file = state.log_directory / "recording.jsonl"
    if not until(lambda: b'"kind":"end"' in file.read_bytes()[-200:], READY_SECONDS):
        raise GatewayError("the recording does not end")


def start_dhcpc(state):
    """A real DHCP client for each that the configuration has on the WAN port."""
    for device in _leasing_devices(state):
        inside.must(state, "/usr/libexec/tarn/start-client", "dhcpv4", device)


def _leasing_devices(state):
    wan = ports.main(ports.of(state))
    found = ports.objects(state)

    def on(table, parameter, lower):
        return {path: record for path, record in found.items()
                if re.fullmatch(table + r"\.\d+", path) and record.get(parameter) in lower}

    links = on(r"Ethernet\.Link", "LowerLayers", [wan.path] if wan else [])
    interfaces = on(r"IP\.Interface", "LowerLayers", links)
    clients = on(r"DHCPv4\.Client", "Interface", interfaces).values()
    return [interfaces[client["Interface"]].get("X_VORAN_IfName") or wan.name
            for client in clients if ports.is_set(client.get("Enable"))]


def start_linesim(state):
    """The DSL, optical and cellular lines, without a signal until someone gives them one. Where the machine does not let
    us have network devices for them, they exist in the data model alone."""
    devices = inside.run(state, "sh", "-c", "exec 3<>/dev/net/tun").returncode == 0
    training = {name: os.environ[name] for name in ("GW_DSL_TRAIN_MS",) if name in os.environ}
    inside.spawn(state, "linesim", "gw-linesim", "serve", *([] if devices else ["--no-devices"]), extra=training)
    if not until(lambda: inside.run(state, "gw-linesim", "state").returncode == 0, READY_SECONDS):
        raise GatewayError(f"the line simulator did not come up; see {state.log_directory}/linesim.txt")


def start_linkd(state):
    """What the platform's kernel does: it tells the registered process which port found or lost its link."""
    inside.must(state, "mkdir", "-p", LINK_FOLDER)
    inside.spawn(state, "linkd", "/usr/libexec/tarn/port-linkd", "--link-folder", LINK_FOLDER,
                 *(port.name for port in ports.of(state)), "atm[0-9]", "ptm[0-9]")


STARTERS = {"logd": start_logd, "vcmd": start_vcmd, "linesim": start_linesim, "linkd": start_linkd, "tarn": start_tarn,
            "dhcpc": start_dhcpc, "dhcpd": model.serve_lan}
PROGRAMS = {"logd": "gw-logd", "vcmd": "vcmd", "linesim": "gw-linesim", "linkd": "port-linkd", "tarn": "tarn",
            "dhcpc": "udhcpc", "dhcpd": "dnsmasq"}


def start(state, name):
    if running(state, PROGRAMS[name]):
        raise GatewayError(f"{name} runs already")
    STARTERS[name](state)


def stop(state, name):
    numbers = running(state, PROGRAMS[name])
    if not numbers:
        raise GatewayError(f"{name} does not run")
    inside.run(state, "kill", "-KILL" if name != "dhcpc" else "-TERM", *(inside_number(number) for number in numbers))
    if not until(lambda: not running(state, PROGRAMS[name]), READY_SECONDS):
        raise GatewayError(f"{name} does not end")


def _await(state, what, socket, process=None):
    """Until the service's socket is there; its death ends the wait at once."""
    root = pathlib.Path(f"/proc/{state.room('gateway')}/root")
    deaths = 0

    def ready():
        nonlocal deaths
        if (root / socket.lstrip("/")).is_socket():
            return "ready"
        deaths = deaths + 1 if process and not running(state, process) else 0
        return "dead" if deaths > 10 else None

    if until(ready, READY_SECONDS) != "ready":
        raise GatewayError(f"{what} did not come up; see gw log --all and {state.log_directory}")
