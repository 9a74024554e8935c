#include "core/kernel_monitor.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "unit/wan_fixture.h"

namespace {

using namespace std::string_literals;

std::string littleEndian(uint32_t value, size_t width) {
    std::string bytes;
    for (size_t i = 0; i < width; ++i) {
        bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    }
    return bytes;
}

std::string header(uint32_t length, uint16_t type, uint32_t sender = 0) {
    return littleEndian(length, 4) + littleEndian(type, 2) + littleEndian(0, 2) + littleEndian(9, 4) +
           littleEndian(sender, 4);
}

// One message with its text and terminator, padded to a multiple of 4.
std::string message(uint16_t type, const std::string& text, uint32_t sender = 0) {
    std::string bytes = header(static_cast<uint32_t>(16 + text.size() + 1), type, sender) + text + '\0';
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}
std::string linkEvent(const std::string& text) {
    return message(0x2000, text);
}

class KernelTest : public testing::Test {
  protected:
    // The events that were acted on, in order.
    Commands received() const {
        Commands events;
        for (const LogLine& line : gw.log()) {
            const std::string mark = "payload: ";
            if (const size_t at = line.text.find("MMMMM payload: "); at != std::string::npos) {
                const size_t begin = line.text.find(mark) + mark.size();
                events.push_back(line.text.substr(begin, line.text.size() - begin - 3));
            }
        }
        return events;
    }
    int linkEvents() const {
        int events = 0;
        for (const LogLine& line : gw.log()) {
            events += line.text.find("receiving Kernel event !!") != std::string::npos ? 1 : 0;
        }
        return events;
    }
    WanGateway gw;
};

class KernelFrame : public testing::Test {};
class KernelDatagram : public KernelTest {
  protected:
    KernelDatagram() { gw.tableBuilt(); }
};
class KernelSocket : public KernelTest {};
class KernelLinkEvent : public KernelTest {};

TEST_F(KernelFrame, IsDecodedFromLittleEndianBytes) {
    const std::string bytes =
        "\x15\0\0\0\x00\x20\0\0\0\0\0\0\x02\x01\0\0"
        "eth0\0junk"s;
    std::string_view rest = bytes;
    const auto frame = kernel::nextFrame(rest);
    ASSERT_TRUE(frame);
    const kernel::Event event = kernel::decode(*frame);
    EXPECT_EQ(event.kind, kernel::Kind::Link);
    EXPECT_EQ(event.type, 0x2000);
    EXPECT_EQ(event.sender, 0x102u);
    EXPECT_EQ(event.text, "eth0");
    EXPECT_EQ(rest.size(), bytes.size() - 24);
}

TEST_F(KernelFrame, WithoutRoomForAHeaderIsNone) {
    for (size_t size = 0; size < 16; ++size) {
        const std::string bytes = header(16, 0x1000).substr(0, size);
        std::string_view rest = bytes;
        EXPECT_FALSE(kernel::nextFrame(rest)) << size;
    }
}

TEST_F(KernelFrame, WithALengthThatLiesIsNone) {
    for (const uint32_t length : {0u, 15u, 17u, 0xFFFFFFFFu, 0x80000000u}) {
        const std::string bytes = header(length, 0x1000);
        std::string_view rest = bytes;
        EXPECT_FALSE(kernel::nextFrame(rest)) << length;
    }
}

TEST_F(KernelFrame, ThatEndsUnalignedIsTheLast) {
    const std::string bytes = header(18, 0x2000) + "ab";
    std::string_view rest = bytes;
    EXPECT_TRUE(kernel::nextFrame(rest));
    EXPECT_TRUE(rest.empty());
}

TEST_F(KernelFrame, TextWithoutTerminatorEndsWithThePayload) {
    const std::string bytes = header(20, 0x2000) + "eth0" + "behind";
    std::string_view rest = bytes;
    EXPECT_EQ(kernel::decode(*kernel::nextFrame(rest)).text, "eth0");
}

TEST_F(KernelFrame, OfTheTypeWithoutTextHasNone) {
    const std::string bytes = header(20, 0x1000) + "eth0";
    std::string_view rest = bytes;
    EXPECT_FALSE(kernel::decode(*kernel::nextFrame(rest)).text);
}

TEST_F(KernelDatagram, WithSeveralMessagesIsHandledMessageByMessage) {
    gw.kernelDatagram(linkEvent("eth0.1:up:10:F") + linkEvent("eth0.22:up") + linkEvent("ptm0:down"));
    EXPECT_EQ(received(), (Commands{"eth0.1:up:10:F", "eth0.22:up", "ptm0:down"}));
}

TEST_F(KernelDatagram, EndOfDumpStopsSilently) {
    gw.kernelDatagram(linkEvent("eth0.1:up") + message(3, "") + linkEvent("eth0.2:up"));
    EXPECT_EQ(received(), Commands{"eth0.1:up"});
    EXPECT_FALSE(gw.loggedContaining("netlink"));
}

TEST_F(KernelDatagram, ErrorMessageStopsWithItsLine) {
    gw.kernelDatagram(message(2, "") + linkEvent("eth0.2:up"));
    EXPECT_TRUE(received().empty());
    EXPECT_TRUE(gw.logged("stdout", "read_netlink: Message is an error "));
}

TEST_F(KernelDatagram, FromAnotherSenderThanTheKernelIsRefused) {
    gw.kernelDatagram(message(0x2000, "eth0.1:up", 4711) + linkEvent("eth0.2:up"));
    EXPECT_TRUE(received().empty());
    EXPECT_TRUE(gw.logged("stdout", "netlink message source(4711)is not kernel"));
}

TEST_F(KernelDatagram, EndAndErrorCountFromAnySender) {
    gw.kernelDatagram(message(3, "", 4711));
    EXPECT_FALSE(gw.loggedContaining("is not kernel"));
    gw.kernelDatagram(message(2, "", 4711));
    EXPECT_FALSE(gw.loggedContaining("is not kernel"));
}

TEST_F(KernelDatagram, UnknownTypeIsNamedAndTheNextMessageHandled) {
    gw.kernelDatagram(message(0x3000, "x") + linkEvent("eth0.2:up"));
    EXPECT_TRUE(gw.logged("stdout", " Unknown netlink nlmsg_type 12288"));
    EXPECT_EQ(received(), Commands{"eth0.2:up"});
}

TEST_F(KernelDatagram, PlatformEventsAreIgnored) {
    gw.kernelDatagram(message(0x0100, "x") + message(0x4000, "x") + message(0x8000, "x") + linkEvent("eth0.2:up"));
    EXPECT_FALSE(gw.loggedContaining("Unknown netlink"));
    EXPECT_EQ(received(), Commands{"eth0.2:up"});
}

TEST_F(KernelDatagram, MessageThatClaimsMoreThanCameEndsTheWalk) {
    gw.kernelDatagram(linkEvent("eth0.1:up") + header(100, 0x2000) + "eth0.2:up");
    EXPECT_EQ(received(), Commands{"eth0.1:up"});
}

TEST_F(KernelDatagram, MessageShorterThanItsHeaderEndsTheWalk) {
    gw.kernelDatagram(linkEvent("eth0.1:up") + header(8, 0x2000) + linkEvent("eth0.2:up"));
    EXPECT_EQ(received(), Commands{"eth0.1:up"});
}

TEST_F(KernelDatagram, ShorterThanAHeaderIsDropped) {
    gw.kernelDatagram("\x10\x00\x00\x00"s);
    EXPECT_EQ(linkEvents(), 0);
}

TEST_F(KernelDatagram, EmptyIsCalledEof) {
    gw.kernelDatagram("");
    EXPECT_TRUE(gw.logged("stdout", "read_netlink: EOF"));
    EXPECT_EQ(linkEvents(), 0);
}

TEST_F(KernelDatagram, LongerThanTheBufferIsHandledAsFarAsItCame) {
    std::string bytes;
    while (bytes.size() < 8192) {
        bytes += message(0x0100, std::string(1000, 'x'));
    }
    gw.kernelDatagram(linkEvent("eth0.1:up") + bytes + linkEvent("eth0.2:up"));
    EXPECT_EQ(received(), Commands{"eth0.1:up"});
}

TEST_F(KernelDatagram, TextOfFourThousandCharactersIsHandled) {
    const std::string text(4000, 'e');
    gw.kernelDatagram(linkEvent(text));
    EXPECT_EQ(received(), Commands{text});
}

TEST_F(KernelDatagram, TextFullOfShellCharactersRunsNothing) {
    gw.kernelDatagram(linkEvent("eth0.2;`reboot`:$(reboot):|reboot:F\n"));
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(KernelSocket, WithNothingToReadIsQuiet) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0, ends), 0);
    kernelFd = ends[1];
    processKernelMonitor(updateLinkStatus);
    kernelFd = -1;
    close(ends[0]);
    close(ends[1]);
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(KernelSocket, ErrorIsPrintedWithItsResult) {
    kernelFd = -1;
    testing::internal::CaptureStderr();
    processKernelMonitor(updateLinkStatus);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "read_netlink: Error: : Bad file descriptor\n");
    EXPECT_TRUE(gw.logged("stdout", "read_netlink: Error recvmsg: -1"));
}

