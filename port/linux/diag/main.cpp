// One diagnostic of the data model: reads what is to be tested, runs the real tool, and sends the daemon its outcome.
//
//   port-diag OBJECT      such as "IP.Diagnostics.IPPing"
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "client/standard_streams.h"
#include "diagnostics.h"

namespace {

constexpr struct {
    std::string_view object;
    void (*diagnose)();
} kDiagnostics[] = {{"IP.Diagnostics.IPPing", diagnosePing},
                    {"IP.Diagnostics.TraceRoute", diagnoseRoute},
                    {"IP.Diagnostics.ServerSelectionDiagnostics", diagnoseServers},
                    {"IP.Diagnostics.DownloadDiagnostics", diagnoseDownload},
                    {"IP.Diagnostics.UploadDiagnostics", diagnoseUpload},
                    {"DNS.Diagnostics.NSLookupDiagnostics", diagnoseLookup},
                    {"ATM.Diagnostics.F5Loopback", diagnoseF5Loopback},
                    {"ATM.Diagnostics.X_VORAN_F4Loopback", diagnoseF4Loopback}};

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    for (const auto& [object, diagnose] : kDiagnostics) {
        if (count == 2 && object == words[1]) {
            diagnose();
            unlink(("/run/tarn/diag-" + std::string(object) + ".pid").c_str());  // its number may be another's soon
            return 0;
        }
    }
    fprintf(stderr, "usage: port-diag OBJECT\n");
    return 2;
}
