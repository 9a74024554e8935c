// The sending of copies to monitors: by connections of each thread's own, without waiting and without memory.
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "deadline.h"
#include "descriptor.h"
#include "monitors.h"
#include "peer.h"
#include "recorder/events.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

constexpr int kQueue = 1 << 20;  // the kernel gives what it may
constexpr size_t kLongestKind = 32;
constexpr size_t kLongestWhat = 32768;  // a command's text, a path

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
    uint32_t thread = 0;

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
        own.thread = static_cast<uint32_t>(gettid());
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

CopyHeader headerOf(Passing passing, int code, int64_t timeUs) {
    CopyHeader header{CopyHeader::kLayout,
                      passing,
                      static_cast<uint32_t>(timeUs / 1000000),
                      static_cast<uint32_t>(timeUs % 1000000),
                      code,
                      mine().thread,
                      recorder::eventHere(),
                      {}};
    strncpy(header.program.data(), program_invocation_short_name, header.program.size() - 1);
    return header;
}

// To each monitor, with so much of the last part: of a whole copy, and of one that is cut; 0: it gets none.
void spread(msghdr& copy, size_t whole, size_t cut) {
    const int error = errno;
    const Roster& all = *roster.load(std::memory_order_relaxed);
    const uint32_t word = all.monitors.load();
    const uint32_t wanted = all.whole.load();
    Outlets& own = mine();
    for (size_t place = 0; place < own.all.size(); ++place) {
        const auto number = static_cast<uint8_t>(word >> (8 * place));
        const size_t length = (wanted >> place & 1) != 0 ? whole : cut;
        if (own.all[place].number != number) {
            own.all[place].end();
        }
        if (number != 0 && length != 0) {
            copy.msg_iov[copy.msg_iovlen - 1].iov_len = length;
            give(own.all[place], place, number, copy);
        }
    }
    errno = error;
}

iovec partOf(const void* bytes, size_t size) {
    return {const_cast<void*>(bytes), size};
}

}  // namespace

constinit std::atomic<uint32_t> openCopies{0};

void copyToMonitors(Passing passing, const vcfg_msg_t& message, int code, int64_t timeUs) {
    const CopyHeader header = headerOf(passing, code, timeUs);
    const size_t payload = passing == Passing::Failure ? 0 : message.length;
    iovec parts[] = {partOf(&header, sizeof header), partOf(&message, 0)};
    msghdr copy{};
    copy.msg_iov = parts;
    copy.msg_iovlen = 2;
    spread(copy, VCFG_MSG_HEADER_SIZE + payload, VCFG_MSG_HEADER_SIZE + std::min(payload, kMostCopied));
}

// The bytes are cut to what a message holds.
void copyNote(const Note& note) {
    static const bool isThere = (attachRoster(), true);
    if (!isThere || !isRecorded()) {
        return;
    }
    const CopyHeader header = headerOf(note.passing, note.result, monotonicUs());
    const std::string_view kind = note.kind.substr(0, kLongestKind);
    const std::string_view what = note.what.substr(0, kLongestWhat);
    const size_t texts = kind.size() + what.size() + 3;
    const std::string_view bytes = note.bytes.substr(0, VCFG_MSG_PAYLOAD_MAX - texts);
    vcfg_msg_t envelope{};
    envelope.oid = note.cause;
    envelope.srcEid = note.forEid;
    envelope.length = static_cast<uint16_t>(texts + bytes.size());
    iovec parts[] = {partOf(&header, sizeof header),     partOf(&envelope, VCFG_MSG_HEADER_SIZE),
                     partOf(kind.data(), kind.size()),   partOf("", 1),
                     partOf(what.data(), what.size()),   partOf("", 1),
                     partOf(bytes.data(), bytes.size()), partOf("", 1)};
    msghdr copy{};
    copy.msg_iov = parts;
    copy.msg_iovlen = std::size(parts);
    spread(copy, 1, 0);
}

void copyTaken(const vcfg_msg_t& answer) {
    if (!isRecorded()) {
        return;
    }
    const CopyHeader header = headerOf(Passing::Taken, VCFG_OK, monotonicUs());
    iovec parts[] = {partOf(&header, sizeof header), partOf(&answer, 0)};
    msghdr copy{};
    copy.msg_iov = parts;
    copy.msg_iovlen = 2;
    spread(copy, VCFG_MSG_HEADER_SIZE + answer.length, 0);
}

void copyFailure(const vcfg_msg_t& message, int code) {
    if (isWatched()) {
        copyToMonitors(Passing::Failure, message, code, monotonicUs());
    }
}

}  // namespace vcfg::bus
