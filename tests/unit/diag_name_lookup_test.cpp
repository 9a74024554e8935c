#include "diag/name_lookup_result.h"

#include "unit/diag_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kObject = "DNS.Diagnostics.NSLookupDiagnostics";
constexpr const char* kResultTable = "DNS.Diagnostics.NSLookupDiagnostics.Result.{i}";
constexpr const char* kTwoResults =
    R"({"DiagnosticsState":"Complete","SuccessCount":1,)"
    R"("0":{"Status":"Success","HostNameReturned":"www.example","IPAddresses":"192.0.2.80,192.0.2.81",)"
    R"("DNSServerIP":"192.0.2.53","ResponseTime":14},)"
    R"("1":{"Status":"Error_Timeout","DNSServerIP":"192.0.2.54"}})";

class NameLookupResult : public testing::Test {
  protected:
    void report(const std::string& payload) {
        gw.forget();
        gw.receive(VCFG_MSG_NSLOOKUP_MSG, payload);
    }
    void reportResult(const std::string& result) { report("{\"0\":" + result + "}"); }
    std::string value(const std::string& parameter) { return gw.get(std::string(kObject) + "." + parameter); }
    std::string result(int number, const std::string& parameter) {
        return value("Result." + std::to_string(number) + "." + parameter);
    }
    std::string count() { return value("ResultNumberOfEntries"); }
    DiagGateway gw;
};

TEST_F(NameLookupResult, StateCountAndResultsAreWritten) {
    report(kTwoResults);
    EXPECT_EQ(value("DiagnosticsState"), "Complete");
    EXPECT_EQ(value("SuccessCount"), "1");
    EXPECT_EQ(count(), "2");
    EXPECT_EQ(result(1, "Status"), "Success");
    EXPECT_EQ(result(1, "HostNameReturned"), "www.example");
    EXPECT_EQ(result(1, "IPAddresses"), "192.0.2.80,192.0.2.81");
    EXPECT_EQ(result(1, "DNSServerIP"), "192.0.2.53");
    EXPECT_EQ(result(1, "ResponseTime"), "14");
    EXPECT_EQ(result(2, "Status"), "Error_Timeout");
    EXPECT_EQ(result(2, "ResponseTime"), "0");
    const std::string table = std::string(kObject) + ".Result.";
    EXPECT_EQ(gw.writes(), (Lines{std::string("set ") + kObject, "add " + table + "1", "set " + table + "1",
                                  "add " + table + "2", "set " + table + "2"}));
    EXPECT_NO_REPLY(gw);
}

TEST_F(NameLookupResult, PayloadAndEachStoredTextArePrinted) {
    report(kTwoResults);
    EXPECT_EQ(gw.printed(),
              (Lines{std::string("tarnProcessNslookupMsg: ") + kTwoResults, "tarnProcessNslookupMsg: Status Success",
                     "tarnProcessNslookupMsg: HostNameRtned www.example",
                     "tarnProcessNslookupMsg: IPAddresses 192.0.2.80,192.0.2.81",
                     "tarnProcessNslookupMsg: DNSServerIP 192.0.2.53", "tarnProcessNslookupMsg: Status Error_Timeout",
                     "tarnProcessNslookupMsg: DNSServerIP 192.0.2.54"}));
}

TEST_F(NameLookupResult, NewLookupReplacesTheResults) {
    report(kTwoResults);
    reportResult(R"({"HostNameReturned":"other"})");
    EXPECT_EQ(count(), "1");
    EXPECT_EQ(result(1, "HostNameReturned"), "other");
    EXPECT_EQ(result(1, "IPAddresses"), "");
}

TEST_F(NameLookupResult, WhatIsNoJsonObjectMeansNoneAndNoResults) {
    for (const char* payload : {"not json", "[]", "5", "null", "{"}) {
        report(kTwoResults);
        report(payload);
        EXPECT_EQ(value("DiagnosticsState"), "None") << payload;
        EXPECT_EQ(value("SuccessCount"), "0") << payload;
        EXPECT_EQ(count(), "0") << payload;
        EXPECT_TRUE(gw.printed(std::string("tarnProcessNslookupMsg: ") + payload));
    }
}

TEST_F(NameLookupResult, EmptyPayloadIsIgnored) {
    report(kTwoResults);
    report("");
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.printed().empty());
    tarnProcessNslookupMsg(nullptr);
    EXPECT_TRUE(gw.printed().empty());
}

TEST_F(NameLookupResult, MissingStateIsEmpty) {
    report(kTwoResults);
    report(R"({"SuccessCount":2})");
    EXPECT_EQ(value("DiagnosticsState"), "");
    EXPECT_EQ(value("SuccessCount"), "2");
}

TEST_F(NameLookupResult, WalkStopsAtTheFirstMissingNumber) {
    report(R"({"0":{"Status":"Success"},"1":{"Status":"Success"},"3":{"Status":"Success"}})");
    EXPECT_EQ(count(), "2");
    report(R"({"0":{"Status":"Success"},"1":null,"2":{"Status":"Success"}})");
    EXPECT_EQ(count(), "1");
    report(R"({"1":{"Status":"Success"}})");
    EXPECT_EQ(count(), "0");
}

