#include "unit/costs.h"

namespace {

// Two bridges of a bridge interface and a port each, one DHCP pool whose leases are static.
void lan(WanGateway& gw) {
    gw.set("Bridging.Bridge.1.Port.1.X_VORAN_IfName", "br0");
    gw.set("Bridging.Bridge.1.Port.2.X_VORAN_IfName", "eth0.1");
    gw.set("Bridging.Bridge.2.Port.1.X_VORAN_IfName", "br1");
    set(gw, "Bridging.Filter.1.", {{"Interface", "Bridging.Bridge.1.Port.2"}, {"Bridge", "Bridging.Bridge.1"}});
    gw.set("IP.Interface.1.X_VORAN_IfName", "br0");
    set(gw, "DHCPv4.Server.Pool.1.", {{"Interface", "IP.Interface.1"}, {"X_VORAN_AlwaysStatic", "true"}});
}
void granted(WanGateway& gw) {
    gw.receive(VCFG_MSG_DHCPD_OPTION, R"({"ac":"add","ifname":"br0","mac":"02:00:00:00:00:07","ip":"192.168.1.7",)"
                                      R"("moui":"00AA11","serial":"S-7","pclass":"STB","vendor":"MSFT 5.0"})");
}
void known(WanGateway& gw) {
    lan(gw);
    granted(gw);
}
void report(WanGateway& gw, const std::string& keys) {
    gw.receive(VCFG_MSG_DHCPD_OPTION, "{" + keys + R"(,"moui":"00AA11","serial":"S-7","pclass":"STB"})");
}
void tr064(WanGateway& gw) {
    gw.set("X_VORAN_TR064.Enable", "true");
}
void nothing(WanGateway&) {}

}  // namespace

CostCases managementCosts() {
    return {
        {VCFG_MSG_DHCPD_OPTION, "LAN lease granted to a new device, static", lan, granted},
        {VCFG_MSG_DHCPD_OPTION, "LAN lease granted to a known device, static", known, granted},
        {VCFG_MSG_DHCPD_OPTION, "LAN lease over", known, [](WanGateway& gw) { report(gw, R"("ac":"del")"); }},
        {VCFG_MSG_DHCPD_OPTION, "LAN lease renewed", known, [](WanGateway& gw) { report(gw, R"("ac":"up")"); }},
        {VCFG_MSG_DHCPD_OPTION, "LAN client moved to its group", lan,
         [](WanGateway& gw) { report(gw, R"("ac":"crit","ifname":"br0","phyif":"eth0.1","tag":"grp_br1")"); }},
        {VCFG_MSG_MGMT_NAT_DETECT, "NAT detected", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_MGMT_NAT_DETECT, "203.0.113.8:7547"); }},
        {VCFG_MSG_MGMT_NAT_CLEAR, "NAT gone", nothing,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_MGMT_NAT_CLEAR); }},
        {VCFG_MSG_TR64_LAN_DEVICE_UPDATE, "LAN devices changed", tr064,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_TR64_LAN_DEVICE_UPDATE); }},
    };
}
