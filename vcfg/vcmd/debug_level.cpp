#include "debug_level.h"

#include <cstring>

#include "client/bus_client.h"
#include "client/fe_wire.h"
#include "message.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

struct Daemon {
    const char* name;
    uint8_t eid;
};
constexpr Daemon kDaemons[] = {{"vcmd", VCFG_EID_VCMD}, {"tarn", VCFG_EID_TARN}};

void tell(const Daemon& daemon, int level) {
    const std::string payload = "{\"level\":" + std::to_string(level) + "}";
    const bus::MessagePtr message = newMessage(wire::kDebugConfig, daemon.eid, payload, true);
    if (message == nullptr) {
        return;
    }
    if (daemon.eid == VCFG_EID_VCMD) {
        voUtilHandleRecvdMsgDebugCfg(message.get());
    } else if (bus::deliverNow(*message) == VCFG_ERR_FULL) {
        VCMD_LOG(VLOG_WARNING, "endpoint %u is not told its log level: it does not read", daemon.eid);
    }
}

}  // namespace

bool isDebugLevel(std::string_view path) {
    return path.starts_with("X_VORAN_DebugLog.");
}

void tellDebugLevels(const store::Store& store) {
    objIndex iid{};
    const void* record = nullptr;
    while (store.next(RDM_OID_DEBUG_LOG, &iid, &record) == VCFG_OK) {
        DebugLog entry;
        memcpy(&entry, record, sizeof entry);
        for (const Daemon& daemon : kDaemons) {
            if (entry.Daemon == daemon.name) {
                tell(daemon, entry.Level);
            }
        }
    }
}

}  // namespace vcfg::vcmd
