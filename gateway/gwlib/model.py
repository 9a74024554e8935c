"""The data model, as vcfgctl inside the gateway reads it."""
import json
import re
import time

from . import inside
from .errors import GatewayError, NobodyAnswers

AWAY, PAUSE = 3, 0.1  # vcfgctl's status when vcmd is away; seconds until it is asked again


def value_text(value):
    """A value of JSON lines as it is written; None when there is none."""
    return value if value is None or isinstance(value, str) else json.dumps(value)


def get(state, *paths):
    """{path: value}; a path that does not exist is not in it."""
    done = inside.run(state, "vcfgctl", "get", *paths)
    if done.returncode == AWAY:
        raise NobodyAnswers(done.stderr.strip() or "vcmd does not answer")
    values = {}
    for line in done.stdout.splitlines():
        path, equals, value = line.partition("=")
        if equals:
            values[path] = value
    return values


def wait(state, condition, seconds):
    """Until a condition holds that vcfgctl takes: PATH==VALUE and the like, or PATH=VALUE. vcmd may come and go meanwhile."""
    end = time.monotonic() + seconds
    while True:
        left = max(end - time.monotonic(), 0)
        done = inside.run(state, "vcfgctl", "wait", "--timeout", str(int(left * 1000) or 1), condition)
        if done.returncode == 0:
            return
        if done.returncode != AWAY or left == 0:
            raise GatewayError(done.stderr.strip().removeprefix("vcfgctl: "))
        state.room("gateway")
        time.sleep(min(left, PAUSE))


# What a gateway sets up by itself when it starts, and how the model marks what is not of its own but from the network.
CONFIGURED = (
    (r"IP\.Interface\.\d+\.IPv4Address\.\d+", "IP.Interface.{i}.IPv4Address.{i}", "AddressingType"),
    (r"Routing\.Router\.\d+\.IPv4Forwarding\.\d+", "Routing.Router.{i}.IPv4Forwarding.{i}", "Origin"),
)


# What is served in a gateway from its start, and how its status says that.
SERVED = (
    ("IP.Interface.[X_VORAN_WAN==false]", "Up"),
    ("IP.Interface.*.IPv4Address.[AddressingType==Static]", "Enabled"),
    ("IP.Interface.*.IPv6Address.[Origin==Static]", "Enabled"),
    ("Bridging.Bridge.*", "Enabled"),
    ("Bridging.Bridge.*.Port.[ManagementPort==true]", "Up"),
    ("DHCPv4.Client.*", "Enabled"),
    ("DHCPv6.Client.*", "Enabled"),
    ("DHCPv4.Server.Pool.*", "Enabled"),
    ("DNS.Client", "Enabled"),
    ("RouterAdvertisement.InterfaceSetting.*", "Enabled"),
    ("Routing.Router.*", "Enabled"),
    ("Routing.Router.*.IPv4Forwarding.[Origin==Static]", "Enabled"),
    ("WiFi.AccessPoint.*", "Enabled"),
)


def report_served(state):
    """The owners' first report after a power cycle, which the configuration alone has outlived."""
    told = [f"{path.removesuffix('Enable')}Status={status}" for form, status in SERVED
            for path, enabled in get(state, f"{form}.Enable").items() if enabled == "true"]
    if told:
        inside.must(state, "vcfgctl", "set", "--no-apply", *told)


def apply_bridges(state):
    """Makes the configured bridges of the kernel's ports."""
    _apply(state, re.compile(r"Bridging\.Bridge\.\d+"), "Bridging.Bridge.{i}", lambda record: True)


def apply_configured(state):
    """Brings the configured addresses and routes into the kernel. A gateway with one wrong
    route boots all the same."""
    for form, pattern, origin in CONFIGURED:
        _apply(state, form, pattern, lambda record, origin=origin: record.get(origin, "Static") == "Static")
    serve_lan(state)


def serve_lan(state):
    """Starts the LAN's DHCP server, if the configuration has one."""
    _apply(state, r"DHCPv4\.Server", "DHCPv4.Server", lambda record: True)


def keep_time(state):
    """Starts the NTP client, if the configuration has it run."""
    _apply(state, "Time", "Time", lambda record: record.get("Enable") in (True, "true"))


def _apply(state, form, pattern, wanted):
    objects = json.loads(inside.must(state, "vcfgctl", "dump"))["objects"]
    for path, record in objects.items():
        if re.fullmatch(form, path) and wanted(record):
            inside.run(state, f"/etc/vcfg/hooks/apply/{pattern}", "set", path, text=json.dumps(record))
