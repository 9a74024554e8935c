#include "link/optical.h"

#include <mutex>

#include "connection/wan_conn_update.h"
#include "core/json.h"
#include "core/log.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "link/internet_led.h"
#include "link/link_turn.h"
#include "link/wan_link_table.h"

namespace {

using Interface = Record<OpticalInterface>;

WanLinkInfo* firstOpticalLink() {
    WanLinkInfo* link = firstWanLink();
    while (link != nullptr && link->linkType != kLinkOptical) {
        link = link->next.get();
    }
    return link;
}

void setLink(WanLinkInfo& link, Interface& interface, bool up) {
    link.linkStatus = up ? 1 : 0;
    logs::system(LOG_INFO, "GPON Wan %s link %s\n", interface->Name.c_str(), up ? "up" : "down");
    interface->Status = up ? "Up" : "Down";
    interface.publish();
    wan.wanLinkDown = up ? 0 : 1;
    wanInternetLEDUpdate();
}

void stayUp(const Interface& interface) {
    logs::system(LOG_INFO, "GPON Wan %s link up to up case\n", interface->Name.c_str());
    wan.wanLinkDown = 0;
    wanInternetLEDUpdate();
}

// The connections are updated for a repeated "up", too: that is how the optical side starts them again.
void followService(WanLinkInfo& link, Interface& interface, bool serviceUp) {
    const bool wasUp = link.linkStatus == 1;
    if (!wasUp && !serviceUp) {
        return;
    }
    if (wasUp && serviceUp) {
        stayUp(interface);
    } else {
        setLink(link, interface, serviceUp);
    }
    tarnWanConnUpdate(path::of(path::kOpticalInterface, interface.instance()).c_str(), link.linkStatus, kLinkOptical);
}

void handleReport(const char* payload) {
    const Json report = Json::parse(payload);
    if (!report.valid()) {
        return;
    }
    const bool serviceUp = report.flag("serviceStatus");
    logs::system(LOG_INFO, "serviceStatus=%d\n", serviceUp);
    WanLinkInfo* const link = firstOpticalLink();
    if (link == nullptr) {
        return;
    }
    auto interface = getStored<OpticalInterface>(link->iid);
    if (!interface) {
        logs::system(LOG_INFO, "Can't find optical interface config object\n");
        return;
    }
    if (interface->Upstream) {
        followService(*link, interface, serviceUp);
    }
}

}  // namespace

void updateOpticalLinkStatus(const char* payload) {
    const std::lock_guard turn(linkTurn);
    logs::system(LOG_INFO, "Enter %s\n", __func__);
    if (payload != nullptr) {
        handleReport(payload);
    }
}
