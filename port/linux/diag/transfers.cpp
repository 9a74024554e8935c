// The download and the upload.
#include <algorithm>

#include "delivery.h"
#include "diagnostics.h"
#include "model.h"
#include "stored.h"
#include "transfer_report.h"

namespace {

template <class Object>
TransferTest testOf(const Object& object) {
    TransferTest test{};
    test.device = deviceOf(object.Interface.c_str());
    test.version = object.ProtocolVersion.c_str();
    test.connections = std::max(1u, object.NumberOfConnections);
    test.seconds = object.TimeBasedTestDuration;
    test.interval = object.TimeBasedTestMeasurementInterval;
    test.offset = object.TimeBasedTestMeasurementOffset;
    return test;
}

void diagnose(const TransferTest& test, uint32_t type) {
    deliver(type, transferReport(test, transfer(test)));
}

}  // namespace

void diagnoseDownload() {
    const auto object = stored<DownloadDiagnostics>({});
    if (!object) {
        return;
    }
    TransferTest test = testOf(*object);
    test.url = object->DownloadURL.c_str();
    test.connections = std::min(test.connections, object->DownloadDiagnosticMaxConnections);
    test.mostIntervals = object->DownloadDiagnosticsMaxIncrementalResult;
    diagnose(test, VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT);
}

void diagnoseUpload() {
    const auto object = stored<UploadDiagnostics>({});
    if (!object) {
        return;
    }
    TransferTest test = testOf(*object);
    test.upload = true;
    test.url = object->UploadURL.c_str();
    test.length = object->TestFileLength;
    test.connections = std::min(test.connections, object->UploadDiagnosticsMaxConnections);
    test.mostIntervals = object->UploadDiagnosticsMaxIncrementalResult;
    diagnose(test, VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT);
}
