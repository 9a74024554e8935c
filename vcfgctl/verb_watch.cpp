#include <algorithm>
#include <csignal>
#include <cstdio>

#include "ask.h"
#include "json.h"
#include "mirror.h"
#include "names.h"
#include "print.h"
#include "secret.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// One of the paths given.
struct Watched {
    std::string pattern;                // without its filters
    std::vector<Selection> selections;  // none when it has no filters
};

struct Watch {
    bool all = false;      // the whole model; nothing is selected
    std::string patterns;  // what vcmd is asked for, one a line
    std::vector<Watched> paths;
    uint64_t count = 0;  // 0: without end
    uint64_t timeoutMs = 0;

    std::vector<Selection> filtered() const;
};

std::vector<Selection> Watch::filtered() const {
    std::vector<Selection> found;
    for (const Watched& one : paths) {
        found.insert(found.end(), one.selections.begin(), one.selections.end());
    }
    return found;
}

// An instance's own path is good too: its coming and going can be watched.
std::vector<Selection> selectWatched(const std::string& path, std::string* why) {
    std::vector<Selection> found = select(path, why);
    if (found.empty()) {
        std::string ignored;
        found = selectInstances(path, &ignored);
    }
    if (found.empty() && !path.ends_with('.') && !select(path + ".", why).empty()) {
        found = select(path + ".", why);
    }
    return found;
}

int takePath(const std::string& path, Watch& watch) {
    std::string why;
    const std::vector<Selection> found = selectWatched(path, &why);
    if (found.empty()) {
        return refuse(path + ": " + why);
    }
    watch.all = watch.all || path == ".";
    if (found.front().filters.empty()) {
        watch.paths.push_back({path, {}});
        watch.patterns.append(path).append("\n");
        return kDone;
    }
    watch.paths.push_back({withoutFilters(path), found});
    for (const Selection& selection : found) {
        watch.patterns.append(patternsOf(selection));
    }
    return kDone;
}

int takeOptions(const Call& call, Watch& watch) {
    if (!numberOption(call, "count", UINT32_MAX, &watch.count) ||
        !numberOption(call, "timeout", UINT32_MAX, &watch.timeoutMs)) {
        return kWrongUsage;
    }
    watch.all = call.operands.empty();
    for (const std::string& path : call.operands) {
        const int status = takePath(path, watch);
        if (status != kDone) {
            return status;
        }
    }
    return kDone;
}

// "-" where there is no value: before an instance came, or after it went.
std::string quoted(const std::optional<std::string>& value) {
    return value ? "\"" + oneLine(*value) + "\"" : "-";
}

json_object* jsonOf(const model::Parameter* parameter, const std::optional<std::string>& value) {
    if (!value) {
        return nullptr;
    }
    return parameter != nullptr ? jsonValue(*parameter, *value) : jsonText(*value);
}

void hide(const Call& call, const model::Parameter& parameter, std::optional<std::string>& value) {
    if (value) {
        value = shown(call, parameter, *value);
    }
}

// The endpoint of "eid 2", which writers are told as; 0 for a hook.
uint32_t endpointOf(const std::string& by) {
    constexpr std::string_view kEndpoint = "eid ";
    return by.starts_with(kEndpoint) ? parseEndpoint(by.substr(kEndpoint.size())).value_or(0) : 0;
}

std::string authorText(const Change& change) {
    if (change.refreshedFor) {
        return change.by + ", refreshed for eid " + endpointText(*change.refreshedFor);
    }
    const uint32_t eid = endpointOf(change.by);
    return eid != 0 ? "eid " + endpointText(eid) : change.by;
}

void addAuthor(json_object* line, const Change& change) {
    const uint32_t eid = endpointOf(change.by);
    const std::string name = endpointName(eid);
    json_object_object_add(line, "by", jsonText(change.by));
    json_object_object_add(line, "byEid", eid != 0 ? json_object_new_int64(eid) : nullptr);
    json_object_object_add(line, "byName", name.empty() ? nullptr : jsonText(name));
    json_object_object_add(line, "refreshedFor",
                           change.refreshedFor ? json_object_new_int64(*change.refreshedFor) : nullptr);
}

void printChange(const Call& call, Change change) {
    const std::optional<model::Resolved> where = model::resolve(change.path);
    const model::Parameter* const parameter = where ? where->parameter : nullptr;
    if (parameter != nullptr) {
        hide(call, *parameter, change.before);
        hide(call, *parameter, change.after);
    }
    if (!call.json) {
        printf("%.6f %s %s -> %s (%s)\n", static_cast<double>(change.monotonicUs) / 1e6, change.path.c_str(),
               quoted(change.before).c_str(), quoted(change.after).c_str(), authorText(change).c_str());
        fflush(stdout);
        return;
    }
    json_object* line = json_object_new_object();
    json_object_object_add(line, "t_mono_us", json_object_new_int64(change.monotonicUs));
    json_object_object_add(line, "path", jsonText(change.path));
    json_object_object_add(line, "old", jsonOf(parameter, change.before));
    json_object_object_add(line, "new", jsonOf(parameter, change.after));
    addAuthor(line, change);
    printJsonLine(line);
}

bool passesFilters(const Watched& watched, const std::string& path, const Mirror& mirror) {
    const std::optional<model::Resolved> where = model::resolve(path);
    return watched.selections.empty() ||
           std::any_of(watched.selections.begin(), watched.selections.end(), [&](const Selection& one) {
               return where && one.object == where->object && one.fits(where->iid, mirror.lookup());
           });
}

bool isShown(const Watch& watch, const std::string& path, const Mirror& mirror) {
    return watch.all || std::any_of(watch.paths.begin(), watch.paths.end(), [&](const Watched& one) {
               return model::pathMatches(one.pattern, path) && passesFilters(one, path, mirror);
           });
}

// What passes a filter before the change or behind it is shown.
bool takeChange(const Watch& watch, const Change& change, Mirror& mirror) {
    const bool before = isShown(watch, change.path, mirror);
    mirror.take(change);
    return before || isShown(watch, change.path, mirror);
}

int follow(const Call& call, const Watch& watch, Changes& changes, Mirror& mirror) {
    const vcfg::Deadline deadline = vcfg::Deadline::ofCall(static_cast<uint32_t>(watch.timeoutMs));
    uint64_t seen = 0;
    while (watch.count == 0 || seen < watch.count) {
        Change change;
        const int code = changes.next(deadline, &change);
        if (code == VCFG_ERR_TIMEOUT) {
            return watch.count == 0 ? kDone
                                    : refuse("the time is up; " + std::to_string(seen) + " of " +
                                             std::to_string(watch.count) + " changes have come");
        }
        if (code != VCFG_OK) {
            return nobodyAnswers("vcmd has closed the watch, or has ended");
        }
        if (takeChange(watch, change, mirror)) {
            printChange(call, std::move(change));
            ++seen;
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
    Changes changes;
    Mirror mirror;
    int status = takeOptions(call, watch);
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    if (status == kDone) {
        status = changes.open(watch.all ? "" : watch.patterns);
    }
    if (status == kDone) {
        status = mirror.read(watch.filtered());
    }
    std::signal(SIGPIPE, SIG_IGN);
    return status == kDone ? follow(call, watch, changes, mirror) : status;
}

}  // namespace vcfgctl