// The kernel had to throw events away: that is a read error like any other.
TEST_F(KernelSocket, ErrorOfLostEventsLooksAtNothing) {
    gw.usbPort(1, "Up");
    gw.tableBuilt();
    testing::internal::CaptureStderr();
    gw.kernelReadFails(ENOBUFS);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "read_netlink: Error: : No buffer space available\n");
    EXPECT_EQ(gw.log().size(), 1u);
    EXPECT_TRUE(gw.logged("stdout", "read_netlink: Error recvmsg: -1"));
    EXPECT_EQ(statusOf("usb"), 0);
}

TEST_F(KernelLinkEvent, SaysThatItCame) {
    updateLinkStatus("eth0.2:up:10:F");
    EXPECT_TRUE(gw.printedAtLine("updateLinkStatus ", ": receiving Kernel event !!"));
}

TEST_F(KernelLinkEvent, OfEthernetReachesTheWanAndThePort) {
    gw.ethernetPort(2, "eth0.2", "Down");
    gw.tableBuilt();
    updateLinkStatus("eth0.2:up:100:F");
    EXPECT_TRUE(gw.loggedContaining("payload: eth0.2:up:100:F"));
    EXPECT_TRUE(gw.logged("syslog", 6, "updateLanLinkStatus: msgData: eth0.2:up:100:F"));
    EXPECT_EQ(gw.get("Ethernet.Interface.2.Status"), "Up");
}

