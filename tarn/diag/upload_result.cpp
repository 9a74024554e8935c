#include "diag/transfer_entries.h"
#include "diag/transfer_result.h"

namespace {

constexpr const char* kName = "tarnUlDiagCompleteHandle";

using Connection = UploadPerConnectionResult;
using Interval = UploadIncrementalResult;

constexpr Key<Connection> kConnectionKeys[] = {DIAG_KEY(Connection, ROMTime),
                                               DIAG_KEY(Connection, BOMTime),
                                               DIAG_KEY(Connection, EOMTime),
                                               DIAG_KEY(Connection, TCPOpenRequestTime),
                                               DIAG_KEY(Connection, TCPOpenResponseTime),
                                               DIAG_KEY(Connection, TestBytesSent),
                                               DIAG_KEY(Connection, TotalBytesReceived),
                                               DIAG_KEY(Connection, TotalBytesSent)};
constexpr Key<Interval> kIntervalKeys[] = {DIAG_KEY(Interval, TestBytesSent), DIAG_KEY(Interval, TotalBytesReceived),
                                           DIAG_KEY(Interval, TotalBytesSent), DIAG_KEY(Interval, StartTime),
                                           DIAG_KEY(Interval, EndTime)};

void announce() {
    logs::print("%s: Apply UploadDiagnostics test data\n", kName);
}

void addResults(Json& report, const UploadDiagnostics& upload) {
    if (upload.EnablePerConnectionResults == 0) {
        report.set("PerConnectionResultNumberOfEntries", 0);
    }
    if (report.unsigned32("PerConnectionResultNumberOfEntries") != 0) {
        addEntries<Connection>(report, "PerConnectionResult", upload.UploadDiagnosticsMaxConnections, kConnectionKeys);
    }
    if (report.unsigned32("IncrementalResultNumberOfEntries") != 0) {
        addEntries<Interval>(report, "IncrementalResult", upload.UploadDiagnosticsMaxIncrementalResult, kIntervalKeys);
    }
}

// The report's keys are the object's parameters; only the arrays have gone elsewhere.
int writeTotals(Json& report) {
    report.remove("PerConnectionResult");
    report.remove("IncrementalResult");
    report.removeNulls();
    const objIndex single = noInstance();
    return vcfgFeObjJsonSetWithAdditions(RDM_OID_IP_DIAG_UL_DIAG, &single, report.get(), 0, VCFG_FE_WRITE_APPLY,
                                         nullptr);
}

void tarnUlDiagCompleteHandle(const char* payload) {
    announce();
    Json report = Json::parse(payload);
    if (!report.valid()) {
        logs::system(LOG_INFO, "Upload dial_result test data wrong\n");
        return;
    }
    announce();
    const auto upload = get<UploadDiagnostics>();
    if (!upload) {
        logs::system(LOG_INFO, "Get Upload Diagnostic Object Fail\n");
        return;
    }
    tarnDiagResultsClear(RDM_OID_IP_DIAG_UL_DIAG);
    addResults(report, *upload);
    if (writeTotals(report) != VCFG_OK) {
        logs::system(LOG_INFO, "Set UploadDiagnostics test data to rdm fail\n");
    }
}

}  // namespace

void tarnUlDiagComplete(const char* payload) {
    tarnUlDiagCompleteHandle(payload);
}
