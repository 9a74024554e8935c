#include <string>

#include "core/path.h"
#include "dispatch.h"
#include "startup.h"
#include "support/kit.h"

namespace {

constexpr Sender kHttpd{VCFG_EID_VHTTPD, 4242};

TEST(Dispatch, LogsTypeNumberReplyObjectAndSender) {
    Gateway gw;
    gw.receive(VCFG_MSG_LAN_MAC_CONTROL_EVENT, "x", kHttpd);
    EXPECT_TRUE(gw.logged("vlog", 7, "process msg type = 274 without reply, oid = 0, from EID = 15"));
}

TEST(Dispatch, TypeWithoutBit31IsLoggedAsWithReply) {
    Gateway gw;
    gw.receive(VCFG_MSG_VOSH_COMMAND, "x", kHttpd);
    EXPECT_TRUE(gw.logged("vlog", 7, "process msg type = 131 with reply, oid = 0, from EID = 15"));
}

TEST(Dispatch, UnknownTypeIsLoggedAndNotAnswered) {
    Gateway gw;
    gw.receive(0x12345, "x", kHttpd);
    EXPECT_TRUE(gw.logged("vlog", 3, "unknown msg type 74565 is received from EID 15"));
    EXPECT_NO_REPLY(gw);
}

TEST(Dispatch, Bit31IsPartOfTheKey) {
    Gateway gw;
    gw.receive(0x80000083u, "x", kHttpd);
    EXPECT_TRUE(gw.logged("vlog", 3, "unknown msg type -2147483517 is received from EID 15"));
}

TEST(Dispatch, ReceiveFailureIsLogged) {
    Gateway gw;
    processRequest();  // nothing is there to receive
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to receive message"));
}

TEST(Dispatch, MessageOfTwoSecondsIsReportedWithItsDuration) {
    Gateway gw;
    gw.commandTakes("slow", 2000);
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, "slow", kHttpd);
    EXPECT_TRUE(gw.logged("vlog", 4, "process msg type = 286 with reply, oid = 0, from EID = 15 by 2000 ms"));
}

TEST(Dispatch, MessageBelowTwoSecondsIsNotReported) {
    Gateway gw;
    gw.commandTakes("quick", 1999);
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, "quick", kHttpd);
    EXPECT_FALSE(gw.loggedContaining(" by "));
}

struct Announced {
    uint32_t type;
    const char* channel;
    int level;
    const char* text;
};

class DispatchAnnouncement : public testing::TestWithParam<Announced> {};

