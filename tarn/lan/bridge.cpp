#include "lan/bridge.h"

#include <string>

#include "core/path.h"
#include "core/record.h"

namespace {

template <class T>
Record<T> onTopOf(std::string_view layer) {
    return findInstance<T>([&](const T& candidate) { return candidate.LowerLayers == layer; });
}

}  // namespace

uint32_t isLowerLayerBridged(std::string_view lowerLayer) {
    const auto port = onTopOf<BridgePort>(lowerLayer);
    if (!port) {
        return 0;
    }
    const auto link = onTopOf<EthernetLink>(path::of(path::kBridge, port.iid().idx[0]) + ".Port.1");
    if (!link) {
        return 0;
    }
    const auto interface = onTopOf<IpInterface>(path::of(path::kEthernetLink, link.instance()));
    return interface && interface->X_VORAN_ConnectionType == "IP_Bridged" ? 1 : 0;
}
