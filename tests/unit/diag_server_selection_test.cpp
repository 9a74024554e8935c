#include "diag/server_selection_result.h"

#include <thread>

#include "unit/diag_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kObject = "IP.Diagnostics.ServerSelectionDiagnostics";
const Lines kStopped{"killall pingsvrs pings"};

std::string message(const std::string& phase, const std::string& more = "") {
    return R"({"PingsDiagnosticsState":")" + phase + "\"" + more + "}";
}

std::string times(const std::string& minimum, const std::string& average, const std::string& maximum,
                  const std::string& host) {
    return R"(,"MinimumResponseTime":)" + minimum + R"(,"AverageResponseTime":)" + average +
           R"(,"MaximumResponseTime":)" + maximum + R"(,"FastestHost":")" + host + "\"";
}

class ServerSelectionResult : public testing::Test {
  protected:
    void send(const std::string& payload) { gw.receive(VCFG_MSG_PINGSVRS_RST, payload); }
    void start(const std::string& more) { send(message("pings_start", more)); }
    void host(const std::string& more) { send(message("pings_host", more)); }
    void complete(const std::string& state = "Complete") {
        send(message("pings_complete", R"(,"DiagnosticsState":")" + state + "\""));
    }
    std::string value(const std::string& parameter) { return gw.get(std::string(kObject) + "." + parameter); }
    void expectBest(const std::string& minimum, const std::string& average, const std::string& maximum,
                    const std::string& fastest) {
        EXPECT_EQ(value("MinimumResponseTime"), minimum);
        EXPECT_EQ(value("AverageResponseTime"), average);
        EXPECT_EQ(value("MaximumResponseTime"), maximum);
        EXPECT_EQ(value("FastestHost"), fastest);
    }
    // The JSON text of the one write there was.
    std::string written() {
        const std::string start = std::string("write ") + kObject + " ";
        EXPECT_EQ(gw.writes().size(), 1u);
        return gw.writes().empty() ? "" : gw.writes().at(0).substr(start.size());
    }
    DiagGateway gw;
};

TEST_F(ServerSelectionResult, FastestHostIsWrittenAtTheEnd) {
    start(times("20", "25", "30", "a.example"));
    host(times("10", "15", "40", "b.example"));
    host(times("16", "18", "19", "c.example"));
    EXPECT_TRUE(gw.writes().empty());
    complete();
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    expectBest("10", "15", "40", "b.example");
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_NO_REPLY(gw);
}

TEST_F(ServerSelectionResult, EveryMessageIsLogged) {
    for (const std::string payload : {"not json", "{}"}) {
        send(payload);
        EXPECT_TRUE(gw.logged("syslog", 6, "tarnProcessPingSvrsMsg: pingSvrRstObjStr " + payload));
    }
}

TEST_F(ServerSelectionResult, HostWithoutAnswersIsNeverTheFastest) {
    start(times("20", "25", "30", "a.example"));
    host(times("0", "0", "0", "dead.example"));
    complete();
    expectBest("20", "25", "30", "a.example");
}

TEST_F(ServerSelectionResult, EqualAverageKeepsTheEarlierHost) {
    start(times("20", "25", "30", "a.example"));
    host(times("1", "25", "26", "b.example"));
    complete();
    expectBest("20", "25", "30", "a.example");
}

TEST_F(ServerSelectionResult, StartWithoutAnswersIsTakenAndNeverBeaten) {
    start(times("0", "0", "0", "dead.example"));
    host(times("1", "2", "3", "b.example"));
    complete();
    expectBest("0", "0", "0", "dead.example");
}

TEST_F(ServerSelectionResult, AveragesAreComparedUnsigned) {
    start(times("1", "4294967295", "4294967296", "a.example"));
    host(times("1", "2147483648", "3", "b.example"));
    complete();
    expectBest("1", "2147483648", "3", "b.example");
    start(times("-1", "5", "\"7\"", "c.example"));
    host(times("1", "-4", "3", "d.example"));
    complete();
    expectBest("0", "5", "7", "c.example");
}

