// What arrives at an endpoint, from senders that keep the rules and from those that do not.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "bus_world.h"
#include "client/listener.h"
#include "client/run_dir.h"

namespace {

constexpr uint8_t kBadServer = 102;

class BusPackets : public BusWorld {
  protected:
    BusPackets() { serve(kServer); }

    void expectRefused(const std::string& packet, const std::string& reason) {
        BareSocket sender;
        ASSERT_TRUE(sender.send(packet));
        EXPECT_EQ(nullptr, receive(50));
        EXPECT_TRUE(sender.closedByPeer());
        const std::string lines = logged();
        EXPECT_NE(std::string::npos, lines.find(reason)) << lines;
        EXPECT_EQ(lines.find('\n'), lines.size() - 1) << "more than one line: " << lines;
    }
};

TEST_F(BusPackets, PacketShorterThanTheEnvelopeIsRefusedLoggedAndItsConnectionClosed) {
    expectRefused(std::string(55, 'x'), "shorter than an envelope");
}

TEST_F(BusPackets, EmptyPacketIsRefused) {
    expectRefused("", "shorter than an envelope");
}

TEST_F(BusPackets, LengthLargerThanWhatArrivedIsRefused) {
    expectRefused(wireMessage(kAsk, 1, 6, "hello"), "its length is not what the envelope says");
}

TEST_F(BusPackets, LengthSmallerThanWhatArrivedIsRefused) {
    expectRefused(wireMessage(kAsk, 1, 4, "hello"), "its length is not what the envelope says");
}

TEST_F(BusPackets, PacketLargerThanAnyMessageIsRefused) {
    expectRefused(wireMessage(kAsk, 1, 65535, std::string(66000, 'x')), "its length is not what the envelope says");
}

TEST_F(BusPackets, AnswerThatIsNoneIsRefusedLoggedAndFailsItsCall) {
    const Process server([](const Process::Ready& ready) {
        const int listener = vcfg::bus::listenForPackets(vcfg::bus::socketPath(kBadServer), 1);
        ready();
        pollfd state{listener, POLLIN, 0};
        poll(&state, 1, kSoon);
        const int peer = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        static_cast<void>(!write(peer, "rubbish", 7));
        pause();
    });
    int code = VCFG_OK;
    EXPECT_EQ(nullptr, ask("hello", &code, kBadServer));
    EXPECT_EQ(VCFG_ERR_FAIL, code);
    EXPECT_NE(std::string::npos, logged().find("an answer is refused: it is shorter than an envelope"));
}

TEST_F(BusPackets, OthersAreServedAfterABadPacket) {
    BareSocket good;
    BareSocket bad;
    ASSERT_TRUE(bad.send("rubbish"));
    ASSERT_TRUE(good.send(wireMessage(kAsk, 1, 5, "hello")));
    EXPECT_EQ("hello", payloadOf(receive()));
}

TEST_F(BusPackets, LargestPayloadArrivesWhole) {
    std::string payload(VCFG_MSG_PAYLOAD_MAX, 'x');
    payload.back() = 'y';
    ASSERT_EQ(VCFG_DELIVERED, tell(payload));
    EXPECT_EQ(payload, payloadOf(receive()));
}

TEST_F(BusPackets, PayloadWithoutTerminatorIsReceivedWithANulBehind) {
    for (const size_t size : {0u, 1u, 200u, 8136u, 65535u}) {
        ASSERT_EQ(VCFG_DELIVERED, tell(std::string(size, 'x')));
        const Message message = receive();
        ASSERT_NE(nullptr, message);
        EXPECT_EQ(size, strlen(vcfg_msg_text(message.get())));
    }
}

TEST_F(BusPackets, EmbeddedNulsArriveUnchanged) {
    const std::string payload("a\0b\0\0c", 6);
    ASSERT_EQ(VCFG_DELIVERED, tell(payload));
    EXPECT_EQ(payload, payloadOf(receive()));
}

TEST_F(BusPackets, EnvelopeIsLittleEndianOnTheWire) {
    BareSocket requester;
    ASSERT_TRUE(requester.send(wireMessage(0x01020304, 0x0A0B0C0D, 2, "hi")));
    const Message request = receive();
    ASSERT_NE(nullptr, request);
    EXPECT_EQ(0x01020304u, request->type);
    EXPECT_EQ(0x0A0B0C0Du, request->requestId);
    EXPECT_EQ(2, request->length);
    answer(request, "hi");
    const std::string reply = requester.receive();
    ASSERT_EQ(58u, reply.size());
    EXPECT_EQ(wireMessage(0x81020304, 0x0A0B0C0D, 2, "hi").substr(0, 4), reply.substr(0, 4));
    EXPECT_EQ(std::string("\x0D\x0C\x0B\x0A", 4), reply.substr(12, 4));
}

TEST_F(BusPackets, EnvelopeFieldsAndReservedBytesArriveAsTheyWereSent) {
    Message message = newMessage(kTell, "x", kServer, 42);
    message->oid = 17;
    message->statCode = 0xFFFFFFFB;
    message->objIid = {2, {3, 1}};
    memcpy(message->reserved, "wl0", 3);
    ASSERT_EQ(VCFG_DELIVERED, vcfg_msg_sendAndGetReply(message.release(), nullptr, kSoon));
    message = receive();
    ASSERT_NE(nullptr, message);
    EXPECT_EQ(17u, message->oid);
    EXPECT_EQ(0xFFFFFFFBu, message->statCode);
    EXPECT_EQ(42u, message->requestId);
    EXPECT_EQ(kClient, message->srcEid);
    EXPECT_EQ(2, message->objIid.level);
    EXPECT_EQ(3, message->objIid.idx[0]);
    EXPECT_EQ(1, message->objIid.idx[1]);
    EXPECT_EQ("wl0", std::string(reinterpret_cast<char*>(message->reserved)));
}

TEST_F(BusPackets, MessagesOfASenderThatDiesAreStillReceived) {
    Process sender([](const Process::Ready&) {
        tell("first");
        tell("last words");
    });
    ASSERT_EQ(0, sender.exitStatus());
    EXPECT_EQ("first", payloadOf(receive()));
    EXPECT_EQ("last words", payloadOf(receive()));
}

// More than a sender's turn takes.
TEST_F(BusPackets, MessagesOfOneSenderKeepTheirOrderAndNoneIsLeft) {
    constexpr int kMessages = 200;
    for (int each = 0; each < kMessages; ++each) {
        ASSERT_EQ(VCFG_DELIVERED, tell(std::to_string(each)));
    }
    for (int each = 0; each < kMessages; ++each) {
        ASSERT_EQ(std::to_string(each), payloadOf(receive()));
    }
}

TEST_F(BusPackets, NextCallArrivesAfterALateAnswer) {
    BareSocket caller(kServer, true);
    for (uint32_t each = 1; each <= 3; ++each) {
        ASSERT_TRUE(caller.send(wireMessage(kAsk, each, 5, "hello")));
        const Message request = receive();
        ASSERT_NE(nullptr, request);
        EXPECT_EQ(nullptr, receive(20));
        EXPECT_EQ(VCFG_OK, answer(request, "reply"));
        EXPECT_EQ("reply", caller.receive().substr(VCFG_MSG_HEADER_SIZE));
    }
}

TEST_F(BusPackets, WhoDoesNotWaitForAnswersAsItSaidLosesNothing) {
    BareSocket caller(kServer, true);
    ASSERT_TRUE(caller.send(wireMessage(kAsk, 1, 5, "first")));
    ASSERT_TRUE(caller.send(wireMessage(kAsk, 2, 6, "second")));
    EXPECT_EQ(VCFG_OK, answer(receive(), "reply"));
    ASSERT_TRUE(caller.send(wireMessage(kAsk, 3, 5, "third")));
    EXPECT_EQ("second", payloadOf(receive()));
    EXPECT_EQ("third", payloadOf(receive()));
}

TEST_F(BusPackets, CallerThatDiesBeforeItsAnswerIsForgotten) {
    auto caller = std::make_unique<BareSocket>(kServer, true);
    ASSERT_TRUE(caller->send(wireMessage(kAsk, 1, 5, "hello")));
    caller.reset();
    const Message request = receive();
    ASSERT_NE(nullptr, request);
    EXPECT_EQ(VCFG_ERR_NO_PEER, answer(request, "reply"));
    BareSocket other(kServer, true);
    ASSERT_TRUE(other.send(wireMessage(kAsk, 1, 5, "again")));
    EXPECT_EQ("again", payloadOf(receive()));
}

TEST_F(BusPackets, ABusySenderDoesNotKeepOthersWaiting) {
    BareSocket busy;
    BareSocket patient;
    while (busy.send(wireMessage(kTell, 1, 4, "busy"))) {
    }
    ASSERT_TRUE(patient.send(wireMessage(kTell, 1, 7, "patient")));
    int received = 0;
    while (payloadOf(receive()) == "busy") {
        ++received;
        busy.send(wireMessage(kTell, 1, 4, "busy"));
        ASSERT_LT(received, 200);
    }
}

// Nobody is ever silent: for each message that is received, its sender sends the next.
TEST_F(BusPackets, SixtyFourSendersAreReceivedFromAlike) {
    constexpr uint32_t kSenders = 64;
    std::vector<std::unique_ptr<BareSocket>> senders;
    std::vector<uint32_t> sent(kSenders);
    const auto send = [&](uint32_t sender) {
        return senders[sender]->send(wireMessage(kTell, sender + 1, 8, std::to_string(10000000 + sent[sender])));
    };
    for (uint32_t sender = 0; sender < kSenders; ++sender) {
        senders.push_back(std::make_unique<BareSocket>());
        while (send(sender)) {
            ++sent[sender];
        }
    }
    std::vector<uint32_t> received(kSenders);
    std::vector<uint32_t> before;  // by when all had been heard: they are accepted one after the other
    for (uint32_t left = 40000; left > 0; --left) {
        const Message message = receive();
        ASSERT_NE(nullptr, message);
        const uint32_t sender = message->requestId - 1;
        ASSERT_EQ(std::to_string(10000000 + received[sender]), payloadOf(message));
        ++received[sender];
        sent[sender] += send(sender) ? 1 : 0;
        if (before.empty() && *std::min_element(received.begin(), received.end()) > 0) {
            before = received;
            left = 30000;
        }
    }
    ASSERT_FALSE(before.empty());
    for (uint32_t sender = 0; sender < kSenders; ++sender) {
        received[sender] -= before[sender];
    }
    const auto ends = std::minmax_element(received.begin(), received.end());
    EXPECT_GE(2 * *ends.first, *ends.second);
}

TEST_F(BusPackets, SilentConnectionGivesWayWhenThereAreTooMany) {
    std::vector<std::unique_ptr<BareSocket>> silent;
    for (int each = 0; each < 300; ++each) {
        silent.push_back(std::make_unique<BareSocket>());
        if (!silent.back()->isConnected() || each % 50 == 49) {
            EXPECT_EQ(nullptr, receive(1));
        }
    }
    ASSERT_EQ(VCFG_DELIVERED, tell("still here"));
    EXPECT_EQ("still here", payloadOf(receive()));
    EXPECT_TRUE(silent.front()->closedByPeer());
    EXPECT_FALSE(silent.back()->closedByPeer(0));
}

TEST_F(BusPackets, ConnectionThatGaveWayLosesNothingThatWasSent) {
    ASSERT_EQ(VCFG_DELIVERED, tell("before"));
    EXPECT_EQ("before", payloadOf(receive()));
    std::vector<std::unique_ptr<BareSocket>> silent;
    for (int each = 0; each < 600; ++each) {
        silent.push_back(std::make_unique<BareSocket>());
        if (each % 50 == 49) {
            EXPECT_EQ(nullptr, receive(1));
        }
    }
    ASSERT_EQ(VCFG_DELIVERED, tell("after"));
    EXPECT_EQ("after", payloadOf(receive()));
}

}  // namespace
