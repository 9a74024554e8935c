// The bus in an event loop: <vcfg/loop.h>.
#include <poll.h>
#include <vcfg/loop.h>

#include <set>
#include <thread>

#include "bus_world.h"

namespace {

class BusLoop : public BusWorld {
  protected:
    static bool readable(int descriptor, int timeoutMs) {
        pollfd state{descriptor, POLLIN, 0};
        return poll(&state, 1, timeoutMs) > 0;
    }
    // What there is now, as a loop takes it: one for each time that the descriptor is readable.
    static std::vector<std::string> takeAll() {
        std::vector<std::string> all;
        while (readable(vcfg_msg_fd(), 20)) {
            vcfg_msg_t* message = nullptr;
            if (vcfg_msg_serverTryRecv(&message) == VCFG_OK) {
                all.push_back(payloadOf(Message(message)));
            }
        }
        return all;
    }
};

TEST_F(BusLoop, DescriptorIsReadableWhileThereIsAMessage) {
    serve(kServer);
    EXPECT_FALSE(readable(vcfg_msg_fd(), 0));
    for (const char* text : {"1", "2", "3"}) {
        ASSERT_EQ(VCFG_DELIVERED, tell(text));
    }
    EXPECT_EQ((std::vector<std::string>{"1", "2", "3"}), takeAll());
    EXPECT_FALSE(readable(vcfg_msg_fd(), 0));
}

TEST_F(BusLoop, NothingIsMissedOfManySendersAtOnce) {
    serve(kServer);
    std::vector<std::unique_ptr<BareSocket>> senders;
    for (uint32_t each = 0; each < 100; ++each) {
        senders.push_back(std::make_unique<BareSocket>());
        ASSERT_TRUE(senders.back()->send(wireMessage(kTell, each + 1, 5, "first")));
        ASSERT_TRUE(senders.back()->send(wireMessage(kTell, each + 1, 6, "second")));
    }
    EXPECT_EQ(200u, takeAll().size());
}

TEST_F(BusLoop, WhoBeginsToPollMissesNoCallThatHasCome) {
    serve(kServer);
    std::vector<std::unique_ptr<BareSocket>> callers;
    for (uint32_t each = 0; each < 20; ++each) {
        callers.push_back(std::make_unique<BareSocket>(kServer, true));
        ASSERT_TRUE(callers.back()->send(wireMessage(kAsk, each + 1, 5, "hello")));
    }
    ASSERT_NE(nullptr, receive());
    EXPECT_EQ(19u, takeAll().size());
}

TEST_F(BusLoop, ReceivingWithoutWaitingSaysThatThereIsNothing) {
    serve(kServer);
    vcfg_msg_t* message = nullptr;
    EXPECT_EQ(VCFG_ERR_TIMEOUT, vcfg_msg_serverTryRecv(&message));
    EXPECT_EQ(nullptr, message);
    EXPECT_EQ(VCFG_ERR_INVALID, vcfg_msg_serverTryRecv(nullptr));
}

TEST_F(BusLoop, AnswerGoesToWhoAskedLast) {
    serve(kServer);
    BareSocket requester;
    ASSERT_TRUE(requester.send(wireMessage(kAsk, 5, 5, "hello")));
    ASSERT_TRUE(readable(vcfg_msg_fd(), kSoon));
    vcfg_msg_t* message = nullptr;
    while (vcfg_msg_serverTryRecv(&message) == VCFG_ERR_TIMEOUT) {
    }
    const Message request(message);
    EXPECT_EQ(VCFG_OK, answer(request, "reply"));
    EXPECT_EQ("reply", requester.receive().substr(VCFG_MSG_HEADER_SIZE));
}

TEST_F(BusLoop, EndpointWithoutAServerHasNoDescriptor) {
    std::thread([] {
        vcfg_msg_t* message = nullptr;
        EXPECT_EQ(VCFG_OK, vcfg_msg_eidInit(77, nullptr));
        EXPECT_EQ(-1, vcfg_msg_fd());
        EXPECT_EQ(VCFG_ERR_INVALID, vcfg_msg_serverTryRecv(&message));
    }).join();
}

TEST_F(BusLoop, EachCodeHasWordsOfItsOwn) {
    std::set<std::string> words;
    const int codes[] = {VCFG_OK,         VCFG_DELIVERED, VCFG_ERR_FAIL,    VCFG_ERR_NOT_FOUND, VCFG_ERR_INVALID,
                         VCFG_ERR_RIGHTS, VCFG_ERR_FULL,  VCFG_ERR_TIMEOUT, VCFG_ERR_NO_PEER,   4711};
    for (const int code : codes) {
        words.insert(vcfg_codeText(code));
    }
    EXPECT_EQ(10u, words.size());
}

TEST_F(BusLoop, WatchWithoutVcmdFails) {
    vcfg_watch_t* watch = nullptr;
    EXPECT_EQ(VCFG_ERR_NO_PEER, vcfgWatchOpen(nullptr, 0, &watch));
    EXPECT_EQ(nullptr, watch);
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgWatchOpen(nullptr, 1, &watch));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgWatchOpen(nullptr, 0, nullptr));
    const std::string longest(VCFG_MSG_PAYLOAD_MAX - 2, 'x');
    const std::string longer = longest + "x";
    for (const auto& [path, code] : {std::pair{longest, VCFG_ERR_NO_PEER}, std::pair{longer, VCFG_ERR_INVALID}}) {
        const char* const paths[] = {path.c_str()};
        EXPECT_EQ(code, vcfgWatchOpen(paths, 1, &watch)) << path.size();
    }
    EXPECT_EQ(-1, vcfgWatchFd(nullptr));
    vcfg_change_t change;
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgWatchNext(nullptr, &change));
    vcfgWatchClose(nullptr);
}

}  // namespace
