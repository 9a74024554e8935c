#include <csignal>

#include "connection/wan_conn_update.h"
#include "core/path.h"
#include "unit/costs.h"

namespace {

constexpr Sender kPage{VCFG_EID_VHTTPD, 4242};
constexpr const char* kLease =
    R"({"addressAssigned":true,"pidfile":"/run/wan.pid","ip":"192.0.2.10","subnet":"255.255.255.0",)"
    R"("router":"192.0.2.1","dns":"192.0.2.53","opt121":"790818c0a801c0a80101"})";

// The only client, with two requested options, on the only interface; a page waits for it.
void lease(WanGateway& gw) {
    gw.set("IP.Interface.1.Status", "Up");
    set(gw, "DHCPv4.Client.1.", {{"X_VORAN_PidFile", "/run/wan.pid"}, {"Interface", "IP.Interface.1"}});
    set(gw, "DHCPv4.Client.1.ReqOption.1.", {{"Enable", "true"}, {"Tag", "121"}, {"Alias", "opt121"}});
    set(gw, "DHCPv4.Client.1.ReqOption.2.", {{"Enable", "true"}, {"Tag", "42"}, {"Alias", "opt42"}});
    gw.add("Routing.Router.1");
    gw.add("RouterAdvertisement.InterfaceSetting.1");
    gw.file("/run/wan.pid", "321\n");
    gw.process(321);
    gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({1}));
}
void leaseHeld(WanGateway& gw) {
    lease(gw);
    gw.receive(VCFG_MSG_DHCPC_BOUND, kLease);
    gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({1}));
}
void dualStack(WanGateway& gw) {
    leaseHeld(gw);
    gw.set("IP.Interface.1.IPv6Enable", "true");
    set(gw, "IP.Interface.1.IPv6Address.1.", {{"Enable", "true"}, {"Status", "Enabled"}});
}

// The only PPP interface, below the only IP interface.
void ppp(WanGateway& gw) {
    set(gw, "PPP.Interface.1.", {{"X_VORAN_LinkName", "wan"}, {"ConnectionStatus", "Connecting"}});
    set(gw, "IP.Interface.1.", {{"Status", "Up"}, {"LowerLayers", "PPP.Interface.1"}});
    gw.receiveEmpty(VCFG_MSG_WAN_PPP_CONNECT, kPage, instanceId({1}));
}
void pppUp(WanGateway& gw) {
    ppp(gw);
    gw.receive(VCFG_MSG_PPPD, R"({"linkname":"wan","state":"up","ip":"192.0.2.7","remote":"192.0.2.1"})");
}
void pppIpv6(WanGateway& gw) {
    pppUp(gw);
    gw.set("Routing.RouteInformation.InterfaceSetting.1.Interface", "IP.Interface.1");
    gw.set("DHCPv6.Client.1.Interface", "IP.Interface.1");
}
void pppIpv6Up(WanGateway& gw) {
    pppIpv6(gw);
    gw.set("PPP.Interface.1.IPv6CPEnable", "true");
    set(gw, "IP.Interface.1.IPv6Address.1.", {{"Enable", "true"}, {"Status", "Enabled"}});
    gw.receiveEmpty(VCFG_MSG_WAN_PPP_DISCONNECT, kPage, instanceId({1}));
}

void dhcp6(WanGateway& gw) {
    set(gw, "IP.Interface.1.", {{"Status", "Up"}, {"IPv6Enable", "true"}});
    set(gw, "DHCPv6.Client.1.", {{"X_VORAN_PidFile", "/run/6.pid"}, {"Interface", "IP.Interface.1"}});
    set(gw, "DHCPv4.Client.1.", {{"X_VORAN_PidFile", "/run/wan.pid"}, {"Interface", "IP.Interface.1"}});
    gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({1}));
}
void dhcp6Report(WanGateway& gw) {
    gw.receive(VCFG_MSG_DHCP6C, R"({"pidfile":"/run/6.pid","addrAssigned":true,"addr":"2001:db8::7",)"
                                R"("prefixAssigned":true,"prefix":"2001:db8:1::/56","nameserver":"2001:db8::53"})");
}
void dhcp6Held(WanGateway& gw) {
    dhcp6(gw);
    dhcp6Report(gw);
}
void dhcp6Unawaited(WanGateway& gw) {
    dhcp6Held(gw);
}

void router(WanGateway& gw) {
    set(gw, "IP.Interface.1.", {{"Enable", "true"}, {"IPv6Enable", "true"}, {"X_VORAN_IfName", "eth0.100"}});
    gw.add("Routing.Router.1");
}
void advertisement(WanGateway& gw) {
    gw.receive(VCFG_MSG_RA_INFO, R"({"ifName":"eth0.100","router_lifetime":1800,"m_flag":128,"o_flag":64,"pref":0,)"
                                 R"("router":"fe80::1","prefix":"2001:db8::","prefix_len":64})");
}
void routerKnown(WanGateway& gw) {
    router(gw);
    advertisement(gw);
}

