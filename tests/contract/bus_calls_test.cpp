// Requests and replies, and what becomes of them when somebody fails.
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <thread>

#include "bus_world.h"
#include "client/bus_server.h"

namespace {

class BusCalls : public BusWorld {
  protected:
    BusCalls() { vcfg_msg_eidInit(kClient, "client"); }
};

TEST_F(BusCalls, ReplyComesBackToTheCaller) {
    const Process server(echoServer(kServer, "A:"));
    int code = -1;
    EXPECT_EQ("A:hello", payloadOf(ask("hello", &code)));
    EXPECT_EQ(VCFG_OK, code);
}

TEST_F(BusCalls, LargestPayloadGoesThereAndBack) {
    const Process server(echoServer(kServer, ""));
    const std::string payload(VCFG_MSG_PAYLOAD_MAX, 'x');
    EXPECT_EQ(payload, payloadOf(ask(payload)));
}

TEST_F(BusCalls, EndpointThatNobodyServesFailsAtOnce) {
    int code = 0;
    EXPECT_EQ(nullptr, ask("hello", &code, 77, 0));
    EXPECT_EQ(VCFG_ERR_NO_PEER, code);
    EXPECT_EQ(VCFG_ERR_NO_PEER, tell("hello", 77, 0));
}

TEST_F(BusCalls, EndpointZeroIsRefused) {
    int code = 0;
    EXPECT_EQ(nullptr, ask("hello", &code, 0));
    EXPECT_EQ(VCFG_ERR_INVALID, code);
}

TEST_F(BusCalls, PeerThatDiesEndsAWaitWithoutLimit) {
    const Process server([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        receive(0);
    });
    int code = 0;
    EXPECT_EQ(nullptr, ask("hello", &code, kServer, 0));
    EXPECT_EQ(VCFG_ERR_NO_PEER, code);
}

TEST_F(BusCalls, DeadPeerFailsAtOnce) {
    Process server(echoServer(kServer, "A:"));
    EXPECT_EQ("A:1", payloadOf(ask("1")));
    server.kill();
    int code = 0;
    EXPECT_EQ(nullptr, ask("2", &code, kServer, 0));
    EXPECT_EQ(VCFG_ERR_NO_PEER, code);
    EXPECT_EQ(VCFG_ERR_NO_PEER, tell("3", kServer, 0));
}

TEST_F(BusCalls, RestartedServerIsReachedByTheNextCall) {
    Process first(echoServer(kServer, "A:"));
    EXPECT_EQ("A:1", payloadOf(ask("1")));
    first.kill();
    const Process second(echoServer(kServer, "B:"));
    EXPECT_EQ("B:2", payloadOf(ask("2")));
}

TEST_F(BusCalls, NewestProcessServesAnEndpointWhileTheOlderLives) {
    const Process older(echoServer(kServer, "old:"));
    EXPECT_EQ("old:1", payloadOf(ask("1")));
    const Process newer(echoServer(kServer, "new:"));
    EXPECT_EQ("new:2", payloadOf(ask("2")));
}

TEST_F(BusCalls, OneWayMessagesFollowTheNewestProcessToo) {
    const Process older(echoServer(kServer, "old:"));
    EXPECT_EQ(VCFG_DELIVERED, tell("1"));
    serve(kServer);
    EXPECT_EQ(VCFG_DELIVERED, tell("2"));
    EXPECT_EQ("2", payloadOf(receive()));
}

TEST_F(BusCalls, ServerThatWasSupersededTakesItsEndpointBackWhenItAsks) {
    serve(kServer);
    const Process newer(echoServer(kServer, "new:"));
    EXPECT_EQ("new:1", payloadOf(ask("1")));
    serve(kServer);
    EXPECT_EQ(VCFG_DELIVERED, tell("2"));
    EXPECT_EQ("2", payloadOf(receive()));
}

TEST_F(BusCalls, CallEndsAtItsTimeout) {
    serve(kServer);
    int code = 0;
    const int64_t start = nowMs();
    EXPECT_EQ(nullptr, ask("hello", &code, kServer, 50));
    EXPECT_EQ(VCFG_ERR_TIMEOUT, code);
    EXPECT_GE(nowMs() - start, 50);
}

TEST_F(BusCalls, EachCallHasItsOwnTimeLimit) {
    const Process server([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        for (Message request = receive(0); request != nullptr; request = receive(0)) {
            usleep(60000);
            answer(request, "slow");
        }
    });
    for (const uint32_t timeoutMs : {0u, kSoon, 20u, 0u, 20u, kSoon}) {
        int code = VCFG_OK;
        const int64_t start = nowMs();
        ask("", &code, kServer, timeoutMs);
        EXPECT_EQ(timeoutMs == 20 ? VCFG_ERR_TIMEOUT : VCFG_OK, code) << timeoutMs;
        EXPECT_GE(nowMs() - start, 20);
    }
}

TEST_F(BusCalls, LateReplyIsNotTakenForTheNextOne) {
    const Process server([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        const Message first = receive(0);
        const Message second = receive(0);
        answer(first, "late");
        answer(second, "in time");
        receive(0);
    });
    int code = 0;
    vcfg_msg_t* reply = nullptr;
    EXPECT_EQ(VCFG_ERR_TIMEOUT, vcfg_msg_sendAndGetReply(newMessage(kAsk, "1", kServer, 5).release(), &reply, 20));
    EXPECT_EQ(VCFG_OK, vcfg_msg_sendAndGetReply(newMessage(kAsk, "2", kServer, 6).release(), &reply, kSoon)) << code;
    EXPECT_EQ("in time", payloadOf(Message(reply)));
}

TEST_F(BusCalls, RequestIdIsKeptWhenGivenAndMadeWhenNot) {
    const Process server(echoServer(kServer, ""));
    vcfg_msg_t* reply = nullptr;
    ASSERT_EQ(VCFG_OK, vcfg_msg_sendAndGetReply(newMessage(kAsk, "", kServer, 4711).release(), &reply, kSoon));
    EXPECT_EQ(4711u, Message(reply)->requestId);
    EXPECT_NE(0u, ask("")->requestId);
    EXPECT_NE(ask("")->requestId, ask("")->requestId);
}

TEST_F(BusCalls, MessageWithoutReplyIsReportedAsDelivered) {
    serve(kServer);
    EXPECT_EQ(VCFG_DELIVERED, tell("hello", kServer, 0));
    EXPECT_EQ("hello", payloadOf(receive()));
}

TEST_F(BusCalls, MessageToTheOwnEndpointArrives) {
    serve(kServer);
    Message own = newMessage(kTell, "self");
    own->srcEid = kServer;
    EXPECT_EQ(VCFG_DELIVERED, vcfg_msg_sendAndGetReply(own.release(), nullptr, 0));
    EXPECT_EQ("self", payloadOf(receive()));
}

TEST_F(BusCalls, ReceiverThatNeverReadsIsToldToItsSenderAndCostsNoMemory) {
    const Process server([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        pause();
    });
    const size_t before = server.residentKiB();
    int code = VCFG_DELIVERED;
    int delivered = 0;
    for (; code == VCFG_DELIVERED && delivered < 100000; ++delivered) {
        code = tell(std::string(1000, 'x'), kServer, 50);
    }
    EXPECT_EQ(VCFG_ERR_TIMEOUT, code);
    EXPECT_LT(delivered, 2000);
    for (int each = 0; each < 5; ++each) {
        EXPECT_EQ(VCFG_ERR_TIMEOUT, tell(std::string(1000, 'x'), kServer, 10)) << "by another connection?";
    }
    EXPECT_LE(server.residentKiB(), before + 512);
}

// Every millisecond, to whoever waits in the kernel.
class Alarms {
  public:
    Alarms() {
        struct sigaction noted {};
        noted.sa_handler = [](int) {};
        sigaction(SIGALRM, &noted, nullptr);
        constexpr itimerval kOften{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &kOften, nullptr);
    }
    ~Alarms() {
        constexpr itimerval kNever{};
        setitimer(ITIMER_REAL, &kNever, nullptr);
        signal(SIGALRM, SIG_DFL);
    }
    Alarms(const Alarms&) = delete;
    Alarms& operator=(const Alarms&) = delete;
};

TEST_F(BusCalls, SignalsEndNoWaitForRoomOrForAReply) {
    const Process server([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        for (;;) {
            usleep(100'000);
            for (int each = 0; each < 200; ++each) {
                answer(receive(), "reply");
            }
        }
    });
    const Alarms often;
    for (int each = 0; each < 1000; ++each) {
        ASSERT_EQ(VCFG_DELIVERED, tell(std::string(1000, 'x')));
    }
    EXPECT_EQ("reply", payloadOf(ask("hello")));
}

TEST_F(BusCalls, RequesterThatNeverReadsItsRepliesIsCutOffAndDelaysNobody) {
    serve(kServer);
    BareSocket deaf;
    int code = VCFG_OK;
    for (uint32_t each = 1; code == VCFG_OK && each < 100; ++each) {
        ASSERT_TRUE(deaf.send(wireMessage(kAsk, each, 1, "?")));
        const Message request = receive();
        ASSERT_NE(nullptr, request);
        code = answer(request, std::string(60000, 'x'));
    }
    EXPECT_EQ(VCFG_ERR_FULL, code);
    EXPECT_EQ(VCFG_DELIVERED, tell("others"));
    EXPECT_EQ("others", payloadOf(receive()));
}

TEST_F(BusCalls, ReplyMayComeFromAnotherThreadAfterTheHandlerReturned) {
    const Process server([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        const Message pending = receive(0);
        const Message trigger = receive(0);
        std::thread([&] { answer(pending, "after " + payloadOf(trigger)); }).join();
        receive(0);
    });
    BareSocket requester;
    ASSERT_TRUE(requester.send(wireMessage(kAsk, 9, 7, "connect")));
    EXPECT_EQ(VCFG_DELIVERED, tell("event"));
    EXPECT_EQ("after event", requester.receive().substr(VCFG_MSG_HEADER_SIZE));
}

TEST_F(BusCalls, ReplyToSomebodyWhoDidNotWaitGoesToItsEndpoint) {
    const Process server(echoServer(kServer, "A:"));
    serve(kClient);
    Message request = newMessage(kAsk, "no hurry", kServer, 12);
    EXPECT_EQ(VCFG_DELIVERED, vcfg_msg_sendAndGetReply(request.release(), nullptr, kSoon));
    const Message reply = receive();
    EXPECT_EQ("A:no hurry", payloadOf(reply));
    ASSERT_NE(nullptr, reply);
    EXPECT_EQ(12u, reply->requestId);
}

TEST_F(BusCalls, ReplyToAnEndpointWhoseQueueIsFullIsRefusedAtOnce) {
    const Process busy([](const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        pause();
    });
    serve(kClient);
    int code = VCFG_OK;
    within(20000, [&] {
        code = vcfg_msg_serverSend(newMessage(kTell, std::string(60'000, 'x'), kServer, 12).release());
        return code != VCFG_OK;
    });
    EXPECT_EQ(VCFG_ERR_FULL, code);
}

TEST_F(BusCalls, ReplyToNobodyFails) {
    serve(kServer);
    Message reply = newMessage(kTell, "hello?", 77, 1);
    EXPECT_EQ(VCFG_ERR_NO_PEER, vcfg_msg_serverSend(reply.release()));
}

TEST_F(BusCalls, RepliesGoToTheirRequesterAlsoWhenRequestIdsAreEqual) {
    serve(kServer);
    BareSocket first;
    BareSocket second;
    ASSERT_TRUE(first.send(wireMessage(kAsk, 5, 5, "first")));
    Message request = receive();
    ASSERT_NE(nullptr, request);
    EXPECT_EQ(VCFG_OK, answer(request, payloadOf(request)));
    ASSERT_TRUE(second.send(wireMessage(kAsk, 5, 6, "second")));
    request = receive();
    ASSERT_NE(nullptr, request);
    EXPECT_EQ(VCFG_OK, answer(request, payloadOf(request)));
    EXPECT_EQ("first", first.receive().substr(VCFG_MSG_HEADER_SIZE));
    EXPECT_EQ("second", second.receive().substr(VCFG_MSG_HEADER_SIZE));
}

TEST_F(BusCalls, LaterAnswerGoesToTheConnectionItsRequestCameBy) {
    serve(kServer);
    BareSocket first;
    BareSocket claimant;
    ASSERT_TRUE(first.send(wireMessage(kAsk, 5, 5, "first")));
    const Message request = receive();
    ASSERT_NE(nullptr, request);
    ASSERT_TRUE(claimant.send(wireMessage(kAsk, 5, 5, "claim")));
    EXPECT_EQ(nullptr, receive(50));
    EXPECT_EQ(VCFG_OK, answer(request, "for the first"));
    EXPECT_EQ("for the first", first.receive().substr(VCFG_MSG_HEADER_SIZE));
    EXPECT_EQ("", claimant.receive());
    EXPECT_NE(std::string::npos, logged().find("repeats the id of a request that somebody else waits on"));
}

TEST_F(BusCalls, EventThatRepeatsARequestsIdIsRefusedToo) {
    serve(kServer);
    BareSocket first;
    BareSocket claimant;
    ASSERT_TRUE(first.send(wireMessage(kAsk, 5, 5, "first")));
    const Message request = receive();
    ASSERT_NE(nullptr, request);
    ASSERT_TRUE(claimant.send(wireMessage(kTell, 5, 5, "event")));
    EXPECT_TRUE(claimant.closedByPeer(50) || receive(50) == nullptr);
    EXPECT_EQ(VCFG_OK, answer(request, "for the first"));
    EXPECT_EQ("for the first", first.receive().substr(VCFG_MSG_HEADER_SIZE));
    EXPECT_EQ("", claimant.receive());
}

TEST_F(BusCalls, RequestIdIsFreeAgainWhenItsRequesterIsGone) {
    serve(kServer);
    auto first = std::make_unique<BareSocket>();
    ASSERT_TRUE(first->send(wireMessage(kAsk, 5, 5, "first")));
    ASSERT_NE(nullptr, receive());
    first.reset();
    BareSocket second;
    ASSERT_TRUE(second.send(wireMessage(kAsk, 5, 6, "second")));
    const Message request = receive();
    ASSERT_EQ("second", payloadOf(request));
    EXPECT_EQ(VCFG_OK, answer(request, "for the second"));
    EXPECT_EQ("for the second", second.receive().substr(VCFG_MSG_HEADER_SIZE));
}

TEST_F(BusCalls, EventThatNobodyAnswersDoesNotKeepItsId) {
    serve(kServer);
    BareSocket events;
    BareSocket requests;
    ASSERT_TRUE(events.send(wireMessage(kTell, 5, 5, "event")));
    EXPECT_EQ("event", payloadOf(receive()));
    ASSERT_TRUE(requests.send(wireMessage(kAsk, 5, 7, "request")));
    const Message request = receive();
    ASSERT_EQ("request", payloadOf(request));
    EXPECT_EQ(VCFG_OK, answer(request, "reply"));
    EXPECT_EQ("reply", requests.receive().substr(VCFG_MSG_HEADER_SIZE));
}

TEST_F(BusCalls, ForkedChildMakesRequestIdsOfItsOwn) {
    const Process server(echoServer(kServer, ""));
    const uint32_t before = ask("")->requestId;
    Process child([before](const Process::Ready&) { _exit(ask("")->requestId == before + 1 ? 1 : 0); });
    EXPECT_EQ(0, child.exitStatus());
}

// All 129 connections that an endpoint lets wait are taken, and nobody accepts them.
TEST_F(BusCalls, CallToAnEndpointWithAFullBacklogEndsAtItsTimeout) {
    serve(kServer);
    std::vector<std::unique_ptr<BareSocket>> waiting;
    for (int each = 0; each < 129; ++each) {
        waiting.push_back(std::make_unique<BareSocket>());
        ASSERT_TRUE(waiting.back()->isConnected()) << each;
    }
    int code = 0;
    const int64_t start = nowMs();
    EXPECT_EQ(nullptr, ask("hello", &code, kServer, 100));
    EXPECT_EQ(VCFG_ERR_TIMEOUT, code);
    EXPECT_EQ(VCFG_ERR_TIMEOUT, tell("hello", kServer, 100));
    EXPECT_GE(nowMs() - start, 200);
    EXPECT_LT(nowMs() - start, kSoon);
}

TEST_F(BusCalls, CallToAnEndpointWithAFullQueueEndsAtItsTimeout) {
    serve(kServer);
    int code = VCFG_DELIVERED;
    const int64_t start = nowMs();
    for (int each = 0; each < 1000 && code == VCFG_DELIVERED; ++each) {
        code = tell(std::string(60000, 'x'), kServer, 100);
    }
    EXPECT_EQ(VCFG_ERR_TIMEOUT, code);
    EXPECT_EQ(nullptr, ask("hello", &code, kServer, 100));
    EXPECT_EQ(VCFG_ERR_TIMEOUT, code);
    EXPECT_LT(nowMs() - start, kSoon);
}

TEST_F(BusCalls, OtherPacketsThatKeepComingDoNotProlongACall) {
    const Process server([](const Process::Ready& ready) {
        int code = VCFG_OK;
        const auto own = vcfg::bus::Server::open(kServer, &code);
        ready();
        vcfg::bus::ConnectionId from = 0;
        const auto request = own->wait(-1, &from, &code);
        for (Message other = newMessage(kTell, "", kClient, request->requestId + 1);; usleep(100)) {
            own->answer(from, *other);
        }
    });
    int code = 0;
    EXPECT_EQ(nullptr, ask("hello", &code, kServer, 100));
    EXPECT_EQ(VCFG_ERR_TIMEOUT, code);
}

TEST_F(BusCalls, ManyThreadsCallAtOnce) {
    const Process server(echoServer(kServer, ""));
    std::vector<std::thread> callers;
    callers.reserve(8);
    std::atomic<int> wrong{0};
    for (int thread = 0; thread < 8; ++thread) {
        callers.emplace_back([thread, &wrong] {
            for (int each = 0; each < 200; ++each) {
                const std::string text = std::to_string(thread) + ":" + std::to_string(each);
                wrong += payloadOf(ask(text)) == text ? 0 : 1;
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(0, wrong);
}

TEST_F(BusCalls, ForkedChildDoesNotTakeItsParentsReplies) {
    const Process server(echoServer(kServer, ""));
    EXPECT_EQ("parent", payloadOf(ask("parent")));
    Process child([](const Process::Ready&) { _exit(payloadOf(ask("child")) == "child" ? 0 : 1); });
    EXPECT_EQ(0, child.exitStatus());
    EXPECT_EQ("parent again", payloadOf(ask("parent again")));
}

}  // namespace
