// What stands behind a verb of the command line, a line each: its paths, values and numbers, where nobody serves the
// model. The first line's first character chooses the verb.
#include <cstdlib>

#include "select.h"
#include "target.h"
#include "verb.h"

using namespace vcfgctl;

namespace {

// No verb that reads or writes files, or waits.
int (*const kVerbs[])(const Call&) = {runGet, runSet, runAdd, runDel, runList, runDescribe, runSend};
constexpr size_t kMostOperands = 4;

Call callOf(std::string_view lines) {
    Call call;
    call.verb = "verb";
    call.runDir = "/dev/null/nowhere";
    while (!lines.empty() && call.operands.size() < kMostOperands) {
        const size_t end = lines.find('\n');
        call.operands.push_back(plainPath(std::string(lines.substr(0, end))));
        lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
    }
    return call;
}

}  // namespace

void handleInput(std::string_view bytes) {
    if (bytes.empty()) {
        return;
    }
    setenv("VCFG_RUN_DIR", "/dev/null/nowhere", 1);
    const auto verb = kVerbs[static_cast<uint8_t>(bytes[0]) % std::size(kVerbs)];
    const Call call = callOf(bytes.substr(1));
    for (const std::string& operand : call.operands) {
        std::string why;
        uint64_t number = 0;
        if (select(operand, &why).empty() && why.empty()) {
            finding("nobody says why there is no such path");
        }
        parseNumber(operand, UINT32_MAX, &number);
    }
    if (const int status = verb(call); status == kRefused || status == kWrongUsage || status == kNobodyAnswers) {
        return;
    }
    if (verb != runDescribe && verb != runList) {
        finding("it is said to be done, and nobody was there to do it");
    }
}
