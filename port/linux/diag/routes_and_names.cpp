// Traceroute and the name lookup.
#include <algorithm>
#include <cmath>

#include "delivery.h"
#include "diagnostics.h"
#include "lookup.h"
#include "model.h"
#include "payload.h"
#include "route.h"
#include "stored.h"

namespace {

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ",") + part;
    }
    return text;
}

std::string rounded(double milliseconds) {
    return std::to_string(std::lround(milliseconds));
}

Payload hopReport(const Hop& hop) {
    std::vector<std::string> times;
    std::transform(hop.timesMs.begin(), hop.timesMs.end(), std::back_inserter(times), rounded);
    Payload payload;
    payload.text("Host", hop.host);
    payload.text("HostAddress", hop.address);
    payload.count("ErrorCode", hop.errorCode);
    payload.text("RTTimes", joined(times));
    return payload;
}

// Of the last hop: the average.
uint64_t responseTime(const RouteOutcome& outcome) {
    double sum = 0;
    const auto& times = outcome.hops.empty() ? std::vector<double>() : outcome.hops.back().timesMs;
    for (const double time : times) {
        sum += time;
    }
    return times.empty() ? 0 : static_cast<uint64_t>(std::llround(sum / static_cast<double>(times.size())));
}

Payload lookupReport(const LookupOutcome& outcome) {
    Payload payload;
    payload.text("Status", outcome.status);
    payload.textIfAny("HostNameReturned", outcome.name);
    payload.textIfAny("IPAddresses", joined(outcome.addresses));
    payload.textIfAny("DNSServerIP", outcome.server);
    payload.count("ResponseTime", outcome.timeMs);
    return payload;
}

}  // namespace

void diagnoseRoute() {
    const auto test = stored<TraceRoute>({});
    if (!test) {
        return;
    }
    const RouteOutcome outcome =
        traceRoute({test->Host.c_str(), deviceOf(test->Interface.c_str()), test->ProtocolVersion.c_str(),
                    test->NumberOfTries, test->Timeout, test->DataBlockSize, test->DSCP, test->MaxHopCount});
    std::vector<Payload> hops;
    std::transform(outcome.hops.begin(), outcome.hops.end(), std::back_inserter(hops), hopReport);
    Payload payload;
    payload.text("DiagnosticsState", outcome.state);
    payload.count("ResponseTime", responseTime(outcome));
    payload.list("RouteHops", hops);
    deliver(VCFG_MSG_TRACERT_MSG, payload.str());
}

void diagnoseLookup() {
    const auto test = stored<NsLookupDiagnostics>({});
    if (!test) {
        return;
    }
    Payload payload;
    uint32_t successes = 0;
    bool serverUnknown = false;
    const uint32_t repetitions = std::min<uint32_t>(test->NumberOfRepetitions, 255);  // that a table holds
    for (uint32_t i = 0; i < repetitions && !serverUnknown; ++i) {
        const LookupOutcome outcome = lookUp({test->HostName.c_str(), test->DNSServer.c_str(), test->Timeout});
        serverUnknown = outcome.serverUnknown;
        successes += outcome.status == "Success" ? 1 : 0;
        payload.part(std::to_string(i).c_str(), lookupReport(outcome));
    }
    payload.text("DiagnosticsState", serverUnknown ? "Error_DNSServerNotResolved" : "Complete");
    payload.count("SuccessCount", successes);
    deliver(VCFG_MSG_NSLOOKUP_MSG, payload.str());
}
