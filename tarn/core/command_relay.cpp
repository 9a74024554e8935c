#include "core/command_relay.h"

#include <string>

#include "core/log.h"
#include "core/record.h"
#include "core/shell.h"

namespace {

constexpr size_t kCommandMax = 256;

// Little-endian, as on the wire; bytes that did not arrive count as 0.
uint32_t firstWord(std::string_view payload) {
    uint32_t word = 0;
    for (size_t i = 0; i < sizeof word && i < payload.size(); ++i) {
        word |= static_cast<uint32_t>(static_cast<uint8_t>(payload[i])) << (8 * i);
    }
    return word;
}

}  // namespace

int process_vosh_cmd(std::string_view payload) {
    logs::system(LOG_ERR, "%s:no command here = %d\n", __func__, static_cast<int32_t>(firstWord(payload)));
    return VCFG_OK;
}

bool runFakerootCommand(std::string_view payload) {
    if (payload.size() > kCommandMax) {
        VLOG(VLOG_ERROR, "invalid msgHdr->length = %d, should be less then %d", static_cast<int>(payload.size()),
             static_cast<int>(kCommandMax));
        return false;
    }
    run(std::string(payload.substr(0, payload.find('\0'))));
    return true;
}

void runFakerootVocliCommand(const char* payload) {
    if (payload == nullptr || vos_system(1, payload) != 1) {
        VLOG(VLOG_ERROR, "fail to run system()");
    }
}

void feNTPSync() {
    logs::system(LOG_INFO, "%s: Enter \n", __func__);
    if (const auto time = get<Time>()) {
        time.apply();
    }
}
