// Work on a thread of its own that other threads may end at any moment.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace os {

// The thread pauses and runs its commands through this; `stop`, from any thread, ends a pause at once, ends a running
// command with all that it started, and lets no further one begin.
class Stoppable {
  public:
    void stop();
    bool stopped() const;

    // False when it was stopped before or meanwhile. More than a century is a century.
    bool pauseMs(int64_t milliseconds);
    // What system() would return for the command text, -1 when it could not be started; nothing when it was stopped
    // before or meanwhile.
    std::optional<int> run(const std::string& command);

  private:
    pid_t start(const std::string& command);

    mutable std::mutex guard_;
    std::condition_variable wake_;
    bool stopped_ = false;
    pid_t group_ = 0;  // of the command that runs
};

}  // namespace os
