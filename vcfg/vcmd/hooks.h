// The hooks that run and those that wait for their turn. Apply hooks run one after the other, in the order of the
// writes; refresh hooks run at once, as long as there are not too many.
#pragma once

#include <poll.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hook.h"
#include "model/describe.h"

namespace vcfg::vcmd {

enum class HookKind : uint8_t { Apply, Refresh };

struct HookJob {
    HookKind kind;
    HookCall call;
    std::function<void(const HookRun&)> done;  // called from tendHooks, also when the hook could not be started
};

struct Hooks {
    struct Running {
        HookJob job;
        HookRun run;
    };

    std::string directory;
    uint32_t limitMs = 30000;
    std::deque<HookJob> apply;
    std::deque<HookJob> refresh;
    std::vector<std::unique_ptr<Running>> running;
};

// How many jobs of a kind may wait.
inline constexpr size_t kMostWaitingHooks = 256;

// Where that object's hook would be; empty when it has none.
std::string hookProgram(const Hooks& hooks, HookKind kind, const model::Object& object);
// Room for more waiting jobs of that kind.
size_t hookRoom(const Hooks& hooks, HookKind kind);
void queueHook(Hooks& hooks, HookJob&& job);

// Appends what to poll for.
void pollHooks(const Hooks& hooks, std::vector<pollfd>& fds);
// Milliseconds until tendHooks must be called, though nothing happens; -1 for never.
int hookTimeout(const Hooks& hooks);
// Reads, kills, ends and starts hooks, as far as that can be done now.
void tendHooks(Hooks& hooks);
void killHooks(Hooks& hooks);

}  // namespace vcfg::vcmd
