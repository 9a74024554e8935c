// Endpoints, the run directory, and who may use them.
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <numeric>
#include <thread>

#include "bus_world.h"
#include "client/endpoint.h"
#include "client/holder.h"
#include "client/roster.h"
#include "client/run_dir.h"

namespace {

constexpr uid_t kNobody = 65534;
constexpr gid_t kGroup = 4242;

class BusEndpoints : public BusWorld {
  protected:
    // Registers in another process, as that user, so that nothing of it stays.
    int registerAs(uid_t user) {
        Process process([=](const Process::Ready&) {
            if (user != 0 && (setgroups(0, nullptr) != 0 || setuid(user) != 0)) {
                _exit(97);
            }
            _exit(vcfg_msg_eidInit(kServer, nullptr) == VCFG_ERR_RIGHTS ? 1 : 0);
        });
        return process.exitStatus();
    }
    static constexpr int kAccepted = 0;
    static constexpr int kRefused = 1;
};
// Which endpoint a process registers first can be seen only once.
class BusFreshProcess : public BusWorld {
  protected:
    void SetUp() override {
        if (vcfg::threadEid() != 0) {
            GTEST_SKIP() << "needs a process in which no other test ran";
        }
    }
};

class BusRights : public BusEndpoints {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs root, to become somebody else";
        }
    }

    int askAs(uid_t user, gid_t group) { return askIn(user, {group}); }
    // Asks the server as a user in those groups; the code that the call ended with, negated.
    int askIn(uid_t user, const std::vector<gid_t>& groups) {
        Process process([&](const Process::Ready&) {
            if (setgroups(groups.size(), groups.data()) != 0 || setgid(user) != 0 || setuid(user) != 0) {
                _exit(97);
            }
            int code = 0;
            ask("hello", &code);
            _exit(-code);
        });
        return process.exitStatus();
    }
};

TEST_F(BusEndpoints, EndpointZeroIsInvalid) {
    EXPECT_EQ(VCFG_ERR_INVALID, vcfg_msg_eidInit(0, "nobody"));
}

TEST_F(BusEndpoints, ThreadsReceiveOnTheirOwnEndpoints) {
    serve(kServer);
    std::string onGround;
    std::thread ground([&] {
        EXPECT_EQ(VCFG_OK, vcfg_msg_eidInit(66, nullptr));
        EXPECT_EQ(VCFG_OK, vcfg_msg_serverInit());
        EXPECT_EQ(VCFG_DELIVERED, tell("to the main thread", kServer));
        onGround = payloadOf(receive());
    });
    EXPECT_EQ("to the main thread", payloadOf(receive()));
    EXPECT_EQ(VCFG_DELIVERED, tell("to the ground thread", 66));
    ground.join();
    EXPECT_EQ("to the ground thread", onGround);
}

