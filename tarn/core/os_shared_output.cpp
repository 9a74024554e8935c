// Standard output, which the daemon shares with its commands and with whoever started it.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include "core/os_log.h"

namespace os {
namespace {

// A reader that is gone is an error like any other here, and no signal for the process.
ssize_t writeNow(int descriptor, const char* bytes, size_t size) {
    sigset_t pipe;
    sigset_t before;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    const ssize_t taken = ::write(descriptor, bytes, size);
    const int error = errno;
    if (taken < 0 && error == EPIPE) {
        const timespec now{};
        sigtimedwait(&pipe, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return taken;
}

// For a descriptor that may wait: what a pipe takes without, once it says that it takes anything.
ssize_t writeWhenReady(int descriptor, const char* bytes, size_t size) {
    pollfd state{descriptor, POLLOUT, 0};
    if (poll(&state, 1, 0) == 0) {
        errno = EAGAIN;
        return -1;
    }
    return writeNow(descriptor, bytes, std::min<size_t>(size, PIPE_BUF));
}

}  // namespace

SharedOutput::SharedOutput(int descriptor) : shared_(descriptor), own_(-1), offer_(writeWhenReady) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || S_ISREG(status.st_mode)) {
        return;
    }
    if (S_ISSOCK(status.st_mode)) {
        offer_ = sendNow;
        return;
    }
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    own_ = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    offer_ = own_ >= 0 ? writeNow : writeWhenReady;
}

SharedOutput::~SharedOutput() {
    close(own_);
}

bool SharedOutput::take(int /*priority*/, const std::string& text) {
    const Outcome outcome = write(own_ >= 0 ? own_ : shared_, text, offer_);
    if (outcome == Outcome::Broken) {
        forgetUnfinished();
    }
    return outcome == Outcome::Taken;
}

}  // namespace os
