// The simulated gateway's model: two Ethernet ports, a DSL line, an optical port and a stick, and a connection on each.
#include "inproc_fe.h"
#include "world.h"

namespace sim {
namespace {

struct Value {
    const char* path;
    const char* value;
};

constexpr Value kModel[] = {
    // what the cables and lines are
    {"DSL.Line.1.LinkStatus", "NoSignal"},
    {"DSL.Channel.1.LowerLayers", "DSL.Line.1"},
    {"DSL.Channel.1.LinkEncapsulationUsed", "G.992.3_Annex_K_PTM"},
    {"DSL.Channel.2.LowerLayers", "DSL.Line.1"},
    {"DSL.Channel.2.LinkEncapsulationUsed", "G.992.3_Annex_K_ATM"},
    {"Ethernet.Interface.1.Name", "eth0.1"},
    {"Ethernet.Interface.1.Status", "Down"},
    {"Ethernet.Interface.4.Name", "eth0.4"},
    {"Ethernet.Interface.4.Upstream", "true"},
    {"Ethernet.Interface.4.Status", "Down"},
    {"Ethernet.Interface.6.Name", "eth0.6"},
    {"Ethernet.Interface.6.Upstream", "true"},
    {"Ethernet.Interface.6.X_VORAN_SFP", "true"},
    {"Ethernet.Interface.6.Status", "Down"},
    {"Optical.Interface.2.Name", "pon0"},
    {"Optical.Interface.2.Upstream", "true"},
    {"Optical.Interface.2.Status", "Down"},
    {"USB.Interface.1.Name", "usb0"},
    {"USB.Interface.1.Upstream", "true"},
    {"USB.Interface.1.Status", "Down"},
    // what lies on them
    {"InterfaceStack.1.HigherLayer", "Ethernet.Link.1"},
    {"InterfaceStack.1.LowerLayer", "Ethernet.Interface.4"},
    {"InterfaceStack.2.HigherLayer", "Ethernet.Link.2"},
    {"InterfaceStack.2.LowerLayer", "Ethernet.Interface.6"},
    {"InterfaceStack.3.HigherLayer", "PTM.Link.1"},
    {"InterfaceStack.3.LowerLayer", "DSL.Channel.1"},
    {"InterfaceStack.4.HigherLayer", "ATM.Link.1"},
    {"InterfaceStack.4.LowerLayer", "DSL.Channel.2"},
    {"InterfaceStack.5.HigherLayer", "PPP.Interface.3"},
    {"InterfaceStack.5.LowerLayer", "USB.Interface.1"},
    {"InterfaceStack.6.HigherLayer", "Ethernet.Link.3"},
    {"InterfaceStack.6.LowerLayer", "Optical.Interface.2"},
    {"Ethernet.Link.1.Status", "LowerLayerDown"},
    {"Ethernet.Link.2.Status", "LowerLayerDown"},
    {"Ethernet.Link.3.Status", "LowerLayerDown"},
    {"PTM.Link.1.Status", "LowerLayerDown"},
    {"ATM.Link.1.Status", "LowerLayerDown"},
    // the connections: DHCP, PPP, DHCP with IPv6, and the LAN's own interface
    {"IP.Interface.1.Enable", "true"},
    {"IP.Interface.1.IPv4Enable", "true"},
    {"IP.Interface.1.Status", "LowerLayerDown"},
    {"IP.Interface.1.LowerLayers", "Ethernet.Link.1"},
    {"IP.Interface.1.X_VORAN_WAN", "true"},
    {"IP.Interface.1.X_VORAN_IfName", "eth0.4"},
    {"IP.Interface.1.X_VORAN_ConnectionType", "IP_Routed"},
    {"IP.Interface.1.IPv4Address.1.Enable", "true"},
    {"IP.Interface.1.IPv4Address.1.Status", "Disabled"},
    {"IP.Interface.2.Enable", "true"},
    {"IP.Interface.2.IPv4Enable", "true"},
    {"IP.Interface.2.Status", "LowerLayerDown"},
    {"IP.Interface.2.LowerLayers", "PPP.Interface.2"},
    {"IP.Interface.2.X_VORAN_WAN", "true"},
    {"IP.Interface.2.X_VORAN_IfName", "ptm0.2"},
    {"IP.Interface.3.Enable", "true"},
    {"IP.Interface.3.IPv4Enable", "true"},
    {"IP.Interface.3.Status", "LowerLayerDown"},
    {"IP.Interface.3.LowerLayers", "PPP.Interface.3"},
    {"IP.Interface.3.X_VORAN_WAN", "true"},
    {"IP.Interface.3.X_VORAN_IfName", "ppp3"},
    {"IP.Interface.4.Enable", "true"},
    {"IP.Interface.4.IPv4Enable", "true"},
    {"IP.Interface.4.IPv6Enable", "true"},
    {"IP.Interface.4.Status", "LowerLayerDown"},
    {"IP.Interface.4.LowerLayers", "Ethernet.Link.2"},
    {"IP.Interface.4.X_VORAN_WAN", "true"},
    {"IP.Interface.4.X_VORAN_IfName", "eth0.6"},
    {"IP.Interface.4.IPv4Address.1.Enable", "true"},
    {"IP.Interface.4.IPv4Address.1.Status", "Disabled"},
    {"IP.Interface.5.X_VORAN_IfName", "br0"},
    {"DHCPv4.Client.2.X_VORAN_PidFile", "/run/dhcpc-2.pid"},
    {"DHCPv4.Client.2.Interface", "IP.Interface.1"},
    {"DHCPv4.Client.2.ReqOption.1.Enable", "true"},
    {"DHCPv4.Client.2.ReqOption.1.Tag", "121"},
    {"DHCPv4.Client.2.ReqOption.1.Alias", "opt121"},
    {"DHCPv4.Client.3.X_VORAN_PidFile", "/run/dhcpc-3.pid"},
    {"DHCPv4.Client.3.Interface", "IP.Interface.4"},
    {"DHCPv4.Client.3.ReqOption.1.Enable", "true"},
    {"DHCPv4.Client.3.ReqOption.1.Tag", "121"},
    {"DHCPv4.Client.3.ReqOption.1.Alias", "opt121"},
    {"DHCPv6.Client.1.Interface", "IP.Interface.4"},
    {"DHCPv6.Client.1.X_VORAN_PidFile", "/run/dhcp6c.pid"},
    {"PPP.Interface.2.Enable", "true"},
    {"PPP.Interface.2.X_VORAN_LinkName", "wan2"},
    {"PPP.Interface.2.X_VORAN_IfName", "ptm0.2"},
    {"PPP.Interface.2.IPv6CPEnable", "true"},
    {"PPP.Interface.2.ConnectionStatus", "Connecting"},
    {"PPP.Interface.3.Enable", "true"},
    {"PPP.Interface.3.Status", "LowerLayerDown"},
    {"PPP.Interface.3.X_VORAN_LinkName", "wan3"},
    {"PPP.Interface.3.X_VORAN_IfName", "ppp3"},
    {"Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.4"},
    {"RouterAdvertisement.InterfaceSetting.1", ""},
    // the LAN
    {"Bridging.Bridge.1.Port.1.X_VORAN_IfName", "br0"},
    {"Bridging.Bridge.1.Port.2.X_VORAN_IfName", "eth0.1"},
    {"Bridging.Filter.1.Interface", "Bridging.Bridge.1.Port.2"},
    {"Bridging.Filter.1.Bridge", "Bridging.Bridge.1"},
    {"DHCPv4.Server.Pool.2.Interface", "IP.Interface.5"},
    {"DHCPv4.Server.Pool.2.X_VORAN_AlwaysStatic", "true"},
    {"WiFi.AccessPoint.1.WPS.WPSRunning", "false"},
    {"WiFi.AccessPoint.5.WPS.WPSRunning", "false"},
    {"X_VORAN_WWANBackup.Enable", "true"},
    {"X_VORAN_WWANBackup.Status", "Up"},
    {"X_VORAN_WWANBackup.Interface", "IP.Interface.3"},
    {"X_VORAN_SystemDebug.Interval", "1"},
    {"X_VORAN_SystemDebug.Server", "192.0.2.9"},
    {"X_VORAN_VlanAutoHunt.Interface.1.Interface", "IP.Interface.1"},
};

}  // namespace

// The model outlives its story: it is filled once, and each story begins with it.
void furnish() {
    world().files["/proc/sys/net/ipv6/conf/eth0.6/accept_ra"] = "1\n";
    world().files["/data/vcfg_config.json"] = "{}";
    if (inproc::isKept()) {
        return;
    }
    for (const auto& [path, value] : kModel) {
        if (const std::string refused = inproc::set(path, value); !refused.empty()) {
            broken("TheHouseCanBeFurnished", path + (": " + refused));
        }
    }
    inproc::keep();
}

}  // namespace sim