TEST_F(BusFreshProcess, ThreadWithoutEndpointUsesTheProcessesFirst) {
    Process process([](const Process::Ready&) {
        vcfg_msg_eidInit(kServer, "first");
        vcfg_msg_serverInit();
        tell("for the first endpoint");
        std::string received;
        std::thread([&] { received = payloadOf(receive()); }).join();
        _exit(received == "for the first endpoint" ? 0 : 1);
    });
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(BusEndpoints, SourceEndpointOfARequestIsFilledInWhenMissing) {
    const Process server(echoServer(kServer, ""));
    vcfg_msg_eidInit(kClient, nullptr);
    Message message = newMessage(kAsk, "");
    message->srcEid = 0;
    vcfg_msg_t* reply = nullptr;
    ASSERT_EQ(VCFG_OK, vcfg_msg_sendAndGetReply(message.release(), &reply, kSoon));
    EXPECT_EQ(kClient, Message(reply)->dstEid);
}

TEST_F(BusEndpoints, MessageThatAsksForNoAnswerMayComeFromNobody) {
    serve(kServer);
    Message message = newMessage(kTell, "");
    message->srcEid = 0;
    EXPECT_EQ(VCFG_DELIVERED, vcfg_msg_sendAndGetReply(message.release(), nullptr, kSoon));
    EXPECT_EQ(0, receive()->srcEid);
}

TEST_F(BusFreshProcess, ServingAndReceivingNeedAnEndpoint) {
    Process process([](const Process::Ready&) {
        vcfg_msg_t* message = nullptr;
        const bool refused =
            vcfg_msg_serverInit() == VCFG_ERR_INVALID && vcfg_msg_serverRecv(&message, 10) == VCFG_ERR_INVALID;
        _exit(refused ? 0 : 1);
    });
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(BusEndpoints, ReceivingEndsAtItsTimeout) {
    serve(kServer);
    vcfg_msg_t* message = nullptr;
    EXPECT_EQ(VCFG_ERR_TIMEOUT, vcfg_msg_serverRecv(&message, 20));
    EXPECT_EQ(nullptr, message);
}

TEST_F(BusEndpoints, ClosedStandardStreamsNeverBecomeSockets) {
    Process process([](const Process::Ready&) {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            close(stream);
        }
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        tell("by a connection");
        const bool received = receive() != nullptr;
        vlog_log_f(VLOG_ERROR, "x", 1, "x", "by a collector");
        int open = 0;
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            open += fcntl(stream, F_GETFD) >= 0 ? 1 : 0;
        }
        _exit(received ? open : 99);
    });
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(BusEndpoints, ItCanBeSeenWhichProcessServes) {
    EXPECT_FALSE(vcfg::bus::holderOf(kServer).isThere());
    Process server(echoServer(kServer, ""));
    const vcfg::bus::Holder holder = vcfg::bus::holderOf(kServer);
    EXPECT_TRUE(holder.isThere());
    EXPECT_EQ(server.id(), holder.process);
    EXPECT_EQ(vcfg::bus::ownProgram(), holder.program);
    EXPECT_EQ("hello", payloadOf(ask("hello")));
    server.kill();
    EXPECT_FALSE(vcfg::bus::holderOf(kServer).isThere());
}

TEST_F(BusEndpoints, MissingRunDirectoryIsMadeForItsOwnerOnly) {
    const std::string made = directory + "/deep/down";
    setenv("VCFG_RUN_DIR", made.c_str(), 1);
    serve(kServer);
    struct stat status {};
    ASSERT_EQ(0, stat(made.c_str(), &status));
    EXPECT_EQ(0700u, status.st_mode & 07777);
    ASSERT_EQ(0, stat((made + "/eid-100").c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 07777);
}

TEST_F(BusEndpoints, RunDirectoryThatEverybodyMayWriteIsRefusedAndLogged) {
    chmod(directory.c_str(), 0777);
    EXPECT_EQ(VCFG_ERR_RIGHTS, vcfg_msg_eidInit(kServer, nullptr));
    EXPECT_NE(std::string::npos, logged().find("writable for everybody"));
}

TEST_F(BusEndpoints, HolderIsNamedByItsProcessEvenByTheSystemsFirst) {
    vcfg::bus::Holder holder;
    holder.state = vcfg::bus::Holder::State::Alive;
    holder.program = "init";
    holder.process = 1;
    EXPECT_EQ("process 1 (init)", holder.text());
    holder.process = 0;
    EXPECT_EQ("a process (init) that is not seen here", holder.text());
}

TEST_F(BusEndpoints, RunDirectoryThatItsGroupMayWriteMustBeClosedToOthers) {
    chmod(directory.c_str(), 0775);
    EXPECT_EQ(VCFG_ERR_RIGHTS, vcfg_msg_eidInit(kServer, nullptr));
    chmod(directory.c_str(), 0770);
    EXPECT_EQ(VCFG_OK, vcfg_msg_eidInit(kServer, nullptr));
}

TEST_F(BusEndpoints, RunDirectoryWithTooLongANameIsRefused) {
    setenv("VCFG_RUN_DIR", (directory + "/" + std::string(120, 'x')).c_str(), 1);
    ASSERT_EQ(VCFG_OK, vcfg_msg_eidInit(kServer, nullptr));
    testing::internal::CaptureStderr();
    EXPECT_EQ(VCFG_ERR_INVALID, vcfg_msg_serverInit());
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("is too long for a socket"));
}

TEST_F(BusEndpoints, ClosedConnectionThatAForkedChildHoldsDisturbsNobody) {
    serve(kServer);
    auto client = std::make_unique<BareSocket>();
    ASSERT_TRUE(client->send(wireMessage(kTell, 0, 5, "hello")));
    ASSERT_EQ("hello", payloadOf(receive()));
    const Process child([](const Process::Ready& ready) {
        ready();
        pause();
    });
    client.reset();
    EXPECT_EQ(nullptr, receive(50));
    EXPECT_EQ(nullptr, receive(50));
}

TEST_F(BusEndpoints, RemovedSocketIsMadeAnew) {
    const Process server(echoServer(kServer, "A:"));
    const std::string path = directory + "/eid-100";
    for (int times = 0; times < 3; ++times) {
        ASSERT_EQ(0, unlink(path.c_str()));
        EXPECT_TRUE(within(kSoon, [&] { return access(path.c_str(), F_OK) == 0; })) << times;
        EXPECT_EQ("A:hello", payloadOf(ask("hello"))) << times;
    }
    EXPECT_NE(std::string::npos, logged().find("the socket of endpoint 100 has been removed; it is made anew"));
}

TEST_F(BusEndpoints, SocketThatWasMovedAwayIsMadeAnew) {
    const Process server(echoServer(kServer, "A:"));
    ASSERT_EQ(0, rename((directory + "/eid-100").c_str(), (directory + "/elsewhere").c_str()));
    EXPECT_TRUE(within(kSoon, [] { return payloadOf(ask("hello")) == "A:hello"; }));
}

TEST_F(BusEndpoints, PlainFileInTheSocketsPlaceGivesWay) {
    const Process server(echoServer(kServer, "A:"));
    const std::string other = directory + "/other";
    std::ofstream(other) << "no socket";
    ASSERT_EQ(0, rename(other.c_str(), (directory + "/eid-100").c_str()));
    EXPECT_TRUE(within(kSoon, [] { return payloadOf(ask("hello")) == "A:hello"; }));
}

TEST_F(BusEndpoints, RemovedRunDirectoryIsMadeAnewWithItsSocket) {
    const Process server(echoServer(kServer, "A:"));
    for (const char* name : {"/eid-100", "/vlog", ""}) {
        static_cast<void>(remove((directory + name).c_str()));
    }
    EXPECT_TRUE(within(kSoon, [] { return payloadOf(ask("hello")) == "A:hello"; }));
}

TEST_F(BusEndpoints, WhatWasSentToARemovedSocketIsReceived) {
    serve(kServer);
    BareSocket sender;
    ASSERT_TRUE(sender.send(wireMessage(kTell, 1, 5, "early")));
    ASSERT_EQ(0, unlink((directory + "/eid-100").c_str()));
    EXPECT_EQ("early", payloadOf(receive()));
    EXPECT_EQ(nullptr, receive(20));
    EXPECT_EQ(VCFG_DELIVERED, tell("later"));
    EXPECT_EQ("later", payloadOf(receive()));
}

// Its loss is known before the connection is.
TEST_F(BusEndpoints, WhatWasSentToAMovedSocketIsReceived) {
    serve(kServer);
    ASSERT_EQ(0, rename((directory + "/eid-100").c_str(), (directory + "/eid-55").c_str()));
    BareSocket sender(55);
    ASSERT_TRUE(sender.send(wireMessage(kTell, 1, 5, "early")));
    EXPECT_EQ("early", payloadOf(receive()));
}

TEST_F(BusEndpoints, SupersededServerLeavesTheSocketToItsSuccessor) {
    const Process older(echoServer(kServer, "old:"));
    const Process newer(echoServer(kServer, "new:"));
    for (int each = 0; each < 50; ++each) {
        ASSERT_EQ("new:1", payloadOf(ask("1")));
    }
    EXPECT_EQ(std::string::npos, logged().find("made anew"));
}

TEST_F(BusRights, RunDirectoryIsTheConfiguredOneWithoutItsLastSlashes) {
    for (const auto& [configured, path] : {std::pair{"", "/run/vcfg"}, std::pair{"/tmp/bus", "/tmp/bus"},
                                           std::pair{"/tmp/bus//", "/tmp/bus"}, std::pair{"/", "/"}}) {
        ASSERT_EQ(0, setenv("VCFG_RUN_DIR", configured, 1));
        EXPECT_EQ(path, vcfg::bus::runDirectory()) << configured;
    }
    unsetenv("VCFG_RUN_DIR");
    EXPECT_EQ("/run/vcfg", vcfg::bus::runDirectory());
}

TEST_F(BusRights, RunDirectoryOfSomebodyElseIsRefused) {
    ASSERT_EQ(0, chown(directory.c_str(), 1234, kGroup));
    EXPECT_EQ(kRefused, registerAs(0));
    EXPECT_EQ(kRefused, registerAs(kNobody));
    ASSERT_EQ(0, chown(directory.c_str(), kNobody, kGroup));
    EXPECT_EQ(kAccepted, registerAs(kNobody));
}

TEST_F(BusRights, StrangerMayNotConnect) {
    const Process server(echoServer(kServer, ""));
    chmod(directory.c_str(), 0755);
    EXPECT_EQ(-VCFG_ERR_RIGHTS, askAs(kNobody, kNobody));
}

TEST_F(BusRights, StrangerWhoCanConnectIsClosedAndLogged) {
    const Process server(echoServer(kServer, ""));
    chmod(directory.c_str(), 0755);
    chmod((directory + "/eid-100").c_str(), 0666);
    EXPECT_EQ(-VCFG_ERR_NO_PEER, askAs(kNobody, kNobody));
    EXPECT_NE(std::string::npos, logged().find("of user 65534"));
}

TEST_F(BusRights, HolderThatAStrangerMayNotSignalIsAliveToHim) {
    const Process server(echoServer(kServer, ""));
    chmod(directory.c_str(), 0755);
    chmod((directory + "/eid-100").c_str(), 0666);
    Process stranger([](const Process::Ready&) {
        if (setgroups(0, nullptr) != 0 || setuid(kNobody) != 0) {
            _exit(97);
        }
        _exit(vcfg::bus::holderOf(kServer).state == vcfg::bus::Holder::State::Alive ? 0 : 1);
    });
    EXPECT_EQ(0, stranger.exitStatus());
}

TEST_F(BusRights, GroupOfTheRunDirectoryMayTalk) {
    ASSERT_EQ(0, chown(directory.c_str(), 0, kGroup));
    ASSERT_EQ(0, chmod(directory.c_str(), 0770));
    const Process server(echoServer(kServer, ""));
    EXPECT_EQ(0, askAs(kNobody, kGroup));
    EXPECT_EQ(-VCFG_ERR_RIGHTS, askAs(kNobody, kNobody));
}

TEST_F(BusRights, UserOfManyGroupsMayTalkByTheLastOfThem) {
    ASSERT_EQ(0, chown(directory.c_str(), 0, kGroup));
    ASSERT_EQ(0, chmod(directory.c_str(), 0770));
    const Process server(echoServer(kServer, ""));
    std::vector<gid_t> groups(100);
    std::iota(groups.begin(), groups.end(), kGroup - 99);
    EXPECT_EQ(0, askIn(kNobody, groups));
}

TEST_F(BusRights, RootMayTalkToAnybodysServer) {
    ASSERT_EQ(0, chown(directory.c_str(), kNobody, kGroup));
    const Process server([](const Process::Ready& ready) {
        if (setuid(kNobody) == 0) {
            echoServer(kServer, "nobody:")(ready);
        }
    });
    EXPECT_EQ("nobody:hello", payloadOf(ask("hello")));
}

}  // namespace
