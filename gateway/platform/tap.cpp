#include "tap.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace tap {
namespace {

// A storm on one line must not keep the others waiting.
constexpr int framesAtOnce = 64;
using Frame = std::array<char, 65536>;

bool switchOn(const std::string& name) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    bool done = fd >= 0 && ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    done = done && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    const int reason = errno;
    if (fd >= 0) {
        close(fd);
    }
    errno = reason;
    return done;
}

bool create(int fd, const std::string& name) {
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    return ioctl(fd, TUNSETIFF, &request) == 0;
}

}  // namespace

int open(const std::string& name) {
    const int fd = ::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    if (create(fd, name) && setCarrier(fd, false) && switchOn(name)) {
        return fd;
    }
    const int reason = errno;
    close(fd);
    errno = reason;
    return -1;
}

bool setCarrier(int fd, bool carrier) {
    const int state = carrier ? 1 : 0;
    return ioctl(fd, TUNSETCARRIER, &state) == 0;
}

void pass(int from, int to) {
    static Frame frame;
    for (int count = 0; count < framesAtOnce; ++count) {
        const ssize_t size = read(from, frame.data(), frame.size());
        if (size <= 0) {
            return;
        }
        [[maybe_unused]] const ssize_t written = write(to, frame.data(), static_cast<size_t>(size));
    }
}

void drop(int from) {
    static Frame frame;
    for (int count = 0; count < framesAtOnce; ++count) {
        if (read(from, frame.data(), frame.size()) <= 0) {
            return;
        }
    }
}

}  // namespace tap
