"""The road of a fail-over: DSL carries the WAN, the Ethernet cable goes in and comes out again, DSL is back."""
from gwlib import isp
from gwlib.road import WAN
from gwlib.status import COLOURS

DSL_LINK, DSL_IP = "PTM.Link.1", "IP.Interface.3"
ETHERNET_LINK, ETHERNET_IP = "Ethernet.Link.1", "IP.Interface.1"
# What the road shows of the data model.
SHOWN = (".Status", ".LinkStatus", ".DHCPStatus", ".IPAddress")
GREEN, RED = "/proc/tc3162/led_internet", "/proc/tc3162/led_internet_red"
WORTH_SHOWING = ("updateWanLinkStatus: XTM", "updateWanLinkStatus: ethernet link down", "xDSL", "Ethernet Wan",
                 "handleWANAutoDetectETH", "WANAutoDetectEthStart", "DHCPC Option")


def colour(files):
    """The Internet LED with these texts in the platform's files."""
    return COLOURS.get((files[GREEN], files[RED]), "between two colours")


def led(road):
    return colour(dict(zip((GREEN, RED), road.inside("cat", GREEN, RED).splitlines())))


def reaches_provider_through(road, device):
    return road.run("ping", "-c1", "-W1", "-I", device, isp.ROUTER).returncode == 0


def shows(line, describe):
    """Of the raw lines: statuses only, and the LED as it changes."""
    if "path" in line:
        return describe(line) if line["path"].endswith(SHOWN) else None
    if "command" not in line:
        return describe(line) if line["channel"] == "syslog" and line["text"].startswith(WORTH_SHOWING) else None
    command = line["command"].strip()
    if command.endswith((GREEN, RED)):
        return led_changes(command)
    return None if command.startswith(("ip ", "killall", "rm -rf", "/usr/etc/")) else describe(line)


led_files = {GREEN: "0 0", RED: "0"}  # as the commands so far have left them


def led_changes(command):
    before = colour(led_files)
    text, _, file = command.removeprefix("echo ").partition(" > ")
    led_files[file] = text
    now = colour(led_files)
    return ("led", f"the Internet LED: {before} -> {now}") if now != before else None


def boots(road):
    road.title("1. The gateway boots: the Ethernet cable is out, the DSL line has no signal yet")

    def ready():
        road.check("start-up has completed; the LED is dark", led(road) == "dark")

    road.boot(unplugged=[WAN], ready=ready)


def dsl_comes_up(road):
    road.title("2. The DSL line gets a signal, trains in PTM mode and carries the WAN")
    road.inside("gw-linesim", "dsl", "up", "--mode", "ptm")
    road.until(f"{DSL_LINK} is up, and the IP interface on it", lambda: (
        road.value(f"{DSL_LINK}.Status") == "Up" and road.value(f"{DSL_IP}.Status") == "Up"))
    road.until("the modules for PTM are loaded", lambda: road.ran("mt7510ptm.ko"))
    dsl_carries(road)


def dsl_carries(road):
    road.until("the provider has granted a lease over DSL", lambda: road.value(f"{DSL_IP}.IPv4Address.1.Status") == "Enabled")
    road.until("the LED is green", lambda: led(road) == "green")
    road.until("a ping of the provider's router comes back over ptm0", lambda: reaches_provider_through(road, "ptm0"))


def cable_goes_in(road):
    road.title("3. The Ethernet cable goes in: DSL is closed, Ethernet carries the WAN")
    road.cable(WAN, "in")
    road.until("the DSL modem is closed", lambda: (
        road.ran("/usr/bin/wan adsl close") and road.value("DSL.Line.1.LinkStatus") == "Disabled"))
    road.until(f"{ETHERNET_LINK} is up, and {DSL_LINK} has lost its lower layer", lambda: (
        road.value(f"{ETHERNET_LINK}.Status") == "Up" and road.value(f"{DSL_LINK}.Status") == "LowerLayerDown"))
    road.until("the provider has granted a lease over Ethernet",
               lambda: road.value(f"{ETHERNET_IP}.IPv4Address.1.Status") == "Enabled")
    road.until("the LED is green", lambda: led(road) == "green")
    road.until(f"a ping of the provider's router comes back over {WAN}", lambda: reaches_provider_through(road, WAN))


def cable_comes_out(road):
    road.title("4. The cable is pulled: DSL is opened, trains again and carries the WAN")
    road.cable(WAN, "out")
    road.until("the DSL modem is open again", lambda: road.ran("/usr/bin/wan adsl open"))
    road.until(f"{ETHERNET_LINK} has lost its lower layer", lambda: road.value(f"{ETHERNET_LINK}.Status") == "LowerLayerDown")
    road.until("the LED is dark or red while nobody carries", lambda: led(road) in ("dark", "red"))
    road.until(f"{DSL_LINK} is up again", lambda: road.value(f"{DSL_LINK}.Status") == "Up")
    dsl_carries(road)


STEPS = [boots, dsl_comes_up, cable_goes_in, cable_comes_out]
