"""Whoever runs in a gateway is killed at any moment while events flow. Afterwards all is as the hardware is, and nobody has
left anything behind. TARN_KILLS_SECONDS and TARN_KILLS_SEED make it longer, and the same again."""
import json
import os
import random
import time

import pytest

from support import eventually

SECONDS = float(os.environ.get("TARN_KILLS_SECONDS", 25))
SEED = int(os.environ.get("TARN_KILLS_SEED", time.time_ns() % 1000000))
PATIENCE = 90
SERVICES = {"vcmd": "vcmd", "linesim": "gw-linesim", "linkd": "port-linkd", "tarn": "tarn", "dhcpc": "udhcpc"}
CLIENTS = ("port-apply", "port-event", "ip")
WAN, LAN = "eth0.5", "eth0.1"


def events(gateway, chance):
    """Things that happen, each as a call of its own."""
    client = {"pidfile": "/var/run/udhcpc-eth0.5.pid", "addressAssigned": chance.random() < 0.5, "ip": f"203.0.113.{chance.randint(50, 99)}",
              "subnet": "255.255.255.0", "router": "203.0.113.1", "dns": "203.0.113.1", "lease": 120}
    return [
        lambda: gateway.gw("cable", chance.choice((WAN, LAN)), chance.choice(("in", "out"))),
        lambda: gateway.gw("isp", "--mode", chance.choice(("answer", "refuse", "silent"))),
        lambda: gateway.run("vcfgctl", "set", f"DNS.Client.Enable={chance.choice(('true', 'false'))}"),
        lambda: gateway.run("vcfgctl", "set", "DHCPv4.Client.1.Renew=true"),
        lambda: gateway.run("vcfgctl", "send", "--to", "2", "--type", "DHCPC_OPTION", "--payload", json.dumps(client)),
    ]


def kills_while_events_flow(gateway, seconds, seed):
    """How often somebody was there to be killed."""
    chance = random.Random(seed)
    killed = 0
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        chance.choice(events(gateway, chance))()
        if chance.random() < 0.6:
            victim = chance.choice((*SERVICES.values(), *CLIENTS))
            killed += gateway.run("pkill", "-KILL", "-x", victim).returncode == 0
        start_who_is_away(gateway, (name for name in SERVICES if chance.random() < 0.4))
    start_who_is_away(gateway, SERVICES)
    return killed


def start_who_is_away(gateway, names):
    """What a device's service manager does, sooner or later."""
    for name in names:
        if not gateway.processes(SERVICES[name]):
            gateway.gw("service", "start", name)


def held(gateway):
    """{service: (descriptors, threads)}; empty while one of them is away."""
    numbers = {name: gateway.processes(name) for name in ("tarn", "vcmd")}
    if any(len(found) != 1 for found in numbers.values()):
        return {}
    return {name: tuple(len(gateway.run("ls", f"/.proc/{number}/{what}").stdout.split()) for what in ("fd", "task"))
            for name, (number,) in numbers.items()}


def zombies(gateway):
    return [line for line in gateway.inside("ps", "-eo", "stat,comm").splitlines() if line.startswith("Z")]


@pytest.fixture(scope="module")
def survived(leased):
    """A gateway that has been through it, and what was there before."""
    leased.held_before = held(leased)
    leased.files_before = leased.inside("find", "/tmp", "/var/run")
    print(f"the seed is {SEED}")
    leased.killed = kills_while_events_flow(leased, SECONDS, SEED)
    leased.must("isp", "--mode", "answer")
    for cable in (WAN, LAN):
        leased.must("cable", cable, "in")
    return leased


def test_somebody_was_killed(survived):
    assert survived.killed > 0


def test_every_service_is_back(survived):
    eventually(lambda: all(len(survived.processes(name)) == 1 for name in SERVICES.values()), PATIENCE)


def test_links_are_as_the_hardware_is(survived):
    eventually(survived.agrees, PATIENCE)


def test_connection_comes_with_the_cable(survived):
    survived.must("cable", WAN, "out")
    survived.wait("IP.Interface.1.Status=LowerLayerDown", PATIENCE)
    survived.must("cable", WAN, "in")
    survived.wait("DHCPv4.Client.1.DHCPStatus=Bound", PATIENCE)
    survived.wait("IP.Interface.1.IPv4Address.1.Status=Enabled", PATIENCE)
    eventually(lambda: survived.inside("cat", "/proc/tc3162/led_internet") == "2 0\n", PATIENCE)
    eventually(lambda: "default via 203.0.113.1 dev eth0.5" in survived.routes(), PATIENCE)


def test_everybody_is_there_once_and_nobody_is_dead(survived):
    eventually(lambda: len(survived.processes("udhcpc")) == 1 and not zombies(survived), PATIENCE)


def test_daemons_hold_what_they_held(survived):
    def holds_no_more():
        now = held(survived)
        return now and all(now[name][each] <= before[each] + 2 for name, before in survived.held_before.items() for each in (0, 1))
    eventually(holds_no_more, PATIENCE)


def test_no_file_is_left(survived):
    eventually(lambda: set(survived.inside("find", "/tmp", "/var/run").split()) <= set(survived.files_before.split()), PATIENCE)
