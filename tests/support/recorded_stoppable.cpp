// tarn/core/stoppable.h for tests: pauses and commands are written down, and what the test wants to happen meanwhile
// happens on the same thread.

#include "core/stoppable.h"

#include "core/os.h"
#include "world.h"

using kit::world;

namespace {

template <class Key>
void letHappen(const std::map<Key, std::function<void()>> kit::World::*plan, const Key& key) {
    std::function<void()> happens;
    {
        const std::lock_guard lock(world().guard);
        const auto planned = (world().*plan).find(key);
        happens = planned != (world().*plan).end() ? planned->second : nullptr;
    }
    if (happens) {
        happens();
    }
}

}  // namespace

namespace os {

void Stoppable::stop() {
    const std::lock_guard lock(guard_);
    stopped_ = true;
    group_ = 0;
}

bool Stoppable::stopped() const {
    const std::lock_guard lock(guard_);
    return stopped_;
}

bool Stoppable::pauseMs(int64_t milliseconds) {
    if (stopped()) {
        return false;
    }
    size_t number = 0;
    {
        const std::lock_guard lock(world().guard);
        world().pauses.push_back(milliseconds);
        number = world().pauses.size();
    }
    letHappen(&kit::World::duringPause, number);
    return !stopped();
}

std::optional<int> Stoppable::run(const std::string& command) {
    if (stopped()) {
        return std::nullopt;
    }
    const int result = runCommand(command);
    letHappen(&kit::World::duringCommand, command);
    return stopped() ? std::nullopt : std::optional(result);
}

}  // namespace os