TEST_F(KernelLinkEvent, OfDslRestartsTheQuarterHoursAndReachesTheWanOnly) {
    if (!words::namesDslDevices()) {
        GTEST_SKIP() << "no event of this platform is about a DSL device";
    }
    gw.tableBuilt();
    for (const char* event : {"ptm0:up", "atm0:down", "nas_atm1:up"}) {
        gw.forget();
        updateLinkStatus(event);
        EXPECT_EQ(gw.commands(), words::restartQuarterHours()) << event;
        EXPECT_TRUE(gw.loggedContaining(std::string("payload: ") + event)) << event;
        EXPECT_FALSE(gw.loggedContaining("updateLanLinkStatus")) << event;
    }
}

TEST_F(KernelLinkEvent, OfAnyOtherInterfaceReachesTheWanOnly) {
    if (!words::namesDslDevices()) {
        GTEST_SKIP() << "no event of this platform is about a DSL device";
    }
    gw.tableBuilt();
    updateLinkStatus("usb0:up");
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_TRUE(gw.loggedContaining("payload: usb0:up"));
    EXPECT_FALSE(gw.loggedContaining("updateLanLinkStatus"));
}

TEST_F(KernelLinkEvent, WithoutTextLooksAtTheLinks) {
    gw.dslLine(1, "Up");
    gw.tableBuilt();
    gw.kernelDatagram(message(0x1000, "eth0.2:up:10:F"));
    EXPECT_EQ(statusOf(""), 1);
    EXPECT_FALSE(gw.loggedContaining("payload:"));
    EXPECT_FALSE(gw.loggedContaining("updateLanLinkStatus"));
}

TEST_F(KernelLinkEvent, ClearsThatTheHuntHasFinished) {
    gw.tableBuilt();
    wan.isAutoHuntFinished = 1;
    updateLinkStatus("eth0.2:up:10:F");
    EXPECT_EQ(wan.isAutoHuntFinished, 0);
}

TEST_F(KernelLinkEvent, BeforeTheTableIsReadyRetrainsALineThatIsUp) {
    gw.dslLine(1, "Up");
    wan.isAutoHuntFinished = 1;
    updateLinkStatus("eth0.2:up:10:F");
    EXPECT_TRUE(gw.logged("syslog", 6, "WAN Link Info is not ready, re-train DSL"));
    EXPECT_EQ(gw.commands(), words::join({words::closeDsl(), words::openDsl()}));
    EXPECT_FALSE(gw.loggedContaining("payload:"));
    EXPECT_EQ(wan.isAutoHuntFinished, 1);
}

TEST_F(KernelLinkEvent, BeforeTheTableIsReadyLeavesALineThatIsDown) {
    gw.dslLine(1, "NoSignal");
    updateLinkStatus("eth0.2:up:10:F");
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_TRUE(gw.loggedContaining("updateLanLinkStatus: msgData"));
}

TEST_F(KernelLinkEvent, StormOfTenThousandEndsInTheTrueState) {
    gw.ethernetPort(2, "eth0.2", "Down");
    gw.ethernetPort(3, "eth0.3", "Down");
    gw.tableBuilt();
    for (int i = 0; i < 2500; ++i) {
        gw.kernelDatagram(linkEvent("eth0.2:up:100:F") + linkEvent("eth0.3:up:100:F") + linkEvent("eth0.2:down:0:H") +
                          linkEvent("eth0.3:down:0:H"));
    }
    gw.kernelDatagram(linkEvent("eth0.3:up:1000:F"));
    EXPECT_EQ(statusOf("eth0.2"), 0);
    EXPECT_EQ(statusOf("eth0.3"), 1);
    EXPECT_EQ(gw.get("Ethernet.Interface.2.Status"), "Down");
    EXPECT_EQ(gw.get("Ethernet.Interface.3.Status"), "Up");
    EXPECT_EQ(linkEvents(), 10'001);
}

}  // namespace
