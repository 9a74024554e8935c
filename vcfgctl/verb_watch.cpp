#include <json-c/json.h>

#include <csignal>
#include <cstdio>

#include "ask.h"
#include "client/bus_client.h"
#include "print.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;

struct FreeJson {
    void operator()(json_object* json) const { json_object_put(json); }
};

struct Watch {
    std::string patterns;  // one a line
    uint64_t count = 0;    // 0: without end
    uint64_t timeoutMs = 0;
};

int takeOptions(const Call& call, Watch& watch) {
    if (!numberOption(call, "count", UINT32_MAX, &watch.count) ||
        !numberOption(call, "timeout", UINT32_MAX, &watch.timeoutMs)) {
        return kWrongUsage;
    }
    for (const std::string& path : call.operands) {
        std::string why;
        // The path of an object itself is good too: its coming and going can be watched.
        if (select(path, &why).empty() && select(path + ".", &why).empty()) {
            return refuse(path + ": " + suggestion(path));
        }
        watch.patterns.append(path == "." ? "" : path).append("\n");
    }
    return kDone;
}

// "-" where there is no value: before an instance came, or after it went.
std::string valueOf(json_object* change, const char* name) {
    json_object* value = nullptr;
    json_object_object_get_ex(change, name, &value);
    return value == nullptr ? "-" : "\"" + oneLine(json_object_get_string(value)) + "\"";
}

void printChange(const std::string& line, bool json) {
    if (json) {
        puts(line.c_str());
        fflush(stdout);
        return;
    }
    const std::unique_ptr<json_object, FreeJson> change(json_tokener_parse(line.c_str()));
    json_object* time = nullptr;
    json_object* path = nullptr;
    json_object* by = nullptr;
    json_object_object_get_ex(change.get(), "t_mono_us", &time);
    json_object_object_get_ex(change.get(), "path", &path);
    json_object_object_get_ex(change.get(), "by", &by);
    const double seconds = static_cast<double>(json_object_get_int64(time)) / 1e6;
    printf("%.6f %s %s -> %s (%s)\n", seconds, path != nullptr ? json_object_get_string(path) : "?",
           valueOf(change.get(), "old").c_str(), valueOf(change.get(), "new").c_str(),
           by != nullptr ? json_object_get_string(by) : "?");
    fflush(stdout);
}

// One line per change; `most` of them, 0 for all. The number printed.
uint64_t printChanges(const vcfg_msg_t& message, uint64_t most, bool json) {
    std::string_view lines = vcfg_msg_text(&message);
    uint64_t printed = 0;
    while (!lines.empty() && (most == 0 || printed < most)) {
        const size_t end = lines.find('\n');
        printChange(std::string(lines.substr(0, end)), json);
        lines.remove_prefix(end == lines.npos ? lines.size() : end + 1);
        ++printed;
    }
    return printed;
}

int follow(const Call& call, const Watch& watch) {
    const vcfg::Deadline deadline = vcfg::Deadline::ofCall(static_cast<uint32_t>(watch.timeoutMs));
    uint64_t seen = 0;
    while (watch.count == 0 || seen < watch.count) {
        bus::MessagePtr message;
        const int code = bus::nextFrom(VCFG_EID_VCMD, deadline, &message);
        if (code == VCFG_ERR_TIMEOUT) {
            return watch.count == 0 ? kDone
                                    : refuse("the time is up; " + std::to_string(seen) + " of " +
                                             std::to_string(watch.count) + " changes have come");
        }
        if (code != VCFG_OK) {
            return nobodyAnswers("vcmd has closed the watch, or has ended");
        }
        if (message->type == vcfg::wire::kChange) {
            seen += printChanges(*message, watch.count == 0 ? 0 : watch.count - seen, call.json);
            if (!outputTakes()) {
                return outputRefuses();
            }
        }
    }
    return kDone;
}

}  // namespace

int runWatch(const Call& call) {
    Watch watch;
    int status = takeOptions(call, watch);
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    if (status != kDone) {
        return status;
    }
    const vcfg::Answer answer =
        ask(vcfg::wire::kWatch, RDM_OID_NONE, {}, watch.patterns.empty() ? "" : watch.patterns + '\0');
    if (answer.code != VCFG_OK) {
        return reportFailure(answer, "watch");
    }
    std::signal(SIGPIPE, SIG_IGN);
    return follow(call, watch);
}

}  // namespace vcfgctl
