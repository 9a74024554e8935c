// What the daemon's events cost: bus round trips and processes (counted over a store in the process), and how both and
// the time grow with the number of interfaces. A cost that grows linearly keeps its figure per interface.

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "connection/pending_request.h"
#include "core/path.h"
#include "core/wan_state.h"
#include "link/internet_led.h"
#include "support/kit.h"

namespace {

constexpr int kLinks = 8;
constexpr int kRounds = 20;

struct Cost {
    double roundTrips;
    double processes;
    double microseconds;
};

// Of one call of `event`, the mean over some rounds; `prepare` is not measured.
Cost measure(Gateway& gw, const std::function<void(int)>& prepare, const std::function<void(int)>& event) {
    Cost cost{};
    for (int round = 0; round < kRounds; ++round) {
        prepare(round);
        gw.forget();
        const unsigned before = inproc::calls();
        const auto start = std::chrono::steady_clock::now();
        event(round);
        cost.microseconds +=
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
        cost.roundTrips += inproc::calls() - before + static_cast<double>(gw.requests().size());
        cost.processes += static_cast<double>(gw.commands().size());
    }
    return {cost.roundTrips / kRounds, cost.processes / kRounds, cost.microseconds / kRounds};
}

void report(const char* name, int interfaces, const Cost& cost) {
    printf("%-36s %10d %12.1f %10.1f %10.0f %14.2f %14.1f\n", name, interfaces, cost.roundTrips, cost.processes,
           cost.microseconds, cost.roundTrips / interfaces, cost.microseconds / interfaces);
}

std::string numbered(const char* start, int number, const char* rest) {
    return start + std::to_string(number) + rest;
}

void buildInterfaces(Gateway& gw, int count) {
    for (int i = 1; i <= count; ++i) {
        const auto set = [&](const char* parameter, const std::string& value) {
            gw.set(numbered("IP.Interface.", i, ".") + parameter, value);
        };
        set("Enable", "true");
        set("IPv4Enable", "true");
        set("Status", "Up");
        set("X_VORAN_WAN", "true");
        set("X_VORAN_IfName", numbered("wan", i, ""));
        set("IPv4Address.1.Enable", "true");
        set("LowerLayers", numbered("PPP.Interface.", i, ""));
        const auto client = [&](const char* parameter, const std::string& value) {
            gw.set(numbered("DHCPv4.Client.", i, ".") + parameter, value);
        };
        client("Interface", numbered("IP.Interface.", i, ""));
        client("X_VORAN_PidFile", numbered("/run/c", i, ".pid"));
        gw.set(numbered("DHCPv6.Client.", i, ".Interface"), numbered("IP.Interface.", i, ""));
        gw.set(numbered("DHCPv6.Client.", i, ".X_VORAN_PidFile"), numbered("/run/d", i, ".pid"));
        gw.set(numbered("PPP.Interface.", i, ".X_VORAN_LinkName"), numbered("ppp", i, ""));
        gw.set(numbered("PPP.Interface.", i, ".ConnectionStatus"), "Connecting");
    }
}

void buildLinks(Gateway& gw) {
    for (int i = 1; i <= kLinks; ++i) {
        gw.set(numbered("Ethernet.Interface.", i, ".Upstream"), "true");
        gw.set(numbered("Ethernet.Interface.", i, ".Name"), numbered("eth0.", i, ""));
        gw.set(numbered("Ethernet.Interface.", i, ".Status"), "Down");
    }
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
}

void linkEvents(int interfaces) {
    Gateway gw;
    buildInterfaces(gw, interfaces);
    buildLinks(gw);
    wan.WANPriority = kDslFirst;
    const auto nothing = [](int) {};
    const auto flap = [&](int round) {
        const bool up = round % 2 == 0;
        gw.set("Ethernet.Interface.1.Status", up ? "Up" : "Down");
        gw.receive(VCFG_MSG_WAN_LINK, "");
        gw.runThreads();
    };
    report("link event, 8 WAN links", interfaces, measure(gw, nothing, flap));
    wanInternetLEDUpdate();
    report("LED update without change", interfaces, measure(gw, nothing, [](int) { wanInternetLEDUpdate(); }));
}

// The last of the interfaces reports: the one that is found after a look at all others.
void connectionEvents(int interfaces) {
    Gateway gw;
    buildInterfaces(gw, interfaces);
    gw.add("RouterAdvertisement.InterfaceSetting.1");
    gw.add("Routing.Router.1");
    const auto nothing = [](int) {};
    const auto reported = [&](const char* name, uint32_t type, const std::function<std::string(int)>& payload) {
        report(name, interfaces, measure(gw, nothing, [&](int round) { gw.receive(type, payload(round)); }));
    };
    reported("DHCPv4 lease", VCFG_MSG_DHCPC_BOUND, [&](int round) {
        return numbered(R"({"addressAssigned":true,"subnet":"255.255.255.0","pidfile":"/run/c)", interfaces, ".pid") +
               numbered(R"(","ip":"192.0.2.)", round + 1, "\"}");
    });
    reported("PPP up", VCFG_MSG_PPPD, [&](int round) {
        return numbered(R"({"state":"up","remote":"192.0.2.254","linkname":"ppp)", interfaces, "") +
               numbered(R"(","ip":"192.0.2.)", round + 1, "\"}");
    });
    reported("DHCPv6 report", VCFG_MSG_DHCP6C, [&](int round) {
        return numbered(R"({"addrAssigned":true,"prefixAssigned":true,"prefix":"2001:db8:1::/56","pidfile":"/run/d)",
                        interfaces, ".pid") +
               numbered(R"(","addr":"2001:db8::)", round + 1, "\"}");
    });
    gw.set(numbered("IP.Interface.", interfaces, ".LowerLayers"), "Ethernet.Link.1");
    gw.set(numbered("IP.Interface.", interfaces, ".IPv6Enable"), "true");
    reported("router advertisement", VCFG_MSG_RA_INFO, [&](int round) {
        return numbered(R"({"router_lifetime":1800,"m_flag":128,"prefix_len":64,"router":"fe80::1","ifName":"wan)",
                        interfaces, "") +
               numbered(R"(","prefix":"2001:db8:)", round + 1, "::\"}");
    });
}

}  // namespace

int main() {
    printf("%-36s %10s %12s %10s %10s %14s %14s\n", "event", "interfaces", "round trips", "processes", "us",
           "trips/interf.", "us/interface");
    for (const int interfaces : {8, 32, 128}) {
        linkEvents(interfaces);
    }
    for (const int interfaces : {8, 32, 128}) {
        connectionEvents(interfaces);
    }
    return testing::Test::HasFailure() ? 1 : 0;
}
