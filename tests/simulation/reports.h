// Reports that the daemon takes from the programs around it, with what each of them names.
#pragma once

#include <vcfg/msg_types.h>

#include "world.h"

namespace sim {

struct Report {
    uint32_t type;
    uint8_t from;
    const char* payload;
    const char* mayWrite[3];
};

inline constexpr Report kReports[] = {
    {VCFG_MSG_PING_MSG, 5, R"({"DiagnosticsState":"Complete","SuccessCount":3})", {"IP.Diagnostics.IPPing"}},
    {VCFG_MSG_TRACERT_MSG,
     5,
     R"({"DiagnosticsState":"Complete","ResponseTime":12,"RouteHops":[{"Host":"gw","HostAddress":"192.0.2.1"}]})",
     {"IP.Diagnostics.TraceRoute", "Routing"}},
    {VCFG_MSG_NSLOOKUP_MSG, 6, R"({"0":{"DNSServerIP":"192.0.2.53"}})", {"DNS.Diagnostics.NSLookupDiagnostics"}},
    {VCFG_MSG_ATM_OAM_F5_COMPLETE, 7, R"({"DiagnosticsState":"Complete","SuccessCount":3})", {"ATM.Diagnostics"}},
    {VCFG_MSG_DHCPD_OPTION,
     8,
     R"({"ac":"add","ifname":"br0","mac":"02:00:00:00:00:07","ip":"192.168.1.7","moui":"00D09E","serial":"S-7",)"
     R"("pclass":"Box","vendor":"voip"})",
     {"DHCPv4.Server.Pool.2", "ManagementServer.ManageableDevice.", "Bridging.Filter."}},
    {VCFG_MSG_DHCPD_OPTION,
     8,
     R"({"ac":"del","ifname":"br0","mac":"02:00:00:00:00:07","ip":"192.168.1.7","moui":"00D09E","serial":"S-7"})",
     {"DHCPv4.Server.Pool.2", "ManagementServer.ManageableDevice.", "Bridging.Filter."}},
    {VCFG_MSG_NTP_SYNC_SUCCESS, 10, "2026-11-21T10:20:30Z", {"Time", "DeviceInfo", "ManagementServer"}},
    {VCFG_MSG_MGMT_NAT_DETECT, 9, "198.51.100.7:7547", {"ManagementServer"}},
    {VCFG_MSG_MGMT_NAT_CLEAR, 9, "", {"ManagementServer"}},
    {VCFG_MSG_WAN_CONNECTION_READY, 9, "IP.Interface.3", {"X_VORAN_MailEvent."}},
    {VCFG_MSG_WAN_CONNECTION_LOST, 9, "IP.Interface.3", {"X_VORAN_MailEvent."}},
    {VCFG_MSG_RA_INFO,
     11,
     R"({"ifName":"eth0.6","router_lifetime":1800,"m_flag":128,"o_flag":64,"pref":0,"router":"fe80::1",)"
     R"("prefix":"2001:db8::","prefix_len":64})",
     {"Routing.RouteInformation.InterfaceSetting.", "DHCPv6.Client."}},
    {VCFG_MSG_WPS_START,
     15,
     R"({"WPSIndex":1,"WPSActivationMethod":"PushButton","StartApp":15,"WPSRunning":true})",
     {"WiFi.AccessPoint.", "X_VORAN_WPS"}},
    {VCFG_MSG_WPS_START,
     15,
     R"({"WPSIndex":1,"WPSActivationMethod":"PushButton","StartApp":35,"X_VORAN_WPS_Configured":false})",
     {"WiFi.AccessPoint.", "X_VORAN_WPS"}},
    {VCFG_MSG_WPS_STOP, 15, R"({"WPSIndex":1,"StartApp":15})", {"WiFi.AccessPoint.", "X_VORAN_WPS"}},
    {VCFG_MSG_LAN_MAC_CONTROL_EVENT, 12, "", {}},
    {VCFG_MSG_WIFI_LED_ENABLE, 12, "", {}},
    {VCFG_MSG_VOSH_COMMAND, 12, "x", {}},
    {0x800004FF, 12, "nobody knows this", {}},
};
inline constexpr const char* kReportWords[] = {"a ping is over",
                                               "a traceroute is over",
                                               "a name is looked up",
                                               "a loopback is over",
                                               "a LAN device comes",
                                               "a LAN device goes",
                                               "the time is known",
                                               "a NAT is found",
                                               "no NAT is left",
                                               "a WAN connection is ready",
                                               "a WAN connection is lost",
                                               "a router advertises itself",
                                               "a protected setup is to start",
                                               "a protected setup is to start on both bands",
                                               "the protected setup is to stop",
                                               "MAC control has changed",
                                               "the Wi-Fi LED is switched",
                                               "a command comes that is none",
                                               "a message comes that nobody knows"};
static_assert(std::size(kReports) == std::size(kReportWords));

Letter letterOf(const Report& report);

}  // namespace sim