TEST_F(NameLookupResult, ResultThatIsNoObjectMakesAnEmptyEntry) {
    report(R"({"0":5,"1":"x","2":[1],"3":false,"4":{"Status":"Success"}})");
    EXPECT_EQ(count(), "5");
    EXPECT_EQ(result(1, "Status"), "");
    EXPECT_EQ(result(5, "Status"), "Success");
}

TEST_F(NameLookupResult, TextsAreCutToTheirLimit) {
    const std::pair<const char*, size_t> kLimits[] = {{"HostNameReturned", 256}, {"IPAddresses", 1600}};
    for (const auto& [key, limit] : kLimits) {
        for (const size_t length : {limit - 1, limit, limit + 1, limit + 44}) {
            reportResult(std::string("{\"") + key + "\":\"" + std::string(length, 'h') + "\"}");
            EXPECT_EQ(result(1, key), std::string(std::min(length, limit), 'h')) << key << " of " << length;
        }
    }
}

TEST_F(NameLookupResult, StatusIsCutToTwentySevenCharacters) {
    reportResult(R"({"Status":"Error_DNSServerNotAvailable and more"})");
    EXPECT_EQ(result(1, "Status"), "Error_DNSServerNotAvailable");
    EXPECT_TRUE(gw.printed("tarnProcessNslookupMsg: Status Error_DNSServerNotAvailable"));
}

TEST_F(NameLookupResult, LinesShowTheTextAsItIsStored) {
    reportResult("{\"HostNameReturned\":\"" + std::string(255, 'h') + "\xC3\xA9\"}");
    EXPECT_TRUE(gw.printed("tarnProcessNslookupMsg: HostNameRtned " + std::string(255, 'h')));
}

TEST_F(NameLookupResult, ServerAddressMayBeOfEitherFamily) {
    for (const char* address : {"192.0.2.53", "2001:db8::53", "2001:0db8:0000:0000:0000:ffff:192.168.100.228"}) {
        reportResult(std::string("{\"DNSServerIP\":\"") + address + "\"}");
        EXPECT_EQ(result(1, "DNSServerIP"), address);
    }
}

TEST_F(NameLookupResult, WhatIsNoServerAddressLeavesTheResultEmpty) {
    for (const std::string& address : {std::string("nowhere"), std::string(60, '1')}) {
        report(R"({"0":{"Status":"Success","DNSServerIP":")" + address + R"("},"1":{"Status":"Success"}})");
        EXPECT_EQ(result(1, "Status"), "");
        EXPECT_EQ(result(2, "Status"), "Success");
        EXPECT_TRUE(gw.printed("Set NSLookupDiagnostics.Result fail"));
    }
}

TEST_F(NameLookupResult, FailedReadEndsTheEvent) {
    report(kTwoResults);
    gw.refuseWrite(Operation::Get, kObject);
    report(kTwoResults);
    EXPECT_TRUE(gw.printed("Get NSLookupDiagnostics Object fail"));
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(count(), "2");
}

TEST_F(NameLookupResult, RefusedSummaryIsPrintedAndTheResultsAreStoredAllTheSame) {
    gw.refuseWrite(Operation::Set, kObject);
    report(kTwoResults);
    EXPECT_TRUE(gw.printed("Set NSLookupDiagnostics Object fail"));
    EXPECT_EQ(value("DiagnosticsState"), "None");
    EXPECT_EQ(count(), "2");
}

TEST_F(NameLookupResult, FailedAddEndsTheWalk) {
    gw.refuseWrite(Operation::Add, kResultTable);
    report(kTwoResults);
    EXPECT_TRUE(gw.printed("Add NSLookupDiagnostics.Result fail"));
    EXPECT_EQ(count(), "0");
    EXPECT_EQ(value("SuccessCount"), "1");
}

TEST_F(NameLookupResult, FailedReadBackEndsTheWalk) {
    gw.refuseWrite(Operation::Get, kResultTable);
    report(kTwoResults);
    EXPECT_TRUE(gw.printed("Get NSLookupDiagnostics.Result fail"));
    EXPECT_EQ(count(), "1");
    EXPECT_EQ(result(1, "Status"), "");
}

TEST_F(NameLookupResult, RefusedResultStaysEmptyAndTheWalkGoesOn) {
    gw.refuseWrite(Operation::Set, kResultTable);
    report(kTwoResults);
    EXPECT_TRUE(gw.printed("Set NSLookupDiagnostics.Result fail"));
    EXPECT_EQ(result(1, "Status"), "");
    EXPECT_EQ(result(2, "Status"), "Error_Timeout");
}

TEST_F(NameLookupResult, OldResultsGoByNumber) {
    report(kTwoResults);
    gw.refuseWrite(Operation::Delete, kResultTable);
    report("{}");
    EXPECT_TRUE(gw.exists(std::string(kObject) + ".Result.1"));
    EXPECT_FALSE(gw.exists(std::string(kObject) + ".Result.2"));
}

TEST_F(NameLookupResult, TableHoldsAsManyResultsAsItHasNumbers) {
    std::string payload = "{\"SuccessCount\":1";
    for (int i = 0; i < 256; ++i) {
        payload += ",\"" + std::to_string(i) + "\":{}";
    }
    report(payload + "}");
    EXPECT_EQ(count(), "255");
    EXPECT_TRUE(gw.printed("Add NSLookupDiagnostics.Result fail"));
    report("{}");
    EXPECT_EQ(count(), "0");
}

}  // namespace
