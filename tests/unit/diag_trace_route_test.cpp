#include "diag/trace_route_result.h"

#include "unit/diag_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kHops = "IP.Diagnostics.TraceRoute.RouteHops";
constexpr const char* kHopTable = "IP.Diagnostics.TraceRoute.RouteHops.{i}";
constexpr const char* kTwoHops = R"({"DiagnosticsState":"Complete","ResponseTime":12,"RouteHops":[
    {"Host":"gw.example","HostAddress":"192.0.2.1","ErrorCode":0,"RTTimes":"1,2,1"},
    {"Host":"far.example","HostAddress":"198.51.100.9","ErrorCode":3,"RTTimes":"11,12,12"}]})";

class TraceRouteResult : public testing::Test {
  protected:
    void report(const std::string& payload) {
        gw.forget();
        gw.receive(VCFG_MSG_TRACERT_MSG, payload);
    }
    void reportHop(const std::string& hop) { report(R"({"DiagnosticsState":"Complete","RouteHops":[)" + hop + "]}"); }
    std::string value(const std::string& parameter) { return gw.get("IP.Diagnostics.TraceRoute." + parameter); }
    std::string hop(int number, const std::string& parameter) {
        return gw.get(std::string(kHops) + "." + std::to_string(number) + "." + parameter);
    }
    size_t hops() { return gw.entries(kHops); }
    std::string count() { return value("RouteHopsNumberOfEntries"); }
    DiagGateway gw;
};

TEST_F(TraceRouteResult, HopsAndSummaryAreWritten) {
    report(kTwoHops);
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("ResponseTime"), "12");
    EXPECT_EQ(count(), "2");
    EXPECT_EQ(hop(1, "Host"), "gw.example");
    EXPECT_EQ(hop(1, "HostAddress"), "192.0.2.1");
    EXPECT_EQ(hop(1, "ErrorCode"), "0");
    EXPECT_EQ(hop(1, "RTTimes"), "1,2,1");
    EXPECT_EQ(hop(2, "Host"), "far.example");
    EXPECT_EQ(hop(2, "ErrorCode"), "3");
    const std::string table = std::string(kHops) + ".";
    EXPECT_EQ(gw.writes(), (Lines{"add " + table + "1", "set " + table + "1", "add " + table + "2",
                                  "set " + table + "2", "set IP.Diagnostics.TraceRoute"}));
    EXPECT_NO_REPLY(gw);
}

TEST_F(TraceRouteResult, EntryAndEachPresentTextAreLogged) {
    report(R"({"RouteHops":[{"Host":"a","HostAddress":"b","RTTimes":"c"},{"Host":"d"}]})");
    Lines lines;
    for (const LogLine& line : gw.log()) {
        if (line.channel == "syslog" && line.level == 6) {
            lines.push_back(line.text);
        }
    }
    EXPECT_EQ(lines, (Lines{"tarnProcessTracertMsg : Enter", "tarnProcessTracertMsg: Host a",
                            "tarnProcessTracertMsg: HostAddr b", "tarnProcessTracertMsg: RTTimes c",
                            "tarnProcessTracertMsg: Host d"}));
}

TEST_F(TraceRouteResult, NewTraceReplacesTheHops) {
    report(kTwoHops);
    reportHop(R"({"Host":"only"})");
    EXPECT_EQ(hops(), 1u);
    EXPECT_EQ(count(), "1");
}

TEST_F(TraceRouteResult, ReportWithoutHopsEmptiesTheTable) {
    for (const char* payload : {R"({"DiagnosticsState":"Complete"})", R"({"RouteHops":null})", R"({"RouteHops":{}})",
                                R"({"RouteHops":"x"})", R"({"RouteHops":[]})"}) {
        report(kTwoHops);
        report(payload);
        EXPECT_EQ(hops(), 0u) << payload;
        EXPECT_EQ(count(), "0") << payload;
        EXPECT_EQ(value("ResponseTime"), "0") << payload;
    }
}

