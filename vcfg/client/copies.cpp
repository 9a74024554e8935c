// The sending of copies to monitors: by connections of each thread's own, without waiting and without memory.
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "deadline.h"
#include "descriptor.h"
#include "monitors.h"
#include "peer.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

constexpr int kQueue = 1 << 20;  // the kernel gives what it may

struct Outlet {
    uint8_t number = 0;
    int socket = -1;

    void end() {
        if (socket >= 0) {
            close(socket);
            openCopies.fetch_sub(1, std::memory_order_relaxed);
        }
        *this = {};
    }
};

struct Outlets {
    std::array<Outlet, Roster::kMonitors> all;
    pid_t process = 0;

    ~Outlets() { end(); }
    void end() {
        for (Outlet& outlet : all) {
            outlet.end();
        }
    }
};

// A child process has connections of its own: the kernel tells monitors who sends.
Outlets& mine() {
    thread_local Outlets own;
    const pid_t process = getpid();
    if (own.process != process) {
        own.end();
        own.process = process;
    }
    return own;
}

// Whoever finds a monitor dead clears its place, and what it left in the run directory.
void clearAway(uint8_t number) {
    if (leavePlace(number)) {
        unlink(monitorPath(number).c_str());
    }
}

// 0 or the error number.
int connectTo(Outlet& outlet, uint8_t number) {
    sockaddr_un address;
    const int made = aboveStandard(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    int error = made < 0 ? errno : toAddress(monitorPath(number), &address) ? 0 : ENAMETOOLONG;
    if (error == 0 && connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = errno;
    }
    if (error == 0 && !peerMayTalk(made, "who copies to monitor", number)) {
        error = ECONNREFUSED;
    }
    if (error == 0) {
        setsockopt(made, SOL_SOCKET, SO_SNDBUF, &kQueue, sizeof kQueue);
        openCopies.fetch_add(1, std::memory_order_relaxed);
        outlet = {number, made};
    } else if (made >= 0) {
        close(made);
    }
    return error;
}

// 0 or the error number. A monitor may have ended, and another one may have its number.
int sendBy(Outlet& outlet, uint8_t number, const msghdr& copy) {
    for (;;) {
        const bool isNew = outlet.socket < 0;
        const int error = isNew ? connectTo(outlet, number) : 0;
        if (error != 0 || sendmsg(outlet.socket, &copy, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) {
            return error;
        }
        const int failure = errno;
        if (failure == EAGAIN) {
            return failure;
        }
        outlet.end();
        if (isNew) {
            return failure;
        }
    }
}

void give(Outlet& outlet, size_t place, uint8_t number, const msghdr& copy) {
    const int error = sendBy(outlet, number, copy);
    if (error == ECONNREFUSED || error == ENOENT) {
        clearAway(number);
    } else if (error != 0) {
        roster.load(std::memory_order_relaxed)->lost[place].fetch_add(1);
    }
}

}  // namespace

constinit std::atomic<uint32_t> openCopies{0};

void copyToMonitors(Passing passing, const vcfg_msg_t& message, int code, int64_t timeUs) {
    const int error = errno;
    CopyHeader header{CopyHeader::kLayout,
                      passing,
                      static_cast<uint32_t>(timeUs / 1000000),
                      static_cast<uint32_t>(timeUs % 1000000),
                      code,
                      {}};
    strncpy(header.program.data(), program_invocation_short_name, header.program.size() - 1);
    const size_t payload = passing == Passing::Failure ? 0 : std::min<size_t>(message.length, kMostCopied);
    iovec parts[] = {{&header, sizeof header}, {const_cast<vcfg_msg_t*>(&message), VCFG_MSG_HEADER_SIZE + payload}};
    msghdr copy{};
    copy.msg_iov = parts;
    copy.msg_iovlen = 2;
    Outlets& own = mine();
    const uint32_t word = roster.load(std::memory_order_relaxed)->monitors.load();
    for (size_t place = 0; place < own.all.size(); ++place) {
        const auto number = static_cast<uint8_t>(word >> (8 * place));
        if (own.all[place].number != number) {
            own.all[place].end();
        }
        if (number != 0) {
            give(own.all[place], place, number, copy);
        }
    }
    errno = error;
}

// With its first message comes to the bus who has not registered before.
void copySent(Passing passing, const vcfg_msg_t& message) {
    static const bool isThere = (attachRoster(), true);
    if (isThere && isWatched()) {
        copyToMonitors(passing, message, VCFG_OK, monotonicUs());
    }
}

void copyFailure(const vcfg_msg_t& message, int code) {
    if (isWatched()) {
        copyToMonitors(Passing::Failure, message, code, monotonicUs());
    }
}

}  // namespace vcfg::bus