TEST_F(ServerSelectionResult, NewStartDiscardsTheSeriesBefore) {
    start(times("1", "2", "3", "a.example"));
    start(times("20", "25", "30", "b.example"));
    complete();
    expectBest("20", "25", "30", "b.example");
}

TEST_F(ServerSelectionResult, StartWithoutTimesEndsTheSeries) {
    for (const char* more : {"", R"(,"MinimumResponseTime":null)", R"(,"AverageResponseTime":5)"}) {
        gw.forget();
        start(more);
        EXPECT_EQ(written(), R"({"DiagnosticsState":"Error_Internal"})") << more;
        EXPECT_EQ(gw.commands(), kStopped);
    }
}

TEST_F(ServerSelectionResult, HostBeforeAnyStartEndsTheSeries) {
    host(times("1", "2", "3", "a.example"));
    EXPECT_EQ(written(), R"({"DiagnosticsState":"Error_Internal"})");
    EXPECT_EQ(gw.commands(), kStopped);
    gw.forget();
    host(times("1", "2", "3", "a.example"));
    EXPECT_EQ(written(), R"({"DiagnosticsState":"Error_Internal"})");
}

TEST_F(ServerSelectionResult, HostWithoutTimesWritesWhatThereIs) {
    start(times("20", "25", "30", "a.example"));
    host(R"(,"FastestHost":"b.example")");
    EXPECT_EQ(value("DiagnosticsState"), "Error_Internal");
    expectBest("20", "25", "30", "a.example");
    EXPECT_EQ(gw.commands(), kStopped);
}

TEST_F(ServerSelectionResult, EndWithAnErrorStopsTheWorkers) {
    start(times("20", "25", "30", "a.example"));
    complete("Error_CannotResolveHostName");
    EXPECT_EQ(value("DiagnosticsState"), "Error_CannotResolveHostName");
    expectBest("20", "25", "30", "a.example");
    EXPECT_EQ(gw.commands(), kStopped);
}

TEST_F(ServerSelectionResult, EndWithoutAStateIsAnInternalError) {
    for (const char* more : {"", R"(,"DiagnosticsState":null)", R"(,"DiagnosticsState":{})"}) {
        gw.forget();
        start(times("20", "25", "30", "a.example"));
        send(message("pings_complete", more));
        EXPECT_EQ(value("DiagnosticsState"), "Error_Internal");
        EXPECT_EQ(gw.commands(), kStopped);
    }
}

TEST_F(ServerSelectionResult, EndWithoutAStartWritesTheStateAlone) {
    complete();
    EXPECT_EQ(written(), R"({"DiagnosticsState":"Complete"})");
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(ServerSelectionResult, SeriesIsForgottenAfterItsEnd) {
    start(times("20", "25", "30", "a.example"));
    complete();
    gw.forget();
    complete("Error_Other");
    EXPECT_EQ(written(), R"({"DiagnosticsState":"Error_Other"})");
}

TEST_F(ServerSelectionResult, WhatIsNoPhaseMeansNoneAndStopsTheWorkers) {
    for (const char* payload :
         {"not json", "[]", "{}", R"({"PingsDiagnosticsState":null})", R"({"PingsDiagnosticsState":"ping"})",
          R"({"PingsDiagnosticsState":{"pings":1}})", R"({"PingsDiagnosticsState":7})", ""}) {
        gw.forget();
        send(payload);
        EXPECT_EQ(written(), R"({"DiagnosticsState":"None"})") << payload;
        EXPECT_EQ(gw.commands(), kStopped) << payload;
    }
}

TEST_F(ServerSelectionResult, NoneGoesIntoTheResultUnderConstruction) {
    start(times("20", "25", "30", "a.example"));
    send("not json");
    EXPECT_EQ(value("DiagnosticsState"), "None");
    expectBest("20", "25", "30", "a.example");
    gw.forget();
    complete();
    EXPECT_EQ(written(), R"({"DiagnosticsState":"Complete"})");
}

TEST_F(ServerSelectionResult, OtherPhasesOfTheFamilyAreIgnored) {
    start(times("20", "25", "30", "a.example"));
    for (const char* phase : {"pings", "pings_start ", "xpings_complete", "PINGSpings_host"}) {
        send(message(phase, times("1", "2", "3", "b.example")));
    }
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.commands().empty());
    complete();
    expectBest("20", "25", "30", "a.example");
}