TEST_F(TraceRouteResult, WhatIsNoJsonObjectMeansNone) {
    for (const char* payload : {"not json", "[]", "5", "null", ""}) {
        report(kTwoHops);
        report(payload);
        EXPECT_EQ(value("DiagnosticsState"), "None") << payload;
        EXPECT_EQ(hops(), 0u) << payload;
        EXPECT_EQ(count(), "0") << payload;
    }
}

TEST_F(TraceRouteResult, MissingStateMeansNone) {
    report(kTwoHops);
    report(R"({"ResponseTime":5})");
    EXPECT_EQ(value("DiagnosticsState"), "None");
    EXPECT_EQ(value("ResponseTime"), "5");
}

TEST_F(TraceRouteResult, NullElementHasNoEntryButCounts) {
    report(R"({"RouteHops":[{"Host":"a"},null,{"Host":"c"}]})");
    EXPECT_EQ(hops(), 2u);
    EXPECT_EQ(hop(2, "Host"), "c");
    EXPECT_EQ(count(), "3");
}

TEST_F(TraceRouteResult, ElementThatIsNoObjectMakesAnEmptyHop) {
    reportHop(R"(5,"x",[1],true)");
    EXPECT_EQ(hops(), 4u);
    EXPECT_EQ(hop(1, "Host"), "");
    EXPECT_EQ(count(), "4");
}

TEST_F(TraceRouteResult, MissingKeysStayEmpty) {
    reportHop("{}");
    EXPECT_EQ(hop(1, "Host"), "");
    EXPECT_EQ(hop(1, "HostAddress"), "");
    EXPECT_EQ(hop(1, "ErrorCode"), "0");
    EXPECT_EQ(hop(1, "RTTimes"), "");
}

TEST_F(TraceRouteResult, TextsAreCutToTheirLimit) {
    const std::pair<const char*, size_t> kLimits[] = {{"Host", 256}, {"HostAddress", 24}, {"RTTimes", 272}};
    for (const auto& [key, limit] : kLimits) {
        for (const size_t length : {limit - 1, limit, limit + 1, limit + 44}) {
            reportHop(std::string("{\"") + key + "\":\"" + std::string(length, 'h') + "\"}");
            EXPECT_EQ(hop(1, key), std::string(std::min(length, limit), 'h')) << key << " of " << length;
        }
    }
}

TEST_F(TraceRouteResult, LinesShowTheTextAsItCame) {
    const std::string host(300, 'h');
    reportHop("{\"Host\":\"" + host + "\"}");
    EXPECT_TRUE(gw.logged("syslog", 6, "tarnProcessTracertMsg: Host " + host));
}

TEST_F(TraceRouteResult, NoCharacterIsCutInTwo) {
    reportHop("{\"Host\":\"" + std::string(255, 'h') + "\xC3\xA9\"}");
    EXPECT_EQ(hop(1, "Host"), std::string(255, 'h'));
    reportHop("{\"HostAddress\":\"" + std::string(22, 'a') + "\xE2\x82\xAC\"}");
    EXPECT_EQ(hop(1, "HostAddress"), std::string(22, 'a'));
    reportHop("{\"HostAddress\":\"" + std::string(20, 'a') + "\xF0\x9F\x90\xB1zz\"}");
    EXPECT_EQ(hop(1, "HostAddress"), std::string(20, 'a') + "\xF0\x9F\x90\xB1");
}

TEST_F(TraceRouteResult, TextEndsAtAnEmbeddedNul) {
    reportHop(R"({"Host":"ab\u0000cd"})");
    EXPECT_EQ(hop(1, "Host"), "ab");
}

TEST_F(TraceRouteResult, ErrorCodeIsConverted) {
    const std::pair<const char*, const char*> kValues[] = {
        {"\"3\"", "3"}, {"-2", "0"}, {"4294967299", "4294967295"}, {"{}", "0"}, {"null", "0"}};
    for (const auto& [sent, stored] : kValues) {
        reportHop(std::string("{\"ErrorCode\":") + sent + "}");
        EXPECT_EQ(hop(1, "ErrorCode"), stored) << sent;
    }
}

