#include "local_socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <vcfg/codes.h>

#include <cerrno>

#include "descriptor.h"
#include "run_dir.h"

namespace vcfg {
namespace {

constexpr int kBacklog = 128;
constexpr mode_t kOwnUserOnly = 0600;
constexpr timeval kPatience{5, 0};  // with a listener that accepts nothing, or a reader that reads nothing

int localSocket(int flags = 0) {
    return aboveStandard(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

int codeOf(int error) {
    switch (error) {
        case ENOENT:
        case ECONNREFUSED:
            return VCFG_ERR_NO_PEER;
        case EAGAIN:
            return VCFG_ERR_TIMEOUT;
        case EACCES:
        case EPERM:
            return VCFG_ERR_RIGHTS;
        default:
            return VCFG_ERR_FAIL;
    }
}

// The descriptor when `done`; else it is closed, and the error becomes a code.
int finished(int descriptor, bool done) {
    if (done) {
        return descriptor;
    }
    const int code = codeOf(errno);
    if (descriptor >= 0) {
        close(descriptor);
    }
    return code;
}

// Whether nothing is at the address but this user's socket, at which nobody listens any more.
bool isLeftBehind(const sockaddr_un& address) {
    struct stat there {};
    if (lstat(address.sun_path, &there) != 0 || !S_ISSOCK(there.st_mode) || there.st_uid != geteuid()) {
        return false;
    }
    const int probe = localSocket(SOCK_NONBLOCK);
    const bool refused = probe >= 0 && connect(probe, generic(address), sizeof address) != 0 && errno == ECONNREFUSED;
    if (probe >= 0) {
        close(probe);
    }
    return refused;
}

// The socket file is made with its mode, so that it is open to others at no time.
bool bindTo(int listener, const sockaddr_un& address) {
    if (listener < 0 || fchmod(listener, kOwnUserOnly) != 0) {
        return false;
    }
    if (bind(listener, generic(address), sizeof address) == 0) {
        return true;
    }
    const int error = errno;
    if (error == EADDRINUSE && isLeftBehind(address) && unlink(address.sun_path) == 0) {
        return bind(listener, generic(address), sizeof address) == 0;
    }
    errno = error;
    return false;
}

bool isPath(const char* path, sockaddr_un* address) {
    return path != nullptr && *path != '\0' && bus::toAddress(path, address);
}

}  // namespace

int listenAt(const char* path) {
    sockaddr_un address{};
    if (!isPath(path, &address)) {
        return VCFG_ERR_INVALID;
    }
    const int listener = localSocket();
    return finished(listener, bindTo(listener, address) && listen(listener, kBacklog) == 0);
}

int connectTo(const char* path) {
    sockaddr_un address{};
    if (!isPath(path, &address)) {
        return VCFG_ERR_INVALID;
    }
    const int connection = localSocket();
    const bool connected = connection >= 0 &&
                           setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience) == 0 &&
                           connect(connection, generic(address), sizeof address) == 0;
    return finished(connection, connected);
}

}  // namespace vcfg
