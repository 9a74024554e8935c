#include "unit/diag_transfer_fixture.h"

namespace {

using inproc::Operation;

class DownloadResult : public TransferResult {
  protected:
    DownloadResult() : TransferResult(VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT, "IP.Diagnostics.DownloadDiagnostics") {
        set("EnablePerConnectionResults", "true");
        gw.forget();
    }
};

TEST_F(DownloadResult, EveryKeyIsStored) {
    report(timesText() + R"(,"TestBytesReceivedUnderFullLoading":11,"TotalBytesReceivedUnderFullLoading":12,
        "TotalBytesSentUnderFullLoading":13,"PeriodOfFullLoading":14,"TestBytesReceived":1000,
        "TotalBytesReceived":"1100","TotalBytesSent":90)");
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("ROMTime"), kRom);
    EXPECT_EQ(value("BOMTime"), kBom);
    EXPECT_EQ(value("EOMTime"), kEom);
    EXPECT_EQ(value("TCPOpenRequestTime"), kRequest);
    EXPECT_EQ(value("TCPOpenResponseTime"), kResponse);
    EXPECT_EQ(value("TestBytesReceivedUnderFullLoading"), "11");
    EXPECT_EQ(value("TotalBytesReceivedUnderFullLoading"), "12");
    EXPECT_EQ(value("TotalBytesSentUnderFullLoading"), "13");
    EXPECT_EQ(value("PeriodOfFullLoading"), "14");
    EXPECT_EQ(value("TestBytesReceived"), "1000");
    EXPECT_EQ(value("TotalBytesReceived"), "1100");
    EXPECT_EQ(value("TotalBytesSent"), "90");
    EXPECT_EQ(gw.writes(), Lines{"set " + object_});
    EXPECT_NO_REPLY(gw);
}

TEST_F(DownloadResult, StoredValuesArePrinted) {
    set("DownloadURL", "http://files.example/1M");
    report(timesText() + R"(,"TestBytesReceived":1000,"TotalBytesReceived":4294967295,"TotalBytesSent":90)");
    EXPECT_EQ(gw.printed(), (Lines{"printf tarnDlDiagComplete()", "Obj->DiagnosticsState= Complete",
                                   "Obj->DownloadURL= http://files.example/1M", std::string("Obj->ROMTime= ") + kRom,
                                   std::string("Obj->BOMTime= ") + kBom, std::string("Obj->EOMTime= ") + kEom,
                                   "Obj->TestBytesReceived= 1000", "Obj->TotalBytesReceived= 4294967295",
                                   "Obj->TotalBytesSent= 90", std::string("Obj->TCPOpenRequestTime= ") + kRequest,
                                   std::string("Obj->TCPOpenResponseTime= ") + kResponse}));
}

TEST_F(DownloadResult, MissingTextsAndTotalsAreClearedOtherNumbersStay) {
    report(timesText() + R"(,"TestBytesReceived":5,"PeriodOfFullLoading":14,"TotalBytesSentUnderFullLoading":13)");
    reportText("{}");
    for (const char* text :
         {"DiagnosticsState", "ROMTime", "BOMTime", "EOMTime", "TCPOpenRequestTime", "TCPOpenResponseTime"}) {
        EXPECT_EQ(value(text), "") << text;
    }
    EXPECT_EQ(value("TestBytesReceived"), "0");
    EXPECT_EQ(value("PeriodOfFullLoading"), "14");
    EXPECT_EQ(value("TotalBytesSentUnderFullLoading"), "13");
}

TEST_F(DownloadResult, WhatIsNoJsonObjectIsAReportWithoutKeys) {
    for (const char* payload : {"not json", "[]", "5", "null", ""}) {
        report(timesText() + R"(,"TestBytesReceived":5,"PeriodOfFullLoading":14,
            "IncrementalResultNumberOfEntries":1,"IncrementalResult":[{}])");
        reportText(payload);
        EXPECT_EQ(value("DiagnosticsState"), "") << payload;
        EXPECT_EQ(value("TestBytesReceived"), "0") << payload;
        EXPECT_EQ(value("PeriodOfFullLoading"), "14") << payload;
        EXPECT_EQ(intervals(), 0u) << payload;
    }
}

