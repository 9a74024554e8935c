#include "client_bridge.h"

#include <string_view>

#include "bridge_model.h"
#include "stored.h"

namespace {

bool matches(const BridgeFilter& filter, std::string_view vendor) {
    const std::string_view wanted = filter.SourceMACFromVendorClassIDFilter.c_str();
    const auto& mode = filter.SourceMACFromVendorClassIDMode;
    if (mode == "Prefix") {
        return vendor.starts_with(wanted);
    }
    if (mode == "Suffix") {
        return vendor.ends_with(wanted);
    }
    return mode == "Substring" ? vendor.find(wanted) != std::string_view::npos : vendor == wanted;
}

// A filter that excludes its vendor class names everybody else's bridge.
bool groups(const BridgeFilter& filter, std::string_view vendor) {
    return filter.Enable != 0 && !filter.SourceMACFromVendorClassIDFilter.empty() &&
           matches(filter, vendor) == (filter.SourceMACFromVendorClassIDFilterExclude == 0);
}

}  // namespace

std::string bridgeForVendor(const std::string& vendor) {
    objIndex iid{};
    while (const auto filter = next<BridgeFilter>(iid)) {
        if (!vendor.empty() && groups(*filter, vendor)) {
            const auto bridges = wantedBridges();
            const auto found = bridges.find(numberIn(filter->Bridge.c_str(), "Bridging.Bridge."));
            return found == bridges.end() ? std::string() : found->second;
        }
    }
    return {};
}
