#include "listener.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "client_log.h"
#include "descriptor.h"
#include "peer.h"
#include "roster.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

// Longer than a sender trusts a cached connection without looking at the socket file.
constexpr useconds_t kTakeoverUs = 5000;

bool isSame(const struct stat& left, const struct stat& right) {
    return left.st_ino == right.st_ino && left.st_dev == right.st_dev;
}

}  // namespace

int listenForPackets(const std::string& path, int backlog) {
    gid_t group = 0;
    const mode_t mode = runDirectoryGroup(&group) ? 0660 : 0600;
    sockaddr_un address;
    const int made = aboveStandard(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    unlink(path.c_str());
    if (made >= 0 && toAddress(path, &address) &&
        bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        chmod(path.c_str(), mode) == 0 && (mode == 0600 || chown(path.c_str(), uid_t(-1), group) == 0) &&
        listen(made, backlog) == 0) {
        return made;
    }
    const int error = errno;
    if (made >= 0) {
        close(made);
    }
    errno = error;
    return -1;
}

Listener::~Listener() {
    for (const int descriptor : {socket_, inotify_, reserve_}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

bool Listener::prepare() {
    reserve_ = aboveStandard(open("/dev/null", O_RDONLY | O_CLOEXEC));
    inotify_ = aboveStandard(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    return reserve_ >= 0;
}

// The socket is made under a name of its own and then renamed, so that the endpoint is never without a server.
int Listener::listen(const std::function<bool(int)>& watch, const std::function<void()>& drain) {
    const std::string path = socketPath(eid_);
    const std::string fresh = path + "." + std::to_string(getpid());
    sockaddr_un address;
    if (!toAddress(fresh, &address)) {
        CLIENT_LOG(VLOG_ERROR, "%s is too long for a socket", fresh.c_str());
        return VCFG_ERR_INVALID;
    }
    const bool takesOver = access(path.c_str(), F_OK) == 0;
    const int made = listenForPackets(fresh, kBacklog);
    if (made < 0 || !publish(made, fresh, watch)) {
        const int error = errno;
        CLIENT_LOG(VLOG_ERROR, "endpoint %u cannot listen at %s: %s", eid_, path.c_str(), strerror(error));
        unlink(fresh.c_str());
        if (made >= 0) {
            close(made);
        }
        return error == EACCES || error == EPERM ? VCFG_ERR_RIGHTS : VCFG_ERR_FAIL;
    }
    drain();
    if (socket_ >= 0) {
        close(socket_);
    }
    socket_ = made;
    if (takesOver) {
        usleep(kTakeoverUs);
    }
    return VCFG_OK;
}

bool Listener::publish(int socket, const std::string& fresh, const std::function<bool(int)>& watch) {
    struct stat file {};
    attachRoster();
    const bool watched = inotify_ < 0 || inotify_add_watch(inotify_, fresh.c_str(), IN_ATTRIB | IN_MOVE_SELF) >= 0;
    if (!watched || stat(fresh.c_str(), &file) != 0 || !watch(socket)) {
        return false;
    }
    signRoster(eid_, file.st_ino);
    if (rename(fresh.c_str(), socketPath(eid_).c_str()) != 0) {
        return false;
    }
    file_ = file;
    return true;
}

bool Listener::accept(int* socket, ConnectionName* name) {
    sockaddr_un address;
    socklen_t size = sizeof address;
    const int peer =
        aboveStandard(accept4(socket_, reinterpret_cast<sockaddr*>(&address), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (peer < 0) {
        if (errno == EMFILE || errno == ENFILE) {
            refuseForWantOfDescriptors();
        }
        return errno == ECONNABORTED || errno == EINTR;
    }
    if (peerMayTalk(peer, "endpoint", eid_)) {
        *socket = peer;
        *name = connectionName(address, size);
    } else {
        close(peer);
    }
    return true;
}

void Listener::refuseForWantOfDescriptors() {
    CLIENT_LOG(VLOG_ERROR, "endpoint %u refuses a peer: too many open files", eid_);
    close(reserve_);
    const int peer = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (peer >= 0) {
        close(peer);
    }
    reserve_ = aboveStandard(open("/dev/null", O_RDONLY | O_CLOEXEC));
    errno = EMFILE;
}

bool Listener::isCurrent() const {
    struct stat now {};
    return socket_ >= 0 && stat(socketPath(eid_).c_str(), &now) == 0 && isSame(now, file_);
}

bool Listener::isSuperseded() const {
    struct stat now {};
    return lstat(socketPath(eid_).c_str(), &now) == 0 && S_ISSOCK(now.st_mode) && !isSame(now, file_);
}

bool Listener::hasLostItsFile() {
    alignas(inotify_event) std::array<char, 1024> events;
    while (read(inotify_, events.data(), events.size()) > 0) {
    }
    return !isCurrent() && !isSuperseded();
}

void Listener::remove() {
    if (isCurrent()) {
        signRoster(eid_, 0);
        unlink(socketPath(eid_).c_str());
    }
}

}  // namespace vcfg::bus
