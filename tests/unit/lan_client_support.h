// A LAN with two bridges and a DHCP pool, and what its DHCP server reports.
#pragma once

#include <syslog.h>

#include <string>

#include "mgmt/dhcp_server.h"
#include "support/kit.h"

class LanGateway : public Gateway {
  public:
    LanGateway() {
        bridgePort("1.Port.1", "br0");
        bridgePort("1.Port.2", "eth0.1");
        bridgePort("2.Port.1", "br1");
        bridgePort("2.Port.2", "eth0.2");
        set("Bridging.Filter.1.Interface", "Bridging.Bridge.1.Port.2");
        set("Bridging.Filter.1.Bridge", "Bridging.Bridge.1");
        set("IP.Interface.1.X_VORAN_IfName", "br1");
        set("IP.Interface.3.X_VORAN_IfName", "br0");
        set("DHCPv4.Server.Pool.1.Interface", "IP.Interface.1");
        set("DHCPv4.Server.Pool.2.Interface", "IP.Interface.3");
        forget();
    }
    void bridgePort(const std::string& instance, const std::string& name) {
        set("Bridging.Bridge." + instance + ".X_VORAN_IfName", name);
    }
    int reports(const std::string& event) { return tarnProcessDhcpdOption(event.c_str()); }
    bool onlyLogged(const std::string& channel, const std::string& text) const {
        return log().size() == 1 && logged(channel, text);
    }
    size_t count(const std::string& table) const { return inproc::instancesOf(table).size(); }
};

using Writes = std::vector<std::string>;
