#include "link.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <vector>

#include "connection_name.h"
#include "descriptor.h"
#include "model_fits.h"
#include "roster.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

// Shorter than the pause in which an endpoint's new server lets senders find out.
constexpr int64_t kTrustUs = 1000;
// Sooner than this a call counts as just begun.
constexpr int64_t kAboutUs = 1000;

std::atomic<uint32_t> forks{0};

struct ThreadLinks {
    std::vector<Link> links;
    Receiver receiver;
    uint32_t fork = 0;

    ~ThreadLinks() { clear(); }
    void clear() {
        for (const Link& link : links) {
            close(link.socket);
        }
        links.clear();
    }
};

// A child process must not send and receive on its parent's connections.
[[maybe_unused]] const int forkHandler =
    pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });

ThreadLinks& mine() {
    [[gnu::tls_model("initial-exec")]] thread_local ThreadLinks links;
    const uint32_t now = forks.load(std::memory_order_relaxed);
    if (links.fork != now) {
        links.clear();
        links.fork = now;
    }
    return links;
}

bool stillLeadsThere(Link& link, int64_t nowUs) {
    if (nowUs - link.checkedUs <= kTrustUs) {
        return true;
    }
    struct stat status {};
    if (stat(link.path.c_str(), &status) != 0 || status.st_ino != link.inode || status.st_dev != link.device) {
        return false;
    }
    link.checkedUs = nowUs;
    return true;
}

// A caller who gives the same time again and again costs no system call.
int64_t limitOf(const Deadline& deadline) {
    const int64_t left = deadline.remainingUs();
    return std::max<int64_t>(deadline.spanUs() - left < kAboutUs ? deadline.spanUs() : left, 1);
}

void limit(int socket, int option, int64_t us) {
    const timeval limit{static_cast<time_t>(us / 1000000), static_cast<suseconds_t>(us % 1000000)};
    setsockopt(socket, SOL_SOCKET, option, &limit, sizeof limit);
}

void limit(int socket, int option, const Deadline& deadline, int64_t* limitUs) {
    const int64_t us = deadline.isNever() ? 0 : limitOf(deadline);
    if (us != *limitUs) {
        limit(socket, option, us);
        *limitUs = us;
    }
}

int codeOfConnect(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
            return VCFG_ERR_RIGHTS;
        case EAGAIN:
            return VCFG_ERR_TIMEOUT;
        case ENOENT:
        case ENOTDIR:
        case ECONNREFUSED:
        case EPROTOTYPE:
            return VCFG_ERR_NO_PEER;
        default:
            return VCFG_ERR_FAIL;
    }
}

// 0 or the error number.
int connectTo(Link& link, const sockaddr_un& address, const Deadline& deadline) {
    for (;;) {
        limitSend(link, deadline);  // a connect that waits for room in the listener's queue is bounded by it, too
        if (::connect(link.socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return 0;
        }
        if (errno != EINTR) {
            return errno;
        }
    }
}

}  // namespace

Link* cachedLink(uint8_t eid, Way way, int64_t nowUs) {
    for (Link& link : mine().links) {
        if (link.eid == eid && link.way == way) {
            if (stillLeadsThere(link, nowUs)) {
                return &link;
            }
            dropLink(eid, way);
            return nullptr;
        }
    }
    return nullptr;
}

Link unconnected(uint8_t eid, Way way, Receiver* receiver) {
    return Link{eid, way, -1, socketPath(eid), 0, 0, monotonicUs(), 0, 0, receiver, {}};
}

int connect(Link& link, const Deadline& deadline) {
    sockaddr_un address;
    struct stat status {};
    if (!modelFits() || !toAddress(link.path, &address)) {
        return VCFG_ERR_INVALID;
    }
    attachRoster();
    // Looked at before connecting: should a new server appear in between, the next look finds the difference.
    if (stat(link.path.c_str(), &status) != 0) {
        return codeOfConnect(errno);
    }
    link.device = status.st_dev;
    link.inode = status.st_ino;
    link.socket = aboveStandard(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    link.sendLimitUs = link.receiveLimitUs = 0;
    link.last = {link.socket >= 0 ? nameConnection(link.socket, link.way == Way::Request).number : 0, 0};
    const int error = link.socket < 0 ? errno : connectTo(link, address, deadline);
    if (error != 0 && link.socket >= 0) {
        close(link.socket);
        link.socket = -1;
    }
    if (error == 0 && link.way == Way::OneWay) {
        shutdown(link.socket, SHUT_RD);
    }
    return error == 0 ? VCFG_OK : codeOfConnect(error);
}

Link* newLink(uint8_t eid, Way way, const Deadline& deadline, int* code) {
    ThreadLinks& own = mine();
    Link link = unconnected(eid, way, &own.receiver);
    *code = connect(link, deadline);
    if (*code != VCFG_OK) {
        return nullptr;
    }
    own.links.push_back(link);
    return &own.links.back();
}

void dropLink(uint8_t eid, Way way) {
    std::vector<Link>& links = mine().links;
    const auto found =
        std::find_if(links.begin(), links.end(), [=](const Link& link) { return link.eid == eid && link.way == way; });
    if (found != links.end()) {
        close(found->socket);
        links.erase(found);
    }
}

void limitSend(Link& link, const Deadline& deadline) {
    limit(link.socket, SO_SNDTIMEO, deadline, &link.sendLimitUs);
}

void limitReceive(Link& link, const Deadline& deadline) {
    limit(link.socket, SO_RCVTIMEO, deadline, &link.receiveLimitUs);
}

}  // namespace vcfg::bus
