#include "link/wan_link_status.h"

#include <strings.h>

#include <algorithm>
#include <mutex>
#include <string_view>

#include "connection/wan_conn_update.h"
#include "core/log.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "link/internet_led.h"
#include "link/link_event.h"
#include "link/link_turn.h"
#include "platform/ethernet_port.h"
#include "platform/port_names.h"

namespace {

constexpr size_t kInterfaceSize = 31;

// "eth0.5:up:1000:F". Events of DSL devices name no Ethernet interface.
void parsePayload(LinkEvent& event) {
    const std::string_view text = event.payload;
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return;
    }
    event.interface = text.substr(0, std::min(colon, kInterfaceSize));
    event.up = strncasecmp(event.payload + colon + 1, "up", 2) == 0;
    if (port::isDslDevice(event.interface)) {
        event.interface.clear();
    }
}

LinkEvent readEvent(const char* payload, bool checkVlanHunt) {
    LinkEvent event{};
    event.payload = payload;
    event.checkVlanHunt = checkVlanHunt;
    if (payload != nullptr && *payload != '\0') {
        logs::print("%s %d:MMMMMMMMMMMMMMMMM payload: %s !!\n", kWalkName, __LINE__, payload);
        parsePayload(event);
        logs::print("[TARN]: interface: %s, status: %s\n", event.interface.c_str(), event.up ? "UP" : "DOWN");
    }
    return event;
}

// The last Ethernet link went down in this walk, and the walk has come to the other links.
bool mustFallBackToDsl(const WanLinkInfo& link, const LinkEvent& event) {
    return event.ethernetSeen > 0 && event.ethernetUp == 0 && event.ethernetWentDown &&
           link.linkType != kLinkEthernet && wan.WANPriority == kAutoDetect && event.ethWanLinkUpCount == 0;
}

void fallBackToDsl() {
    logs::system(LOG_INFO, "%s: ethernet link down, activate dsl\n", kWalkName);
    handleWANAutoDetectETHDown();
    wan.currWanLinkType = kLinkNone;
    wan.isSfpWanLinkUp = 0;
}

// What an optical and a USB link differ in.
struct PlainLink {
    int32_t type;
    std::string_view table;
    const char* object;  // in the line about a missing object
    const char* name;    // in the line about a change
    std::atomic<uint8_t>& linkDown;
};

// True when the entry's state changed.
template <class Interface>
bool followStatus(WanLinkInfo& link, const Record<Interface>& interface, const PlainLink& kind) {
    const bool up = interface->Status == "Up";
    if (up == (link.linkStatus == 1)) {
        return false;
    }
    link.linkStatus = up ? 1 : 0;
    logs::system(LOG_INFO, "%s Wan %s link %s\n", kind.name, interface->Name.c_str(), up ? "up" : "down");
    kind.linkDown = up ? 0 : 1;
    wanInternetLEDUpdate();
    return true;
}

template <class Interface>
void updatePlainLink(WanLinkInfo& link, const PlainLink& kind) {
    const auto interface = get<Interface>(link.iid);
    if (!interface) {
        logs::system(LOG_INFO, "Can't find %s interface config object\n", kind.object);
        return;
    }
    if (interface->Upstream && followStatus(link, interface, kind)) {
        tarnWanConnUpdate(path::of(kind.table, link.iid.idx[0]).c_str(), link.linkStatus, kind.type);
    }
}

Then updateLink(WanLinkInfo& link, LinkEvent& event) {
    switch (link.linkType) {
        case kLinkEthernet:
            return updateEthernetLink(link, event);
        case kLinkDslLine:
            return updateDslLine(link, event);
        case kLinkOptical:
            updatePlainLink<OpticalInterface>(
                link, {kLinkOptical, path::kOpticalInterface, "optical", "GPON", wan.wanLinkDown});
            return Then::NextLink;
        case kLinkUsb:
            updatePlainLink<UsbInterface>(link,
                                          {kLinkUsb, path::kUsbInterface, "usb", "Wireless", wan.wirelessWanLinkDown});
            return Then::NextLink;
        default:
            logs::system(LOG_ERR, "Unknown link type\n");
            return Then::NextLink;
    }
}

}  // namespace

void updateWanLinkStatus(const char* payload, bool checkVlanHunt) {
    const std::lock_guard turn(linkTurn);
    LinkEvent event = readEvent(payload, checkVlanHunt);
    for (WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        logs::system(LOG_INFO, "%s: linkInfo iface name: %s\n", kWalkName, link->ifaceName.c_str());
        if (mustFallBackToDsl(*link, event)) {
            fallBackToDsl();
            return;
        }
        if (updateLink(*link, event) == Then::End) {
            return;
        }
    }
}
