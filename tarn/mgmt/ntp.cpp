#include "mgmt/ntp.h"

#include <cstring>
#include <string_view>

#include "core/log.h"
#include "core/message.h"
#include "core/record.h"

namespace {

constexpr uint32_t kAgentPatienceMs = 3000;  // an agent that stopped reading must not stop the endpoint that told it

bool isUnknown(std::string_view date) {
    return date.empty() || date == "0001-01-01T00:00:00Z";
}

bool store(Record<DeviceInfo>& device, std::string_view date) {
    if (date.empty() || date.size() > decltype(DeviceInfo::FirstUseDate)::capacity) {
        return false;
    }
    device->FirstUseDate = date;
    return device.publish() == VCFG_OK;
}

// A date that was once stored is never replaced. One that is refused leaves the flag clear: the next report may bring
// a better one.
void recordFirstUse(std::string_view date) {
    if (firstUseDateDone) {
        return;
    }
    auto device = getStored<DeviceInfo>();
    if (!device) {
        return;
    }
    if (!isUnknown(device->FirstUseDate) || store(device, date)) {
        firstUseDateDone = true;
    } else {
        VLOG(VLOG_ERROR, "the first-use date is not stored, the report said \"%.*s\"", static_cast<int>(date.size()),
             date.data());
    }
}

}  // namespace

std::atomic<bool> firstUseDateDone{false};

int tarnNtpUpdate(const char* payload) {
    recordFirstUse(payload != nullptr ? payload : "");
    return tarn_send_ntp_sync_tr69(VCFG_MSG_NTP_SYNC_SUCCESS, 0, nullptr);
}

int tarn_send_ntp_sync_tr69(uint32_t type, uint16_t dataLen, const char* data) {
    MessagePtr notice = newRequest(type, VCFG_EID_TR069, dataLen);
    if (notice == nullptr) {
        return VCFG_ERR_FAIL;
    }
    notice->length = dataLen;
    if (data != nullptr) {
        memcpy(vcfg_msg_payload(notice.get()), data, dataLen);
    }
    return vcfg_msg_sendAndGetReply(notice.release(), nullptr, kAgentPatienceMs);
}