TEST_F(ServerSelectionResult, MissingHostLeavesTheParameterOut) {
    gw.set(std::string(kObject) + ".FastestHost", "before.example");
    start(R"(,"MinimumResponseTime":20,"AverageResponseTime":25,"MaximumResponseTime":30)");
    complete();
    EXPECT_EQ(written(), R"({"MinimumResponseTime":20,"AverageResponseTime":25,"MaximumResponseTime":30,)"
                         R"("DiagnosticsState":"Complete"})");
    start(times("20", "25", "30", "a.example"));
    host(R"(,"MinimumResponseTime":1,"AverageResponseTime":2,"MaximumResponseTime":3)");
    complete();
    expectBest("1", "2", "3", "before.example");
}

TEST_F(ServerSelectionResult, HostThatIsNoTextIsRefusedWhole) {
    start(R"(,"MinimumResponseTime":20,"AverageResponseTime":25,"MaximumResponseTime":30,"FastestHost":["a"])");
    complete();
    EXPECT_TRUE(gw.logged("syslog", 6, "tarnProcessPingSvrsMsg: Set RDM_OID_IP_DIAG_SVR_SELECT_DIAG failed"));
    EXPECT_EQ(value("DiagnosticsState"), "None");
    EXPECT_EQ(value("AverageResponseTime"), "0");
}

TEST_F(ServerSelectionResult, RefusedWriteEndsTheSeries) {
    gw.refuseWrite(Operation::Write, kObject);
    start(times("20", "25", "30", "a.example"));
    complete();
    EXPECT_TRUE(gw.logged("syslog", 6, "tarnProcessPingSvrsMsg: Set RDM_OID_IP_DIAG_SVR_SELECT_DIAG failed"));
    EXPECT_TRUE(gw.writes().empty());
    complete();
    EXPECT_EQ(written(), R"({"DiagnosticsState":"Complete"})");
}

TEST_F(ServerSelectionResult, WriteIsAppliedByTheOwner) {
    inproc::ownerApplies(kObject);
    complete();
    EXPECT_EQ(inproc::applied(), Lines{std::string("set ") + kObject});
}

// Two tools at once share the one series, whichever thread takes their messages: every end writes a whole result.
TEST_F(ServerSelectionResult, SeriesOnTwoThreadsStayWhole) {
    const auto tool = [](const std::string& average, const std::string& name) {
        for (int i = 0; i < 200; ++i) {
            tarnProcessPingSvrsMsg(message("pings_start", times(average, average, average, name)).c_str());
            tarnProcessPingSvrsMsg(message("pings_host", times(average, average, average, name)).c_str());
            tarnProcessPingSvrsMsg(message("pings_complete", R"(,"DiagnosticsState":"Complete")").c_str());
        }
    };
    std::thread other(tool, "7", "seven.example");
    tool("5", "five.example");
    other.join();
    for (const std::string& write : gw.writes()) {
        const bool seven = write.find("seven.example") != std::string::npos;
        const bool five = write.find("five.example") != std::string::npos;
        EXPECT_FALSE(seven && five) << write;
        EXPECT_EQ(write.find(R"("AverageResponseTime":7)") != std::string::npos, seven) << write;
        EXPECT_EQ(write.find(R"("AverageResponseTime":5)") != std::string::npos, five) << write;
    }
}

}  // namespace
