#include <algorithm>

#include "connection/wan_conn_update.h"
#include "core/log.h"
#include "core/os.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "link/auto_hunt.h"
#include "link/internet_led.h"
#include "link/link_event.h"
#include "platform/ethernet_port.h"
#include "platform/ethernet_wan.h"

namespace {

using Port = Record<EthernetInterface>;

constexpr bool kEnable = true;
constexpr bool kDisable = false;
constexpr int32_t kCopperPort = 1;
constexpr int32_t kSfpPort = 2;
constexpr uint8_t kPortHuntedAnyway = 5;  // this instance comes up without the look at VLAN auto-hunt

enum class Change { None, Made, EventOver };

// The kernel's event is newer than what the data model says.
void takeStatusFromEvent(Port& port, const LinkEvent& event) {
    if (event.interface.empty() || !(port->Name == event.interface)) {
        return;
    }
    logs::print("[TARN]: change interface %s status to %s\n", port->Name.c_str(), event.up ? "UP" : "DOWN");
    port->Status = event.up ? "Up" : "Down";
    updateETHWANStatus(event.payload);
}

bool sfpPortWins(const WanLinkInfo& link) {
    return wan.EthWANPriority == 1 && link.isSFP;
}
bool copperPortWins(const WanLinkInfo& link) {
    return wan.EthWANPriority == 0 && !link.isSFP;
}

// The port that came up is the preferred one: the other is switched off.
void disableOtherPort(const WanLinkInfo& link) {
    wan.isSfpWanLinkUp = link.isSFP;
    if (sfpPortWins(link)) {
        logs::print("[%s][%d]disable ethwan port\n", kWalkName, __LINE__);
        tarnEthWanStatusChange(kDisable, kCopperPort);
    } else if (copperPortWins(link)) {
        logs::print("[%s][%d]disable SFP port\n", kWalkName, __LINE__);
        tarnEthWanStatusChange(kDisable, kSfpPort);
    }
}

// The preferred port went down: the other gets its chance. The copper port's turn leaves no line, and none of this asks
// whether there is an SFP port at all.
void enableOtherPort(const WanLinkInfo& link) {
    if (sfpPortWins(link)) {
        logs::print("[%s][%d]enable ethwan port\n", kWalkName, __LINE__);
        tarnEthWanStatusChange(kEnable, kCopperPort);
    } else if (copperPortWins(link)) {
        tarnEthWanStatusChange(kEnable, kSfpPort);
    }
}

bool vlanHuntIsEnabled() {
    const auto hunt = get<VlanAutoHunt>();
    if (!hunt || !hunt->Enable) {
        return false;
    }
    logs::print("%s: vlan auto hunt is enabled, skip auto hunt process\n", kWalkName);
    return true;
}

void noteChange(Port& port, const char* direction) {
    logs::system(LOG_INFO, "Ethernet Wan %s link %s\n", port->Name.c_str(), direction);
    port->LastChange = os::uptimeSeconds().value_or(port->LastChange);
    port->X_VORAN_LastChangeCounter = 0;
}

Change comeUp(WanLinkInfo& link, Port& port, LinkEvent& event) {
    logs::print("%s: Ethernet Link link up\n", kWalkName);
    event.ethWanLinkUpCount += 1;
    link.linkStatus = 1;
    wan.isSfpWanLinkUp = link.isSFP;
    wan.wanLinkDown = 0;
    wanInternetLEDUpdate();
    if (wan.WANPriority == kAutoDetect && handleWANAutoDetectETH() != 1) {
        return Change::EventOver;
    }
    if (wan.WANPriority == kEthernetKept) {
        wan.currWanLinkType = kLinkNone;
    }
    if (wan.supportSFP) {
        disableOtherPort(link);
    }
    if (event.checkVlanHunt && port.instance() != kPortHuntedAnyway && vlanHuntIsEnabled()) {
        return Change::EventOver;
    }
    if (AutoHuntProcess(kLinkEthernet, 1) != 0) {
        return Change::EventOver;
    }
    noteChange(port, "up");
    return Change::Made;
}

Change goDown(WanLinkInfo& link, Port& port, LinkEvent& event) {
    logs::print("%s: Ethernet Link link down\n", kWalkName);
    event.ethWanLinkUpCount = std::max(event.ethWanLinkUpCount - 1, 0);
    event.ethernetWentDown = true;
    wan.isSfpWanLinkUp = 0;
    logs::print("[%s][%d]isDslLinkUp=[%d]\n", kWalkName, __LINE__, wan.isDslLinkUp.load());
    if ((wan.isDslLinkUp != 1 && wan.WANPriority == kDslFirst) || wan.WANPriority == kAutoDetect) {
        enableOtherPort(link);
    }
    link.linkStatus = 0;
    if (wan.isDslLinkUp != 1 && event.ethWanLinkUpCount == 0) {
        wan.wanLinkDown = 1;
    }
    wanInternetLEDUpdate();
    if (event.checkVlanHunt && vlanHuntIsEnabled()) {
        return Change::EventOver;
    }
    if (AutoHuntProcess(kLinkEthernet, 0) != 0) {
        return Change::EventOver;
    }
    noteChange(port, "down");
    return Change::Made;
}

Change followStatus(WanLinkInfo& link, Port& port, LinkEvent& event) {
    const bool up = port->Status == "Up";
    if (link.linkStatus == 0 && up) {
        return comeUp(link, port, event);
    }
    if (link.linkStatus == 1 && !up) {
        return goDown(link, port, event);
    }
    return Change::None;
}

}  // namespace

Then updateEthernetLink(WanLinkInfo& link, LinkEvent& event) {
    auto port = get<EthernetInterface>(link.iid);
    if (!port) {
        logs::system(LOG_INFO, "Can't find wan eth interface config object\n");
        return Then::NextLink;
    }
    if (!port->Upstream) {
        return Then::NextLink;
    }
    takeStatusFromEvent(port, event);
    event.ethernetSeen += 1;
    event.ethernetUp += port->Status == "Up" ? 1 : 0;

    const Change change = followStatus(link, port, event);
    if (change == Change::EventOver) {
        return Then::End;
    }
    if (change == Change::Made) {
        tarnWanConnUpdate(path::of(path::kEthernetInterface, port.instance()).c_str(), link.linkStatus, kLinkEthernet);
        updateWANEthIfaceObjStatus(port.iid(), *port);
    }
    return Then::NextLink;
}
