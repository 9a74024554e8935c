#include "link/auto_hunt.h"

#include <optional>
#include <string>
#include <utility>

#include "core/log.h"
#include "core/message.h"
#include "core/record.h"
#include "core/wan_state.h"
#include "platform/services.h"

namespace {

constexpr int32_t kGoOn = 0;
constexpr int32_t kNotStopped = 1;
constexpr int32_t kHuntRuns = 2;
constexpr size_t kHuntPathSize = 47;

void trace(int line) {
    logs::print("%s():%d\n", "AutoHuntProcess", line);
}

// What became of a request to a hunting daemon, VCFG_DELIVERED when it has it; nothing when memory was short.
std::optional<int> sendToHunter(uint32_t type, uint8_t eid) {
    MessagePtr request = newRequest(type, eid);
    if (request == nullptr) {
        return std::nullopt;
    }
    return deliver(std::move(request));
}

// Whether the hunting daemon took the request; what failed is logged under the caller's name.
bool delivered(uint32_t type, uint8_t eid, const char* hunter, const char* caller) {
    const auto result = sendToHunter(type, eid);
    if (result && *result != VCFG_DELIVERED) {
        logs::system(LOG_ERR, "%s: fail to send message to %s with ret=%d\n", caller, hunter, *result);
    }
    return result == VCFG_DELIVERED;
}

int32_t stopVcHunt() {
    if (wan.isVcAutoHuntRunnig == 0) {
        return kGoOn;
    }
    logs::system(LOG_INFO, "%s: stop vcautohunt !!!\n", "AutoHuntProcess");
    if (!delivered(VCFG_MSG_VC_HUNT_STOP, VCFG_EID_VCAUTOHUNT, "VCAUTOHUNT", "AutoHuntProcess")) {
        return kNotStopped;
    }
    wan.isVcAutoHuntRunnig = 0;
    return kGoOn;
}

int32_t startVcHunt() {
    if (wan.isVcAutoHuntRunnig == 0 && isVcAutoHuntEnable() == 0) {
        return kGoOn;
    }
    logs::system(LOG_INFO, "%s: vcautohunt is going to processing !! tarn pending !!\n", "AutoHuntProcess");
    return kHuntRuns;
}

// A hunt whose enable flag was cleared meanwhile is not stopped, and still counts as running: who cleared the flag
// stops it.
int32_t stopVlanHunt() {
    if (wan.isVlanAutoHuntRunnig == 0) {
        return kGoOn;
    }
    const auto hunt = get<VlanAutoHunt>();
    if (!hunt || !hunt->Enable) {
        return kGoOn;
    }
    logs::system(LOG_INFO, "%s: stop vlanautohunt !!!\n", "AutoHuntProcess");
    if (!delivered(VCFG_MSG_VLAN_HUNT_STOP, VCFG_EID_VLANAUTOHUNT, "VLANAUTOHUNT", "AutoHuntProcess")) {
        return kNotStopped;
    }
    wan.isVlanAutoHuntRunnig = 0;
    return kGoOn;
}

int32_t startVlanHunt() {
    if (wan.isVlanAutoHuntRunnig == 0 && isVlanAutoHuntEnable() == 0) {
        return kGoOn;
    }
    logs::system(LOG_INFO, "%s: vlanAutohunt is going to processing !! tarn pending !!\n", "AutoHuntProcess");
    return kHuntRuns;
}

int32_t handOver(int32_t linkType, bool up) {
    switch (linkType) {
        case kLinkDslAtm:
            return up ? startVcHunt() : stopVcHunt();
        case kLinkDslPtm:
        case kLinkEthernet:
            return up ? startVlanHunt() : stopVlanHunt();
        default:
            return kGoOn;
    }
}

bool namesIpInterface(const VlanAutoHuntInterface& entry) {
    const std::string interfacePath(entry.Interface.view().substr(0, kHuntPathSize));
    const auto instance = path::instance(path::kIpInterface, interfacePath);
    if (instance && get<IpInterface>(instanceId({*instance}))) {
        return true;
    }
    logs::print("%s(%d) RDM IP Interface get Fail, %s\n", "isVlanHuntInterfaceMatch", __LINE__, interfacePath.c_str());
    return false;
}

}  // namespace

int32_t AutoHuntProcess(int32_t linkType, uint8_t linkStatus) {
    trace(__LINE__);
    const int32_t result = handOver(linkType, linkStatus != 0);
    if (result == kGoOn) {
        trace(__LINE__);
    }
    return result;
}

uint8_t isVcAutoHuntEnable() {
    const auto hunt = get<VcAutoHunt>();
    if (!hunt) {
        logs::system(LOG_ERR, "%s: fail to get autoHuntObj with ret=%d\n", __func__, hunt.code());
        return 0;
    }
    if (!hunt->Enable) {
        endHunt("vcautohunt");
        return 0;
    }
    if (wan.isAutoHuntFinished == 1 ||
        !delivered(VCFG_MSG_VC_HUNT_START, VCFG_EID_VCAUTOHUNT, "VCAUTOHUNT", __func__)) {
        return 0;
    }
    logs::print("%s: vcautohunt is running !!\n", __func__);
    wan.isVcAutoHuntRunnig = 1;
    return 1;
}

uint8_t isVlanAutoHuntEnable() {
    const auto hunt = get<VlanAutoHunt>();
    if (!hunt) {
        logs::system(LOG_ERR, "%s: fail to get autoHuntObj with ret=%d\n", __func__, hunt.code());
        return 0;
    }
    if (!hunt->Enable) {
        endHunt("vlanautohunt");
        return 0;
    }
    if (wan.isAutoHuntFinished == 1) {
        return 0;
    }
    if (isVlanHuntInterfaceMatch() != 1) {
        logs::print("%s(%d) no match ipiface config\n", __func__, __LINE__);
        return 0;
    }
    if (!delivered(VCFG_MSG_VLAN_HUNT_START, VCFG_EID_VLANAUTOHUNT, "VLANAUTOHUNT", __func__)) {
        return 0;
    }
    logs::print("%s: vlanautohunt is running !!\n", __func__);
    wan.isVlanAutoHuntRunnig = 1;
    return 1;
}

uint8_t isVlanHuntInterfaceMatch() {
    uint8_t match = 0;
    for (const auto& entry : instances<VlanAutoHuntInterface>()) {
        if (namesIpInterface(*entry)) {
            match = 1;
        }
    }
    return match;
}
