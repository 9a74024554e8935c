#include "onlooker.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "client/deadline.h"
#include "client/listener.h"
#include "client/peer.h"

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;

constexpr int kBacklog = 512;
constexpr size_t kMostConnections = 512;
constexpr int kTurn = 256;  // copies of one connection before the next is looked at
constexpr int64_t kStayUs = 1000000;
constexpr size_t kLargest = sizeof(bus::CopyHeader) + VCFG_MSG_HEADER_SIZE + VCFG_MSG_PAYLOAD_MAX;

int signalsToEnd() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int each : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&wanted, each);
    }
    sigprocmask(SIG_BLOCK, &wanted, nullptr);
    return signalfd(-1, &wanted, SFD_NONBLOCK | SFD_CLOEXEC);
}

// What is no copy, or does not hold what it says, is none.
bool take(const char* bytes, size_t size, pid_t process, Copy* copy) {
    bus::CopyHeader header;
    constexpr size_t kLeast = sizeof header + VCFG_MSG_HEADER_SIZE;
    if (size < kLeast || size > kLargest) {
        return false;
    }
    memcpy(&header, bytes, sizeof header);
    header.program.back() = '\0';
    const size_t held = size - kLeast;
    bus::MessagePtr message(static_cast<vcfg_msg_t*>(malloc(VCFG_MSG_HEADER_SIZE + held + 1)));
    if (header.layout != bus::CopyHeader::kLayout || message == nullptr) {
        return false;
    }
    memcpy(message.get(), bytes + sizeof header, VCFG_MSG_HEADER_SIZE + held);
    vcfg_msg_payload(message.get())[held] = '\0';
    const size_t all = header.passing == bus::Passing::Failure ? 0 : message->length;
    if (header.passing < bus::Passing::Message || header.passing > bus::Passing::Taken ||
        (held != all && held != std::min(all, bus::kMostCopied))) {
        return false;
    }
    const int64_t timeUs = int64_t{header.timeS} * 1000000 + header.timeUs;
    *copy = {timeUs,  header.passing,        header.code,        header.thread, header.event,
             process, header.program.data(), std::move(message), held};
    return true;
}

}  // namespace

Onlooker::~Onlooker() {
    if (number_ != 0) {
        bus::leavePlace(number_);
        unlink(bus::monitorPath(number_).c_str());
    }
    for (const Connection& connection : connections_) {
        close(connection.socket);
    }
    for (const int descriptor : {listener_, signals_}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

bool Onlooker::open(bool whole, std::string* why) {
    whole_ = whole;
    signals_ = signalsToEnd();
    return enter(why);
}

bool Onlooker::enter(std::string* why) {
    bus::attachRoster();
    const bool isNew = number_ == 0;
    const uint8_t number = isNew ? bus::freshMonitorNumber() : number_;
    if (listener_ < 0) {
        listener_ = bus::listenForPackets(bus::monitorPath(number), kBacklog);
    }
    if (listener_ < 0 || !bus::isRosterThere()) {
        *why = std::string("there is no place for a monitor in the run directory: ") + strerror(errno);
        return false;
    }
    if (!bus::takePlace(number, whole_, &place_)) {
        unlink(bus::monitorPath(number).c_str());
        *why = std::to_string(bus::Roster::kMonitors) + " monitors look already; one of them must end first";
        return false;
    }
    number_ = number;
    lostBefore_ = bus::lostOf(place_);
    stayedUs_ = vcfg::monotonicUs();
    return true;
}

// Where the files of the run directory were made anew, or somebody has cleared them away, it comes in again.
void Onlooker::stay() {
    const int64_t now = vcfg::monotonicUs();
    if (now - stayedUs_ < kStayUs) {
        return;
    }
    stayedUs_ = now;
    if (access(bus::monitorPath(number_).c_str(), F_OK) != 0) {
        close(listener_);
        listener_ = -1;
    }
    size_t place = place_;
    std::string why;
    if (listener_ < 0 || !bus::takePlace(number_, whole_, &place) || place != place_) {
        enter(&why);
    }
}

void Onlooker::accept() {
    while (connections_.size() < kMostConnections) {
        const int peer = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        ucred credentials{};
        socklen_t size = sizeof credentials;
        if (peer < 0) {
            return;
        }
        if (bus::peerMayTalk(peer, "monitor", number_) &&
            getsockopt(peer, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0) {
            connections_.push_back({peer, credentials.pid});
        } else {
            close(peer);
        }
    }
}

// False when the connection is over.
bool Onlooker::receive(const Connection& connection, std::vector<Copy>* copies) {
    char bytes[kLargest + 1];
    for (int each = 0; each < kTurn; ++each) {
        const ssize_t size = recv(connection.socket, bytes, sizeof bytes, MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
            return true;
        }
        Copy copy;
        if (size <= 0 || !take(bytes, static_cast<size_t>(size), connection.process, &copy)) {
            return false;
        }
        copies->push_back(std::move(copy));
    }
    return true;
}

Onlooker::Woken Onlooker::wait(int timeoutMs, std::vector<Copy>* copies) {
    stay();
    const bool hasRoom = connections_.size() < kMostConnections;
    std::vector<pollfd> all = {
        {signals_, POLLIN, 0}, {STDOUT_FILENO, 0, 0}, {listener_, static_cast<short>(hasRoom ? POLLIN : 0), 0}};
    for (const Connection& connection : connections_) {
        all.push_back({connection.socket, POLLIN, 0});
    }
    if (poll(all.data(), all.size(), timeoutMs) <= 0) {
        return Woken::ByCopies;
    }
    for (size_t each = connections_.size(); each-- > 0;) {
        if (all[each + 3].revents != 0 && !receive(connections_[each], copies)) {
            close(connections_[each].socket);
            connections_.erase(connections_.begin() + static_cast<ptrdiff_t>(each));
        }
    }
    if (all[2].revents != 0) {
        accept();
    }
    return all[0].revents != 0 ? Woken::BySignal : all[1].revents != 0 ? Woken::ByClosedOutput : Woken::ByCopies;
}

uint32_t Onlooker::takeLost() {
    const uint32_t now = bus::lostOf(place_);
    return now - std::exchange(lostBefore_, now);
}

}  // namespace vcfgctl
