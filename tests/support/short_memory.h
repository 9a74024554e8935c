// Memory that runs out on the calling thread: for everything that is made with new, for what is made with calloc, and
// for the objects and texts that the JSON library makes.
#pragma once

#include <cstddef>

namespace short_memory {

// So many allocations of this thread still succeed, all after them fail; negative: none fails.
void leaveNews(int count);
void leaveCallocs(int count);
void leaveJson(int count);

// One allocation with new fails, the one after so many that succeed.
void failOneNew(int after);
void allNewsSucceed();

// While it lives, this thread's allocations with new succeed and are not among those counted down: for what plays a
// function that manages without memory.
class Spared {
  public:
    Spared();
    Spared(const Spared&) = delete;
    Spared& operator=(const Spared&) = delete;
    ~Spared();

  private:
    int newsLeft_;
    int oneFailsAfter_;
};

// Allocations with new on this thread so far.
size_t newsSoFar();

}  // namespace short_memory
