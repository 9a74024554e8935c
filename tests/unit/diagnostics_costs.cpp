#include "unit/costs.h"

namespace {

constexpr const char* kCounts = R"({"DiagnosticsState":"Complete","SuccessCount":4})";
constexpr const char* kHops = R"({"DiagnosticsState":"Complete","RouteHops":[{"Host":"a"},{"Host":"b"}]})";
constexpr const char* kAnswers =
    R"({"DiagnosticsState":"Complete","SuccessCount":2,"0":{"Status":"Success"},"1":{"Status":"Success"}})";
constexpr const char* kTransfer =
    R"({"DiagnosticsState":"Complete","PerConnectionResultNumberOfEntries":2,"IncrementalResultNumberOfEntries":1,)"
    R"("PerConnectionResult":[{},{}],"IncrementalResult":[{}]})";

void nothing(WanGateway&) {}
void pings(WanGateway& gw, const std::string& phase) {
    gw.receive(VCFG_MSG_PINGSVRS_RST, R"({"PingsDiagnosticsState":"pings_)" + phase +
                                          R"(","DiagnosticsState":"Complete","MinimumResponseTime":1,)"
                                          R"("AverageResponseTime":2,"MaximumResponseTime":3,"FastestHost":"a"})");
}
void perConnection(WanGateway& gw, const std::string& object, const std::string& connections) {
    set(gw, object, {{"EnablePerConnectionResults", "true"}, {connections, "4"}});
}
void download(WanGateway& gw) {
    perConnection(gw, "IP.Diagnostics.DownloadDiagnostics.", "DownloadDiagnosticMaxConnections");
    gw.receive(VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT, kTransfer);
}
void upload(WanGateway& gw) {
    perConnection(gw, "IP.Diagnostics.UploadDiagnostics.", "UploadDiagnosticsMaxConnections");
    gw.receive(VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT, kTransfer);
}

}  // namespace

CostCases diagnosticsCosts() {
    return {
        {VCFG_MSG_PING_MSG, "ping ended", nothing, [](WanGateway& gw) { gw.receive(VCFG_MSG_PING_MSG, kCounts); }},
        {VCFG_MSG_ATM_OAM_F5_COMPLETE, "F5 loopback ended", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_ATM_OAM_F5_COMPLETE, kCounts); }},
        {VCFG_MSG_ATM_OAM_F4_COMPLETE, "F4 loopback ended", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_ATM_OAM_F4_COMPLETE, kCounts); }},
        {VCFG_MSG_PINGSVRS_RST, "server selection: a host measured", [](WanGateway& gw) { pings(gw, "start"); },
         [](WanGateway& gw) { pings(gw, "host"); }},
        {VCFG_MSG_PINGSVRS_RST, "server selection ended", [](WanGateway& gw) { pings(gw, "start"); },
         [](WanGateway& gw) { pings(gw, "complete"); }},
        {VCFG_MSG_TRACERT_MSG, "trace of two hops where there were two",
         [](WanGateway& gw) { gw.receive(VCFG_MSG_TRACERT_MSG, kHops); },
         [](WanGateway& gw) { gw.receive(VCFG_MSG_TRACERT_MSG, kHops); }},
        {VCFG_MSG_NSLOOKUP_MSG, "name lookup of two answers where there were two",
         [](WanGateway& gw) { gw.receive(VCFG_MSG_NSLOOKUP_MSG, kAnswers); },
         [](WanGateway& gw) { gw.receive(VCFG_MSG_NSLOOKUP_MSG, kAnswers); }},
        {VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT, "download ended: three results where there were three", download,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT, kTransfer); }},
        {VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT, "upload ended: three results where there were three", upload,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT, kTransfer); }},
    };
}
