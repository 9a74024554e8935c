#include "platform/linux/link_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

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

}  // namespace
