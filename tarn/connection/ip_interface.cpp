#include "connection/ip_interface.h"

std::optional<objIndex> ipInterfaceOn(std::string_view lowerLayer) {
    const auto interface =
        findInstance<IpInterface>([&](const IpInterface& candidate) { return candidate.LowerLayers == lowerLayer; });
    return interface ? std::optional(interface.iid()) : std::nullopt;
}
