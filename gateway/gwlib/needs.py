"""What a configuration needs of the machine that the gateway runs on."""
import os
import re
import shutil

from .ports import is_set

PPP_DRIVER = "/dev/ppp"
PLACES = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


def _enabled(objects, pattern, parameter="Enable"):
    return [path for path, record in objects.items() if re.fullmatch(pattern, path) and is_set(record.get(parameter))]


def _programs(objects):
    """{program: what needs it}, of what the configuration has."""
    wanted = {"ip": ["the gateway's network"], "dnsmasq": ["the provider"], "chronyd": ["the provider's NTP server"],
              "udhcpc": _enabled(objects, r"DHCPv4\.Client\.\d+")}
    six = _enabled(objects, r"IP\.Interface\.\d+", "IPv6Enable")
    wanted.update({program: six for program in ("radvd", "dhcp6s", "dhcpcd")})
    wanted["pppd"] = _enabled(objects, r"PPP\.Interface\.\d+")
    return wanted


def lacking(objects):
    """A sentence for each thing that the machine lacks."""
    for path in _enabled(objects, r"PPP\.Interface\.\d+"):
        if not os.access(PPP_DRIVER, os.F_OK):
            yield f"{path} cannot be dialled: this machine has no PPP driver ({PPP_DRIVER}; `modprobe ppp_generic` loads it)"
    for program, users in _programs(objects).items():
        if users and not shutil.which(program, path=PLACES):
            yield f"{program} is not installed, which {', '.join(users)} needs; script/bootstrap run installs it"
    if not os.access("/dev/net/tun", os.F_OK):
        yield "this machine has no TAP devices (/dev/net/tun): the DSL, optical and cellular lines carry no data"
