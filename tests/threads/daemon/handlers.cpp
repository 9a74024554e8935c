#include "handlers.h"

#include <vcfg/msg_types.h>

#include <algorithm>

namespace {

constexpr size_t kLongText = 4000;
constexpr int kDeep = 500;
constexpr objIndex kNobody{1, {77}};

struct Row {
    uint32_t type;
    const char* name;
};

// Written by the build from the table itself, so that a new row is stressed too.
constexpr Row kRows[] = {
#include "dispatched.inc"
};

std::string wordOf(const char* text) {
    return std::string(text) + '\0';
}

// Payloads become commands here, not all of which a test can catch.
bool runsItsPayload(uint32_t type) {
    return type == VCFG_MSG_FAKEROOT_SHELL_COMMAND || type == VCFG_MSG_FAKEROOT_VOCLI_COMMAND;
}

// Answered at once when there is no such connection; who waits for one is somebody else.
bool isConnectionCommand(uint32_t type) {
    return type >= VCFG_MSG_WAN_PPP_DISCONNECT && type <= VCFG_MSG_WAN_IP_RENEW;
}

bool isAlwaysAnswered(uint32_t type) {
    return isConnectionCommand(type) || type == VCFG_MSG_FAKEROOT_SYS_COMMAND ||
           type == VCFG_MSG_FAKEROOT_SHELL_COMMAND;
}

std::vector<std::string> oddPayloads() {
    std::string deep;
    for (int level = 0; level < kDeep; ++level) {
        deep += "{\"a\":[";
    }
    return {wordOf("{}"), wordOf("[]"), wordOf("7"), "", "{\"", std::string("\0{\0}\0", 5), std::string(kLongText, 'x'),
            deep};
}

std::vector<std::string> payloadsFor(uint32_t type) {
    return runsItsPayload(type) ? std::vector<std::string>{wordOf("true"), "false", wordOf("exit 3")} : oddPayloads();
}

std::vector<Event> eventsFor(uint32_t type) {
    std::vector<Event> events;
    for (const std::string& payload : payloadsFor(type)) {
        events.push_back(
            {type, payload, 0, isAlwaysAnswered(type), isConnectionCommand(type) ? kNobody : objIndex{1, {2}}});
    }
    for (const PayloadSeeds& seeds : kPayloadSeeds) {
        if (seeds.runsItsPayload || std::find(seeds.types.begin(), seeds.types.end(), type) == seeds.types.end()) {
            continue;
        }
        const std::vector<Event> all = seedsOf(seeds);
        std::copy_if(all.begin(), all.end(), std::back_inserter(events),
                     [type](const Event& one) { return one.type == type; });
    }
    return events;
}

}  // namespace

std::vector<Handler> allHandlers() {
    std::vector<Handler> handlers;
    for (const Row& row : kRows) {
        handlers.push_back({row.type, row.name, eventsFor(row.type)});
    }
    return handlers;
}
