"""One event of each kind through the daemon: how long its handler takes, and what it asks of the framework and the
system."""
import dataclasses
import re

from .footprint import default_model
from .programs import REPOSITORY, Series
from .table import Row
from .world import World

TYPES = {name: int(value, 0) for name, value in re.findall(
    r"VCFG_MSG_(\w+) *=? *(0x[0-9A-F]+|\d+)u?",
    (REPOSITORY / "vcfg" / "include" / "vcfg" / "msg_types.h").read_text(encoding="utf-8"))}
KERNEL = 0  # what the counting library calls the kernel's own events
COSTS = ("reads", "writes", "messages", "processes")
MOST_ROUNDS = 9  # every event changes something each time: "#" in what it carries is the number of the round


@dataclasses.dataclass(frozen=True)
class Event:
    what: str
    kind: str  # of message; "KERNEL" for the kernel's own
    payload: str = ""
    before: tuple = ()  # parameters that are set first, not measured
    iid: str = ""


LEASE = ('{"addressAssigned":true,"pidfile":"/var/run/udhcpc-eth0.5.pid","ip":"203.0.113.#","subnet":"255.255.255.0",'
         '"router":"203.0.113.1","dns":"203.0.113.1 203.0.113.2"}')
TRANSFER = ('{"DiagnosticsState":"Complete","ROMTime":"2026-01-01T00:00:00Z","BOMTime":"2026-01-01T00:00:01Z",'
            '"EOMTime":"2026-01-01T00:00:02Z","%s":#}')
CLIENT = ('{"ac":"%s","ifname":"br0","mac":"02:00:00:00:00:07","ip":"192.168.1.7","moui":"00D09E","serial":"S-7",'
          '"pclass":"Box","vendor":"voip"}')
WPS = '{"WPSRunning":true,"WPSIndex":1,"StartApp":15,"WPSActivationMethod":"PushButton"}'
PORT = "Ethernet.Interface.5.Status"
BOUND = ("DHCPv4.Client.1.DHCPStatus=Bound",)

EVENTS = [
    Event("DHCPv4 lease", "DHCPC_BOUND", LEASE),
    Event("DHCPv4 renewal with a new address", "DHCPC_RENEWED", LEASE.replace("113.#", "113.2#")),
    Event("DHCPv4 lease lost", "DHCPC_OPTION",
          '{"addressAssigned":false,"pidfile":"/var/run/udhcpc-eth0.5.pid"}', BOUND),
    Event("DHCPv4 client restart", "DHCPC_RESTART"),
    Event("WAN address: release", "WAN_IP_RELEASE", iid="1"),
    Event("WAN address: renew", "WAN_IP_RENEW", iid="1"),
    Event("DHCPv6 report", "DHCP6C",
          '{"addrAssigned":true,"pidfile":"/var/run/dhcp6c.pid","addr":"2001:db8::#","nameserver":"2001:db8::53",'
          '"prefixAssigned":true,"prefix":"2001:db8:#::/56"}'),
    Event("router advertisement", "RA_INFO",
          '{"ifName":"eth0.5","router_lifetime":1800,"m_flag":128,"o_flag":64,"pref":0,"router":"fe80::1",'
          '"prefix":"2001:db8:#::","prefix_len":64}'),
    Event("PPP up", "PPPD", '{"linkname":"wan","state":"up","ip":"192.0.2.#","remote":"192.0.2.254","dns":"9.9.9.9"}',
          ("PPP.Interface.1.ConnectionStatus=Connecting",)),
    Event("PPP up, IPv6", "PPPD",
          '{"linkname":"wan","state":"up","type":"ipv6","local":"fe80::#","remote":"fe80::b"}'),
    Event("PPP down", "PPPD", '{"linkname":"wan","state":"down"}', ("PPP.Interface.1.ConnectionStatus=Connected",)),
    Event("PPP: connect", "WAN_PPP_CONNECT", iid="1"),
    Event("PPP: disconnect", "WAN_PPP_DISCONNECT", iid="1"),
    Event("Ethernet link down", "WAN_LINK", before=(f"{PORT}=Down",)),
    Event("Ethernet link up", "WAN_LINK", before=(f"{PORT}=Up",)),
    Event("kernel: Ethernet port down", "KERNEL", "eth0.5:down:0:H"),
    Event("kernel: Ethernet port up", "KERNEL", "eth0.5:up:1000:F"),
    Event("optical link up", "OPTICAL_LINK_STATUS", '{"serviceStatus":true}'),
    Event("optical link down", "OPTICAL_LINK_STATUS", '{"serviceStatus":false}'),
    Event("Internet LED", "WAN_INTERNET_LED_UPDATE"),
    Event("Wi-Fi LED", "WIFI_LED_ENABLE"),
    Event("mobile connection ready", "WAN_CONNECTION_READY", "IP.Interface.1"),
    Event("mobile connection lost", "WAN_CONNECTION_LOST", "IP.Interface.1"),
    Event("WPS start", "WPS_START", WPS),
    Event("WPS poll", "WPS_POLL"),
    Event("WPS stop", "WPS_STOP", WPS.replace("true", "false", 1)),
    Event("LAN client comes", "DHCPD_OPTION", CLIENT % "add"),
    Event("LAN client goes", "DHCPD_OPTION", CLIENT % "del"),
    Event("LAN device changed", "TR64_LAN_DEVICE_UPDATE"),
    Event("mail", "MAIL_SEND_EVENT", '{"Event":"MAILSEND_EVENT_OTHER"}'),
    Event("time is set", "NTP_SYNC_SUCCESS", "2026-01-02T00:00:0#Z"),
    Event("NAT found", "MGMT_NAT_DETECT", "203.0.113.#:7547"),
    Event("NAT gone", "MGMT_NAT_CLEAR"),
    Event("ping result", "PING_MSG", '{"DiagnosticsState":"Complete","SuccessCount":#}'),
    Event("traceroute result, 2 hops", "TRACERT_MSG",
          '{"DiagnosticsState":"Complete","ResponseTime":#,"RouteHops":['
          '{"Host":"gw.example","HostAddress":"192.0.2.1","ErrorCode":0,"RTTimes":"1,2,1"},'
          '{"Host":"far.example","HostAddress":"198.51.100.9","ErrorCode":3,"RTTimes":"11,12,12"}]}'),
    Event("name lookup result", "NSLOOKUP_MSG",
          '{"DiagnosticsState":"Complete","SuccessCount":#,"0":{"Status":"Success","HostNameReturned":"www.example",'
          '"IPAddresses":"192.0.2.80","DNSServerIP":"192.0.2.53","ResponseTime":14}}'),
    Event("download result", "DOWNLOAD_DIAG_COMPLETE_EVENT", TRANSFER % "TestBytesReceived"),
    Event("upload result", "UPLOAD_DIAG_COMPLETE_EVENT", TRANSFER % "TotalBytesSent"),
    Event("ATM F5 loopback result", "ATM_OAM_F5_COMPLETE", '{"DiagnosticsState":"Complete","SuccessCount":#}'),
    Event("ATM F4 loopback result", "ATM_OAM_F4_COMPLETE", '{"DiagnosticsState":"Complete","SuccessCount":#}'),
    Event("server selection: start", "PINGSVRS_RST", '{"PingsDiagnosticsState":"pings_start"}'),
    Event("checksum of the configuration", "FAKEROOT_SYS_COMMAND"),
    Event("shell command", "FAKEROOT_SHELL_COMMAND", "true"),
    Event("system log: start", "SYSTEM_LOG_START"),
    Event("system log: stop", "SYSTEM_LOG_STOP"),
]


