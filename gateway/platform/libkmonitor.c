/* Preloaded into the daemon in the virtual gateway only: the platform kernel's link-monitor netlink family, which a
   stock kernel does not have, becomes the family for user processes. */
#include <dlfcn.h>
#include <errno.h>
#include <linux/netlink.h>
#include <sys/socket.h>

#define NETLINK_LINK_MONITOR 25

typedef int socket_call(int, int, int);

__attribute__((visibility("default"))) int socket(int domain, int type, int protocol) {
    static socket_call* next;
    if (!next)
        *(void**)&next = dlsym(RTLD_NEXT, "socket");
    if (!next) {
        errno = ENOSYS;
        return -1;
    }
    if (domain == AF_NETLINK && protocol == NETLINK_LINK_MONITOR)
        protocol = NETLINK_USERSOCK;
    return next(domain, type, protocol);
}
