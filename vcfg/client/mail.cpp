// Mail leaves through a helper program, so that the daemons carry no mail stack.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/os.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "client_log.h"
#include "deadline.h"
#include "guarded.h"
#include "mail_text.h"
#include "recorder/events.h"
#include "recorder/program.h"

namespace vcfg {
namespace {

constexpr uint32_t kTimeLimitMs = 120000;
constexpr size_t kLongestComplaint = 1000;

struct Helper {
    pid_t process;
    int talk;  // its standard input and standard error
};

const char* helperProgram() {
    const char* configured = getenv("VCFG_MAIL_HELPER");
    return configured != nullptr && *configured != '\0' ? configured : "/usr/libexec/vcfg/vcfg-mail";
}

// 0 or the error number. A socket pair rather than pipes: writing to a helper that has gone must not raise SIGPIPE.
int start(const char* program, Helper* helper) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return errno;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    std::string name(program);
    char* const arguments[] = {name.data(), nullptr};
    const int error = posix_spawn(&helper->process, program, &actions, nullptr, arguments,
                                  recorder::environmentOf(recorder::eventHere()));
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
        close(ends[0]);
    }
    helper->talk = ends[0];
    return error;
}

// Writes the request and takes what the helper complains about; false when its time is over.
bool converse(const Helper& helper, std::string_view request, const Deadline& deadline, std::string* complaint) {
    std::array<char, 512> chunk;
    if (request.empty()) {
        shutdown(helper.talk, SHUT_WR);
    }
    for (;;) {
        pollfd state{helper.talk, static_cast<short>(request.empty() ? POLLIN : POLLIN | POLLOUT), 0};
        if (poll(&state, 1, deadline.remainingMs()) == 0) {
            return false;
        }
        if ((state.revents & POLLOUT) != 0) {
            const ssize_t sent = send(helper.talk, request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            request.remove_prefix(sent > 0 ? static_cast<size_t>(sent) : errno == EAGAIN ? 0 : request.size());
            if (request.empty()) {
                shutdown(helper.talk, SHUT_WR);
            }
        }
        if ((state.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            const ssize_t received = recv(helper.talk, chunk.data(), chunk.size(), MSG_DONTWAIT);
            if (received == 0 || (received < 0 && errno != EAGAIN)) {
                return true;
            }
            if (received > 0 && complaint->size() < kLongestComplaint) {
                complaint->append(chunk.data(), static_cast<size_t>(received));
            }
        }
    }
}

int await(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            return VCFG_ERR_FAIL;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? VCFG_OK : VCFG_ERR_FAIL;
}

// The helper's run is a command to who asks why no mail came.
class Noted {
  public:
    explicit Noted(const char* request) : before_(recorder::begin("command", 0, mailText(request))) {}
    ~Noted() { recorder::end(before_); }
    Noted(const Noted&) = delete;
    Noted& operator=(const Noted&) = delete;

  private:
    uint32_t before_;
};

void noteFailure(std::string_view why) {
    recorder::step(recorder::Lane::Lasting, "failed", why, VCFG_ERR_FAIL);
}

int sendMail(std::string_view request) {
    Helper helper{};
    if (const int error = start(helperProgram(), &helper); error != 0) {
        CLIENT_LOG(VLOG_ERROR, "mail helper %s cannot be started: %s", helperProgram(), strerror(error));
        noteFailure(strerror(error));
        return VCFG_ERR_FAIL;
    }
    std::string complaint;
    const bool inTime = converse(helper, request, Deadline::in(kTimeLimitMs), &complaint);
    close(helper.talk);
    if (!inTime) {
        kill(helper.process, SIGKILL);
        complaint = "it took too long";
    }
    const int code = await(helper.process);
    if (code != VCFG_OK) {
        complaint.resize(std::min(complaint.find('\n'), complaint.size()));
        CLIENT_LOG(VLOG_ERROR, "mail not sent: %s", complaint.empty() ? "the helper failed" : complaint.c_str());
        noteFailure(complaint.empty() ? "the helper failed" : complaint);
    } else {
        recorder::step(recorder::Lane::Lasting, "status", "", 0);
    }
    return code;
}

}  // namespace
}  // namespace vcfg

int voUtilMailSend(const char* request) {
    return vcfg::guarded([=]() -> int {
        if (request == nullptr) {
            return VCFG_ERR_INVALID;
        }
        const vcfg::Noted noted(request);
        return vcfg::sendMail(request);
    });
}
