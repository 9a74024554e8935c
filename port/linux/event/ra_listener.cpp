// Listens for router advertisements on one device and reports each to the monitor daemon. Solicits the first one.
//
//   port-rad DEVICE
#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <vcfg/msg_types.h>

#include <cstdio>
#include <cstring>

#include "advertisement.h"
#include "client/standard_streams.h"
#include "delivery.h"
#include "routers.h"

namespace {

constexpr int kHopLimit = 255;  // what a router beyond this link cannot forge
constexpr int kSolicitations = 10;
constexpr int kSolicitMs = 500;
constexpr const char* kAllRouters = "ff02::2";

bool setOption(int fd, int level, int name, const void* value, socklen_t size) {
    return setsockopt(fd, level, name, value, size) == 0;
}

int listenOn(const char* device) {
    const int fd = socket(AF_INET6, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMPV6);
    icmp6_filter wanted;
    ICMP6_FILTER_SETBLOCKALL(&wanted);
    ICMP6_FILTER_SETPASS(ND_ROUTER_ADVERT, &wanted);
    const int on = 1;
    const bool ready = fd >= 0 && setOption(fd, IPPROTO_ICMPV6, ICMP6_FILTER, &wanted, sizeof wanted) &&
                       setOption(fd, IPPROTO_IPV6, IPV6_RECVHOPLIMIT, &on, sizeof on) &&
                       setOption(fd, IPPROTO_IPV6, IPV6_MULTICAST_HOPS, &kHopLimit, sizeof kHopLimit) &&
                       setOption(fd, SOL_SOCKET, SO_BINDTODEVICE, device, static_cast<socklen_t>(strlen(device) + 1));
    return ready ? fd : -1;
}

// Fails while the device has no address of its own yet.
bool solicit(int fd, const char* device) {
    nd_router_solicit message{};
    message.nd_rs_type = ND_ROUTER_SOLICIT;
    sockaddr_in6 routers{};
    routers.sin6_family = AF_INET6;
    routers.sin6_scope_id = if_nametoindex(device);
    inet_pton(AF_INET6, kAllRouters, &routers.sin6_addr);
    return sendto(fd, &message, sizeof message, 0, reinterpret_cast<const sockaddr*>(&routers), sizeof routers) >= 0;
}

// Until something comes in. A router that hears none of it advertises by itself sooner or later.
void solicitFirst(int fd, const char* device) {
    pollfd waiting{fd, POLLIN, 0};
    for (int sent = 0; sent < kSolicitations; ++sent) {
        if (!solicit(fd, device)) {
            perror("port-rad: soliciting");
        }
        if (poll(&waiting, 1, kSolicitMs) > 0) {
            return;
        }
    }
}

int hopLimitOf(msghdr& header) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level == IPPROTO_IPV6 && part->cmsg_type == IPV6_HOPLIMIT) {
            int value = 0;
            memcpy(&value, CMSG_DATA(part), sizeof value);
            return value;
        }
    }
    return 0;
}

int64_t nowMs() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

// False when the socket is of no use any more.
bool receive(int fd, const char* device, Routers& routers) {
    uint8_t data[1500];
    char control[CMSG_SPACE(sizeof(int))];
    sockaddr_in6 sender{};
    iovec piece{data, sizeof data};
    msghdr header{};
    header.msg_name = &sender;
    header.msg_namelen = sizeof sender;
    header.msg_iov = &piece;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(fd, &header, 0);
    if (size < 0) {
        perror("port-rad");
        return false;
    }
    if (hopLimitOf(header) != kHopLimit || !IN6_IS_ADDR_LINKLOCAL(&sender.sin6_addr)) {
        return true;
    }
    char router[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &sender.sin6_addr, router, sizeof router);
    const auto advertisement = readAdvertisement(data, static_cast<size_t>(size), router);
    if (advertisement) {
        routers.take(*advertisement, nowMs());
        deliver(VCFG_MSG_RA_INFO, advertisementPayload(*advertisement, device));
    }
    return true;
}

// The socket may wait longer than a router's time lasts.
bool listen(int fd, const char* device, Routers& routers) {
    pollfd waiting{fd, POLLIN, 0};
    const int ready = poll(&waiting, 1, routers.remainingMs(nowMs()));
    routers.look(nowMs());
    return ready <= 0 || receive(fd, device, routers);
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    if (count != 2 || if_nametoindex(words[1]) == 0) {
        fprintf(stderr, "usage: port-rad DEVICE\n");
        return 2;
    }
    const int fd = listenOn(words[1]);
    if (fd < 0) {
        perror("port-rad");
        return 1;
    }
    solicitFirst(fd, words[1]);
    Routers routers(words[1]);
    while (listen(fd, words[1], routers)) {
    }
    return 1;
}
