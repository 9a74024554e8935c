#include <csignal>

#include "ask.h"
#include "cut.h"
#include "live_recording.h"

namespace vcfgctl {
namespace {

constexpr uint64_t kLongestSeconds = 365 * 24 * 3600;

}  // namespace

int runRecord(const Call& call) {
    uint64_t event = 0;
    if (call.option("cut") != nullptr) {
        if (!numberOption(call, "cut", UINT32_MAX, &event)) {
            return kWrongUsage;
        }
        return call.operands.size() == 2
                   ? cutRecording(static_cast<uint32_t>(event), call.operands[0], call.operands[1])
                   : wrongUsage(call, "--cut takes the recording and the file for what is left of it");
    }
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one file, or - for standard output");
    }
    if (const std::string* const only = call.option("only"); only != nullptr && only->empty()) {
        return wrongUsage(call, "--only takes the number of an event, or a text");
    }
    uint64_t seconds = 0;
    if (!numberOption(call, "for", kLongestSeconds / 1000, &seconds)) {
        return kWrongUsage;
    }
    const int status = joinBus(call.runDir);
    std::signal(SIGPIPE, SIG_IGN);
    return status == kDone ? LiveRecording(call, seconds).run(call.operands.front()) : status;
}

}  // namespace vcfgctl
