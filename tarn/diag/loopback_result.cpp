#include "diag/loopback_result.h"

#include "diag/report.h"

namespace {

template <class T>
constexpr Key<T> kCounts[] = {DIAG_KEY(T, SuccessCount), DIAG_KEY(T, FailureCount), DIAG_KEY(T, AverageResponseTime),
                              DIAG_KEY(T, MinimumResponseTime), DIAG_KEY(T, MaximumResponseTime)};

// `unstated` is the state of a report that tells none.
template <class T>
void storeCounts(const char* payload, const char* name, const char* unstated) {
    const Json report = Json::parse(payload);
    updateObject<T>(name, [&](T& test) {
        test.DiagnosticsState = report.textOr("DiagnosticsState", unstated);
        copyAll<T>(report, kCounts<T>, test);
    });
}

}  // namespace

void tarnProcessPingMsg(const char* payload) {
    storeCounts<IpPing>(payload, "IPPing", "None");
}

void tarnProcessAtmF5LoMsg(const char* payload) {
    storeCounts<AtmF5Loopback>(payload, "ATM.Diagnostics.F5Loopback", "");
}

void tarnProcessAtmF4LoMsg(const char* payload) {
    // Both levels fail in the same words, which the platform's log readers know.
    storeCounts<AtmF4Loopback>(payload, "ATM.Diagnostics.F5Loopback", "");
}
