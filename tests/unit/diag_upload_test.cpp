#include "unit/diag_transfer_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kConnectionTable = "IP.Diagnostics.UploadDiagnostics.PerConnectionResult.{i}";
constexpr const char* kApply = "tarnUlDiagCompleteHandle: Apply UploadDiagnostics test data";

class UploadResult : public TransferResult {
  protected:
    UploadResult() : TransferResult(VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT, "IP.Diagnostics.UploadDiagnostics") {
        set("EnablePerConnectionResults", "true");
        gw.forget();
    }
    bool refused() { return gw.logged("syslog", 6, "Set UploadDiagnostics test data to rdm fail"); }
};

TEST_F(UploadResult, TopLevelKeysAreTheObjectsParameters) {
    report(timesText() + R"(,"TestBytesSent":1000,"TotalBytesReceived":90,"TotalBytesSent":18446744073709551615,
        "TestBytesSentUnderFullLoading":5,"PeriodOfFullLoading":14)");
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("ROMTime"), kRom);
    EXPECT_EQ(value("TCPOpenResponseTime"), kResponse);
    EXPECT_EQ(value("TestBytesSent"), "1000");
    EXPECT_EQ(value("TotalBytesReceived"), "90");
    EXPECT_EQ(value("TotalBytesSent"), "18446744073709551615");
    EXPECT_EQ(value("PeriodOfFullLoading"), "14");
    EXPECT_EQ(gw.printed(), (Lines{kApply, kApply}));
    EXPECT_NO_REPLY(gw);
}

TEST_F(UploadResult, ParametersThatAreNotNamedStay) {
    set("UploadURL", "http://files.example/in");
    report(R"("TestBytesSent":1000,"PeriodOfFullLoading":14)");
    report(R"("TestBytesSent":2000)");
    EXPECT_EQ(value("TestBytesSent"), "2000");
    EXPECT_EQ(value("PeriodOfFullLoading"), "14");
    EXPECT_EQ(value("UploadURL"), "http://files.example/in");
}

TEST_F(UploadResult, NullCountsAsMissing) {
    report(R"("TestBytesSent":1000)");
    report(R"("TestBytesSent":null,"ROMTime":null,"PeriodOfFullLoading":3)");
    EXPECT_EQ(value("TestBytesSent"), "1000");
    EXPECT_EQ(value("PeriodOfFullLoading"), "3");
}

TEST_F(UploadResult, WhatIsNoJsonObjectGivesOneLineAndChangesNothing) {
    incremental("1", "[{}]");
    for (const char* payload : {"not json", "[]", "5", "null", ""}) {
        reportText(payload);
        EXPECT_EQ(gw.printed(), Lines{kApply}) << payload;
        EXPECT_TRUE(gw.logged("syslog", 6, "Upload dial_result test data wrong")) << payload;
        EXPECT_TRUE(gw.writes().empty()) << payload;
    }
    EXPECT_EQ(intervals(), 1u);
}

TEST_F(UploadResult, MissingPayloadIsNoJsonEither) {
    gw.receiveEmpty(type_);
    EXPECT_EQ(gw.printed(), Lines{kApply});
    EXPECT_TRUE(gw.logged("syslog", 6, "Upload dial_result test data wrong"));
}

TEST_F(UploadResult, FailedReadEndsTheEvent) {
    incremental("1", "[{}]");
    gw.refuseWrite(Operation::Get, object_);
    report(R"("TestBytesSent":77)");
    EXPECT_TRUE(gw.logged("syslog", 6, "Get Upload Diagnostic Object Fail"));
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(intervals(), 1u);
}

