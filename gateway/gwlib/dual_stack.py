"""The IPv6 side of a gateway whose configuration has it: it is not there otherwise."""
import json
import re

from . import inside, isp6

HOOK = "/etc/vcfg/hooks/apply/IP.Interface.{i}"
INTERFACE = re.compile(r"IP\.Interface\.\d+")


def start(state):
    """The provider serves IPv6, and the interfaces that are up with it listen to it from now on."""
    objects = json.loads(inside.must(state, "vcfgctl", "dump"))["objects"]
    interfaces = {path: record for path, record in objects.items()
                  if INTERFACE.fullmatch(path) and record.get("X_VORAN_WAN") and record.get("IPv6Enable")}
    if interfaces:
        isp6.serve(state)
    for path, record in interfaces.items():
        change = {**record, "previous": {**record, "IPv6Enable": False}}
        inside.must(state, HOOK, "set", path, text=json.dumps(change))
