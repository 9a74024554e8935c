// Messages that the library consumes, and messages that cannot be made for want of memory.
#include "core/message.h"

#include <string>

#include "core/path.h"
#include "support/kit.h"
#include "support/short_memory.h"

namespace {

template <class Call>
auto withoutMemoryForMessages(const Call& call) {
    struct Shortage {
        Shortage() { short_memory::leaveCallocs(0); }
        ~Shortage() { short_memory::leaveCallocs(-1); }
    } const shortage;
    return call();
}

// The texts of the framework log's errors, in order.
std::vector<std::string> errors(const Gateway& gw) {
    std::vector<std::string> texts;
    for (const LogLine& line : gw.log()) {
        if (line.channel == "vlog" && line.level == VLOG_ERROR) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

TEST(DebugConfiguration, IsTheFrameworksAndHandledNoFurther) {
    Gateway gw;
    gw.debugConfiguration(VCFG_MSG_FAKEROOT_SHELL_COMMAND);
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, "echo x");
    EXPECT_TRUE(gw.log().empty());
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_NO_REPLY(gw);
    gw.receive(VCFG_MSG_LAN_MAC_CONTROL_EVENT, "x");
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "receiving VCFG_MSG_LAN_MAC_CONTROL_EVENT"));
}

TEST(Reply, WithoutMemoryIsLoggedWithItsSizeAndNotSent) {
    Gateway gw;
    const int code =
        withoutMemoryForMessages([] { return tarnReqMsgReply(15, 77, VCFG_MSG_WAN_REPLY, 8, nullptr, "00005FA0", 0); });
    EXPECT_EQ(code, VCFG_ERR_FAIL);
    EXPECT_EQ(errors(gw), (std::vector<std::string>{"fail to calloc memory, size = 65", "memory insufficient"}));
    EXPECT_NO_REPLY(gw);
}

TEST(Reply, ThatNoPacketCanCarryIsLoggedAndNotSent) {
    Gateway gw;
    const std::string longest(VCFG_MSG_PAYLOAD_MAX - 1, 'x');
    const auto size = static_cast<uint32_t>(longest.size());
    EXPECT_EQ(tarnReqMsgReply(15, 77, VCFG_MSG_WAN_REPLY, size, nullptr, longest.c_str(), 0), VCFG_OK);
    EXPECT_TRUE(errors(gw).empty());
    EXPECT_EQ(tarnReqMsgReply(15, 77, VCFG_MSG_WAN_REPLY, size + 1, nullptr, (longest + 'x').c_str(), 0),
              VCFG_ERR_INVALID);
    EXPECT_EQ(errors(gw), std::vector<std::string>{"a reply cannot carry 65535 bytes"});
}

TEST(CompletionNotice, WithoutMemoryIsLoggedWithItsSizeAndNotSent) {
    Gateway gw;
    withoutMemoryForMessages([] {
        sendInitFin();
        return 0;
    });
    EXPECT_EQ(errors(gw), (std::vector<std::string>{"fail to calloc memory, size = 57", "memory insuffcient"}));
    EXPECT_TRUE(gw.requests().empty());
}

TEST(Reply, CarriesInstanceResultAndText) {
    Gateway gw;
    const objIndex iid = instanceId({3, 1});
    tarnReqMsgReply(28, 0x01020304, 0x80000FBB, 2, &iid, "ab", 0x11);
    ASSERT_EQ(gw.replies().size(), 1u);
    EXPECT_EQ(gw.replies()[0].bytes, std::string("\xBB\x0F\0\x80"
                                                 "\0\0\0\0"
                                                 "\x02\x1C\x03\0"
                                                 "\x04\x03\x02\x01"
                                                 "\x11\0\0\0",
                                                 20) +
                                         std::string(28, '\0') + std::string("\x02\x03\x01\0\0\0\0\0", 8) +
                                         std::string("ab\0", 3));
}

TEST(NullRecord, OfADhcpv6ReportIsNamedAndSkipped) {
    Gateway gw;
    gw.set("DHCPv6.Client.1.X_VORAN_PidFile", "/var/run/dhcp6c-wan.pid");
    inproc::nullRecord("DHCPv6.Client.{i}");
    gw.receive(VCFG_MSG_DHCP6C, R"({"pidfile":"/var/run/dhcp6c-wan.pid","addrAssigned":true,"addr":"2001:db8::7"})");
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection "));
}

TEST(NullRecord, OfARouterAdvertisementIsNamedAndSkipped) {
    Gateway gw;
    gw.add("IP.Interface.1");
    gw.file("/proc/sys/net/ipv6/conf/eth0.100/accept_ra", "2\n");
    inproc::nullRecord("IP.Interface.{i}");
    gw.receive(VCFG_MSG_RA_INFO,
               R"({"ifName":"eth0.100","router_lifetime":1800,"prefix":"2001:db8::","prefix_len":64})");
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_connection "));
}

}  // namespace