TEST_F(UploadResult, ResultsPerConnectionAreStored) {
    perConnection("2",
                  "[{" + timesText() + R"(,"TestBytesSent":5000000000,"TotalBytesReceived":6,"TotalBytesSent":7},{}])");
    EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "2");
    EXPECT_EQ(connections(), 2u);
    EXPECT_EQ(connection(1, "ROMTime"), kRom);
    EXPECT_EQ(connection(1, "BOMTime"), kBom);
    EXPECT_EQ(connection(1, "EOMTime"), kEom);
    EXPECT_EQ(connection(1, "TCPOpenRequestTime"), kRequest);
    EXPECT_EQ(connection(1, "TCPOpenResponseTime"), kResponse);
    EXPECT_EQ(connection(1, "TestBytesSent"), "5000000000");
    EXPECT_EQ(connection(1, "TotalBytesReceived"), "6");
    EXPECT_EQ(connection(1, "TotalBytesSent"), "7");
    EXPECT_EQ(connection(2, "ROMTime"), "");
}

TEST_F(UploadResult, IncrementalResultsAreStored) {
    incremental("1", std::string(R"([{"TestBytesSent":5,"TotalBytesReceived":6,"TotalBytesSent":7,"StartTime":")") +
                         kBom + R"(","EndTime":")" + kEom + "\"}]");
    EXPECT_EQ(value("IncrementalResultNumberOfEntries"), "1");
    EXPECT_EQ(interval(1, "TestBytesSent"), "5");
    EXPECT_EQ(interval(1, "TotalBytesReceived"), "6");
    EXPECT_EQ(interval(1, "TotalBytesSent"), "7");
    EXPECT_EQ(interval(1, "StartTime"), kBom);
    EXPECT_EQ(interval(1, "EndTime"), kEom);
}

TEST_F(UploadResult, DisabledResultsPerConnectionAreNotStored) {
    set("EnablePerConnectionResults", "false");
    set("PerConnectionResultNumberOfEntries", "7");
    for (const char* count : {"3", "0", "null", "-1", "\"x\""}) {
        perConnection(count, "[{},{},{}]");
        EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "0") << count;
        EXPECT_EQ(connections(), 0u) << count;
    }
    report(R"("TestBytesSent":1)");
    EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "0");
}

TEST_F(UploadResult, MoreThanTheMaximumIsNotStoredButCounted) {
    set("UploadDiagnosticsMaxConnections", "4");
    set("UploadDiagnosticsMaxIncrementalResult", "2");
    perConnection("8", arrayOf(8, "{}"));
    EXPECT_EQ(connections(), 4u);
    EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "8");
    incremental("3", "[{},{},{}]");
    EXPECT_EQ(intervals(), 2u);
    EXPECT_EQ(value("IncrementalResultNumberOfEntries"), "3");
}

TEST_F(UploadResult, MaximumOfNoneStoresNone) {
    set("UploadDiagnosticsMaxConnections", "0");
    set("UploadDiagnosticsMaxIncrementalResult", "0");
    perConnection("1", "[{}]");
    incremental("1", "[{}]");
    EXPECT_EQ(connections() + intervals(), 0u);
}

TEST_F(UploadResult, MaximaStandAtOneAtLeast) {
    EXPECT_GE(std::stoul(value("UploadDiagnosticsMaxConnections")), 1u);
    EXPECT_GE(std::stoul(value("UploadDiagnosticsMaxIncrementalResult")), 1u);
}

TEST_F(UploadResult, MaximaAndSwitchAreThoseBeforeTheReport) {
    set("UploadDiagnosticsMaxConnections", "1");
    report(R"("UploadDiagnosticsMaxConnections":9,"EnablePerConnectionResults":false,
        "PerConnectionResultNumberOfEntries":2,"PerConnectionResult":[{},{}])");
    EXPECT_EQ(connections(), 1u);
    EXPECT_EQ(value("EnablePerConnectionResults"), "false");
}

TEST_F(UploadResult, MissingOrNoCountStoresNone) {
    for (const char* count : {"0", "\"0\"", "null", "{}"}) {
        perConnection(count, "[{}]");
        EXPECT_EQ(connections(), 0u) << count;
        incremental(count, "[{}]");
        EXPECT_EQ(intervals(), 0u) << count;
    }
    report(R"("PerConnectionResult":[{}],"IncrementalResult":[{}])");
    EXPECT_EQ(connections() + intervals(), 0u);
    EXPECT_FALSE(refused());
}

