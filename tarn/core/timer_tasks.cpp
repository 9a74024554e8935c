#include "core/timer_tasks.h"

#include <algorithm>
#include <utility>

#include "core/json.h"

namespace {

constexpr size_t kNameSize = 99;
constexpr uint64_t kMsPerSecond = 1000;

auto findTask(Timer& timer, const std::string& name) {
    return std::find_if(timer.tasks.begin(), timer.tasks.end(),
                        [&](const TimerTask& task) { return task.name == name; });
}

std::string nameOf(const Json& json, const char* key) {
    return json.textOr(key, "").substr(0, kNameSize);
}

int32_t within32Bits(int64_t number) {
    return static_cast<int32_t>(std::clamp<int64_t>(number, INT32_MIN, INT32_MAX));
}

// A type with its highest bit set comes as a negative number or as a large one.
uint32_t typeOf(const Json& task) {
    return static_cast<uint32_t>(task.number("msg_type").value_or(0));
}

bool addTask(Timer& timer, const Json& request) {
    const auto wanted = request.child("tmApplyObj");
    if (!wanted || !wanted->isText("Name")) {
        return false;
    }
    const auto exprTime = wanted->number("exprTime");
    if (!exprTime) {
        return false;
    }
    TimerTask task{nameOf(*wanted, "Name"), within32Bits(*exprTime), typeOf(*wanted), wanted->text("msgParmData")};
    const auto same = findTask(timer, task.name);
    if (same != timer.tasks.end()) {
        *same = std::move(task);
    } else {
        timer.tasks.push_back(std::move(task));
    }
    return true;
}

bool removeTask(Timer& timer, const Json& request) {
    const auto task =
        request.has("tmApplyObjDelete") ? findTask(timer, nameOf(request, "tmApplyObjDelete")) : timer.tasks.end();
    if (task == timer.tasks.end()) {
        return false;
    }
    timer.tasks.erase(task);
    return true;
}

void configure(Timer& timer, const Json& request) {
    const std::string enable = request.textOr("tmenable", "");
    if (enable == "enable") {
        timer.enabled = true;
    } else if (enable == "disable") {
        timer.enabled = false;
    }
    if (const auto interval = request.number("tminterval")) {
        timer.interval = std::max(within32Bits(*interval), 0);
    }
}

void beginInterval(Timer& timer) {
    timer.leftMs = static_cast<uint64_t>(timer.interval) * kMsPerSecond;
}

void armAsConfigured(Timer& timer) {
    if (timer.enabled && timer.interval != 0) {
        beginInterval(timer);
        timer.armed = true;
    } else if (!timer.enabled) {
        timer.armed = false;
    }
}

// A timer that ran when the request came keeps its tick; one that stood begins a whole interval.
void armForTask(Timer& timer, bool ran) {
    ++timer.pending;
    if (!timer.armed && !ran) {
        beginInterval(timer);
    }
    timer.armed = true;
}

void letTimePass(Timer& timer, uint32_t nowMs) {
    const auto passed = static_cast<int32_t>(nowMs - timer.seenMs);  // the clock wraps
    timer.leftMs -= std::min(timer.leftMs, static_cast<uint64_t>(std::max(passed, 0)));
    timer.seenMs = nowMs;
}

}  // namespace

void handleTimerRequest(Timer& timer, const char* text, uint32_t nowMs) {
    const Json request = Json::parse(text);
    if (!request.valid()) {
        return;
    }
    letTimePass(timer, nowMs);
    const bool ran = timer.armed;
    configure(timer, request);
    armAsConfigured(timer);
    if (addTask(timer, request)) {
        armForTask(timer, ran);
    }
    if (removeTask(timer, request) && timer.pending > 0) {
        --timer.pending;
    }
    if (timer.pending == 0) {
        timer.armed = false;
    }
}

std::optional<uint64_t> msToTick(Timer& timer, uint32_t nowMs) {
    letTimePass(timer, nowMs);
    return timer.armed ? std::optional(timer.leftMs) : std::nullopt;
}

std::vector<TimerTask> tick(Timer& timer, uint32_t nowMs) {
    std::vector<TimerTask> due;
    timer.pending = 0;
    if (timer.interval != 0) {
        std::vector<TimerTask> waiting;
        for (TimerTask& task : timer.tasks) {
            task.exprTime = task.exprTime >= timer.interval ? task.exprTime - timer.interval : 0;
            (task.exprTime > 0 ? waiting : due).push_back(std::move(task));
        }
        timer.tasks = std::move(waiting);
        timer.pending = timer.tasks.size();
    }
    beginInterval(timer);
    timer.seenMs = nowMs;
    timer.armed = timer.pending > 0;
    return due;
}
