#include "platform/linux/link_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "refused_calls.h"

namespace {

TEST(LinkSocket, HasRoomForBursts) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to have more room than others";
    }
    const int descriptor = link_socket::open();
    ASSERT_GE(descriptor, 0);
    int room = 0;
    socklen_t size = sizeof room;
    EXPECT_EQ(getsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &room, &size), 0);
    EXPECT_GE(room, 1 << 20);
    close(descriptor);
}

TEST(LinkSocket, IsNoneOnASystemWithoutTheKernelsRoutes) {
    const bool ran = whereRefused({SYS_socket}, EAFNOSUPPORT, 2, [] {
        EXPECT_EQ(link_socket::open(), -1);
        EXPECT_FALSE(link_socket::list());
    });
    if (!ran) {
        GTEST_SKIP() << "this kernel refuses nothing on request";
    }
}

}  // namespace
