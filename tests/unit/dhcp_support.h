// A gateway with a DHCPv4 client on its WAN interface, for the tests of what the client reports.
#pragma once

#include <algorithm>
#include <string>

#include "connection/pending_request.h"
#include "support/kit.h"

inline constexpr const char* kPid = "/var/run/udhcpc-wan.pid";
inline constexpr Sender kHttpd{VCFG_EID_VHTTPD, 4242};

inline std::string lease(const std::string& more = "") {
    return std::string(R"({"addressAssigned":true,"pidfile":")") + kPid +
           R"(","ip":"192.0.2.10","subnet":"255.255.255.0","router":"192.0.2.1","dns":"192.0.2.53 192.0.2.54")" + more +
           "}";
}

class DhcpBase : public testing::Test {
  protected:
    DhcpBase() {
        gw.set("IP.Interface.1.Status", "Up");
        gw.set("IP.Interface.2.Status", "Up");
        gw.set("DHCPv4.Client.1.X_VORAN_PidFile", "/var/run/other.pid");
        gw.set("DHCPv4.Client.1.Interface", "IP.Interface.2");
        gw.set("DHCPv4.Client.2.X_VORAN_PidFile", kPid);
        gw.set("DHCPv4.Client.2.Interface", "IP.Interface.1");
        gw.set("DHCPv4.Client.2.ReqOption.1.Enable", "true");
        gw.set("DHCPv4.Client.2.ReqOption.1.Tag", "121");
        gw.set("DHCPv4.Client.2.ReqOption.1.Alias", "opt121");
        gw.add("Routing.Router.1");
        gw.add("RouterAdvertisement.InterfaceSetting.1");
        gw.forget();
    }

    void bound(const std::string& more = "") { gw.receive(VCFG_MSG_DHCPC_OPTION, lease(more)); }
    void renewed(const std::string& more = "") { gw.receive(VCFG_MSG_DHCPC_RENEWED, lease(more)); }
    void released() {
        gw.receive(VCFG_MSG_DHCPC_OPTION, std::string(R"({"addressAssigned":false,"pidfile":")") + kPid + "\"}");
    }
    std::string client(const std::string& parameter) { return gw.get("DHCPv4.Client.2." + parameter); }
    std::string address(const std::string& parameter) { return gw.get("IP.Interface.1.IPv4Address.1." + parameter); }
    std::string interface(const std::string& parameter) { return gw.get("IP.Interface.1." + parameter); }
    size_t routes() { return inproc::instancesOf("Routing.Router.1.IPv4Forwarding").size(); }

    Gateway gw;
};
