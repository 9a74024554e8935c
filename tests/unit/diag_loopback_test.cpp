#include "diag/loopback_result.h"

#include "unit/diag_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kCounts[] = {"SuccessCount", "FailureCount", "AverageResponseTime", "MinimumResponseTime",
                                   "MaximumResponseTime"};
constexpr const char* kReport = R"({"DiagnosticsState":"Complete","SuccessCount":4,"FailureCount":1,
    "AverageResponseTime":23,"MinimumResponseTime":19,"MaximumResponseTime":31})";

// What ping and the two ATM loopbacks have in common.
struct Tool {
    const char* name;
    uint32_t type;
    const char* object;
    const char* inLines;
    const char* unstated;
};

class LoopbackResult : public testing::TestWithParam<Tool> {
  protected:
    void report(const std::string& payload) { gw.receive(GetParam().type, payload); }
    std::string value(const std::string& parameter) { return gw.get(std::string(GetParam().object) + "." + parameter); }
    std::string line(const std::string& verb) { return verb + " " + GetParam().inLines + " Object fail"; }
    void expectCounts(const std::string& all) {
        for (const char* count : kCounts) {
            EXPECT_EQ(value(count), all) << count;
        }
    }
    DiagGateway gw;
};

INSTANTIATE_TEST_SUITE_P(
    Tools, LoopbackResult,
    testing::Values(Tool{"Ping", 0x80000115, "IP.Diagnostics.IPPing", "IPPing", "None"},
                    Tool{"F5", 0x800000E3, "ATM.Diagnostics.F5Loopback", "ATM.Diagnostics.F5Loopback", ""},
                    Tool{"F4", 0x800000E4, "ATM.Diagnostics.X_VORAN_F4Loopback", "ATM.Diagnostics.F5Loopback", ""}),
    [](const auto& tool) { return tool.param.name; });

TEST_P(LoopbackResult, ReportIsWrittenAndApplied) {
    report(kReport);
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("SuccessCount"), "4");
    EXPECT_EQ(value("FailureCount"), "1");
    EXPECT_EQ(value("AverageResponseTime"), "23");
    EXPECT_EQ(value("MinimumResponseTime"), "19");
    EXPECT_EQ(value("MaximumResponseTime"), "31");
    EXPECT_EQ(gw.writes(), Lines{std::string("set ") + GetParam().object});
    EXPECT_TRUE(gw.printed().empty());
    EXPECT_NO_REPLY(gw);
}

TEST_P(LoopbackResult, OnlyTheReportedParametersChange) {
    gw.set(std::string(GetParam().object) + ".SuccessCount", "9");
    if (GetParam().type != 0x800000E4) {
        gw.set(std::string(GetParam().object) + ".Interface", "IP.Interface.3");
        report(kReport);
        EXPECT_EQ(value("Interface"), "IP.Interface.3");
    }
    report(kReport);
    EXPECT_EQ(value("SuccessCount"), "4");
}

TEST_P(LoopbackResult, WhatIsNoJsonObjectTellsNoStateAndNoCounts) {
    for (const char* payload : {"not json", "[1]", "7", "\"text\"", "null", "{", ""}) {
        report(kReport);
        report(payload);
        EXPECT_EQ(value("DiagnosticsState"), GetParam().unstated) << payload;
        expectCounts("0");
    }
}

TEST_P(LoopbackResult, StateAloneZeroesTheCounts) {
    report(kReport);
    report(R"({"DiagnosticsState":"Error_Internal"})");
    EXPECT_EQ(value("DiagnosticsState"), "Error_Internal");
    expectCounts("0");
}

TEST_P(LoopbackResult, MissingStateIsUnstated) {
    for (const char* payload : {R"({"SuccessCount":3})", R"({"DiagnosticsState":null,"SuccessCount":3})"}) {
        report(kReport);
        report(payload);
        EXPECT_EQ(value("DiagnosticsState"), GetParam().unstated);
        EXPECT_EQ(value("SuccessCount"), "3");
    }
}

TEST_P(LoopbackResult, MissingCountIsZero) {
    report(kReport);
    report(R"({"DiagnosticsState":"Complete","SuccessCount":4,"AverageResponseTime":23,"MinimumResponseTime":19,
        "MaximumResponseTime":31})");
    EXPECT_EQ(value("FailureCount"), "0");
    EXPECT_EQ(value("MaximumResponseTime"), "31");
}

TEST_P(LoopbackResult, CountsAreConvertedOrZero) {
    const std::pair<const char*, const char*> kValues[] = {{"12", "12"},
                                                           {"\"12\"", "12"},
                                                           {"12.9", "12"},
                                                           {"true", "1"},
                                                           {"\"x\"", "0"},
                                                           {"\"\"", "0"},
                                                           {"null", "0"},
                                                           {"[1]", "0"},
                                                           {"{\"a\":1}", "0"},
                                                           {"-1", "0"},
                                                           {"\"-1\"", "0"},
                                                           {"NaN", "0"},
                                                           {"4294967295", "4294967295"},
                                                           {"4294967296", "4294967295"},
                                                           {"99999999999999999999999", "4294967295"},
                                                           {"1e300", "4294967295"}};
    for (const auto& [sent, stored] : kValues) {
        for (const char* count : kCounts) {
            report(std::string(R"({"DiagnosticsState":"Complete",")") + count + "\":" + sent + "}");
            EXPECT_EQ(value(count), stored) << count << " of " << sent;
        }
    }
}

TEST_P(LoopbackResult, FailedReadIsPrintedAndEndsTheEvent) {
    gw.refuseWrite(Operation::Get, GetParam().object);
    report(kReport);
    EXPECT_EQ(gw.printed(), Lines{line("Get")});
    EXPECT_TRUE(gw.writes().empty());
}

TEST_P(LoopbackResult, RefusedWriteIsPrintedOnce) {
    gw.refuseWrite(Operation::Set, GetParam().object);
    report(kReport);
    EXPECT_EQ(gw.printed(), Lines{line("Set")});
    EXPECT_TRUE(gw.writes().empty());
}

TEST_P(LoopbackResult, StateThatTheModelDoesNotKnowIsRefusedWhole) {
    report(kReport);
    report(R"({"DiagnosticsState":"Splendid","SuccessCount":9})");
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("SuccessCount"), "4");
    EXPECT_TRUE(gw.printed(line("Set")));
}

TEST_P(LoopbackResult, MissingPayloadChangesNothing) {
    gw.receiveEmpty(GetParam().type);
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.printed().empty());
}

TEST(F4LoopbackResult, LeavesTheF5ObjectAlone) {
    DiagGateway gw;
    tarnProcessAtmF4LoMsg(kReport);
    EXPECT_EQ(gw.get("ATM.Diagnostics.F5Loopback.SuccessCount"), "0");
    tarnProcessAtmF5LoMsg(R"({"SuccessCount":2})");
    EXPECT_EQ(gw.get("ATM.Diagnostics.X_VORAN_F4Loopback.SuccessCount"), "4");
}

}  // namespace
