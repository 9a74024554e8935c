#include "lan/wps_status.h"

#include "core/json.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"
#include "lan/wps_session.h"

namespace {

constexpr int32_t kExceptionCode = -20;

void write(uint32_t oid, objIndex iid, const char* parameter, const char* text, WpsWriteMode mode,
           uint32_t requestType) {
    Json values = Json::object();
    values.set(parameter, text);
    if (mode == kWpsWriteResult) {
        values.set("WPSRunning", false);
    }
    vcfgFeObjWrite(oid, &iid, values.toText().c_str(), requestType, nullptr);
}

// Why there is no good answer; null when there is one.
const char* troubleWith(int32_t result, const vcfg_msg_t* reply) {
    if (result != VCFG_OK) {
        return "DeviceBusy, msg send/response error!";
    }
    if (reply == nullptr) {
        return "DeviceBusy, no reply msg!";
    }
    if (static_cast<int32_t>(reply->statCode) == kExceptionCode) {
        return "DeviceException, wps reply error!";
    }
    return isRefusal(reply) ? "DeviceBusy, wps reply error!" : nullptr;
}

// What the wireless daemon's status means; null when there is nothing to say.
const char* meaningOf(int32_t wpsStatus) {
    switch (wpsStatus) {
        case kWpsNoStatus:
            return "DeviceBusy, no wps status reply!";
        case kWpsNotRunning:
            return "DeviceException, wps not running!";
        case kWpsInProgress:
            return nullptr;
        case kWpsOk:
            return "NoError, WPS ok!";
        default:
            return wpsStatus > kWpsOk ? "DeviceBusy" : nullptr;
    }
}

}  // namespace

void wpsApWriteRunningStatus(const char* text, WpsWriteMode mode, uint32_t wpsIndex) {
    VLOG(VLOG_DEBUG, "%s: write WPSRunningStatus: %s\n", __func__, text);
    const uint32_t requestType = mode == kWpsWriteTimeout ? VCFG_FE_WRITE_APPLY : VCFG_FE_WRITE_NO_APPLY;
    write(RDM_OID_WIFI_AP_WPS, instanceId({static_cast<uint8_t>(wpsIndex)}), "X_VORAN_WPSRunningStatus", text, mode,
          requestType);
}

void wpsWriteRunningStatus(const char* text, WpsWriteMode mode) {
    VLOG(VLOG_DEBUG, "%s: write WPSRunningStatus: %s\n", __func__, text);
    write(RDM_OID_WPS, noInstance(), "WPSRunningStatus", text, mode, VCFG_FE_WRITE_NO_APPLY);
}

bool isRefusal(const vcfg_msg_t* reply) {
    return reply != nullptr && reply->statCode > 1;
}

void writeStatusResult(int32_t result, const vcfg_msg_t* reply, int32_t wpsStatus, uint32_t wpsIndex) {
    for (const char* const text : {troubleWith(result, reply), meaningOf(wpsStatus)}) {
        if (text != nullptr) {
            wpsApWriteRunningStatus(text, kWpsWriteResult, wpsIndex);
        }
    }
}
