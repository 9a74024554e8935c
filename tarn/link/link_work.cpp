#include "link/link_work.h"

#include <algorithm>
#include <deque>
#include <mutex>

#include "core/log.h"

namespace {

constexpr size_t kMostWaiting = 256;

std::mutex guard;
std::deque<LinkWork> waiting;
bool busy = false;

// A waiting look at all links sees what a second one would see.
bool isRepeated(const LinkWork& work) {
    return !work.payload && std::any_of(waiting.begin(), waiting.end(), [&work](const LinkWork& other) {
        return other.body == work.body && !other.payload && other.checkVlanHunt == work.checkVlanHunt;
    });
}

// The newer work of the same kind finds what the dropped one would have found: each looks at all links.
void dropOldest(const LinkWork& newer) {
    const auto oldest = std::find_if(waiting.begin(), waiting.end(),
                                     [&newer](const LinkWork& other) { return other.body == newer.body; });
    if (oldest != waiting.end()) {
        VLOG(VLOG_WARNING, "more than %zu link events wait, the oldest is left out", kMostWaiting);
        waiting.erase(oldest);
    }
}

// True when the caller is the one to do what waits.
bool leaveWork(LinkWork work) {
    const std::lock_guard lock(guard);
    if (!isRepeated(work)) {
        if (waiting.size() >= kMostWaiting) {
            dropOldest(work);
        }
        waiting.push_back(std::move(work));
    }
    const bool first = !busy;
    busy = true;
    return first;
}

std::optional<LinkWork> takeWork() {
    const std::lock_guard lock(guard);
    if (waiting.empty()) {
        busy = false;
        return std::nullopt;
    }
    LinkWork work = std::move(waiting.front());
    waiting.pop_front();
    return work;
}

void stepBack() {
    const std::lock_guard lock(guard);
    busy = false;
}

}  // namespace

void doLinkWork(LinkWork work) {
    if (!leaveWork(std::move(work))) {
        return;
    }
    try {
        while (const auto next = takeWork()) {
            next->body(next->payload ? next->payload->c_str() : nullptr, next->checkVlanHunt);
        }
    } catch (...) {
        stepBack();  // the next event's thread goes on with what waits
        throw;
    }
}
