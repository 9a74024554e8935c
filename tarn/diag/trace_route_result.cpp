#include "diag/trace_route_result.h"

#include "diag/report.h"

namespace {

constexpr const char* kName = "tarnProcessTracertMsg";

constexpr ShownKey<TraceRouteHop> kHopTexts[] = {DIAG_SHOWN_KEY(TraceRouteHop, Host, "Host"),
                                                 DIAG_SHOWN_KEY(TraceRouteHop, HostAddress, "HostAddr"),
                                                 DIAG_SHOWN_KEY(TraceRouteHop, RTTimes, "RTTimes")};

bool addHop(const Json& reported) {
    auto hop = addEntry<TraceRouteHop>();
    if (!hop) {
        logs::print("Add RouteHops Fail\n");
        return false;
    }
    copyShown<TraceRouteHop>(reported, kHopTexts, *hop, [](const char* label, const char* sent, const char*) {
        logs::system(LOG_INFO, "%s: %s %s\n", kName, label, sent);
    });
    hop->ErrorCode = reported.unsigned32("ErrorCode");
    if (hop.apply() != VCFG_OK) {
        logs::print("Set RouteHops Fail\n");
        return false;
    }
    return true;
}

// How many hops the table is to be read as: all of the report's, or none when one could not be stored.
uint32_t storeHops(const Json& report) {
    const size_t count = report.length("RouteHops");
    for (size_t i = 0; i < count; ++i) {
        const auto reported = report.element("RouteHops", i);
        if (reported && !addHop(*reported)) {
            return 0;
        }
    }
    return static_cast<uint32_t>(count);
}

}  // namespace

void tarnProcessTracertMsg(const char* payload) {
    logs::system(LOG_INFO, "%s : Enter\n", kName);
    const Json report = Json::parse(payload);
    for (const auto& old : instances<TraceRouteHop>()) {
        old.remove();
    }
    const uint32_t hops = storeHops(report);
    updateObject<TraceRoute>("TraceRoute", [&](TraceRoute& trace) {
        trace.DiagnosticsState = report.textOr("DiagnosticsState", "None");
        trace.ResponseTime = report.unsigned32("ResponseTime");
        trace.RouteHopsNumberOfEntries = hops;
    });
}
