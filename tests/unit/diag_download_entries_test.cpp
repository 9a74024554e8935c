// The entries per connection and per interval of a download's report.
#include "unit/diag_transfer_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kConnectionTable = "IP.Diagnostics.DownloadDiagnostics.PerConnectionResult.{i}";

class DownloadEntries : public TransferResult {
  protected:
    DownloadEntries() : TransferResult(VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT, "IP.Diagnostics.DownloadDiagnostics") {
        set("EnablePerConnectionResults", "true");
        gw.forget();
    }
};

TEST_F(DownloadEntries, ResultsPerConnectionAreStored) {
    perConnection(
        "2", "[{" + timesText() + R"(,"TestBytesReceived":5000000000,"TotalBytesReceived":6,"TotalBytesSent":7},{}])");
    EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "2");
    EXPECT_EQ(connections(), 2u);
    EXPECT_EQ(connection(1, "ROMTime"), kRom);
    EXPECT_EQ(connection(1, "BOMTime"), kBom);
    EXPECT_EQ(connection(1, "EOMTime"), kEom);
    EXPECT_EQ(connection(1, "TCPOpenRequestTime"), kRequest);
    EXPECT_EQ(connection(1, "TCPOpenResponseTime"), kResponse);
    EXPECT_EQ(connection(1, "TestBytesReceived"), "5000000000");
    EXPECT_EQ(connection(1, "TotalBytesReceived"), "6");
    EXPECT_EQ(connection(1, "TotalBytesSent"), "7");
    EXPECT_EQ(connection(2, "ROMTime"), "");
    EXPECT_EQ(connection(2, "TestBytesReceived"), "0");
}

TEST_F(DownloadEntries, IncrementalResultsAreStored) {
    incremental("1", std::string(R"([{"TestBytesReceived":5,"TotalBytesReceived":6,"TotalBytesSent":7,"StartTime":")") +
                         kBom + R"(","EndTime":")" + kEom + "\"}]");
    EXPECT_EQ(value("IncrementalResultNumberOfEntries"), "1");
    EXPECT_EQ(intervals(), 1u);
    EXPECT_EQ(interval(1, "TestBytesReceived"), "5");
    EXPECT_EQ(interval(1, "TotalBytesReceived"), "6");
    EXPECT_EQ(interval(1, "TotalBytesSent"), "7");
    EXPECT_EQ(interval(1, "StartTime"), kBom);
    EXPECT_EQ(interval(1, "EndTime"), kEom);
}

TEST_F(DownloadEntries, DisabledResultsPerConnectionAreNotStored) {
    set("EnablePerConnectionResults", "false");
    set("PerConnectionResultNumberOfEntries", "7");
    for (const char* count : {"3", "0", "null", "-1"}) {
        perConnection(count, "[{},{},{}]");
        EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "0") << count;
        EXPECT_EQ(connections(), 0u) << count;
    }
}

TEST_F(DownloadEntries, MoreConnectionsThanTheMaximumAreNotStoredButCounted) {
    set("DownloadDiagnosticMaxConnections", "4");
    perConnection("8", arrayOf(8, "{}"));
    EXPECT_EQ(connections(), 4u);
    EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "8");
}

TEST_F(DownloadEntries, MoreIntervalsThanTheMaximumAreNotStoredButCounted) {
    set("DownloadDiagnosticsMaxIncrementalResult", "2");
    incremental("3", "[{},{},{}]");
    EXPECT_EQ(intervals(), 2u);
    EXPECT_EQ(value("IncrementalResultNumberOfEntries"), "3");
}

TEST_F(DownloadEntries, MaximumOfNoneStoresNone) {
    set("DownloadDiagnosticMaxConnections", "0");
    set("DownloadDiagnosticsMaxIncrementalResult", "0");
    perConnection("1", "[{}]");
    EXPECT_EQ(connections(), 0u);
    incremental("1", "[{}]");
    EXPECT_EQ(intervals(), 0u);
}

TEST_F(DownloadEntries, MaximaStandAtOneAtLeast) {
    EXPECT_GE(std::stoul(value("DownloadDiagnosticMaxConnections")), 1u);
    EXPECT_GE(std::stoul(value("DownloadDiagnosticsMaxIncrementalResult")), 1u);
}

