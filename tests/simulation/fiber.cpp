#include "fiber.h"

#include <sys/mman.h>
#include <ucontext.h>

#include <algorithm>
#include <memory>

#include "short_memory.h"
#include "world.h"

namespace sim::fibers {
namespace {

constexpr size_t kStackBytes = size_t{256} << 10;
constexpr uint64_t kNever = UINT64_MAX;
constexpr uint32_t kYieldOneIn = 16;

struct Fiber {
    ucontext_t context{};
    void* stack = nullptr;
    std::function<void()> body;
    std::function<bool()> ready;
    uint64_t wakeAt = kNever;
    Errand errand;
    uint32_t number = 0;
    bool over = false;

    bool canGoOn() const { return ready ? ready() : (wakeAt == kNever || wakeAt <= world().nowMs); }
};

std::vector<std::unique_ptr<Fiber>> all;
std::vector<void*> freeStacks;
Fiber* running = nullptr;
ucontext_t scheduler;
uint32_t started = 0;

void* takeStack() {
    if (freeStacks.empty()) {
        return mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    }
    void* const stack = freeStacks.back();
    freeStacks.pop_back();
    return stack;
}

void begin() {
    running->body();
    running->over = true;
    swapcontext(&running->context, &scheduler);
}

// Memory that is short is short for one thread.
void giveTurnBack() {
    const short_memory::Spared spared;
    swapcontext(&running->context, &scheduler);
}

void bury(Fiber* fiber) {
    freeStacks.push_back(fiber->stack);
    all.erase(std::find_if(all.begin(), all.end(), [&](const auto& one) { return one.get() == fiber; }));
}

Fiber* draw() {
    Fiber* ready[64];
    uint32_t count = 0;
    for (const auto& fiber : all) {
        if (count < std::size(ready) && fiber->canGoOn()) {
            ready[count++] = fiber.get();
        }
    }
    return count == 0 ? nullptr : ready[count == 1 ? 0 : world().chance.below(count)];
}

}  // namespace

void start(const std::string& name, const Errand& errand, std::function<void()> body) {
    auto fiber = std::make_unique<Fiber>();
    getcontext(&fiber->context);
    fiber->stack = takeStack();
    fiber->context.uc_stack.ss_sp = fiber->stack;
    fiber->context.uc_stack.ss_size = kStackBytes;
    fiber->body = std::move(body);
    fiber->errand = errand;
    fiber->errand.name = name;
    fiber->number = ++started;
    makecontext(&fiber->context, begin, 0);
    all.push_back(std::move(fiber));
}

bool runOne() {
    Fiber* const next = draw();
    if (next == nullptr) {
        return false;
    }
    next->ready = nullptr;
    next->wakeAt = kNever;
    running = next;
    swapcontext(&scheduler, &next->context);
    running = nullptr;
    checkWrites(next->errand);
    if (next->over) {
        bury(next);
    }
    return true;
}

size_t count() {
    return all.size();
}

uint64_t nextWake() {
    uint64_t next = kNever;
    for (const auto& fiber : all) {
        next = std::min(next, fiber->wakeAt);
    }
    return next;
}

void abandonAllBut(size_t first) {
    while (all.size() > first) {
        bury(all.back().get());
    }
}

void waitFor(std::function<bool()> ready) {
    if (!ready()) {
        running->ready = std::move(ready);
        giveTurnBack();
    }
}

void sleepUntil(uint64_t timeMs) {
    if (timeMs > world().nowMs) {
        running->wakeAt = timeMs;
        giveTurnBack();
    }
}

void perhapsYield() {
    if (running != nullptr && all.size() > 1 && world().chance.below(kYieldOneIn) == 0) {
        giveTurnBack();
    }
}

Errand& errand() {
    return running->errand;
}

uint32_t number() {
    return running != nullptr ? running->number : 0;
}

}  // namespace sim::fibers