def model():
    """The default model, with what it leaves out and an event is about."""
    default = default_model()
    mail = {"Enable": True, "MailFrom": "gateway@home.example"}
    return {**default, "IP.Interface.1": {**default["IP.Interface.1"], "IPv6Enable": True},
            "PPP.Interface.1": {"Enable": True, "X_VORAN_LinkName": "wan", "LowerLayers": "Ethernet.Link.1"},
            "IP.Interface.4": {"Enable": True, "IPv4Enable": True, "IPv6Enable": True, "Status": "Up",
                               "X_VORAN_IfName": "ppp0", "LowerLayers": "PPP.Interface.1"},
            "DHCPv6.Client.1": {"Enable": True, "Interface": "IP.Interface.1",
                                "X_VORAN_PidFile": "/var/run/dhcp6c.pid"},
            "X_VORAN_MailEvent.1": {**mail, "Event": "MAILSEND_EVENT_OTHER", "MailTo": "user@home.example"},
            "X_VORAN_MailAccount.1": {**mail, "Server": "127.0.0.1", "Port": 1}}


def run(world, event, round_number):
    """Makes it happen. Its number, and the microseconds that its handler took."""
    if event.before:
        world.control("set", "--no-apply", *event.before)
    text = event.payload.replace("#", str(round_number % MOST_ROUNDS + 1))
    if event.kind == "KERNEL":
        world.kernel_says(text)
        return world.events.wait(KERNEL)
    words = ["--iid", event.iid] if event.iid else []
    world.control("send", "--to", "2", "--type", str(TYPES[event.kind]), *words, *(["--payload", text] if text else []))
    return world.events.wait(TYPES[event.kind])


def measure(rounds):
    rounds = min(rounds, MOST_ROUNDS)
    with World(model(), with_tarn=True) as world:
        world.spawn_control("serve", "40")
        world.await_endpoint(40)
        found = [[run(world, event, each) for event in EVENTS] for each in range(rounds)]
        world.events.settle()
        return [_row(event, happened, world.events.latest) for event, happened in zip(EVENTS, zip(*found))]


def _row(event, happened, costs):
    series = Series()
    for _, microseconds in happened:
        series.add([microseconds])
    most = [max(costs[number][what] for number, _ in happened) for what in COSTS]
    return Row(f"event: {event.what}", "us", series.median, max(series.medians()), series.spread, costs=tuple(most))
