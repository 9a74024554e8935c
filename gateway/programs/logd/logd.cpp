// Collects the three log channels of the gateway's daemons into one file, in the order in which they were written:
// framework log, system log and standard output each are a datagram socket whose datagrams the kernel stamps.
//
//   gw-logd FRAMEWORK-SOCKET SYSTEM-SOCKET OUTPUT-SOCKET FILE ASKERS-SOCKET
//
// Who connects to the askers' socket is told when all that was logged before is in the file.
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "askers.h"
#include "client/standard_streams.h"
#include "lines.h"
#include "socket_file.h"

namespace {

constexpr size_t kLargestDatagram = size_t{256} * 1024;
constexpr int64_t kNsPerUs = 1000;
constexpr int64_t kNsPerSecond = 1000000000;
// A datagram is stamped before it is queued: younger lines wait this long for an older one on another socket.
constexpr int kSettleMs = 3;

enum Channel { kFramework, kSystem, kOutput, kChannels };

int64_t clockNs(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

int openSocket(const char* path) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    constexpr int kOn = 1;
    if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_TIMESTAMPNS, &kOn, sizeof kOn) < 0 ||
        setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &kOn, sizeof kOn) < 0 || !bindAt(fd, path)) {
        return -1;
    }
    return fd;
}

// Name of a process; of one that is gone, the name it had when it was last seen here.
std::string processName(pid_t process) {
    static std::map<pid_t, std::string> seen;
    char path[64];
    snprintf(path, sizeof path, "/.proc/%d/comm", process);
    char name[64];
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : read(file, name, sizeof name);
    if (file >= 0) {
        close(file);
    }
    if (size <= 0) {
        const auto known = seen.find(process);
        return known == seen.end() ? std::string() : known->second;
    }
    constexpr size_t kRemembered = 1024;
    if (seen.size() >= kRemembered) {
        seen.clear();
    }
    return seen[process] = std::string(name, static_cast<size_t>(size) - 1);
}

struct Sender {
    int64_t timeNs;
    pid_t process;
};

Sender readSender(msghdr& header) {
    Sender sender{clockNs(CLOCK_REALTIME), 0};
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET) {
            continue;
        }
        if (part->cmsg_type == SCM_TIMESTAMPNS) {
            timespec stamp{};
            memcpy(&stamp, CMSG_DATA(part), sizeof stamp);
            sender.timeNs = stamp.tv_sec * kNsPerSecond + stamp.tv_nsec;
        } else if (part->cmsg_type == SCM_CREDENTIALS) {
            ucred credentials{};
            memcpy(&credentials, CMSG_DATA(part), sizeof credentials);
            sender.process = credentials.pid;
        }
    }
    return sender;
}

std::vector<LogLine> linesOf(int channel, std::string_view datagram) {
    switch (channel) {
        case kFramework:
            return {frameworkLine(datagram)};
        case kSystem:
            return {systemLine(datagram)};
        default:
            return outputLines(datagram);
    }
}

void drain(int channel, int socket, std::vector<LogLine>& into) {
    static std::vector<char> buffer(kLargestDatagram);
    while (true) {
        iovec piece{buffer.data(), buffer.size()};
        alignas(cmsghdr) char control[256];
        msghdr header{};
        header.msg_iov = &piece;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        const ssize_t size = recvmsg(socket, &header, 0);
        if (size < 0) {
            return;
        }
        const Sender sender = readSender(header);
        const std::string name = processName(sender.process);
        for (LogLine& line : linesOf(channel, {buffer.data(), static_cast<size_t>(size)})) {
            line.timeNs = sender.timeNs;
            if (!name.empty() && channel != kFramework) {
                line.daemon = name;
            }
            into.push_back(std::move(line));
        }
    }
}

// Writes the lines that no older one can overtake any more.
void writeSettled(int file, std::vector<LogLine>& waiting, int64_t until) {
    std::stable_sort(waiting.begin(), waiting.end(),
                     [](const LogLine& left, const LogLine& right) { return left.timeNs < right.timeNs; });
    const int64_t toMonotonic = clockNs(CLOCK_MONOTONIC) - clockNs(CLOCK_REALTIME);
    std::string text;
    auto line = waiting.begin();
    for (; line != waiting.end() && line->timeNs <= until; ++line) {
        text += asJson(*line, (line->timeNs + toMonotonic) / kNsPerUs);
    }
    waiting.erase(waiting.begin(), line);
    if (!text.empty() && write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        perror("gw-logd: cannot write the log");
    }
}

void collect(std::array<pollfd, kChannels + 1>& sockets, int file, Askers& askers) {
    std::vector<LogLine> waiting;
    while (true) {
        poll(sockets.data(), sockets.size(), waiting.empty() && !askers.areThere() ? -1 : kSettleMs);
        const int64_t until = clockNs(CLOCK_REALTIME) - kSettleMs * kNsPerUs * 1000;
        for (int channel = 0; channel < kChannels; ++channel) {
            drain(channel, sockets[static_cast<size_t>(channel)].fd, waiting);
        }
        writeSettled(file, waiting, until);
        askers.answer(until);
        askers.take(clockNs(CLOCK_REALTIME));
    }
}

int cannotOpen(const char* path) {
    fprintf(stderr, "gw-logd: cannot open %s: %s\n", path, strerror(errno));
    return 1;
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    if (count != 6) {
        fprintf(stderr, "usage: gw-logd FRAMEWORK-SOCKET SYSTEM-SOCKET OUTPUT-SOCKET FILE ASKERS-SOCKET\n");
        return 2;
    }
    std::array<pollfd, kChannels + 1> sockets{};
    for (size_t channel = 0; channel < kChannels; ++channel) {
        sockets[channel] = {openSocket(words[channel + 1]), POLLIN, 0};
        if (sockets[channel].fd < 0) {
            return cannotOpen(words[channel + 1]);
        }
    }
    const int file = open(words[4], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file < 0) {
        return cannotOpen(words[4]);
    }
    Askers askers(words[5]);
    sockets[kChannels] = {askers.socket(), POLLIN, 0};
    if (askers.socket() < 0) {
        return cannotOpen(words[5]);
    }
    collect(sockets, file, askers);
}
