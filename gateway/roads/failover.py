#!/usr/bin/env python3
"""The road of a fail-over: DSL carries the WAN, the Ethernet cable goes in and comes out again, DSL is back."""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from gwlib import boot, inside, isp, logs, model, net  # noqa: E402
from gwlib.road import WAN, Road, travel  # noqa: E402
from gwlib.state import REPOSITORY, State  # noqa: E402

DSL_LINK, DSL_IP = "PTM.Link.1", "IP.Interface.3"
ETHERNET_LINK, ETHERNET_IP = "Ethernet.Link.1", "IP.Interface.1"
# What the road shows of the data model.
SHOWN = (".Status", ".LinkStatus", ".DHCPStatus", ".IPAddress")
GREEN, RED = "/proc/tc3162/led_internet", "/proc/tc3162/led_internet_red"
WORTH_SHOWING = ("updateWanLinkStatus: XTM", "updateWanLinkStatus: ethernet link down", "xDSL", "Ethernet Wan",
                 "handleWANAutoDetectETH", "WANAutoDetectEthStart", "DHCPC Option")


def colour(green, red):
    """The Internet LED with these texts in the platform's files."""
    return {("0 0", "0"): "dark", ("2 0", "0"): "green", ("0 0", "2"): "red"}.get((green, red), f"{green}/{red}")


def led(state):
    return colour(*inside.must(state, "cat", GREEN, RED).splitlines())


def value(state, path):
    return model.get(state, path).get(path)


def reaches_provider_through(state, device):
    return inside.run(state, "ping", "-c1", "-W1", "-I", device, isp.ROUTER).returncode == 0


class FailoverRoad(Road):
    """Shows statuses only, and the LED as it changes."""

    def __init__(self, title):
        super().__init__(title)
        self.led = {GREEN: "0 0", RED: "0"}

    def _of_led(self, command):
        before = colour(self.led[GREEN], self.led[RED])
        text, _, file = command.removeprefix("echo ").partition(" > ")
        self.led[file] = text
        now = colour(self.led[GREEN], self.led[RED])
        return ("led", f"the Internet LED: {before} -> {now}") if now != before else None

    def _of_model(self, line):
        return super()._of_model(line) if line["path"].endswith(SHOWN) else None

    def _of_journal(self, line):
        command = line["command"].strip()
        if command.endswith((GREEN, RED)):
            return self._of_led(command)
        if command.startswith(("ip ", "killall", "rm -rf", "/usr/etc/")):
            return None
        return super()._of_journal(line)

    def _of_log(self, line):
        return super()._of_log(line) if line["channel"] == "syslog" and line["text"].startswith(WORTH_SHOWING) else None


def commands(state, mark):
    return [line["command"] for line in logs.commands(state, mark)]


def boots(road, state):
    road.title("1. The gateway boots: the Ethernet cable is out, the DSL line has no signal yet")

    def ready():
        road.watch(state)
        road.check("start-up has completed; the LED is dark", led(state) == "dark")

    boot.up(state, fresh=True, unplugged=(WAN,), before_clients=ready, say=lambda text: None)


def dsl_comes_up(road, state):
    road.title("2. The DSL line gets a signal, trains in PTM mode and carries the WAN")
    mark = logs.mark()
    inside.must(state, "gw-linesim", "dsl", "up", "--mode", "ptm")
    road.until(f"{DSL_LINK} is up, and the IP interface on it", lambda: (
        value(state, f"{DSL_LINK}.Status") == "Up" and value(state, f"{DSL_IP}.Status") == "Up"))
    road.until("the modules for PTM are loaded", lambda: any("mt7510ptm.ko" in command for command in commands(state, mark)))
    dsl_carries(road, state)


def dsl_carries(road, state):
    road.until("the provider has granted a lease over DSL", lambda: value(state, f"{DSL_IP}.IPv4Address.1.Status") == "Enabled")
    road.until("the LED is green", lambda: led(state) == "green")
    road.until("a ping of the provider's router comes back over ptm0", lambda: reaches_provider_through(state, "ptm0"))


def cable_goes_in(road, state):
    road.title("3. The Ethernet cable goes in: DSL is closed, Ethernet carries the WAN")
    mark = logs.mark()
    net.plug(state, WAN, True)
    road.until("the DSL modem is closed", lambda: (
        "/usr/bin/wan adsl close" in commands(state, mark) and value(state, "DSL.Line.1.LinkStatus") == "Disabled"))
    road.until(f"{ETHERNET_LINK} is up, and {DSL_LINK} has lost its lower layer", lambda: (
        value(state, f"{ETHERNET_LINK}.Status") == "Up" and value(state, f"{DSL_LINK}.Status") == "LowerLayerDown"))
    road.until("the provider has granted a lease over Ethernet",
               lambda: value(state, f"{ETHERNET_IP}.IPv4Address.1.Status") == "Enabled")
    road.until("the LED is green", lambda: led(state) == "green")
    road.until(f"a ping of the provider's router comes back over {WAN}", lambda: reaches_provider_through(state, WAN))


def cable_comes_out(road, state):
    road.title("4. The cable is pulled: DSL is opened, trains again and carries the WAN")
    mark = logs.mark()
    net.plug(state, WAN, False)
    road.until("the DSL modem is open again", lambda: "/usr/bin/wan adsl open" in commands(state, mark))
    road.until(f"{ETHERNET_LINK} has lost its lower layer", lambda: value(state, f"{ETHERNET_LINK}.Status") == "LowerLayerDown")
    road.until("the LED is dark or red while nobody carries", lambda: led(state) in ("dark", "red"))
    road.until(f"{DSL_LINK} is up again", lambda: value(state, f"{DSL_LINK}.Status") == "Up")
    dsl_carries(road, state)


def main():
    return travel(FailoverRoad("The road of a fail-over"), State(REPOSITORY / "build" / "run-failover"),
                  boots, dsl_comes_up, cable_goes_in, cable_comes_out)


if __name__ == "__main__":
    sys.exit(main())
