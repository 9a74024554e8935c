#include <utility>

#include "connection/wan_conn_update.h"
#include "core/log.h"
#include "core/message.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "link/auto_hunt.h"
#include "link/internet_led.h"
#include "link/link_event.h"
#include "platform/dsl.h"
#include "platform/ethernet_wan.h"

namespace {

using Line = Record<DslLine>;

constexpr int32_t kWholeEthernetWan = 0;
constexpr size_t kPtmNameSize = 4;

enum class Change { None, CameUp, WentDown, EventOver };

int32_t modeOf(const DslLine& line) {
    return line.X_VORAN_LinkTypeIsATM ? kLinkDslAtm : kLinkDslPtm;
}

// With auto-detection the line carries the WAN now; with DSL first it shuts the others out.
void takeWan(int32_t mode) {
    if (wan.WANPriority == kAutoDetect) {
        wan.currWanLinkType = mode;
    } else if (wan.WANPriority == kDslFirst) {
        logs::print("[%s][%d] DSL is up, disable other wan type \n", kWalkName, __LINE__);
        tarnEthWanStatusChange(false, kWholeEthernetWan);
    }
}

Change comeUp(WanLinkInfo& link, const DslLine& line, const std::string& linePath) {
    const int32_t mode = modeOf(line);
    logs::system(LOG_INFO, "%s: XTM Link link up LinkTypeisATM:%d\n", kWalkName, line.X_VORAN_LinkTypeIsATM);
    handleXtmUpInit(static_cast<uint32_t>(mode), static_cast<uint32_t>(wan.lastXtmLinkMode.load()));
    wan.lastXtmLinkMode = mode;
    takeWan(mode);
    wan.isDslLinkUp = 1;
    link.linkStatus = 1;
    wan.wanLinkDown = 0;
    wanInternetLEDUpdate();
    if (AutoHuntProcess(mode, 1) != 0) {
        return Change::EventOver;
    }
    logDSLStreamRate(linePath.c_str(), mode);
    return Change::CameUp;
}

Change goDown(WanLinkInfo& link, const DslLine& line, const LinkEvent& event) {
    const int32_t mode = modeOf(line);
    logs::system(LOG_INFO, "%s: XTM Link link down LinkTypeisATM:%d\n", kWalkName, line.X_VORAN_LinkTypeIsATM);
    if (mode == kLinkDslPtm) {
        endPtm();
        removePtmVlanRules();
    }
    wan.isDslLinkUp = 0;
    link.linkStatus = 0;
    if (event.ethWanLinkUpCount == 0) {
        wan.wanLinkDown = 1;
    }
    wanInternetLEDUpdate();
    if (AutoHuntProcess(mode, 0) != 0) {
        return Change::EventOver;
    }
    if (wan.WANPriority == kDslFirst) {
        tarnEthWanStatusChange(true, kWholeEthernetWan);
    }
    logs::system(LOG_INFO, "xDSL: XTM link down.\n");
    return Change::WentDown;
}

Change followStatus(WanLinkInfo& link, const DslLine& line, const std::string& linePath, const LinkEvent& event) {
    const bool up = line.LinkStatus == "Up";
    if (link.linkStatus == 0 && up) {
        return comeUp(link, line, linePath);
    }
    if (link.linkStatus == 1 && !up) {
        return goDown(link, line, event);
    }
    return Change::None;
}

// With auto-detection, a line that went down while Ethernet carried the WAN lets the links be set up anew.
Then giveWanUp(int32_t mode) {
    if (wan.WANPriority != kAutoDetect) {
        return Then::NextLink;
    }
    if (wan.currWanLinkType == kLinkEthernet) {
        return WANAutoDetectEthStart() == -1 ? Then::End : Then::NextLink;
    }
    if (wan.currWanLinkType == mode) {
        wan.currWanLinkType = kLinkNone;
    }
    return Then::NextLink;
}

const char* encapsulation(int32_t mode) {
    return mode == kLinkDslAtm ? "G.992.3_Annex_K_ATM" : "G.992.3_Annex_K_PTM";
}

}  // namespace

Then updateDslLine(WanLinkInfo& link, LinkEvent& event) {
    const auto line = get<DslLine>(link.iid);
    if (!line) {
        logs::system(LOG_INFO, "Can't find dsl interface config object\n");
        return Then::NextLink;
    }
    const std::string linePath = path::of(path::kDslLine, line.instance());
    const Change change = followStatus(link, *line, linePath, event);
    if (change == Change::EventOver) {
        return Then::End;
    }
    if (change == Change::None) {
        return Then::NextLink;
    }
    tarnWanConnUpdate(linePath.c_str(), link.linkStatus, modeOf(*line));
    return change == Change::WentDown ? giveWanUp(modeOf(*line)) : Then::NextLink;
}

int32_t WANAutoDetectEthStart() {
    logs::system(LOG_INFO, "%s: dsl link down, and ethnet link is going to be activated !!!\n", __func__);
    MessagePtr request = newRequest(VCFG_MSG_INIT_WAN_LINK_INFO, VCFG_EID_TARN);
    if (request == nullptr) {
        return -1;
    }
    const int result = deliver(std::move(request));
    if (result != VCFG_DELIVERED) {
        VLOG(VLOG_ERROR, "fail to send VCFG_MSG_INIT_WAN_LINK_INFO to TARN with ret = %d", result);
        return -1;
    }
    return 0;
}

void logDSLStreamRate(const char* dslLinePath, int32_t mode) {
    if (dslLinePath == nullptr) {
        logs::print("%s() <<Error>> dslLinePath is NULL!\n", __func__);
        return;
    }
    if (mode != kLinkDslAtm && mode != kLinkDslPtm) {
        return;
    }
    // The line has to be named as a whole: the channel of "DSL.Line.12" is none of "DSL.Line.1".
    const auto channel = findInstance<DslChannel>([&](const DslChannel& candidate) {
        return path::occursIn(candidate.LowerLayers, dslLinePath) &&
               candidate.LinkEncapsulationUsed == encapsulation(mode);
    });
    logs::system(LOG_INFO, "xDSL: link up, Connection Type: %s, Speed: RX:%u / TX:%u (Kbps)\n",
                 mode == kLinkDslAtm ? "ATM" : "PTM", channel ? channel->DownstreamCurrRate : 0,
                 channel ? channel->UpstreamCurrRate : 0);
}

void removePtmVlanRules() {
    int count = 0;
    std::string device;
    for (const auto& interface : instances<IpInterface>()) {
        if (interface->X_VORAN_IfName.startsWith("ptm")) {
            count += 1;
            device = interface->X_VORAN_IfName.view().substr(0, kPtmNameSize);
        }
    }
    for (int rule = 0; rule < count; ++rule) {
        removePtmVlanRule(device, rule);
    }
}
