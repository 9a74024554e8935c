#include <vcfg/fe.h>

#include <cstdio>
#include <cstdlib>

#include "ask.h"
#include "assignment.h"

namespace vcfgctl {
namespace {

struct FreeText {
    void operator()(char* text) const { free(text); }
};

// A line of standard input each; empty ones are skipped.
int parseLines(const Call& call, std::vector<Assignment>* assignments) {
    char* line = nullptr;
    size_t room = 0;
    ssize_t length;
    int status = kDone;
    while (status == kDone && (length = getline(&line, &room, stdin)) > 0) {
        std::string text(line, static_cast<size_t>(length));
        if (text.ends_with('\n')) {
            text.pop_back();
        }
        status = text.empty() ? kDone : parseAssignment(call, plainPath(text), assignments);
    }
    const std::unique_ptr<char, FreeText> owned(line);
    return status == kDone && ferror(stdin) != 0 ? refuse("standard input cannot be read") : status;
}

int parse(const Call& call, std::vector<Assignment>* assignments) {
    for (const std::string& operand : call.operands) {
        const int status = operand == "-" ? parseLines(call, assignments) : parseAssignment(call, operand, assignments);
        if (status != kDone) {
            return status;
        }
    }
    return kDone;
}

}  // namespace

int runSet(const Call& call) {
    const bool noApply = call.option("no-apply") != nullptr;
    const bool wait = call.option("wait") != nullptr;
    if (call.operands.empty()) {
        return wrongUsage(call, "PATH=VALUE is missing");
    }
    if (noApply && wait) {
        return wrongUsage(call, "--no-apply has nothing to --wait for");
    }
    std::vector<Assignment> assignments;
    std::vector<Write> writes;
    int status = parse(call, &assignments);
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    if (status == kDone) {
        status = toWrites(assignments, &writes);
    }
    const uint32_t type = noApply ? VCFG_FE_WRITE_NO_APPLY : wait ? vcfg::wire::kWriteAndWait : VCFG_FE_WRITE_APPLY;
    for (size_t i = 0; i < writes.size() && status == kDone; ++i) {
        status = send(writes[i], type);
    }
    return status;
}

}  // namespace vcfgctl
