#include "story.h"

#include <dirent.h>

#include "connection/pending_request.h"
#include "core/kernel_monitor.h"
#include "core/system_log.h"
#include "core/wan_state.h"
#include "daemon_state.h"
#include "dispatch.h"
#include "inproc_fe.h"
#include "invariants.h"
#include "memory.h"
#include "peers.h"

namespace sim {
namespace {

constexpr uint64_t kSecond = 1000;

// A gateway that nothing has happened to.
void clear(uint64_t seed) {
    inproc::reset();
    newWorld(seed);
    furnish();
    forgetDaemonState();
}

void begin(const Story& story) {
    wan.WANPriority = story.wanPriority;
    wan.EthWANPriority = story.ethWanPriority;
    if (fibers::count() == 0) {
        startThreads();
    }
    post({VCFG_MSG_INIT_DATAMODEL_FIN, VCFG_EID_VCMD, 0, {}, "", true});
    runUntil(10 * kSecond);
}

int openDescriptors() {
    int count = 0;
    if (DIR* const directory = opendir("/proc/self/fd"); directory != nullptr) {
        while (readdir(directory) != nullptr) {
            ++count;
        }
        closedir(directory);
    }
    return count;
}

void notice(uint32_t type) {
    post({type, VCFG_EID_VCMD, 0, {}, "", true});
    runUntil(world().nowMs + 120 * kSecond);
}

// What was broken works again, and hunts are over.
void heal() {
    inproc::failNoMore();
    World& w = world();
    w.dead.clear();
    w.failingCommands = w.hangingCommands = w.refusedThreads = 0;
    w.shortMemory = -1;
    inproc::set("X_VORAN_VlanAutoHunt.Enable", "false");
    inproc::set("X_VORAN_VcAutoHunt.Enable", "false");
}

// Whoever waits for a connection's outcome gets it; one with IPv6 has none without a link.
void endWaiting() {
    const auto waiting = pending::peek();
    if (!waiting || (waiting->idx == kDualStackIp && !world().cable[6])) {
        return;
    }
    post(waiting->idx == kDualStackIp ? dhcp6Letter(false) : releaseLetter(waiting->idx));
    runUntil(world().nowMs + 10 * kSecond);
}

void comeToRest() {
    heal();
    runUntil(world().nowMs + 300 * kSecond);
    notice(VCFG_MSG_SYSTEM_LOG_STOP);
    notice(VCFG_MSG_INIT_WAN_LINK_INFO);
    notice(VCFG_MSG_WAN_LINK);
    endWaiting();
    notice(VCFG_MSG_WAN_INTERNET_LED_UPDATE);
}

// The threads that last for ever are the next story's, too; others have to end first.
void end() {
    world().violation.clear();
    heal();
    SystemLogThreadHandle(0);
    runUntil(world().nowMs + 3600 * kSecond);
    fibers::abandonAllBut(kOwnThreads);
}

Outcome live(const Story& story) {
    Outcome outcome;
    for (const Event& event : story.events) {
        runUntil(world().nowMs + event.waitMs);
        if (world().violation.empty()) {
            outcome.events += 1;
            happen(event);
            runTurns(event.turns);
            checkAlways();
        }
    }
    return outcome;
}

void toItsEnd(const Story& story, Outcome& outcome) {
    begin(story);
    const int descriptors = openDescriptors();
    outcome = live(story);
    if (world().violation.empty()) {
        comeToRest();
        checkAtRest();
        if (openDescriptors() != descriptors) {
            broken("NoDescriptorIsLeftBehind", std::to_string(openDescriptors() - descriptors) + " more");
        }
    }
    outcome.violation = world().violation;
    outcome.handled = world().handled;
    outcome.faulty = world().faulty;
    outcome.lost = world().everLost;
    end();
}

// Gives the pieces of memory that are left afterwards.
int64_t tellOnce(const Story& story, Outcome& outcome) {
    clear(story.seed);
    const int64_t before = piecesInUse();
    toItsEnd(story, outcome);
    clear(story.seed);
    return piecesInUse() - before;
}

}  // namespace

Story storyOf(uint64_t seed, size_t events) {
    Chance chance(seed);
    constexpr int kPriorities[] = {3, 3, 3, 2, 2, 8};
    Story story{seed, kPriorities[chance.below(std::size(kPriorities))], static_cast<int>(chance.below(2)), {}};
    const bool withFaults = chance.oneIn(2);
    while (story.events.size() < events) {
        story.events.push_back(drawEvent(chance, withFaults));
    }
    return story;
}

Outcome tell(const Story& story) {
    Outcome outcome;
    const int64_t left = tellOnce(story, outcome);
    if (outcome.violation.empty() && left > 0) {  // the first time, something may have come to stay
        Outcome again;
        if (tellOnce(story, again) > 0) {
            outcome.violation = "NothingIsLeftInMemory: " + std::to_string(left) + " pieces each time";
        }
    }
    return outcome;
}

}  // namespace sim