TEST_F(DownloadResult, TotalsAreDecimalNumbersOfThirtyTwoBits) {
    const std::pair<const char*, const char*> kValues[] = {{"\"4294967295\"", "4294967295"},
                                                           {"\"4294967296\"", "4294967295"},
                                                           {"4294967296", "4294967295"},
                                                           {"99999999999999999999999", "4294967295"},
                                                           {"\"077\"", "77"},
                                                           {"\"12abc\"", "12"},
                                                           {"12.9", "12"},
                                                           {"\"0x10\"", "0"},
                                                           {"\"abc\"", "0"},
                                                           {"-1", "0"},
                                                           {"\"-1\"", "0"},
                                                           {"null", "0"},
                                                           {"[5]", "0"},
                                                           {"true", "0"}};
    for (const char* total : {"TestBytesReceived", "TotalBytesReceived", "TotalBytesSent"}) {
        for (const auto& [sent, stored] : kValues) {
            report(std::string("\"") + total + "\":" + sent);
            EXPECT_EQ(value(total), stored) << total << " of " << sent;
        }
    }
}

TEST_F(DownloadResult, FullLoadingTakesSixtyFourBitsAndItsPeriodThirtyTwo) {
    report(R"("TestBytesReceivedUnderFullLoading":18446744073709551615,
        "TotalBytesReceivedUnderFullLoading":"18446744073709551616","TotalBytesSentUnderFullLoading":-1,
        "PeriodOfFullLoading":4294967296)");
    EXPECT_EQ(value("TestBytesReceivedUnderFullLoading"), "18446744073709551615");
    EXPECT_EQ(value("TotalBytesReceivedUnderFullLoading"), "18446744073709551615");
    EXPECT_EQ(value("TotalBytesSentUnderFullLoading"), "0");
    EXPECT_EQ(value("PeriodOfFullLoading"), "4294967295");
}

TEST_F(DownloadResult, StateIsCutToItsField) {
    report("\"DiagnosticsState\":\"Error_CannotResolveHostName, so sorry\"");
    EXPECT_TRUE(gw.printed("Obj->DiagnosticsState= Error_CannotResolveHostName,"));
    EXPECT_TRUE(gw.printed("Set IP_DIAG_DL_DIAG Object fail"));
}

TEST_F(DownloadResult, TimesAreCutToTheirField) {
    const std::string whole = "2026-01-31T23:59:57.12345678901";  // 31 characters
    report("\"ROMTime\":\"" + whole.substr(0, 29) + "Z\"");
    EXPECT_EQ(value("ROMTime"), whole.substr(0, 29) + "Z");
    report("\"ROMTime\":\"" + whole.substr(0, 30) + "Z\"");
    EXPECT_EQ(value("ROMTime"), whole.substr(0, 30) + "Z");
    report("\"ROMTime\":\"" + whole + "Z\"");
    EXPECT_TRUE(gw.printed("Obj->ROMTime= " + whole));
}

TEST_F(DownloadResult, TimeThatIsNoneRefusesItsRecordOnly) {
    perConnection("2", R"([{"ROMTime":"soon","TotalBytesSent":4},{"TotalBytesSent":5}])");
    EXPECT_EQ(connection(1, "TotalBytesSent"), "0");
    EXPECT_EQ(connection(2, "TotalBytesSent"), "5");
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    report(R"("BOMTime":"soon","TestBytesReceived":77)");
    EXPECT_TRUE(gw.printed("Set IP_DIAG_DL_DIAG Object fail"));
    EXPECT_EQ(value("TestBytesReceived"), "0");
}

TEST_F(DownloadResult, FailedReadEndsTheEvent) {
    incremental("1", "[{}]");
    gw.refuseWrite(Operation::Get, object_);
    report(R"("TestBytesReceived":77)");
    EXPECT_EQ(gw.printed(), (Lines{"printf tarnDlDiagComplete()", "Get IP_DIAG_DL_DIAG Object fail"}));
    EXPECT_EQ(intervals(), 1u);
}

TEST_F(DownloadResult, RefusedSummaryKeepsTheEntries) {
    gw.refuseWrite(Operation::Set, object_);
    perConnection("1", "[{}]");
    EXPECT_TRUE(gw.printed("Set IP_DIAG_DL_DIAG Object fail"));
    EXPECT_EQ(connections(), 1u);
    EXPECT_EQ(value("DiagnosticsState"), "None");
}

TEST_F(DownloadResult, MissingPayloadSkipsTheHandler) {
    gw.receiveEmpty(type_);
    EXPECT_TRUE(gw.printed().empty());
    EXPECT_TRUE(gw.writes().empty());
}

}  // namespace
