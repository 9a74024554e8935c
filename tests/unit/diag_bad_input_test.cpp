// Payloads that no tool would send, to every diagnostic: none of them crashes it, hangs it or becomes a command.
#include "unit/diag_fixture.h"

namespace {

constexpr uint32_t kTypes[] = {VCFG_MSG_PING_MSG,
                               VCFG_MSG_TRACERT_MSG,
                               VCFG_MSG_NSLOOKUP_MSG,
                               VCFG_MSG_ATM_OAM_F5_COMPLETE,
                               VCFG_MSG_ATM_OAM_F4_COMPLETE,
                               VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT,
                               VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT,
                               VCFG_MSG_PINGSVRS_RST};

std::string nested(const std::string& opening, int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) {
        text += opening;
    }
    return text;
}

const std::string kPayloads[] = {
    std::string("\0", 1),
    std::string("{}\0{}", 5),
    "{}",
    "{} trailing",
    nested("[", 10000),
    nested("{\"a\":", 10000),
    std::string(65000, ' '),
    "{\"DiagnosticsState\":\"" + std::string(60000, 'x') + "\"}",
    "{\"DiagnosticsState\":\"\xFF\xFE\x80\"}",
    R"-({"DiagnosticsState":"$(reboot)","FastestHost":"; reboot","PingsDiagnosticsState":"pings_start"})-",
    R"({"DiagnosticsState":"%s%n%n%n","PingsDiagnosticsState":"%n","RouteHops":[{"Host":"%n%s%n"}],)"
    R"("0":{"Status":"%n%s","HostNameReturned":"%n"}})",
    R"({"DiagnosticsState":{"a":1},"SuccessCount":[1],"RouteHops":[[[]]],"0":[],"PerConnectionResult":[{"a":{}}],)"
    R"("PerConnectionResultNumberOfEntries":1})",
    R"({"RouteHops":[{"Host":"\ud800","HostAddress":"\u0000x","ErrorCode":1e999}],"0":{"Status":"\ud800"}})"};

class DiagBadInput : public testing::TestWithParam<uint32_t> {};

INSTANTIATE_TEST_SUITE_P(Types, DiagBadInput, testing::ValuesIn(kTypes));

TEST_P(DiagBadInput, NothingBecomesACommandAndTheNextReportIsServed) {
    DiagGateway gw;
    for (const std::string& payload : kPayloads) {
        gw.receiveBytes(GetParam(), payload);
        for (const std::string& command : gw.commands()) {
            EXPECT_EQ(command, "killall pingsvrs pings");
        }
        EXPECT_NO_REPLY(gw);
        EXPECT_FALSE(gw.loggedContaining("given up"));
    }
    gw.receive(VCFG_MSG_PING_MSG, R"({"DiagnosticsState":"Complete","SuccessCount":3})");
    EXPECT_EQ(gw.get("IP.Diagnostics.IPPing.SuccessCount"), "3");
}

// Each step of the work may be refused, in any order: the event ends, and what was read is freed.
TEST_P(DiagBadInput, EveryStepMayBeRefused) {
    const std::string report =
        R"({"PingsDiagnosticsState":"pings_complete","DiagnosticsState":"Complete","RouteHops":[{},{}],"0":{},"1":{},)"
        R"("PerConnectionResultNumberOfEntries":2,"PerConnectionResult":[{},{}],"IncrementalResult":[{},{}],)"
        R"("IncrementalResultNumberOfEntries":2})";
    for (const auto operation : {inproc::Operation::Get, inproc::Operation::Next, inproc::Operation::Set,
                                 inproc::Operation::Add, inproc::Operation::Delete, inproc::Operation::Write}) {
        for (const char* object :
             {"IP.Diagnostics.IPPing", "IP.Diagnostics.TraceRoute", "IP.Diagnostics.TraceRoute.RouteHops.{i}",
              "DNS.Diagnostics.NSLookupDiagnostics", "DNS.Diagnostics.NSLookupDiagnostics.Result.{i}",
              "ATM.Diagnostics.F5Loopback", "ATM.Diagnostics.X_VORAN_F4Loopback", "IP.Diagnostics.DownloadDiagnostics",
              "IP.Diagnostics.DownloadDiagnostics.IncrementalResult.{i}", "IP.Diagnostics.UploadDiagnostics",
              "IP.Diagnostics.UploadDiagnostics.PerConnectionResult.{i}"}) {
            DiagGateway gw;
            gw.receive(GetParam(), report);
            gw.refuseWrite(operation, object);
            gw.receive(GetParam(), report);
            EXPECT_NO_REPLY(gw);
        }
    }
}

TEST_P(DiagBadInput, NullRecordOfASuccessfulReadIsNamed) {
    const std::pair<uint32_t, const char*> kObjects[] = {
        {VCFG_MSG_PING_MSG, "IP.Diagnostics.IPPing"},
        {VCFG_MSG_TRACERT_MSG, "IP.Diagnostics.TraceRoute"},
        {VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT, "IP.Diagnostics.UploadDiagnostics"}};
    for (const auto& [type, object] : kObjects) {
        if (type == GetParam()) {
            DiagGateway gw;
            inproc::nullRecord(object);
            gw.receive(type, "{}");
            EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. "));
            EXPECT_TRUE(gw.writes().empty());
        }
    }
}

}  // namespace
