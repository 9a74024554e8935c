#include "platform/port_names.h"

#include <charconv>

#include "platform/ethernet_port.h"

// Any link of a plain machine may have any name, and those that are told of are Ethernet ports.
namespace port {

bool namesDsl(std::string_view) {
    return false;
}

bool namesEthernet(std::string_view event) {
    return !event.empty();
}

bool isDslDevice(std::string_view) {
    return false;
}

bool same(std::string_view bridgePort, std::string_view name) {
    return bridgePort == name;
}

int32_t bitRate(std::string_view speed) {
    constexpr int32_t kUnknown = 10;
    int32_t rate = 0;
    const auto [end, error] = std::from_chars(speed.data(), speed.data() + speed.size(), rate);
    return error == std::errc() && end == speed.data() + speed.size() && rate > 0 ? rate : kUnknown;
}

}  // namespace port

// The kernel's bridges notice a port that goes down by themselves.
int32_t igmpsnoopingEthPortStat(std::string_view) {
    return 0;
}
