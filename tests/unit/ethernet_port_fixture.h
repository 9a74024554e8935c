// Two ports, and the groups that bridge ports are bound to.
#pragma once

#include "platform/ethernet_port.h"
#include "unit/wan_fixture.h"

class EthernetPortTest : public testing::Test {
  protected:
    EthernetPortTest() {
        addPort(1, "eth0.2");
        addPort(2, "eth0.3");
        gw.advance(50'000);
        gw.forget();
    }
    void addPort(unsigned n, const std::string& name) {
        gw.set(gw.port(n) + "Name", name);
        gw.set(gw.port(n) + "Status", "Down");
        gw.set(gw.port(n) + "LastChange", "7");
    }
    // The LAN bridge's port `n`, and the group that the user bound it to.
    void addBridgePort(const std::string& path, const std::string& name) { gw.set(path + ".X_VORAN_IfName", name); }
    void addGroup(const std::string& interface, const std::string& bridge, const std::string& previous) {
        gw.set("Bridging.Filter.1.Interface", interface);
        gw.set("Bridging.Filter.1.Bridge", bridge);
        gw.set("Bridging.Filter.1.X_VORAN_PreviousBridge", previous);
    }
    std::string port(unsigned n, const std::string& parameter) { return gw.get(gw.port(n) + parameter); }
    std::string rateAndDuplex(const std::string& event) {
        updateLanLinkStatus(event.c_str());
        return port(2, "MaxBitRate") + " " + port(2, "DuplexMode");
    }

    WanGateway gw;
};