TEST_F(DownloadEntries, CountOfNoneStoresNone) {
    for (const char* count : {"0", "\"0\"", "-3"}) {
        perConnection(count, "[{}]");
        EXPECT_EQ(connections(), 0u) << count;
        EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "0") << count;
        incremental(count, "[{}]");
        EXPECT_EQ(intervals(), 0u) << count;
    }
}

TEST_F(DownloadEntries, MissingCountIsTheStoredOne) {
    set("IncrementalResultNumberOfEntries", "1");
    report(R"("IncrementalResult":[{},{}])");
    EXPECT_EQ(intervals(), 2u);
    EXPECT_EQ(value("IncrementalResultNumberOfEntries"), "1");
}

TEST_F(DownloadEntries, WhatIsNoArrayHasNoEntries) {
    for (const char* value : {"{}", "\"x\"", "5", "null", "{\"0\":{}}"}) {
        perConnection("1", value);
        incremental("1", value);
        EXPECT_EQ(connections() + intervals(), 0u) << value;
    }
}

TEST_F(DownloadEntries, NullElementHasNoEntryAndUsesUpTheMaximum) {
    set("DownloadDiagnosticMaxConnections", "3");
    perConnection("4", R"([null,{"TotalBytesSent":1},null,{"TotalBytesSent":2}])");
    EXPECT_EQ(connections(), 1u);
    EXPECT_EQ(connection(1, "TotalBytesSent"), "1");
}

TEST_F(DownloadEntries, ElementThatIsNoObjectMakesAnEmptyEntry) {
    perConnection("2", R"([5,[1]])");
    EXPECT_EQ(connections(), 2u);
    EXPECT_EQ(connection(1, "TotalBytesSent"), "0");
}

TEST_F(DownloadEntries, OldEntriesAreClearedFirst) {
    perConnection("2", "[{},{}]");
    incremental("2", "[{},{}]");
    report(R"("PeriodOfFullLoading":1)");
    EXPECT_EQ(connections() + intervals(), 0u);
}

TEST_F(DownloadEntries, ClearingTakesOneObjectsEntriesOnly) {
    gw.add("IP.Diagnostics.DownloadDiagnostics.IncrementalResult.1");
    gw.add("IP.Diagnostics.UploadDiagnostics.IncrementalResult.1");
    tarnDiagResultsClear(RDM_OID_IP_DIAG_IPPING);
    EXPECT_EQ(intervals(), 1u);
    tarnDiagResultsClear(RDM_OID_IP_DIAG_DL_DIAG);
    EXPECT_EQ(intervals(), 0u);
    EXPECT_EQ(gw.entries("IP.Diagnostics.UploadDiagnostics.IncrementalResult"), 1u);
}

TEST_F(DownloadEntries, FailedAddSkipsItsElement) {
    gw.refuseWrite(Operation::Add, kConnectionTable);
    perConnection("2", R"([{"TotalBytesSent":4},{"TotalBytesSent":5}])");
    EXPECT_EQ(connections(), 1u);
    EXPECT_EQ(connection(1, "TotalBytesSent"), "5");
    EXPECT_EQ(value("PerConnectionResultNumberOfEntries"), "2");
}

TEST_F(DownloadEntries, FailedReadBackAndRefusedEntryLeaveItEmpty) {
    for (const Operation step : {Operation::Get, Operation::Set}) {
        gw.refuseWrite(step, kConnectionTable);
        perConnection("2", R"([{"TotalBytesSent":4},{"TotalBytesSent":5}])");
        EXPECT_EQ(connections(), 2u);
        EXPECT_EQ(connection(1, "TotalBytesSent"), "0");
        EXPECT_EQ(connection(2, "TotalBytesSent"), "5");
    }
}

TEST_F(DownloadEntries, TablesHoldAsManyEntriesAsTheyHaveNumbers) {
    set("DownloadDiagnosticMaxConnections", "100000");
    set("DownloadDiagnosticsMaxIncrementalResult", "100000");
    for (const size_t count : std::initializer_list<size_t>{0, 1, 255, 256, 5000}) {
        const std::string array = arrayOf(count, "0");
        tarnDlDiagComplete((R"({"PerConnectionResultNumberOfEntries":1,"IncrementalResultNumberOfEntries":1,)"
                            R"("PerConnectionResult":)" +
                            array + R"(,"IncrementalResult":)" + array + "}")
                               .c_str());
        EXPECT_EQ(connections(), std::min<size_t>(count, 255));
        EXPECT_EQ(intervals(), std::min<size_t>(count, 255));
    }
}

}  // namespace
