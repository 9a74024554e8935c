#include "mgmt/management_nat.h"

#include <string_view>

#include "core/log.h"
#include "core/record.h"

namespace {

void writeNat(bool detected, std::string_view address, const char* function) {
    auto server = get<ManagementServer>();
    if (!server) {
        logs::system(LOG_ERR, "%s(): vcfgFeObjStructGet fail!", function);
        return;
    }
    server->NATDetected = detected;
    server->UDPConnectionRequestAddress = address;
    if (server.applyAndWait() != VCFG_OK) {
        logs::system(LOG_ERR, "%s(): set obj ManagementServer fail!", function);
    }
}

}  // namespace

void mgmtNatDetect(const char* payload) {
    if (payload == nullptr) {
        logs::system(LOG_ERR, "%s(): msg == NULL!!", __func__);
        return;
    }
    writeNat(true, payload, __func__);
}

void mgmtNatClear() {
    writeNat(false, "", __func__);
}
