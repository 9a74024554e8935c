#include "world.h"

#include <algorithm>
#include <memory>

#include "inproc_fe.h"

namespace sim {
namespace {

std::unique_ptr<World> current = std::make_unique<World>();

constexpr int kMostTurnsAtOnce = 200'000;  // without any time passing

bool isNamed(const std::string& path, const std::string& name) {
    return path.compare(0, name.size(), name) == 0 &&
           (name.back() == '.' || path.size() == name.size() || path[name.size()] == '.' || path[name.size()] == ' ');
}

bool mayWrite(const Errand& errand, const std::string& path) {
    for (const std::string& name : errand.mayWrite) {
        if (isNamed(path, name)) {
            return true;
        }
    }
    return false;
}

uint64_t nextTick() {
    const auto left = msToTick(world().timer, static_cast<uint32_t>(world().nowMs));
    return left ? world().nowMs + *left : UINT64_MAX;
}

void runAllNow() {
    for (int turns = 0; fibers::runOne(); ++turns) {
        if (turns == kMostTurnsAtOnce) {
            broken("EveryThreadComesToRest", "threads run on and on while no time passes");
            return;
        }
    }
}

}  // namespace

uint64_t Chance::next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
}

World& world() {
    return *current;
}

void newWorld(uint64_t seed) {
    current = std::make_unique<World>();
    current->chance = Chance(seed);
}

void broken(const std::string& rule, const std::string& what) {
    if (world().violation.empty()) {
        world().violation = rule + ": " + what;
    }
}

void later(uint64_t delayMs, std::function<void()> happens) {
    world().agenda.emplace(world().nowMs + delayMs, std::move(happens));
}

void runUntil(uint64_t timeMs) {
    World& w = world();
    while (w.violation.empty()) {
        runAllNow();
        const uint64_t next =
            std::min({w.agenda.empty() ? UINT64_MAX : w.agenda.begin()->first, fibers::nextWake(), nextTick()});
        if (next > timeMs) {
            break;
        }
        w.nowMs = std::max(w.nowMs, next);
        while (!w.agenda.empty() && w.agenda.begin()->first <= w.nowMs) {
            const auto happens = std::move(w.agenda.begin()->second);
            w.agenda.erase(w.agenda.begin());
            happens();
        }
    }
    w.nowMs = std::max(w.nowMs, timeMs);
}

void runTurns(uint32_t turns) {
    while (turns-- > 0 && fibers::runOne()) {
    }
}

void checkWrites(const Errand& errand) {
    const std::vector<std::string> writes = inproc::writes();
    if (writes.empty()) {
        return;
    }
    inproc::forgetWrites();
    for (const std::string& write : writes) {
        const std::string path = write.substr(write.find(' ') + 1);
        if (!mayWrite(errand, path)) {
            broken("NothingIsWrittenThatTheEventDoesNotName", errand.name + " has done \"" + write + "\"");
        }
        ownersAct(write);
    }
    inproc::forgetReads();
}

void doLinkWork() {
    uint64_t& own = fibers::errand().linkTurn;
    if (own == 0) {
        own = ++world().linkTurns;
    } else if (own != world().linkTurns) {
        broken("LinkWorkIsNotInterrupted", fibers::errand().name);
    }
}

}  // namespace sim
