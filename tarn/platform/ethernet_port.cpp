#include "platform/ethernet_port.h"

#include <algorithm>
#include <optional>
#include <string>

#include "core/log.h"
#include "core/os.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "platform/dsl.h"
#include "platform/port_names.h"

namespace {

struct PortEvent {
    std::string_view name;
    std::string_view status;
    std::string_view speed;
    std::string_view duplex;
};

// The next field; runs of ':' count as one, so a field is never empty unless the text is over.
std::string_view takeField(std::string_view& rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(':'), rest.size()));
    const std::string_view field = rest.substr(0, rest.find(':'));
    rest.remove_prefix(field.size());
    return field;
}

std::optional<PortEvent> parsePortEvent(const char* text) {
    std::string_view rest = text != nullptr ? text : "";
    PortEvent event{};
    event.name = takeField(rest);
    event.status = takeField(rest);
    event.speed = takeField(rest);
    event.duplex = takeField(rest);
    if (event.duplex.empty()) {
        VLOG(VLOG_WARNING, "port event \"%.64s\" has fewer than four fields, no port is changed",
             text != nullptr ? text : "");
        return std::nullopt;
    }
    return event;
}

const char* duplexMode(std::string_view duplex, int32_t rate) {
    if (duplex == "F") {
        return "Full";
    }
    if (duplex == "H") {
        return "Half";
    }
    if (rate == 1000) {
        return "Full";
    }
    return rate == 100 || rate == 10 ? "Half" : "Auto";
}

void setStatus(EthernetInterface& port, const char* status) {
    if (!(port.Status == status)) {
        port.LastChange = os::uptimeSeconds().value_or(port.LastChange);
    }
    port.Status = status;
}

void describePort(EthernetInterface& port, std::string_view status, std::string_view speed, std::string_view duplex) {
    if (status == "up") {
        setStatus(port, "Up");
        port.MaxBitRate = port::bitRate(speed);
        port.DuplexMode = duplexMode(duplex, port.MaxBitRate);
    } else {
        setStatus(port, "Down");
        port.MaxBitRate = -1;
        port.DuplexMode = "Auto";
    }
}

std::optional<std::string> bridgePortPath(std::string_view name) {
    const auto port = findInstance<BridgePort>(
        [name](const BridgePort& candidate) { return port::same(candidate.X_VORAN_IfName, name); });
    if (!port) {
        return std::nullopt;
    }
    return path::of(path::of("Bridging.Bridge.", port.iid().idx[0]) + ".Port.", port.iid().idx[1]);
}

void restoreBridge(Record<BridgeFilter>& filter) {
    filter->Bridge = filter->X_VORAN_PreviousBridge.view();
    filter->X_VORAN_PreviousBridge = "";
    if (filter.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set BridgeFilter fail\n", "removeIfaceGroup");
    }
}

}  // namespace

int32_t updateLanLinkStatus(const char* event) {
    logs::system(LOG_INFO, "%s: msgData: %s\n", __func__, event != nullptr ? event : "no msgData");
    const auto port = parsePortEvent(event);
    if (!port) {
        return 0;
    }
    setEthIntfInfo(port->name, port->status, port->speed, port->duplex);
    if (port->status == "down") {
        removeIfaceGroup(port->name);
        igmpsnoopingEthPortStat(port->name);
    }
    return 0;
}

void updateETHWANStatus(const char* event) {
    if (const auto port = parsePortEvent(event)) {
        setEthIntfInfo(port->name, port->status, port->speed, port->duplex);
    }
}

void setEthIntfInfo(std::string_view name, std::string_view status, std::string_view speed, std::string_view duplex) {
    for (auto& port : instances<EthernetInterface>()) {
        if (!(port->Name == name)) {
            continue;
        }
        describePort(*port, status, speed, duplex);
        logs::system(LOG_INFO, "%s: setEthIfaceObj: %s, %s\n", __func__, port->Name.c_str(), port->Status.c_str());
        if (port.publish() == VCFG_OK) {
            return;
        }
        logs::system(LOG_ERR, "%s\n", __func__);
    }
}

int32_t removeIfaceGroup(std::string_view name) {
    const auto portPath = bridgePortPath(name);
    if (!portPath) {
        return 0;
    }
    auto filter =
        findInstance<BridgeFilter>([&](const BridgeFilter& candidate) { return candidate.Interface == *portPath; });
    if (filter && !filter->X_VORAN_PreviousBridge.empty()) {
        restoreBridge(filter);
    }
    return 0;
}

uint8_t handleWANAutoDetectETH() {
    const int32_t carrier = wan.currWanLinkType;
    if (carrier != kLinkEthernet && carrier != kLinkNone) {
        logs::system(LOG_INFO, "%s: ethernet link up, shut down dsl\n", __func__);
        closeDsl();
        wan.currWanLinkType = kLinkEthernet;
        return 0;
    }
    logs::system(LOG_INFO, "%s: physical linkup mode is ethernet\n", __func__);
    if (carrier == kLinkNone) {
        closeDsl();
    }
    wan.currWanLinkType = kLinkEthernet;
    return 1;
}

int32_t handleWANAutoDetectETHDown() {
    return openDsl();
}

void updateWANEthIfaceObjStatus(const objIndex&, const EthernetInterface&) {}