void ethernetStack(WanGateway& gw) {
    gw.set("Ethernet.Link.1.LowerLayers", "Ethernet.Interface.1");
    set(gw, "InterfaceStack.1.", {{"LowerLayer", "Ethernet.Interface.1"}, {"HigherLayer", "Ethernet.Link.1"}});
    tarnWanConnUpdate("Ethernet.Interface.1", 1, kLinkEthernet);
}
void ptmStack(WanGateway& gw) {
    gw.add("PTM.Link.1");
    set(gw, "DSL.Channel.1.", {{"LowerLayers", "DSL.Line.1"}, {"LinkEncapsulationUsed", "G.992.3_Annex_K_PTM"}});
    set(gw, "InterfaceStack.1.", {{"LowerLayer", "DSL.Channel.1"}, {"HigherLayer", "PTM.Link.1"}});
    tarnWanConnUpdate("DSL.Line.1", 1, kLinkDslPtm);
}
void threads(WanGateway& gw) {
    gw.runThreads();
}

}  // namespace

CostCases connectionCosts() {
    return {
        {VCFG_MSG_DHCPC_OPTION, "new lease, a page waits for it", lease,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_DHCPC_OPTION, kLease); }},
        {VCFG_MSG_DHCPC_BOUND, "lease of another address where there was one", leaseHeld,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_DHCPC_BOUND, kLease); }},
        {VCFG_MSG_DHCPC_RENEWED, "renewal with the same address", leaseHeld,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_DHCPC_RENEWED, kLease); }},
        {VCFG_MSG_DHCPC_RENEWED, "renewal with another address and one other route", leaseHeld,
         [](WanGateway& gw) {
             gw.receive(VCFG_MSG_DHCPC_RENEWED, R"({"addressAssigned":true,"pidfile":"/run/wan.pid","ip":"192.0.2.11",)"
                                                R"("opt121":"790818c0a802c0a80101"})");
         }},
        {VCFG_MSG_DHCPC_OPTION, "lease released", leaseHeld,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_DHCPC_OPTION, R"({"pidfile":"/run/wan.pid"})"); }},
        {VCFG_MSG_DHCPC_RESTART, "DHCPv4 client restarts", lease,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_DHCPC_RESTART); }},
        {VCFG_MSG_WAN_IP_RENEW, "renew, IPv4 only", leaseHeld,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_IP_RELEASE, "release, IPv4 only", leaseHeld,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_IP_RELEASE, kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_IP_RENEW, "renew, dual stack", dualStack,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_IP_RENEW, kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_IP_RELEASE, "release, dual stack", dualStack,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_IP_RELEASE, kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_PPP_CONNECT, "PPP connect", ppp,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_PPP_CONNECT, kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_PPP_DISCONNECT, "PPP disconnect, IPv4 only", pppUp,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_PPP_DISCONNECT, kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_PPP_CONNECTING, "PPP is connecting", ppp,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WAN_PPP_CONNECTING, "x", kPage, instanceId({1})); }},
        {VCFG_MSG_WAN_PPP_DISCONNECTED, "PPP is disconnected", pppUp,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WAN_PPP_DISCONNECTED, "x", kPage, instanceId({1})); }},
        {VCFG_MSG_PPPD, "PPPoE session", ppp,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_PPPD, R"({"linkname":"wan","sessionID":"0x1a"})"); }},
        {VCFG_MSG_PPPD, "PPP IPv4 up, a page waits for it", ppp,
         [](WanGateway& gw) {
             gw.receive(VCFG_MSG_PPPD, R"({"linkname":"wan","state":"up","ip":"192.0.2.7","remote":"192.0.2.1"})");
         }},
        {VCFG_MSG_PPPD, "PPP IPv6 up", pppIpv6,
         [](WanGateway& gw) {
             gw.receive(VCFG_MSG_PPPD, R"({"linkname":"wan","state":"up","type":"ipv6","local":"fe80::a"})");
         }},
        {VCFG_MSG_PPPD, "PPP IPv4 down", pppUp,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_PPPD, R"({"linkname":"wan","state":"down"})"); }},
        {VCFG_MSG_PPPD, "PPP IPv6 down, a page waits for it", pppIpv6Up,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_PPPD, R"({"linkname":"wan","state":"down","type":"ipv6"})"); }},
        {VCFG_MSG_DHCP6C, "DHCPv6 address, prefix and server, a page waits for them", dhcp6, dhcp6Report},
        {VCFG_MSG_DHCP6C, "DHCPv6 address, prefix and server again", dhcp6Unawaited, dhcp6Report},
        {VCFG_MSG_DHCP6C, "DHCPv6 client gave up", dhcp6Held,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_DHCP6C, R"({"pidfile":"/run/6.pid","timeout":true})"); }},
        {VCFG_MSG_RA_INFO, "advertisement of a new router", router, advertisement},
        {VCFG_MSG_RA_INFO, "advertisement of a known router", routerKnown, advertisement},
        {0, "connection update thread: Ethernet, one layer on it", ethernetStack, threads},
        {0, "connection update thread: DSL, one layer on it", ptmStack, threads},
    };
}
