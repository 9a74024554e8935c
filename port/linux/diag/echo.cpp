// Ping, and the ATM loopbacks that count answers as it does.
#include <cmath>
#include <cstdio>

#include "delivery.h"
#include "diagnostics.h"
#include "model.h"
#include "payload.h"
#include "ping.h"
#include "stored.h"
#include "tool.h"

namespace {

constexpr Seconds kGrace{5};
constexpr const char* kAtmDevice = "atm0";

int rounded(double milliseconds) {
    return static_cast<int>(std::lround(milliseconds));
}

void tell(uint32_t type, const PingOutcome& outcome) {
    Payload payload;
    payload.text("DiagnosticsState", outcome.state);
    payload.count("SuccessCount", outcome.received);
    payload.count("FailureCount", outcome.sent - outcome.received);
    payload.integer("AverageResponseTime", rounded(outcome.averageMs));
    payload.integer("MinimumResponseTime", rounded(outcome.minimumMs));
    payload.integer("MaximumResponseTime", rounded(outcome.maximumMs));
    deliver(type, payload.str());
}

// The line's own tool: "5 sent, 5 answered, min/avg/max = 7/8/11 ms".
PingOutcome loopback(const char* level, const std::string& device, uint32_t repetitions, uint32_t timeoutMs) {
    const Seconds most{repetitions * (timeoutMs / 1000.0)};
    const Finished finished =
        runTool({"oamping", level, device, std::to_string(repetitions), std::to_string(timeoutMs)}, most + kGrace);
    PingOutcome outcome;
    const int told = sscanf(finished.text.c_str(), "%u sent, %u answered, min/avg/max = %lf/%lf/%lf", &outcome.sent,
                            &outcome.received, &outcome.minimumMs, &outcome.averageMs, &outcome.maximumMs);
    if (!finished.ended || finished.status != 0 || told < 2 || outcome.received > outcome.sent) {
        return {"Error_Internal"};
    }
    outcome.state = "Complete";
    return outcome;
}

std::string atmDevice(const std::string& path) {
    const auto link = stored<AtmLink>(instance(numberIn(path, "ATM.Link.")));
    return link && !link->Name.empty() ? link->Name.c_str() : kAtmDevice;
}

}  // namespace

void diagnosePing() {
    if (const auto test = stored<IpPing>({})) {
        tell(VCFG_MSG_PING_MSG,
             ping({test->Host.c_str(), deviceOf(test->Interface.c_str()), test->ProtocolVersion.c_str(),
                   test->NumberOfRepetitions, test->Timeout, test->DataBlockSize, test->DSCP}));
    }
}

void diagnoseF5Loopback() {
    if (const auto test = stored<AtmF5Loopback>({})) {
        tell(VCFG_MSG_ATM_OAM_F5_COMPLETE,
             loopback("f5", atmDevice(test->Interface.c_str()), test->NumberOfRepetitions, test->Timeout));
    }
}

void diagnoseF4Loopback() {
    constexpr uint32_t kRepetitions = 5;
    constexpr uint32_t kTimeoutMs = 1000;
    tell(VCFG_MSG_ATM_OAM_F4_COMPLETE, loopback("f4", kAtmDevice, kRepetitions, kTimeoutMs));
}