TEST_P(DispatchAnnouncement, IsWrittenAlsoWithoutPayload) {
    Gateway gw;
    gw.receiveEmpty(GetParam().type);
    EXPECT_TRUE(gw.logged(GetParam().channel, GetParam().level, GetParam().text));
    EXPECT_FALSE(gw.loggedContaining("unknown msg type"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DispatchAnnouncement,
    testing::Values(Announced{208, "syslog", 6, "receiving VCFG_MSG_FAKEROOT_SYS_COMMAND buf \"(null)\""},
                    Announced{0x800000D8, "syslog", 6, "DHCPC Option (null)"},
                    Announced{0x800000DA, "syslog", 6, "DHCPC Option (null)"},
                    Announced{0x800000F5, "syslog", 6, "DHCPC Option (null)"},
                    Announced{0x800000DE, "vlog", 7, "receiving VCFG_MSG_MGMT_NAT_DETECT"},
                    Announced{0x800000DF, "vlog", 7, "receiving VCFG_MSG_MGMT_NAT_CLEAR"},
                    Announced{0x800000E2, "vlog", 7, "receiving VCFG_MSG_NSLOOKUP_MSG"},
                    Announced{0x800000E3, "vlog", 7, "receiving VCFG_MSG_ATM_OAM_COMPLETE"},
                    Announced{0x800000E4, "vlog", 7, "receiving VCFG_MSG_ATM_OAM_COMPLETE"},
                    Announced{0x800000E8, "syslog", 6, "receiving VCFG_MSG_NTP_SYNC_SUCCESS buf \"(null)\""},
                    Announced{0x800000EB, "syslog", 5, "System: System init finished"},
                    Announced{0x800000F2, "vlog", 7, "receiving VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT"},
                    Announced{0x800000F3, "syslog", 6, "receiving VCFG_MSG_TR64_LAN_DEVICE_UPDATE"},
                    Announced{0x800000FA, "syslog", 6, "receiving VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT"},
                    Announced{0x800000FB, "vlog", 7, "receiving VCFG_MSG_DHCPD_OPTION"},
                    Announced{0x8000010A, "vlog", 7, "receiving VCFG_MSG_PINGSVRS_RST"},
                    Announced{0x8000010B, "syslog", 6, "receving VCFG_MSG_MAIL_SEND_EVENT"},
                    Announced{0x80000112, "vlog", 7, "receiving VCFG_MSG_LAN_MAC_CONTROL_EVENT"},
                    Announced{0x80000115, "vlog", 7, "receiving VCFG_MSG_PING_MSG"},
                    Announced{0x80000116, "vlog", 7, "receiving VCFG_MSG_TRACERT_MSG"},
                    Announced{0x8000011F, "syslog", 6, "receiving VCFG_MSG_FAKEROOT_VOCLI_COMMAND buf \"(null)\""},
                    Announced{0x800003E8, "syslog", 6, "receving VCFG_MSG_MAIL_SEND_EVENT"},
                    Announced{0x800003E9, "vlog", 7, "receving VCFG_MSG_MAIL_SEND_EVENT"},
                    Announced{0x800003EF, "vlog", 7, "receiving VCFG_MSG_WAN_LINK"},
                    Announced{0x800003F4, "syslog", 6, "receiving VCFG_MSG_WAN_PPP_DISCONNECTED \"(null)\""},
                    Announced{0x800003F5, "syslog", 6, "receiving VCFG_MSG_WAN_PPP_CONNECTING \"(null)\""},
                    Announced{0x800003F6, "syslog", 6, "receving VCFG_MSG_WAN_INTERNET_LED_UPDATE"},
                    Announced{0x80000FAE, "syslog", 6, "receiving VCFG_MSG_WIFI_LED_ENABLE"}));

class DispatchSilentRow : public testing::TestWithParam<uint32_t> {};

TEST_P(DispatchSilentRow, IsRecognised) {
    Gateway gw;
    gw.receiveEmpty(GetParam());
    EXPECT_FALSE(gw.loggedContaining("unknown msg type"));
}

INSTANTIATE_TEST_SUITE_P(Rows, DispatchSilentRow,
                         testing::Values(131u, 286u, 1002u, 1003u, 1004u, 1005u, 0x800000DBu, 0x800000DDu, 0x800000F6u,
                                         0x80000110u, 0x80000113u, 0x80000122u, 0x8000012Eu, 0x80000FBBu, 0x80000FBCu,
                                         0x80000FBDu, 0x80000FD1u, 0x80000FD2u));

TEST(VoshCommand, LogsTheFirstWordAndAnswersNothing) {
    Gateway gw;
    gw.receiveBytes(VCFG_MSG_VOSH_COMMAND, std::string("\xFE\xFF\xFF\xFF\x01", 5), kHttpd);
    EXPECT_TRUE(gw.logged("syslog", 3, "process_vosh_cmd:no command here = -2"));
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(VoshCommand, PayloadShorterThanAWordCountsAsZeroBeyondItsEnd) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_VOSH_COMMAND, kHttpd);
    EXPECT_TRUE(gw.logged("syslog", 3, "process_vosh_cmd:no command here = 0"));
}

TEST(FakerootCommand, RunsThePayloadAndAcknowledgesWithOne) {
    Gateway gw;
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, "echo 'a b' > /tmp/x; true", kHttpd);
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{"echo 'a b' > /tmp/x; true"}));
    expectReply(gw, VCFG_MSG_WAN_REPLY, kHttpd);
    EXPECT_EQ(gw.replies()[0].length, 2);
    EXPECT_EQ(gw.replies()[0].payload, std::string("1\0", 2));
}

