#include "refused_calls.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <thread>

namespace {

constexpr int kLookMs = 10;

sock_filter statement(uint32_t code, uint32_t value, uint8_t whenTrue = 0, uint8_t whenFalse = 0) {
    return {static_cast<uint16_t>(code), whenTrue, whenFalse, value};
}

// Asks for each of the calls of this thread. Negative where that cannot be.
int listenFor(const std::vector<long>& calls) {
    std::vector<sock_filter> filter{statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long call : calls) {
        filter.push_back(statement(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 1));
        filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
               ? -1
               : static_cast<int>(
                     syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

void answerCall(int listener, int error, int& times) {
    seccomp_notif asked{};
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0) {
        return;
    }
    const bool isRefused = times > 0;
    times -= isRefused ? 1 : 0;
    seccomp_notif_resp answer{asked.id, 0, isRefused ? -error : 0,
                              isRefused ? 0u : uint32_t{SECCOMP_USER_NOTIF_FLAG_CONTINUE}};
    ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &answer);
}

}  // namespace

bool whereRefused(const std::vector<long>& calls, int error, int times, const std::function<void()>& body) {
    std::promise<int> opened;
    std::atomic<bool> done = false;
    std::thread worker([&] {
        const int listener = listenFor(calls);
        opened.set_value(listener);
        if (listener >= 0) {
            body();
        }
        done = true;
    });
    const int listener = opened.get_future().get();
    while (listener >= 0 && !done) {
        pollfd asked{listener, POLLIN, 0};
        if (poll(&asked, 1, kLookMs) > 0 && (asked.revents & POLLIN) != 0) {
            answerCall(listener, error, times);
        }
    }
    worker.join();
    if (listener >= 0) {
        close(listener);
    }
    return listener >= 0;
}
