#include "house.h"

#include <string_view>

#include "link/wan_link_table.h"
#include "target.h"

namespace {

struct Value {
    const char* path;
    const char* value;
};

const Value kModel[] = {
    // what the cables and lines are
    {"DSL.Line.1.LinkStatus", "Up"},
    {"DSL.Line.1.X_VORAN_LinkTypeIsATM", "false"},
    {"Ethernet.Interface.1.Name", "eth0.1"},
    {"Ethernet.Interface.4.Name", "eth0"},
    {"Ethernet.Interface.4.Upstream", "true"},
    {"Ethernet.Interface.4.Status", "Up"},
    {"Optical.Interface.2.Name", "pon0"},
    {"Optical.Interface.2.Upstream", "true"},
    {"Optical.Interface.2.Status", "Down"},
    {"USB.Interface.1.Name", "usb0"},
    {"USB.Interface.1.Upstream", "true"},
    {"USB.Interface.1.Status", "Down"},
    {"Ethernet.Link.1.Status", "Up"},
    {"InterfaceStack.1.HigherLayer", "Ethernet.Link.1"},
    {"InterfaceStack.1.LowerLayer", "Optical.Interface.2"},
    {"X_VORAN_VlanAutoHunt.Enable", "true"},
    {"X_VORAN_VlanAutoHunt.Interface.1.Interface", "IP.Interface.1"},
    // the connections on them: DHCP, PPP, IPv6, and the LAN's own interface
    {"IP.Interface.1.Enable", "true"},
    {"IP.Interface.1.Status", "Up"},
    {"IP.Interface.1.LowerLayers", "Ethernet.Link.1"},
    {"IP.Interface.1.X_VORAN_IfName", "eth0"},
    {"IP.Interface.1.X_VORAN_ConnectionType", "IP_Routed"},
    {"IP.Interface.1.IPv6Enable", "true"},
    {"IP.Interface.1.IPv4Address.1.Enable", "true"},
    {"IP.Interface.2.Enable", "true"},
    {"IP.Interface.2.IPv6Enable", "true"},
    {"IP.Interface.2.LowerLayers", "PPP.Interface.2"},
    {"IP.Interface.2.X_VORAN_IfName", "ppp3"},
    {"IP.Interface.2.IPv4Address.1.Enable", "true"},
    {"IP.Interface.3.X_VORAN_IfName", "br0"},
    {"IP.Interface.4.Enable", "true"},
    {"IP.Interface.4.Status", "Up"},
    {"IP.Interface.4.IPv6Enable", "true"},
    {"IP.Interface.4.X_VORAN_IfName", "eth0.100"},
    {"IP.Interface.4.IPv6Address.1.Origin", "DHCPv6"},
    {"IP.Interface.4.IPv6Prefix.1.Origin", "PrefixDelegation"},
    {"DHCPv4.Client.2.X_VORAN_PidFile", "/var/run/udhcpc-wan.pid"},
    {"DHCPv4.Client.2.Interface", "IP.Interface.1"},
    {"DHCPv4.Client.2.ReqOption.1.Enable", "true"},
    {"DHCPv4.Client.2.ReqOption.1.Tag", "121"},
    {"DHCPv4.Client.2.ReqOption.1.Alias", "opt121"},
    {"DHCPv6.Client.1.Interface", "IP.Interface.4"},
    {"DHCPv6.Client.1.X_VORAN_PidFile", "/run/4.pid"},
    {"PPP.Interface.2.Enable", "true"},
    {"PPP.Interface.2.X_VORAN_LinkName", "wan"},
    {"PPP.Interface.2.X_VORAN_IfName", "ppp3"},
    {"PPP.Interface.2.X_VORAN_IPv6Enable", "true"},
    {"PPP.Interface.2.IPv6CPEnable", "true"},
    {"PPP.Interface.2.ConnectionStatus", "Connecting"},
    {"Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.4"},
    {"Routing.RouteInformation.InterfaceSetting.1.Interface", "IP.Interface.1"},
    {"RouterAdvertisement.InterfaceSetting.1", ""},
    {"DNS.Client.Server.1.Interface", "IP.Interface.2"},
    {"DNS.Client.Server.1.Type", "IPCP"},
    // the LAN
    {"Bridging.Bridge.1.Port.1.X_VORAN_IfName", "br0"},
    {"Bridging.Bridge.1.Port.2.X_VORAN_IfName", "eth0.1"},
    {"Bridging.Filter.1.Interface", "Bridging.Bridge.1.Port.2"},
    {"Bridging.Filter.1.Bridge", "Bridging.Bridge.1"},
    {"DHCPv4.Server.Pool.2.Interface", "IP.Interface.3"},
    {"DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true"},
    {"X_VORAN_TR064.Enable", "true"},
    {"WiFi.AccessPoint.1.WPS.WPSRunning", "true"},
    {"WiFi.AccessPoint.5.WPS.WPSRunning", "true"},
    // diagnostics that were asked for per connection
    {"IP.Diagnostics.DownloadDiagnostics.EnablePerConnectionResults", "true"},
    {"IP.Diagnostics.DownloadDiagnostics.DownloadDiagnosticMaxConnections", "4"},
    {"IP.Diagnostics.UploadDiagnostics.EnablePerConnectionResults", "true"},
    {"IP.Diagnostics.UploadDiagnostics.UploadDiagnosticsMaxConnections", "4"},
};

// What must never begin a word of a command outside its quotes.
constexpr std::string_view kHostile = "hostile";
constexpr std::string_view kEndsWord = " \t\n;|&`($<>";

bool leftItsQuotes(std::string_view command) {
    bool quoted = false;
    for (size_t at = 0; at < command.size(); ++at) {
        if (command[at] == '\'') {
            quoted = !quoted;
        } else if (command[at] == '\\' && !quoted) {
            ++at;
        } else if (!quoted && at > 0 && kEndsWord.find(command[at - 1]) != std::string_view::npos &&
                   command.substr(at, kHostile.size()) == kHostile) {
            return true;
        }
    }
    return false;
}

void letTheWorldAnswer(Gateway& gateway) {
    for (const uint32_t type : {4005u, 4006u, 4007u, 4015u}) {
        gateway.endpointAnswers(VCFG_EID_WIRELESS, type, Answer{});
    }
    gateway.endpointAnswers(VCFG_EID_WIRELESS, 4012, {VCFG_OK, 0, R"({"WPSStatus":2})", true, {}});
    gateway.file("/var/run/udhcpc-wan.pid", "321\n");
    gateway.process(321);
    gateway.file("/proc/sys/net/ipv6/conf/eth0.100/accept_ra", "2\n");
    gateway.file("/proc/sys/net/ipv6/conf/eth0/accept_ra", "1\n");
    gateway.commandOutput("ip route | grep 'default'", "default via 192.0.2.1 dev ppp3 metric 5");
}

// Once: the model outlives its gateway.
void fillModel(Gateway& gateway) {
    if (inproc::isKept()) {
        return;
    }
    for (const auto& [path, value] : kModel) {
        if (*value != '\0') {
            gateway.set(path, value);
        } else {
            gateway.add(path);
        }
    }
    inproc::keep();
}

}  // namespace

void house::furnish(Gateway& gateway) {
    fillModel(gateway);
    letTheWorldAnswer(gateway);
    initWanLinkInfo();
}

void house::checkCommands(const Gateway& gateway) {
    for (const std::string& command : gateway.commands()) {
        if (leftItsQuotes(command)) {
            finding("an input has become a command: " + command);
        }
    }
}