TEST(FakerootCommand, Length256IsRun) {
    Gateway gw;
    gw.receiveBytes(VCFG_MSG_FAKEROOT_SHELL_COMMAND, std::string(256, 'x'), kHttpd);
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{std::string(256, 'x')}));
}

TEST(FakerootCommand, Length257IsRefusedWithoutReply) {
    Gateway gw;
    gw.receiveBytes(VCFG_MSG_FAKEROOT_SHELL_COMMAND, std::string(257, 'x'), kHttpd);
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_NO_REPLY(gw);
    EXPECT_TRUE(gw.logged("vlog", 3, "invalid msgHdr->length = 257, should be less then 256"));
}

TEST(FakerootCommand, EmbeddedNulEndsTheCommand) {
    Gateway gw;
    gw.receiveBytes(VCFG_MSG_FAKEROOT_SHELL_COMMAND, std::string("true\0reboot", 11), kHttpd);
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{"true"}));
}

TEST(VocliCommand, RunsThePayload) {
    Gateway gw;
    gw.receive(VCFG_MSG_FAKEROOT_VOCLI_COMMAND, "show version");
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{"show version"}));
    EXPECT_FALSE(gw.loggedContaining("fail to run"));
}

TEST(VocliCommand, FailureIsLogged) {
    Gateway gw;
    gw.commandResult("show version", 256);
    gw.receive(VCFG_MSG_FAKEROOT_VOCLI_COMMAND, "show version");
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to run system()"));
}

TEST(VocliCommand, MissingPayloadRunsNothing) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_FAKEROOT_VOCLI_COMMAND);
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to run system()"));
}

TEST(Checksum, MissingConfigurationAnswersZeros) {
    Gateway gw;
    gw.receive(VCFG_MSG_FAKEROOT_SYS_COMMAND, "", kHttpd);
    ASSERT_EQ(gw.replies().size(), 1u);
    EXPECT_EQ(gw.replies()[0].length, 9);
    EXPECT_EQ(gw.replies()[0].payload, std::string("00000000\0", 9));
}

TEST(Checksum, CarryOfTheFoldIsDropped) {
    Gateway gw;
    gw.file("/data/vcfg_config.json", std::string(70000, '\xFF'));
    gw.receive(VCFG_MSG_FAKEROOT_SYS_COMMAND, "", kHttpd);
    EXPECT_EQ(gw.replies()[0].payload, std::string("00005FA0\0", 9));
}

TEST(NtpSync, AppliesTheTimeConfigurationOnTheFirstReportOnly) {
    Gateway gw;
    gw.set("DeviceInfo.FirstUseDate", "2026-01-01T00:00:00Z");
    gw.receive(VCFG_MSG_NTP_SYNC_SUCCESS, "2026-01-02T00:00:00Z");
    EXPECT_TRUE(gw.logged("syslog", 6, "feNTPSync: Enter "));
    EXPECT_EQ(gw.writes(), (std::vector<std::string>{"set Time"}));
    gw.forget();
    gw.receive(VCFG_MSG_NTP_SYNC_SUCCESS, "2026-01-03T00:00:00Z");
    EXPECT_TRUE(gw.writes().empty());
}

TEST(Reply, WithoutDataHasLengthOneAndOneNul) {
    Gateway gw;
    gw.receive(VCFG_MSG_WAN_PPP_CONNECT, "", kHttpd, instanceId({9}));  // no such connection: answered at once
    ASSERT_EQ(gw.replies().size(), 1u);
    EXPECT_EQ(gw.replies()[0].length, 1);
    EXPECT_EQ(gw.replies()[0].payload, std::string(1, '\0'));
    EXPECT_EQ(gw.replies()[0].requestId, kHttpd.requestId);
}

}  // namespace