TEST_F(TraceRouteResult, FailedAddStopsAndCountsNone) {
    report(kTwoHops);
    gw.refuseWrite(Operation::Add, kHopTable);
    report(kTwoHops);
    EXPECT_EQ(gw.printed(), Lines{"Add RouteHops Fail"});
    EXPECT_EQ(hops(), 0u);
    EXPECT_EQ(count(), "0");
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("ResponseTime"), "12");
}

TEST_F(TraceRouteResult, FailedReadBackIsAFailedAdd) {
    gw.refuseWrite(Operation::Get, kHopTable);
    report(kTwoHops);
    EXPECT_EQ(gw.printed(), Lines{"Add RouteHops Fail"});
    EXPECT_EQ(hops(), 1u);
    EXPECT_EQ(count(), "0");
}

TEST_F(TraceRouteResult, RefusedHopStopsAndCountsNone) {
    gw.refuseWrite(Operation::Set, kHopTable);
    report(kTwoHops);
    EXPECT_EQ(gw.printed(), Lines{"Set RouteHops Fail"});
    EXPECT_EQ(hops(), 1u);
    EXPECT_EQ(count(), "0");
}

TEST_F(TraceRouteResult, HopsBeforeARefusedOneStayAndCountNone) {
    report("{\"RouteHops\":[{\"Host\":\"first\"},{\"Host\":\"\xFF\"},{\"Host\":\"third\"}]}");
    EXPECT_EQ(gw.printed(), Lines{"Set RouteHops Fail"});
    EXPECT_EQ(hops(), 2u);
    EXPECT_EQ(hop(1, "Host"), "first");
    EXPECT_EQ(hop(2, "Host"), "");
    EXPECT_EQ(count(), "0");
}

TEST_F(TraceRouteResult, HopThatCannotBeDeletedDoesNotStopTheOthers) {
    report(kTwoHops);
    gw.refuseWrite(Operation::Delete, kHopTable);
    report(R"({"RouteHops":[]})");
    EXPECT_EQ(hops(), 1u);
    EXPECT_EQ(count(), "0");
}

TEST_F(TraceRouteResult, FailedReadOfTheSummaryKeepsTheHops) {
    gw.refuseWrite(Operation::Get, "IP.Diagnostics.TraceRoute");
    report(kTwoHops);
    EXPECT_EQ(gw.printed(), Lines{"Get TraceRoute Object fail"});
    EXPECT_EQ(hops(), 2u);
    EXPECT_EQ(count(), "0");
}

TEST_F(TraceRouteResult, RefusedSummaryKeepsTheHops) {
    gw.refuseWrite(Operation::Set, "IP.Diagnostics.TraceRoute");
    report(kTwoHops);
    EXPECT_EQ(gw.printed(), Lines{"Set TraceRoute Object fail"});
    EXPECT_EQ(hops(), 2u);
    EXPECT_EQ(value("DiagnosticsState"), "None");
}

TEST_F(TraceRouteResult, TableHoldsAsManyHopsAsItHasNumbers) {
    report("{\"RouteHops\":" + arrayOf(255, "{}") + "}");
    EXPECT_EQ(hops(), 255u);
    EXPECT_EQ(count(), "255");
    report("{\"RouteHops\":" + arrayOf(256, "{}") + "}");
    EXPECT_EQ(hops(), 255u);
    EXPECT_EQ(count(), "0");
    EXPECT_TRUE(gw.printed("Add RouteHops Fail"));
}

TEST_F(TraceRouteResult, ArrayWithoutEndIsNotReadToItsEnd) {
    tarnProcessTracertMsg(("{\"RouteHops\":" + arrayOf(100000, "{}") + "}").c_str());
    EXPECT_EQ(hops(), 255u);
    EXPECT_EQ(gw.printed(), Lines{"Add RouteHops Fail"});
    EXPECT_EQ(count(), "0");
    tarnProcessTracertMsg(("{\"RouteHops\":" + arrayOf(100000, "null") + "}").c_str());
    EXPECT_EQ(hops(), 0u);
    EXPECT_EQ(count(), "100000");
}

}  // namespace
