#include "link/wwan_backup.h"

#include <string_view>

#include "core/log.h"
#include "core/mail_event.h"
#include "core/record.h"

namespace {

constexpr const char* kMailUp = "{\n\"Event\":\"MAILSEND_EVENT_3G_UP\"\n}";
constexpr const char* kMailDown = "{\n\"Event\":\"MAILSEND_EVENT_3G_DOWN\"\n}";

// Whether the backup is in use at all, and on this interface.
bool concerns(const WwanBackup& backup, const char* ipIfPath) {
    if (backup.Enable != 1) {
        logs::print("WWANBackup was disabled");
        return false;
    }
    if (backup.Status == "No Device") {
        logs::print("There are no 3G/LTE dongles...");
        return false;
    }
    return ipIfPath != nullptr && backup.Interface == ipIfPath;
}

void raiseMail(const WwanBackup& backup, uint8_t srcEid, uint32_t requestId) {
    if (backup.Status == "Up") {
        logs::print("WWAN is Up!");
        emailEventHandle(kMailUp, srcEid, requestId);
    } else if (backup.Status == "Down") {
        logs::print("WWAN is Down!");
        emailEventHandle(kMailDown, srcEid, requestId);
    }
}

}  // namespace

void check3GWanStatus(const char* ipIfPath, uint8_t srcEid, uint32_t requestId) {
    logs::system(LOG_INFO, "%s: Enter\n", __func__);
    const auto backup = get<WwanBackup>();
    if (!backup) {
        logs::system(LOG_INFO, "%s: Cannot get WWANBackup Obj!\n", __func__);
        return;
    }
    logs::print("enable: %d, status: %s, interface: %s, ipIfPath: %s\n", backup->Enable, backup->Status.c_str(),
                backup->Interface.c_str(), ipIfPath != nullptr ? ipIfPath : "(null)");
    if (concerns(*backup, ipIfPath)) {
        raiseMail(*backup, srcEid, requestId);
    }
}

void wanConnctionReadyHandle(const char* ipIfPath, uint32_t srcEid, uint32_t requestId) {
    logs::system(LOG_INFO, "%s: Enter\n", __func__);
    check3GWanStatus(ipIfPath, static_cast<uint8_t>(srcEid), requestId);
}

void wanConnctionLostHandle(const char* ipIfPath, uint32_t srcEid, uint32_t requestId) {
    logs::system(LOG_INFO, "%s: Enter\n", __func__);
    check3GWanStatus(ipIfPath, static_cast<uint8_t>(srcEid), requestId);
}
