// What the library makes of system calls that fail although nothing is wrong with the bus.
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "bus_world.h"
#include "client/bus_server.h"
#include "refused_calls.h"

namespace {

// Machines have the one or the other.
#ifdef SYS_epoll_wait
const std::vector<long> kWaits{SYS_epoll_wait, SYS_epoll_pwait};
#else
const std::vector<long> kWaits{SYS_epoll_pwait};
#endif

using BusRefusedCalls = BusWorld;

void refused(const std::vector<long>& calls, int error, const std::function<void()>& body) {
    constexpr int kAllOfThem = 1000;
    if (!whereRefused(calls, error, kAllOfThem, body)) {
        GTEST_SKIP() << "this kernel refuses nothing on request";
    }
}

TEST_F(BusRefusedCalls, ConnectionThatCouldWaitForEverIsNotMade) {
    const std::string path = directory + "/internal";
    const int listener = voUtilTcpSvrInit(path.c_str());
    ASSERT_GE(listener, 0);
    refused({SYS_setsockopt}, EINVAL, [&] { EXPECT_EQ(VCFG_ERR_FAIL, voUtilTcpConnInit(path.c_str())); });
    close(listener);
}

TEST_F(BusRefusedCalls, WaitThatTheKernelRefusesHasFailed) {
    int code = VCFG_OK;
    const auto server = vcfg::bus::Server::open(kServer, &code);
    ASSERT_NE(nullptr, server);
    refused(kWaits, EINVAL, [&] {
        EXPECT_EQ(nullptr, server->wait(kSoon, nullptr, &code));
        EXPECT_EQ(VCFG_ERR_FAIL, code);
    });
}

TEST_F(BusRefusedCalls, ConnectionOfWhichOnlyTheAnswerKnowsThatItIsGoneHasNoPeer) {
    int code = VCFG_OK;
    const auto server = vcfg::bus::Server::open(kServer, &code);
    ASSERT_NE(nullptr, server);
    const Process client([](const Process::Ready& ready) {
        ready();
        ask("hello");
    });
    vcfg::bus::ConnectionId from = 0;
    const auto request = server->wait(kSoon, &from, &code);
    ASSERT_NE(nullptr, request);
    const Message reply = newMessage(kAsk | VCFG_MSG_NO_REPLY, "bye", request->srcEid, request->requestId);
    refused({SYS_sendto, SYS_sendmsg}, ENOTCONN, [&] { EXPECT_EQ(VCFG_ERR_NO_PEER, server->answer(from, *reply)); });
}

}  // namespace
