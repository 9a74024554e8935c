// What log lines carry: their module, and texts that nothing from outside can forge.
#include "core/log.h"

#include <string>

#include "support/kit.h"

namespace {

TEST(LogTag, IsThatOfTheFilesRoom) {
    EXPECT_STREQ(logs::sourceTag("/src/tarn/connection/ppp.cpp"), "tarn_connection");
    EXPECT_STREQ(logs::sourceTag("/src/tarn/link/optical.cpp"), "tarn_link_wan");
    EXPECT_STREQ(logs::sourceTag("/src/tarn/platform/econet/wrapper.cpp"), "tarn_wrapper");
    EXPECT_STREQ(logs::sourceTag("/src/tarn/mgmt/checksum.cpp"), "tarn_mgmt");
    EXPECT_STREQ(logs::sourceTag("/src/tarn/core/message.cpp"), "tarn");
    EXPECT_STREQ(logs::sourceTag("/src/tarn/dispatch.cpp"), "tarn");
}

TEST(LogTag, DoesNotDependOnWhereTheCheckoutLies) {
    for (const std::string above :
         {"/home/link", "/lan", "/srv/mgmt/x", "/platform", "/connection/link", "/tarn/link"}) {
        EXPECT_STREQ(logs::sourceTag(above + "/tarn/dispatch.cpp"), "tarn") << above;
        EXPECT_STREQ(logs::sourceTag(above + "/project/tarn/core/shell.cpp"), "tarn") << above;
        EXPECT_STREQ(logs::sourceTag(above + "/tarn/tarn/connection/ppp.cpp"), "tarn_connection") << above;
        EXPECT_STREQ(logs::sourceTag(above + "/project/tarn/link/optical.cpp"), "tarn_link_wan") << above;
    }
}

TEST(LogLine, PrintedTextWithoutANewlineGetsOne) {
    Gateway gw;
    logs::print("without");
    logs::print("with\n");
    logs::print("%s", "");
    std::vector<std::string> lines;
    for (const LogLine& line : gw.log()) {
        lines.push_back(line.text);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"without", "with", ""}));
}

TEST(LogLine, ArgumentCannotForgeALine) {
    Gateway gw;
    const char* const forged = "a\nTARN Start\r\x1b[2J\tb\x7f";
    const std::string shown = R"(is a\nTARN Start\r\x1b[2J\tb\x7f)";
    logs::system(LOG_ERR, "is %s\n", forged);
    logs::print("is %s\n", forged);
    VLOG(VLOG_ERROR, "is %s\n", forged);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, shown));
    EXPECT_TRUE(gw.logged("stdout", shown));
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, shown));
}

TEST(LogLine, ControlCharactersOfUtf8AreShownToo) {
    Gateway gw;
    logs::print("%s",
                "a\xC2\x9B"
                "2J");
    EXPECT_TRUE(gw.logged("stdout", R"(a\xc2\x9b2J)"));
}

TEST(LogLine, OrdinaryTextStaysLetterForLetter) {
    Gateway gw;
    const std::string text =
        "{\"a\":\"b\\nc\"} 100% gr\xC3\xBC\xC3\x9F"
        "e \xC2\xA0 \xFF";
    logs::print("%s\n", text.c_str());
    VLOG(VLOG_ERROR, "%s", text.c_str());
    EXPECT_TRUE(gw.logged("stdout", text));
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, text));
}

TEST(LogLine, LoneFirstByteOfATwoByteLetterStaysAsItIs) {
    Gateway gw;
    logs::print("%s", "cut \xC2");
    logs::print("%s\n", "cut too \xC2");
    EXPECT_TRUE(gw.logged("stdout", "cut \xC2"));
    EXPECT_TRUE(gw.logged("stdout", "cut too \xC2"));
}

TEST(LogLine, AnnouncedPayloadCannotForgeALine) {
    Gateway gw;
    gw.receive(VCFG_MSG_FAKEROOT_SYS_COMMAND, "x\"\nSystem: System init finished\n");
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO,
                          R"(receiving VCFG_MSG_FAKEROOT_SYS_COMMAND buf "x"\nSystem: System init finished\n")"));
}

TEST(LogLine, FrameworkLineThatGrowsIsCutAtItsLimit) {
    Gateway gw;
    VLOG(VLOG_ERROR, "%s", std::string(5000, '\x1b').c_str());
    ASSERT_EQ(gw.log().size(), 1u);
    EXPECT_EQ(gw.log()[0].text.size(), 2000u);
}

}  // namespace
