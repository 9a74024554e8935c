#include "platform/ethernet_port.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "core/os.h"
#include "core/record.h"
#include "platform/port_names.h"

namespace {

constexpr size_t kPortNumberAt = 5;  // in "eth0.2"

std::string_view portNumberText(std::string_view name) {
    return name.substr(std::min(kPortNumberAt, name.size()));
}

unsigned portNumber(std::string_view name) {
    const std::string_view text = portNumberText(name);
    unsigned number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

namespace port {

bool namesDsl(std::string_view event) {
    return event.find("atm") != std::string_view::npos || event.find("ptm") != std::string_view::npos;
}

bool isDslDevice(std::string_view interface) {
    return interface.find("tm") != std::string_view::npos;
}

bool namesEthernet(std::string_view event) {
    return event.substr(0, 1) == "e";
}

// By the digit of their number alone.
bool same(std::string_view left, std::string_view right) {
    return left.size() > kPortNumberAt && right.size() > kPortNumberAt && left[kPortNumberAt] == right[kPortNumberAt];
}

int32_t bitRate(std::string_view speed) {
    for (const int32_t rate : {1000, 100, 10, 2500, 5000, 10000}) {
        if (speed == std::to_string(rate)) {
            return rate;
        }
    }
    return 10;
}

}  // namespace port

int32_t igmpsnoopingEthPortStat(std::string_view name) {
    int32_t portIndex = 0;
    const int walkEnd = forEachInstance<BridgePort>([&](const Record<BridgePort>& port) {
        if (port->X_VORAN_IfName == name) {
            portIndex = port.iid().idx[0] - 1;
        }
    });
    const std::string text = std::to_string(portIndex) + " " + std::to_string(portNumber(name));
    return os::writeFile("/proc/tc3162/igmpsnooping_eth_port_stat", text) ? walkEnd : -1;
}
