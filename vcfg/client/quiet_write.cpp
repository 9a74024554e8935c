#include "quiet_write.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace vcfg {

// Which signals a process ignores is its own business, so SIGPIPE is held back from this thread and taken away again.
void writeQuietly(int descriptor, const char* text, size_t size) {
    pollfd state{descriptor, POLLOUT, 0};
    if (poll(&state, 1, 0) <= 0 || (state.revents & POLLOUT) == 0) {
        return;
    }
    sigset_t broken;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&broken);
    sigaddset(&broken, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &broken, &before);
    if (write(descriptor, text, size) < 0 && errno == EPIPE && sigismember(&pending, SIGPIPE) == 0) {
        const timespec now{};
        sigtimedwait(&broken, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace vcfg
