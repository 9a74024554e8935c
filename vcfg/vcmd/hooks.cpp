#include "hooks.h"

#include <unistd.h>

#include <algorithm>
#include <new>

#include "client/monitors.h"
#include "recorder/events.h"

namespace vcfg::vcmd {
namespace {

constexpr size_t kMostRefreshing = 32;
constexpr const char* kNoMemory = "memory is short";  // a text that needs none

std::deque<HookJob>& waiting(Hooks& hooks, HookKind kind) {
    return kind == HookKind::Apply ? hooks.apply : hooks.refresh;
}

size_t countRunning(const Hooks& hooks, HookKind kind) {
    return static_cast<size_t>(std::count_if(hooks.running.begin(), hooks.running.end(),
                                             [kind](const auto& one) { return one->job.kind == kind; }));
}

void fail(HookJob& job) {
    HookRun run;
    run.failure = kNoMemory;
    run.call = std::move(job.call);
    job.done(run);
}

bool startNow(Hooks& hooks, Hooks::Running& running) {
    try {
        hooks.running.reserve(hooks.running.size() + 1);
        return startHook(running.job.call, hooks.limitMs, running.run);
    } catch (const std::bad_alloc&) {
        running.run.failure = kNoMemory;
        return false;
    }
}

// To those who record: whoever plays the recording answers the same in its place.
void tell(const HookRun& run) {
    try {
        if (bus::isRecorded()) {
            bus::copyNote({bus::Passing::Step, "hook", titleOf(run.call), run.status, run.call.cause,
                           run.complaint.line(), run.call.forEid});
        }
    } catch (const std::bad_alloc&) {
        // The recording has a gap there.
    }
}

// What is done with it belongs to its event.
void conclude(Hooks::Running& ended) {
    const recorder::Resumed resumed(ended.run.event);
    tell(ended.run);
    if (!ended.run.failure.empty()) {
        recorder::step(recorder::Lane::Lasting, "failed", ended.run.failure, 1);
    } else {
        recorder::step(recorder::Lane::Brief, "status", "", 0);
    }
    ended.job.done(ended.run);
}

// False when the hook could not be started; its job is over then.
bool start(Hooks& hooks, HookJob job) {
    std::unique_ptr<Hooks::Running> running(new (std::nothrow) Hooks::Running);
    if (running == nullptr) {
        fail(job);
        return false;
    }
    running->job = std::move(job);
    const bool started = startNow(hooks, *running);
    if (started) {
        hooks.running.push_back(std::move(running));
    } else {
        conclude(*running);
    }
    return started;
}

bool startWaiting(Hooks& hooks) {
    bool ended = false;
    for (const HookKind kind : {HookKind::Apply, HookKind::Refresh}) {
        const size_t most = kind == HookKind::Apply ? 1 : kMostRefreshing;
        std::deque<HookJob>& jobs = waiting(hooks, kind);
        while (!jobs.empty() && countRunning(hooks, kind) < most) {
            HookJob job = std::move(jobs.front());
            jobs.pop_front();
            ended = !start(hooks, std::move(job)) || ended;
        }
    }
    return ended;
}

bool finishEnded(Hooks& hooks) {
    std::vector<std::unique_ptr<Hooks::Running>> ended;
    ended.reserve(hooks.running.size());  // an end is found once
    for (auto& one : hooks.running) {
        tendHook(one->run);
        if (reapHook(one->run)) {
            ended.push_back(std::move(one));
        }
    }
    std::erase(hooks.running, nullptr);
    for (const auto& one : ended) {
        conclude(*one);
    }
    return !ended.empty();
}

}  // namespace

std::string hookProgram(const Hooks& hooks, HookKind kind, const model::Object& object) {
    std::string program = hooks.directory + (kind == HookKind::Apply ? "/apply/" : "/refresh/") + object.pattern;
    return access(program.c_str(), F_OK) == 0 ? program : std::string();
}

size_t hookRoom(const Hooks& hooks, HookKind kind) {
    const size_t used = (kind == HookKind::Apply ? hooks.apply : hooks.refresh).size();
    return used < kMostWaitingHooks ? kMostWaitingHooks - used : 0;
}

// A job that finds no memory has failed: whoever waits for its end is told.
void queueHook(Hooks& hooks, HookJob&& job) {
    job.call.cause = recorder::current();
    try {
        waiting(hooks, job.kind).push_back(std::move(job));
    } catch (const std::bad_alloc&) {
        fail(job);
    }
}

void pollHooks(const Hooks& hooks, std::vector<pollfd>& fds) {
    for (const auto& one : hooks.running) {
        fds.push_back({one->run.complaints.get(), POLLIN, 0});
        if (one->run.output) {
            fds.push_back({one->run.output.get(), POLLIN, 0});
        }
    }
}

int hookTimeout(const Hooks& hooks) {
    int timeout = -1;
    for (const auto& one : hooks.running) {
        // One that has been killed is reaped when the signal of its end comes.
        const int left = one->run.failure.empty() ? one->run.deadline.remainingMs() : -1;
        if (left >= 0 && (timeout < 0 || left < timeout)) {
            timeout = left;
        }
    }
    return timeout;
}

void tendHooks(Hooks& hooks) {
    bool more = true;
    while (more) {
        more = finishEnded(hooks);
        more = startWaiting(hooks) || more;
    }
}

void killHooks(Hooks& hooks) {
    for (const auto& one : hooks.running) {
        killHook(one->run);
    }
}

}  // namespace vcfg::vcmd
