#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "ask.h"
#include "client/deadline.h"
#include "client/holder.h"
#include "json.h"
#include "names.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

using vcfg::bus::Holder;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

// The endpoints that have a file in the run directory.
bool findEndpoints(const std::string& runDir, std::vector<uint8_t>* eids) {
    constexpr std::string_view kPrefix = "eid-";
    const std::unique_ptr<DIR, CloseDirectory> directory(opendir(runDir.c_str()));
    if (directory == nullptr) {
        return false;
    }
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        uint64_t eid = 0;
        if (name.starts_with(kPrefix) && parseNumber(name.substr(kPrefix.size()), UINT8_MAX, &eid) && eid != 0 &&
            name == std::string(kPrefix) + std::to_string(eid)) {
            eids->push_back(static_cast<uint8_t>(eid));
        }
    }
    std::sort(eids->begin(), eids->end());
    return true;
}

const char* stateWord(Holder::State state) {
    switch (state) {
        case Holder::State::Alive:
            return "alive";
        case Holder::State::Stopped:
            return "stopped";
        case Holder::State::Busy:
            return "busy";
        case Holder::State::Left:
            return "left";
        case Holder::State::Barred:
            return "barred";
        default:
            return "dead";
    }
}

// "3 d 04:05:06", as long as people count it.
std::string ageText(int64_t sinceUs, int64_t nowUs) {
    char text[32];
    if (sinceUs == 0) {
        return "-";
    }
    const int64_t seconds = (nowUs - sinceUs) / 1000000;
    const int64_t days = seconds / 86400;
    const int size = days > 0 ? snprintf(text, sizeof text, "%" PRId64 " d ", days) : 0;
    snprintf(text + size, sizeof text - static_cast<size_t>(size), "%02d:%02d:%02d",
             static_cast<int>(seconds / 3600 % 24), static_cast<int>(seconds / 60 % 60),
             static_cast<int>(seconds % 60));
    return text;
}

std::string orDash(const std::string& text) {
    return text.empty() ? "-" : oneLine(text);
}

void printLine(uint8_t eid, const Holder& holder, int64_t nowUs) {
    printf("%3u  %-14s  %-20s  %9s  %14s  %s\n", eid, orDash(endpointName(eid)).c_str(), orDash(holder.program).c_str(),
           orDash(holder.process > 0 ? std::to_string(holder.process) : "").c_str(),
           ageText(holder.sinceUs, nowUs).c_str(), stateWord(holder.state));
}

json_object* wallTime(int64_t monotonicUs, int64_t nowUs) {
    timespec wall{};
    clock_gettime(CLOCK_REALTIME, &wall);
    const int64_t wallUs = int64_t{wall.tv_sec} * 1000000 + wall.tv_nsec / 1000;
    const auto seconds = static_cast<time_t>((wallUs - (nowUs - monotonicUs)) / 1000000);
    tm parts{};
    char text[32];
    gmtime_r(&seconds, &parts);
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return jsonText(text);
}

void printJson(uint8_t eid, const Holder& holder, int64_t nowUs) {
    const bool isKnown = holder.sinceUs != 0;
    const std::string name = endpointName(eid);
    json_object* line = json_object_new_object();
    json_object_object_add(line, "eid", json_object_new_int64(eid));
    json_object_object_add(line, "name", name.empty() ? nullptr : jsonText(name));
    json_object_object_add(line, "program", holder.program.empty() ? nullptr : jsonText(holder.program));
    json_object_object_add(line, "process", holder.process > 0 ? json_object_new_int64(holder.process) : nullptr);
    json_object_object_add(line, "since_mono_us", isKnown ? json_object_new_int64(holder.sinceUs) : nullptr);
    json_object_object_add(line, "since", isKnown ? wallTime(holder.sinceUs, nowUs) : nullptr);
    json_object_object_add(line, "age_us", isKnown ? json_object_new_int64(nowUs - holder.sinceUs) : nullptr);
    json_object_object_add(line, "alive", json_object_new_boolean(holder.state == Holder::State::Alive));
    json_object_object_add(line, "state", jsonText(stateWord(holder.state)));
    printJsonLine(line);
}

}  // namespace

int runEndpoints(const Call& call) {
    if (!call.operands.empty()) {
        return wrongUsage(call, "takes no argument");
    }
    const int status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    std::vector<uint8_t> eids;
    if (!findEndpoints(call.runDir, &eids)) {
        return refuse("the run directory " + call.runDir + " cannot be read: " + strerror(errno));
    }
    if (!call.json && !eids.empty()) {
        puts("EID  NAME            PROGRAM                 PROCESS           SINCE  STATE");
    }
    for (const uint8_t eid : eids) {
        const Holder holder = vcfg::bus::holderOf(eid);
        const int64_t nowUs = vcfg::monotonicUs();
        call.json ? printJson(eid, holder, nowUs) : printLine(eid, holder, nowUs);
    }
    return kDone;
}

}  // namespace vcfgctl
