// What other daemons may have done by this one, at the lengths where it could go wrong; replies byte by byte.
#include <syslog.h>

#include <string>

#include "core/command_relay.h"
#include "support/kit.h"

namespace {

using Commands = std::vector<std::string>;

constexpr Sender kAgent{9, 0x04030201};

// A reply to kAgent as it lies on the wire; `text` goes with its NUL.
std::string wireReply(const std::string& text) {
    std::string bytes("\x67\0\0\x80", 4);  // type
    bytes += std::string("\0\0\0\0", 4);   // no object
    bytes += std::string("\x02\x09", 2);   // from the daemon to the requester
    bytes += static_cast<char>(text.size() + 1);
    bytes += '\0';  // length
    bytes += std::string("\x01\x02\x03\x04", 4);
    bytes += std::string(4 + 28 + 7 + 1, '\0');  // result, reserved, no instance, spare
    return bytes + text + '\0';
}

class RelayLength : public testing::TestWithParam<size_t> {
  protected:
    std::string payload() const { return std::string(GetParam(), 'x'); }
    void receive(uint32_t type) { gw.receiveBytes(type, payload(), kAgent); }
    std::vector<std::string> replies() const {
        std::vector<std::string> bytes;
        for (const SentMessage& reply : gw.replies()) {
            bytes.push_back(reply.bytes);
        }
        return bytes;
    }

    Gateway gw;
};

TEST_P(RelayLength, VoshCommandLogsItsFirstWordAndDoesNothing) {
    receive(VCFG_MSG_VOSH_COMMAND);
    const int word = GetParam() == 0 ? 0 : GetParam() == 1 ? 'x' : 0x78787878;
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "process_vosh_cmd:no command here = " + std::to_string(word)));
    EXPECT_EQ(gw.commands(), Commands{});
    EXPECT_EQ(replies(), std::vector<std::string>{});
}

TEST_P(RelayLength, ShellCommandIsRunAndAcknowledgedUpTo256Bytes) {
    receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND);
    const bool fits = GetParam() <= 256;
    EXPECT_EQ(gw.commands(), fits ? Commands{payload()} : Commands{});
    EXPECT_EQ(replies(), fits ? std::vector<std::string>{wireReply("1")} : std::vector<std::string>{});
    EXPECT_EQ(gw.logged("vlog", VLOG_ERROR, "invalid msgHdr->length = 257, should be less then 256"), !fits);
}

TEST_P(RelayLength, VocliCommandIsRunWholeAndNotAnswered) {
    receive(VCFG_MSG_FAKEROOT_VOCLI_COMMAND);
    const bool missing = GetParam() == 0;
    EXPECT_EQ(gw.commands(), missing ? Commands{} : Commands{payload()});
    EXPECT_EQ(gw.logged("vlog", VLOG_ERROR, "fail to run system()"), missing);
    const std::string shown = missing ? "(null)" : payload();
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO, "receiving VCFG_MSG_FAKEROOT_VOCLI_COMMAND buf \"" + shown + "\""));
    EXPECT_EQ(replies(), std::vector<std::string>{});
}

TEST_P(RelayLength, ChecksumIsAnsweredWhateverThePayload) {
    gw.file("/data/vcfg_config.json", std::string(70000, '\xFF'));
    receive(VCFG_MSG_FAKEROOT_SYS_COMMAND);
    EXPECT_EQ(gw.commands(), Commands{});
    EXPECT_EQ(replies(), std::vector<std::string>{wireReply("00005FA0")});
}

INSTANTIATE_TEST_SUITE_P(Bytes, RelayLength, testing::Values(0, 1, 255, 256, 257));

TEST(RelayedShellCommand, ThatEndsInANulIsTheTextBeforeIt) {
    Gateway gw;
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, std::string(255, 'x'), kAgent);  // 256 with its NUL
    EXPECT_EQ(gw.commands(), Commands{std::string(255, 'x')});
    gw.forget();
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, std::string(256, 'x'), kAgent);  // 257 with its NUL
    EXPECT_EQ(gw.commands(), Commands{});
}

TEST(RelayedShellCommand, IsAcknowledgedWhateverItsResult) {
    Gateway gw;
    gw.commandResult("false", 256);
    gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, "false", kAgent);
    ASSERT_EQ(gw.replies().size(), 1u);
    EXPECT_EQ(gw.replies()[0].bytes, wireReply("1"));
}

TEST(RelayedVoshCommand, FirstWordIsSignedAndItsMissingBytesAreZero) {
    Gateway gw;
    EXPECT_EQ(process_vosh_cmd(std::string("\0\0\0\x80", 4)), 0);
    EXPECT_EQ(process_vosh_cmd(std::string("\x01\x02\x03", 3)), 0);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "process_vosh_cmd:no command here = -2147483648"));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "process_vosh_cmd:no command here = 197121"));
}

TEST(RelayedVocliCommand, ExitStatusOtherThanZeroIsLogged) {
    Gateway gw;
    gw.commandResult("show version", 256);
    gw.receive(VCFG_MSG_FAKEROOT_VOCLI_COMMAND, "show version", kAgent);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "fail to run system()"));
}

TEST(TimeSynchronised, UnreadableTimeIsSkippedSilently) {
    Gateway gw;
    gw.refuseWrite(inproc::Operation::Get, "Time");
    feNTPSync();
    EXPECT_TRUE(gw.writes().empty());
    ASSERT_EQ(gw.log().size(), 1u);
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO, "feNTPSync: Enter "));
}

TEST(ConfigurationChecksum, EmptyFileAnswersZeros) {
    Gateway gw;
    gw.file("/data/vcfg_config.json", "");
    gw.receive(VCFG_MSG_FAKEROOT_SYS_COMMAND, "", kAgent);
    ASSERT_EQ(gw.replies().size(), 1u);
    EXPECT_EQ(gw.replies()[0].bytes, wireReply("00000000"));
}

}  // namespace