TEST_F(UploadResult, NegativeCountStoresNone) {
    perConnection("-2", "[{}]");
    incremental("-2", "[{}]");
    EXPECT_EQ(connections() + intervals(), 0u);
}

TEST_F(UploadResult, WhatIsNoArrayHasNoEntriesAndIsNotPassedOn) {
    for (const char* value : {"{}", "\"x\"", "5", "null"}) {
        perConnection("1", value);
        EXPECT_FALSE(refused()) << value;
        incremental("1", value);
        EXPECT_FALSE(refused()) << value;
        EXPECT_EQ(connections() + intervals(), 0u) << value;
    }
}

TEST_F(UploadResult, NullElementHasNoEntryAndUsesUpTheMaximum) {
    set("UploadDiagnosticsMaxConnections", "3");
    perConnection("4", R"([null,{"TotalBytesSent":1},null,{"TotalBytesSent":2}])");
    EXPECT_EQ(connections(), 1u);
    EXPECT_EQ(connection(1, "TotalBytesSent"), "1");
}

TEST_F(UploadResult, UnknownKeyIsPassedOnAndRefusedWhole) {
    incremental("2", R"([{"TotalBytesSent":3},{}],"Colour":"blue","TestBytesSent":8)");
    EXPECT_TRUE(refused());
    EXPECT_EQ(value("TestBytesSent"), "0");
    EXPECT_EQ(value("DiagnosticsState"), "None");
    EXPECT_EQ(intervals(), 2u);
}

TEST_F(UploadResult, OldEntriesAreClearedFirst) {
    perConnection("2", "[{},{}]");
    incremental("2", "[{},{}]");
    report(R"("TestBytesSent":1)");
    EXPECT_EQ(connections() + intervals(), 0u);
}

TEST_F(UploadResult, FailedAddSkipsItsElement) {
    gw.refuseWrite(Operation::Add, kConnectionTable);
    perConnection("2", R"([{"TotalBytesSent":4},{"TotalBytesSent":5}])");
    EXPECT_EQ(connections(), 1u);
    EXPECT_EQ(connection(1, "TotalBytesSent"), "5");
}

TEST_F(UploadResult, FailedReadBackAndRefusedEntryLeaveItEmpty) {
    for (const Operation step : {Operation::Get, Operation::Set}) {
        gw.refuseWrite(step, kConnectionTable);
        perConnection("2", R"([{"TotalBytesSent":4},{"TotalBytesSent":5}])");
        EXPECT_EQ(connection(1, "TotalBytesSent"), "0");
        EXPECT_EQ(connection(2, "TotalBytesSent"), "5");
        EXPECT_EQ(value("DiagnosticsState"), "Complete");
    }
}

TEST_F(UploadResult, RefusedWriteIsLogged) {
    gw.refuseWrite(Operation::Write, object_);
    report(R"("TestBytesSent":8)");
    EXPECT_TRUE(refused());
    EXPECT_EQ(value("TestBytesSent"), "0");
}

TEST_F(UploadResult, WriteIsAppliedByTheOwner) {
    inproc::ownerApplies(object_);
    reportText(R"({"DiagnosticsState":"Requested"})");
    EXPECT_EQ(value("DiagnosticsState"), "Requested");
    EXPECT_EQ(inproc::applied(), Lines{"set " + object_});
}

TEST_F(UploadResult, TablesHoldAsManyEntriesAsTheyHaveNumbers) {
    set("UploadDiagnosticsMaxConnections", "100000");
    for (const size_t count : std::initializer_list<size_t>{0, 1, 255, 256, 5000}) {
        tarnUlDiagComplete(
            (R"({"PerConnectionResultNumberOfEntries":1,"PerConnectionResult":)" + arrayOf(count, "{}") + "}").c_str());
        EXPECT_EQ(connections(), std::min<size_t>(count, 255));
    }
}

}  // namespace
