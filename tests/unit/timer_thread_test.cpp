// The timer thread at a real socket, and the way of a request to it.
#include "core/timer_thread.h"

#include <endian.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "client/local_socket.h"
#include "core/descriptor.h"
#include "core/timer.h"
#include "support/kit.h"
#include "support/short_memory.h"

namespace {

std::string packed(size_t length, const std::string& text) {
    std::string bytes(VCFG_MSG_HEADER_SIZE, '\0');
    const uint16_t wire = htole16(static_cast<uint16_t>(length));
    memcpy(bytes.data() + 10, &wire, sizeof wire);
    return bytes + text;
}

class TimerSocket : public testing::Test {
  protected:
    TimerSocket() {
        char pattern[] = "/tmp/timer-test-XXXXXX";
        directory = mkdtemp(pattern);
        path = directory + "/socket";
        gw.timerSocket(path);
        listening.emplace(voUtilTcpSvrInit(path.c_str()));
    }
    ~TimerSocket() override {
        unlink(path.c_str());
        rmdir(directory.c_str());
    }

    // A client that sends these bytes and goes away.
    void send(const std::string& bytes) {
        const Descriptor client(vcfg::connectTo(path.c_str()));
        ASSERT_TRUE(client);
        ASSERT_EQ(::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    void round() { timerRound(listening->get(), timer); }
    void advanceAndRound(uint32_t milliseconds) {
        gw.advance(milliseconds);
        round();
    }

    Gateway gw;
    std::string directory;
    std::string path;
    std::optional<Descriptor> listening;
    Timer timer;
};

class TimerRequest : public testing::Test {
  protected:
    Gateway gw;
};

TEST_F(TimerSocket, TaskGoesFromTheCallToItsMessage) {
    EXPECT_EQ(tarnApplyAddObjectTmTask("wait", 2, 4027, "later"), 1);
    round();
    advanceAndRound(1000);
    EXPECT_TRUE(gw.requests().empty());
    advanceAndRound(1000);
    ASSERT_EQ(gw.requests().size(), 1u);
    const SentMessage message = gw.requests()[0];
    EXPECT_EQ(message.type, 0x80000FBBu);
    EXPECT_EQ(message.dstEid, VCFG_EID_TARN);
    EXPECT_EQ(message.srcEid, 0);
    EXPECT_EQ(message.payload, std::string("later\0", 6));
    EXPECT_EQ(message.patienceMs, 300u);
    EXPECT_FALSE(message.awaited);
}

TEST_F(TimerSocket, MessageWithoutTextHasNoPayload) {
    tarnApplyAddObjectTmTask("wait", 1, 4027, nullptr);
    round();
    advanceAndRound(1000);
    ASSERT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.requests()[0].length, 0);
}

TEST_F(TimerSocket, MessageWithAnEmptyTextHasItsNul) {
    tarnApplyAddObjectTmTask("wait", 1, 4027, "");
    round();
    advanceAndRound(1000);
    ASSERT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.requests()[0].payload, std::string(1, '\0'));
}

TEST_F(TimerSocket, MessageThatIsLostIsLogged) {
    gw.endpointAnswers(VCFG_EID_TARN, VCFG_ERR_TIMEOUT);
    tarnApplyAddObjectTmTask("wait", 1, 4027, nullptr);
    round();
    advanceAndRound(1000);
    EXPECT_TRUE(gw.logged("vlog", 3, "the message of timer task \"wait\" is lost: -62"));
    EXPECT_TRUE(timer.tasks.empty());
}

TEST_F(TimerSocket, TaskWithoutTypeIsRemovedSilently) {
    const std::string request = R"({"tmApplyObj":{"Name":"a","exprTime":1}})";
    send(packed(request.size() + 1, request + '\0'));
    round();
    gw.forget();
    advanceAndRound(1000);
    EXPECT_TRUE(timer.tasks.empty());
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(TimerSocket, DeletedTaskSendsNothing) {
    tarnApplyAddObjectTmTask("wait", 1, 4027, nullptr);
    EXPECT_EQ(tarnApplyDeleteObjectTmTask("wait"), 1);
    round();
    round();
    EXPECT_TRUE(gw.logged("vlog", 7, "tm obj delete applied"));
    EXPECT_TRUE(timer.tasks.empty());
}

TEST_F(TimerSocket, RequestIsAnEnvelopeWithItsLengthAlone) {
    EXPECT_EQ(sendMsgTarnTmTask("{}"), 1);
    EXPECT_TRUE(gw.logged("vlog", 7, "send msg to timer_thread"));
    const Descriptor client(accept(listening->get(), nullptr, nullptr));
    char bytes[100] = "";
    ASSERT_EQ(recv(client.get(), bytes, sizeof bytes, MSG_WAITALL), 59);
    EXPECT_EQ(std::string(bytes, 59), packed(3, std::string("{}\0", 3)));
}

TEST_F(TimerSocket, HeaderAndTextMayComeInPieces) {
    const std::string request = R"({"tminterval":7})";
    const std::string bytes = packed(request.size() + 1, request + '\0');
    std::thread client([&] {
        const Descriptor connection(vcfg::connectTo(path.c_str()));
        for (const char byte : bytes) {
            ::send(connection.get(), &byte, 1, MSG_NOSIGNAL);
        }
    });
    round();
    client.join();
    EXPECT_EQ(timer.interval, 7);
}

TEST_F(TimerSocket, BytesBehindTheTextAreNotRead) {
    const std::string request = R"({"tminterval":7})";
    send(packed(request.size() + 1, request + '\0' + "rubbish"));
    round();
    EXPECT_EQ(timer.interval, 7);
}

TEST_F(TimerSocket, TextWithoutTerminatorIsTakenByItsLength) {
    const std::string request = R"({"tminterval":7})";
    send(packed(request.size(), request));
    round();
    EXPECT_EQ(timer.interval, 7);
}

TEST_F(TimerSocket, PartialHeaderIsRefused) {
    send(packed(3, "{}").substr(0, 40));
    EXPECT_EQ(tarnTmTaskReceiveMsg(listening->get()), std::nullopt);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to recv msg"));
}

TEST_F(TimerSocket, TextShorterThanItsLengthIsRefused) {
    send(packed(500, R"({"tminterval":7})"));
    round();
    EXPECT_EQ(timer.interval, 1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to recv msg"));
}

TEST_F(TimerSocket, LengthZeroIsNoRequest) {
    send(packed(0, R"({"tminterval":7})"));
    EXPECT_EQ(tarnTmTaskReceiveMsg(listening->get()), std::nullopt);
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(TimerSocket, ClientThatSaysNothingIsLeftAfterASecond) {
    const Descriptor silent(vcfg::connectTo(path.c_str()));
    EXPECT_EQ(tarnTmTaskReceiveMsg(listening->get()), std::nullopt);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to recv msg"));
    char byte = 0;
    EXPECT_EQ(recv(silent.get(), &byte, 1, 0), 0);  // the connection is closed
}

TEST_F(TimerSocket, ConnectionIsClosedAfterItsOneRequest) {
    const Descriptor client(vcfg::connectTo(path.c_str()));
    const std::string bytes = packed(3, std::string("{}\0", 3));
    ::send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    round();
    char byte = 0;
    EXPECT_EQ(recv(client.get(), &byte, 1, 0), 0);
}

TEST_F(TimerSocket, RubbishIsSurvived) {
    const std::string rubbish(3000, '\xFF');
    send(rubbish);
    round();
    send(packed(rubbish.size(), rubbish));
    round();
    EXPECT_EQ(sendMsgTarnTmTask(R"({"tminterval":7})"), 1);
    round();
    EXPECT_EQ(timer.interval, 7);
}

TEST_F(TimerSocket, LargestTextIsTaken) {
    std::string request = R"({"tminterval":7,"x":")";
    request += std::string(65534 - request.size() - 2, 'x') + "\"}";
    std::thread sender([&] { EXPECT_EQ(sendMsgTarnTmTask(request.c_str()), 1); });
    round();
    sender.join();
    EXPECT_EQ(timer.interval, 7);
}

TEST_F(TimerSocket, AcceptFailureIsLoggedAndDoesNotSpin) {
    const Descriptor none(open("/dev/null", O_RDONLY));
    EXPECT_EQ(tarnTmTaskReceiveMsg(none.get()), std::nullopt);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to accept()"));
    EXPECT_EQ(gw.sleeps().size(), 1u);
}

TEST_F(TimerSocket, ThousandTasksFromSeveralThreadsAllFire) {
    std::vector<std::thread> senders;
    for (int each = 0; each < 4; ++each) {
        senders.emplace_back([each] {
            for (int i = 0; i < 250; ++i) {
                const std::string name = std::to_string(each) + "." + std::to_string(i);
                EXPECT_EQ(tarnApplyAddObjectTmTask(name.c_str(), 1, 4027, nullptr), 1);
            }
        });
    }
    for (int i = 0; i < 1000; ++i) {
        round();
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    EXPECT_EQ(timer.tasks.size(), 1000u);
    gw.advance(1000);
    tarnApplyDeleteObjectTmTask("nobody");
    round();
    EXPECT_EQ(gw.requests().size(), 1000u);
}

TEST_F(TimerSocket, MemoryShortageLosesTheMessage) {
    short_memory::leaveCallocs(0);
    const int result = tmApplyObjSendMsg({"a", 0, 4027, "text"});
    short_memory::leaveCallocs(-1);
    EXPECT_EQ(result, -5);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to calloc memory, size = 61"));
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(TimerSocket, SendingATaskGivesTheBusResult) {
    EXPECT_EQ(tmApplyObjSendMsg({"a", 0, 4027, std::nullopt}), 1);
    EXPECT_EQ(tmApplyObjSendMsg({"a", 0, 0, std::nullopt}), 5);
    gw.endpointAnswers(VCFG_EID_TARN, VCFG_ERR_NO_PEER);
    EXPECT_EQ(tmApplyObjSendMsg({"a", 0, 4027, std::nullopt}), VCFG_ERR_NO_PEER);
}

TEST_F(TimerRequest, AddingSendsTheWholeTask) {
    EXPECT_EQ(tarnApplyAddObjectTmTask("a \"b\"", 0, 1, "data"), 1);
    EXPECT_EQ(tarnApplyAddObjectTmTask("c", 5, -7, nullptr), 1);
    EXPECT_EQ(
        gw.timerRequests(),
        (std::vector<std::string>{R"({"tmApplyObj":{"Name":"a \"b\"","exprTime":0,"msg_type":1,"msgParmData":"data"}})",
                                  R"({"tmApplyObj":{"Name":"c","exprTime":5,"msg_type":-7}})"}));
}

TEST_F(TimerRequest, NothingIsSentWithoutNameTimeOrType) {
    EXPECT_EQ(tarnApplyAddObjectTmTask(nullptr, 1, 1, nullptr), 0);
    EXPECT_EQ(tarnApplyAddObjectTmTask("a", -1, 1, nullptr), 0);
    EXPECT_EQ(tarnApplyAddObjectTmTask("a", 1, 0, nullptr), 0);
    EXPECT_EQ(tarnApplyDeleteObjectTmTask(nullptr), 0);
    EXPECT_TRUE(gw.timerRequests().empty());
}

TEST_F(TimerRequest, WithoutTimerItFails) {
    gw.timerSocket("/nonexistent/socket");
    EXPECT_EQ(sendMsgTarnTmTask("{}"), -1);
    EXPECT_EQ(tarnApplyAddObjectTmTask("a", 1, 1, nullptr), -1);
    EXPECT_EQ(tarnApplyDeleteObjectTmTask("a"), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "Init skCltLocalConn failed"));
}

TEST_F(TimerRequest, ToATimerThatHangsUpFails) {
    gw.timerHangsUp();
    EXPECT_EQ(sendMsgTarnTmTask("{}"), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to send"));
    EXPECT_FALSE(gw.loggedContaining("send msg to timer_thread"));
}

TEST_F(TimerRequest, ObjectThatCannotBeMadeFails) {
    short_memory::leaveJson(0);
    EXPECT_EQ(tarnApplyAddObjectTmTask("a", 1, 1, nullptr), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to json_object_new_object()"));
    gw.forget();
    EXPECT_EQ(tarnApplyDeleteObjectTmTask("a"), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to json_object_new_object()"));
    EXPECT_FALSE(gw.loggedContaining("tm obj delete applied"));
    EXPECT_TRUE(gw.timerRequests().empty());
    short_memory::leaveJson(-1);
}

TEST_F(TimerRequest, ObjectThatCannotBeWrittenAsTextFails) {
    short_memory::leaveJson(1);  // the request's object
    EXPECT_EQ(tarnApplyDeleteObjectTmTask("a"), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to json_object_to_json_string()"));
    gw.forget();
    short_memory::leaveJson(2);  // and the task's
    EXPECT_EQ(tarnApplyAddObjectTmTask("a", 1, 1, nullptr), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to json_object_to_json_string()"));
    EXPECT_TRUE(gw.timerRequests().empty());
    short_memory::leaveJson(-1);
}

TEST_F(TimerRequest, TextThatFitsNoRequestFails) {
    EXPECT_EQ(sendMsgTarnTmTask(std::string(65535, 'x').c_str()), -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "a timer request cannot carry 65536 bytes"));
}

TEST_F(TimerRequest, MemoryShortageFails) {
    short_memory::leaveCallocs(0);
    const int32_t result = sendMsgTarnTmTask("{}");
    short_memory::leaveCallocs(-1);
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to calloc memory, size = 59"));
    EXPECT_TRUE(gw.logged("vlog", 3, "memory insufficient"));
}

TEST_F(TimerRequest, MemoryShortageForItsTextFails) {
    const std::string name(200, 'n');
    short_memory::failOneNew(0);
    const int32_t result = tarnApplyDeleteObjectTmTask(name.c_str());
    short_memory::allNewsSucceed();
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to json_object_to_json_string()"));
    EXPECT_TRUE(gw.timerRequests().empty());
}

TEST(TimerThread, WithoutSocketItEndsAndSaysSo) {
    Gateway gw;
    gw.timerSocket("/nonexistent/socket");
    timer_thread(nullptr);
    EXPECT_TRUE(gw.logged("vlog", 6, "thread starts"));
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to voUtilTcpSvrInit(TARN_INTERNAL_IPC)"));
}

TEST(TimerThread, IsStartedOnItsOwn) {
    Gateway gw;
    enable_timer_thread();
    EXPECT_TRUE(gw.log().empty());
    gw.runThreads();
    EXPECT_TRUE(gw.logged("vlog", 6, "thread starts"));
}

TEST(TimerThread, StartFailureIsLogged) {
    Gateway gw;
    gw.refuseThreads();
    enable_timer_thread();
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to create TARN timer thread"));
}

}  // namespace
