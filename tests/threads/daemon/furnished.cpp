#include "furnished.h"

#include <cctype>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

// In place of the furnished model's closing braces: what the commander commands, and a link that starts updates.
constexpr const char* kMore = R"(,
    "InterfaceStack.2": {"HigherLayer": "Ethernet.Link.1", "LowerLayer": "Ethernet.Interface.4"},
    "PPP.Interface.3": {"Enable": true, "X_VORAN_LinkName": "own", "X_VORAN_IfName": "ppp4"},
    "IP.Interface.6": {"Enable": true, "LowerLayers": "PPP.Interface.3", "X_VORAN_IfName": "ppp4"},
    "IP.Interface.6.IPv4Address.1": {"Enable": true},
    "IP.Interface.5": {"Enable": true, "Status": "Up", "X_VORAN_IfName": "eth0.7", "X_VORAN_ConnectionType": "IP_Routed"},
    "IP.Interface.5.IPv4Address.1": {"Enable": true},
    "DHCPv4.Client.3": {"X_VORAN_PidFile": "PIDFILE", "Interface": "IP.Interface.5"}
  }
})";

std::string contentOf(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace

std::string furnishedModel(const std::string& pidFile) {
    std::string model = contentOf(MODEL);
    model.erase(model.find_last_of('}', model.find_last_of('}') - 1));
    while (isspace(model.back())) {
        model.pop_back();
    }
    std::string more = kMore;
    more.replace(more.find("PIDFILE"), strlen("PIDFILE"), pidFile);
    return model + more;
}
