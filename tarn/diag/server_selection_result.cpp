#include "diag/server_selection_result.h"

#include <vcfg/fe.h>

#include <mutex>
#include <utility>

#include "core/json.h"
#include "core/log.h"
#include "core/path.h"
#include "core/shell.h"

namespace {

constexpr const char* kName = "tarnProcessPingSvrsMsg";
constexpr const char* kPhase = "PingsDiagnosticsState";
constexpr const char* kState = "DiagnosticsState";
constexpr const char* kErrorInternal = "Error_Internal";

struct Times {
    uint32_t minimum;
    uint32_t average;
    uint32_t maximum;
};

// One series at a time, whichever endpoint its messages come to.
struct Series {
    std::optional<Json> result;  // under construction; absent between series
    Times best{};
};
std::mutex guard;  // held only while a message is taken into the series
Series series;

// What is to be done after a message.
struct Outcome {
    bool stopsWorkers = false;
    std::optional<Json> result = {};  // to be written; the series is over then
};

bool isFaster(const Times& host, const Series& current) {
    return host.average != 0 && host.average < current.best.average;
}

// It is the best when its result is complete: a message that memory was short for may come again.
void takePingHost(Series& current, const Times& host, const Json& report) {
    Json& result = *current.result;
    result.set("MinimumResponseTime", host.minimum);
    result.set("AverageResponseTime", host.average);
    result.set("MaximumResponseTime", host.maximum);
    if (!result.copy("FastestHost", report, "FastestHost")) {
        result.remove("FastestHost");  // the host before is not the one that these times are of
    }
    current.best = host;
}

std::optional<Times> timesOf(const Json& report) {
    if (!report.has("MinimumResponseTime")) {
        return std::nullopt;
    }
    return Times{report.unsigned32("MinimumResponseTime"), report.unsigned32("AverageResponseTime"),
                 report.unsigned32("MaximumResponseTime")};
}

// Takes the result out of the series, which is over then.
Json end(Series& current) {
    std::optional<Json> result = std::exchange(current.result, std::nullopt);
    return result ? std::move(*result) : Json::object();
}

Outcome endWith(Series& current, const char* state) {
    Json result = end(current);
    result.set(kState, state);
    return {true, std::move(result)};
}

Outcome start(Series& current, const Json& report) {
    current.result = Json::object();
    const auto times = timesOf(report);
    if (!times) {
        return endWith(current, kErrorInternal);
    }
    takePingHost(current, *times, report);
    return {};
}

Outcome measured(Series& current, const Json& report) {
    const auto times = timesOf(report);
    if (!current.result || !times) {
        return endWith(current, kErrorInternal);
    }
    if (isFaster(*times, current)) {
        takePingHost(current, *times, report);
    }
    return {};
}

Outcome complete(Series& current, const Json& report) {
    const auto state = report.text(kState);
    if (!state) {
        return endWith(current, kErrorInternal);
    }
    Json result = end(current);
    result.copy(kState, report, kState);
    return {state->find("Error") != std::string::npos, std::move(result)};
}

Outcome take(Series& current, const Json& report) {
    const std::string phase = report.textOr(kPhase, "");
    if (phase == "pings_start") {
        return start(current, report);
    }
    if (phase == "pings_host") {
        return measured(current, report);
    }
    if (phase == "pings_complete") {
        return complete(current, report);
    }
    return phase.find("pings") != std::string::npos ? Outcome{} : endWith(current, "None");
}

void write(const Json& result) {
    const objIndex single = noInstance();
    if (vcfgFeObjWrite(RDM_OID_IP_DIAG_SVR_SELECT_DIAG, &single, result.toText().c_str(), VCFG_FE_WRITE_APPLY,
                       nullptr) != VCFG_OK) {
        logs::system(LOG_INFO, "%s: Set RDM_OID_IP_DIAG_SVR_SELECT_DIAG failed\n", kName);
    }
}

Outcome takeGuarded(const Json& report) {
    const std::lock_guard lock(guard);
    return take(series, report);
}

}  // namespace

void tarnProcessPingSvrsMsg(const char* payload) {
    logs::system(LOG_INFO, "%s: pingSvrRstObjStr %s\n", kName, payload);
    const Outcome outcome = takeGuarded(Json::parse(payload));
    if (outcome.stopsWorkers) {
        shell("killall pingsvrs pings");
    }
    if (outcome.result) {
        write(*outcome.result);
    }
}

void forgetPingSeries() {
    const std::lock_guard lock(guard);
    series = Series{};
}
