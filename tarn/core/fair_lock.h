// A lock that threads get in the order in which they asked for it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

// For std::lock_guard. The thread that holds it may take it again; it is free when the first taker gives it back.
class FairLock {
  public:
    void lock();
    void unlock();
    uint32_t waiting();  // threads that wait for it

  private:
    std::mutex guard_;  // held only to look at what follows
    std::condition_variable moved_;
    uint32_t tickets_ = 0;  // handed out so far
    uint32_t turn_ = 0;     // the ticket whose turn it is
    std::thread::id holder_;
    unsigned depth_ = 0;
};
