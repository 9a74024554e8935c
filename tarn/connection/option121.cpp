#include "connection/option121.h"

#include <algorithm>

#include "core/log.h"
#include "core/record.h"

namespace {

constexpr size_t kData = 2;  // behind code and length
constexpr size_t kRouterSize = 4;
constexpr uint8_t kWidthMax = 32;

using Entry = Record<RoutingIpv4Forwarding>;

int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

std::string dotted(const uint8_t octets[4]) {
    std::string text = std::to_string(octets[0]);
    for (int i = 1; i < 4; ++i) {
        text += "." + std::to_string(octets[i]);
    }
    return text;
}

std::string maskOf(uint8_t width) {
    const uint32_t bits = width == 0 ? 0 : ~uint32_t{0} << (kWidthMax - width);
    const uint8_t octets[4] = {static_cast<uint8_t>(bits >> 24), static_cast<uint8_t>(bits >> 16),
                               static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits)};
    return dotted(octets);
}

bool isOwnRoute(const RoutingIpv4Forwarding& entry, std::string_view interfacePath) {
    return entry.Origin == "DHCP" && entry.Interface == interfacePath && entry.StaticRoute &&
           !entry.DestIPAddress.empty();
}

// The walk reads stored values and goes on by number, so that the deletions do not disturb it.
void deleteRoutesOf(std::string_view interfacePath) {
    for (auto& entry : storedInstances<RoutingIpv4Forwarding>()) {
        if (isOwnRoute(*entry, interfacePath)) {
            entry.remove();
        }
    }
}

Entry findRoute(const StaticRoute& route) {
    return findInstance<RoutingIpv4Forwarding>([&](const RoutingIpv4Forwarding& entry) {
        return entry.StaticRoute && !entry.X_VORAN_Excluded && entry.DestIPAddress == route.destination &&
               entry.DestSubnetMask == route.mask && entry.GatewayIPAddress == route.gateway &&
               entry.Interface == route.interfacePath;
    });
}

int deleteRoute(const Entry& entry) {
    logs::print("%s: start to delete static route\n", "tarnWanDhcpcSRouteConfig");
    const int code = entry.remove();
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s: fail to delete route object with ret=%d\n", "tarnWanDhcpcSRouteConfig", code);
    }
    return code;
}

Entry addEntry() {
    objIndex iid = instanceId({1});
    const int added = add<RoutingIpv4Forwarding>(iid);
    if (added != VCFG_OK) {
        logs::system(LOG_ERR, "%s: fail to add route instance with ret=%d\n", "tarnWanDhcpcSRouteConfig", added);
        return Entry(added, iid, nullptr, {__FILE__, __LINE__});
    }
    Entry entry = get<RoutingIpv4Forwarding>(iid);
    if (!entry) {
        logs::system(LOG_ERR, "%s: fail to get route object with ret=%d\n", "tarnWanDhcpcSRouteConfig", entry.code());
    }
    return entry;
}

int writeRoute(Entry entry, const StaticRoute& route) {
    entry->Enable = true;
    entry->Status = "Enabled";
    entry->Alias = "OP121-" + std::to_string(entry.instance());
    entry->DestIPAddress = route.destination;
    entry->DestSubnetMask = route.mask;
    entry->GatewayIPAddress = route.gateway;
    entry->ForwardingPolicy = entry.instance();
    entry->Interface = route.interfacePath;
    entry->Origin = "DHCP";
    const int code = entry.apply();
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s: fail to set route object with ret=%d\n", "tarnWanDhcpcSRouteConfig", code);
    }
    return code;
}

}  // namespace

Option121 parseOption121Routes(std::string_view text) {
    Option121 option;
    for (size_t i = 0; i + 1 < text.size() && option.size < option.bytes.size(); i += 2) {
        const int high = digitValue(text[i]);
        const int low = digitValue(text[i + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        option.bytes[option.size++] = static_cast<uint8_t>(high * 16 + low);
    }
    return option;
}

void tarnWanDhcpcOption121Apply(std::string_view interfacePath, const Option121& option, bool add) {
    if (add) {
        deleteRoutesOf(interfacePath);
    }
    const size_t stated = kData + option.bytes[1];
    const size_t end = std::min(stated, std::max(option.size, kData));
    size_t at = kData;
    while (at < end) {
        const uint8_t width = option.bytes[at];
        const size_t significant = (width + 7u) / 8u;
        if (width > kWidthMax || at + 1 + significant + kRouterSize > end) {
            break;
        }
        const uint8_t* const destination = &option.bytes[at + 1];
        const uint8_t* const router = destination + significant;
        at += 1 + significant + kRouterSize;
        if (width == 0) {
            continue;  // default routes are the DHCP client's own business
        }
        uint8_t network[4] = {};
        std::copy(destination, router, network);
        const StaticRoute route{dotted(network), maskOf(width), dotted(router), std::string(interfacePath)};
        if (const int code = tarnWanDhcpcSRouteConfig(route, add); code != VCFG_OK) {
            logs::system(LOG_ERR, "%s: fail to apply option121 with ret=%d\n", __func__, code);
        }
    }
    if (at < stated) {
        logs::system(LOG_ERR, "%s: bad route descriptor at byte %zu of option 121, ignoring it and the rest\n",
                     __func__, at);
    }
}

int tarnWanDhcpcSRouteConfig(const StaticRoute& route, bool add) {
    Entry entry = findRoute(route);
    if (!add) {
        if (!entry) {
            logs::system(LOG_ERR, "%s: fail to find route object !!\n", __func__);
            return VCFG_ERR_NOT_FOUND;
        }
        return deleteRoute(entry);
    }
    if (!entry) {
        entry = addEntry();
        if (!entry) {
            return entry.code();
        }
    }
    return writeRoute(std::move(entry), route);
}
