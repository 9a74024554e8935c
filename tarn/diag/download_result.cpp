#include <json-c/json_util.h>

#include "diag/transfer_entries.h"
#include "diag/transfer_result.h"

namespace {

using Download = DownloadDiagnostics;
using Connection = DownloadPerConnectionResult;
using Interval = DownloadIncrementalResult;

constexpr Key<Download> kStateAndTimes[] = {DIAG_KEY(Download, DiagnosticsState), DIAG_KEY(Download, ROMTime),
                                            DIAG_KEY(Download, BOMTime), DIAG_KEY(Download, EOMTime)};
constexpr Key<Download> kNumbers[] = {
    DIAG_KEY(Download, TestBytesReceivedUnderFullLoading),  DIAG_KEY(Download, TotalBytesReceivedUnderFullLoading),
    DIAG_KEY(Download, TotalBytesSentUnderFullLoading),     DIAG_KEY(Download, PeriodOfFullLoading),
    DIAG_KEY(Download, PerConnectionResultNumberOfEntries), DIAG_KEY(Download, IncrementalResultNumberOfEntries)};
constexpr Key<Download> kOpenTimes[] = {DIAG_KEY(Download, TCPOpenRequestTime),
                                        DIAG_KEY(Download, TCPOpenResponseTime)};

constexpr Key<Connection> kConnectionKeys[] = {DIAG_KEY(Connection, ROMTime),
                                               DIAG_KEY(Connection, BOMTime),
                                               DIAG_KEY(Connection, EOMTime),
                                               DIAG_KEY(Connection, TCPOpenRequestTime),
                                               DIAG_KEY(Connection, TCPOpenResponseTime),
                                               DIAG_KEY(Connection, TestBytesReceived),
                                               DIAG_KEY(Connection, TotalBytesReceived),
                                               DIAG_KEY(Connection, TotalBytesSent)};
constexpr Key<Interval> kIntervalKeys[] = {DIAG_KEY(Interval, TestBytesReceived),
                                           DIAG_KEY(Interval, TotalBytesReceived), DIAG_KEY(Interval, TotalBytesSent),
                                           DIAG_KEY(Interval, StartTime), DIAG_KEY(Interval, EndTime)};

// The value's text as a decimal number of 32 bits.
uint32_t total(const Json& report, const char* key) {
    uint64_t number = 0;
    json_parse_uint64(report.textOr(key, "").c_str(), &number);
    return static_cast<uint32_t>(std::min<uint64_t>(number, UINT32_MAX));
}

void addResults(const Json& report, Download& download) {
    if (download.EnablePerConnectionResults == 0) {
        download.PerConnectionResultNumberOfEntries = 0;
    }
    if (download.PerConnectionResultNumberOfEntries != 0) {
        addEntries<Connection>(report, "PerConnectionResult", download.DownloadDiagnosticMaxConnections,
                               kConnectionKeys);
    }
    if (download.IncrementalResultNumberOfEntries != 0) {
        addEntries<Interval>(report, "IncrementalResult", download.DownloadDiagnosticsMaxIncrementalResult,
                             kIntervalKeys);
    }
}

void printTotals(const Download& download) {
    logs::print("Obj->DiagnosticsState= %s\n", download.DiagnosticsState.c_str());
    logs::print("Obj->DownloadURL= %s\n", download.DownloadURL.c_str());
    logs::print("Obj->ROMTime= %s\n", download.ROMTime.c_str());
    logs::print("Obj->BOMTime= %s\n", download.BOMTime.c_str());
    logs::print("Obj->EOMTime= %s\n", download.EOMTime.c_str());
    logs::print("Obj->TestBytesReceived= %u\n", static_cast<unsigned>(download.TestBytesReceived));
    logs::print("Obj->TotalBytesReceived= %u\n", static_cast<unsigned>(download.TotalBytesReceived));
    logs::print("Obj->TotalBytesSent= %u\n", static_cast<unsigned>(download.TotalBytesSent));
    logs::print("Obj->TCPOpenRequestTime= %s\n", download.TCPOpenRequestTime.c_str());
    logs::print("Obj->TCPOpenResponseTime= %s\n", download.TCPOpenResponseTime.c_str());
}

void fill(const Json& report, Download& download) {
    tarnDiagResultsClear(RDM_OID_IP_DIAG_DL_DIAG);
    copyAll<Download>(report, kStateAndTimes, download);
    copyPresent<Download>(report, kNumbers, download);
    addResults(report, download);
    download.TestBytesReceived = total(report, "TestBytesReceived");
    download.TotalBytesReceived = total(report, "TotalBytesReceived");
    download.TotalBytesSent = total(report, "TotalBytesSent");
    copyAll<Download>(report, kOpenTimes, download);
    printTotals(download);
}

}  // namespace

void tarnDlDiagComplete(const char* payload) {
    logs::print("printf tarnDlDiagComplete()\n");
    const Json report = Json::parse(payload);
    updateObject<Download>("IP_DIAG_DL_DIAG", [&](Download& download) { fill(report, download); });
}
