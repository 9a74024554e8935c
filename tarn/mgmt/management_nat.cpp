#include "mgmt/management_nat.h"

#include <string_view>

#include "core/log.h"
#include "core/record.h"

namespace {

// The start of a text that is at most `limit` bytes long and ends behind a whole character.
std::string_view wholeCharacters(std::string_view text, size_t limit) {
    size_t end = text.size();
    if (end > limit) {
        end = limit;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
            --end;
        }
    }
    return text.substr(0, end);
}

void writeNat(bool detected, std::string_view address, const char* function) {
    auto server = get<ManagementServer>();
    if (!server) {
        logs::system(LOG_ERR, "%s(): vcfgFeObjStructGet fail!", function);
        return;
    }
    server->NATDetected = detected;
    server->UDPConnectionRequestAddress =
        wholeCharacters(address, decltype(ManagementServer::UDPConnectionRequestAddress)::capacity);
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
