#include <vcfg/fe.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "ask.h"
#include "assignment.h"
#include "change.h"
#include "client/free.h"

namespace vcfgctl {
namespace {

// Far more than fits one request.
constexpr size_t kMostInput = 1 << 20;

// A line of standard input each; empty ones are skipped.
int parseLines(const Call& call, std::vector<Assignment>* assignments) {
    char* line = nullptr;
    size_t room = 0;
    size_t taken = 0;
    ssize_t length;
    int status = kDone;
    while (status == kDone && (length = getline(&line, &room, stdin)) > 0) {
        taken += static_cast<size_t>(length);
        if (taken > kMostInput) {
            status = refuse("standard input has more than 1 MiB; nothing is written");
            break;
        }
        std::string text(line, static_cast<size_t>(length));
        if (text.ends_with('\n')) {
            text.pop_back();
        }
        status = text.empty() ? kDone : parseAssignment(call, plainPath(text), assignments);
    }
    const std::unique_ptr<char, vcfg::Free> owned(line);
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

// "Reset", "Renew": whether it could be done is known when it has been.
bool asksForSomething(const std::vector<Assignment>& assignments) {
    return std::any_of(assignments.begin(), assignments.end(),
                       [](const Assignment& one) { return one.target.parameter->isRequest(); });
}

}  // namespace

int runSet(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "PATH=VALUE is missing");
    }
    std::vector<Assignment> assignments;
    std::vector<Write> writes;
    uint32_t type = 0;
    int status = takeRequestType(call, &type);
    if (status == kDone) {
        status = parse(call, &assignments);
    }
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    if (status == kDone) {
        status = toWrites(assignments, &writes);
    }
    if (status != kDone || writes.empty()) {
        return status;
    }
    if (type == VCFG_FE_WRITE_APPLY && asksForSomething(assignments)) {
        type = VCFG_FE_WRITE_AND_WAIT;
    }
    std::vector<vcfg_step_t> steps;
    for (const Write& write : writes) {
        steps.push_back(stepFor(write));
    }
    return change(steps, type, writes.size() == 1 ? writes.front().subject : "");
}

}  // namespace vcfgctl
