// The fastest of several hosts: one process for the series, named pingsvrs, and one for each host, named pings. Those
// are the names that the daemon stops them by.
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cmath>
#include <csignal>

#include "delivery.h"
#include "diagnostics.h"
#include "model.h"
#include "payload.h"
#include "ping.h"
#include "stored.h"
#include "tool.h"
#include "words.h"

namespace {

// What one host's process tells.
struct Answer {
    uint32_t host;
    bool known;  // its name has an address
    uint32_t received;
    double minimumMs;
    double averageMs;
    double maximumMs;
};

void pingOne(uint32_t number, const PingTest& test, int to) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "pings");
    const PingOutcome outcome = ping(test);
    const Answer answer{number,
                        outcome.state != "Error_CannotResolveHostName",
                        outcome.received,
                        outcome.minimumMs,
                        outcome.averageMs,
                        outcome.maximumMs};
    _exit(write(to, &answer, sizeof answer) == sizeof answer ? 0 : 1);
}

int micros(double milliseconds) {
    return static_cast<int>(std::lround(milliseconds * 1000));
}

// The first host that answers starts the series: what it is compared with must be a time.
void tellHost(const Answer& answer, const std::string& host, bool first) {
    Payload payload;
    payload.text("PingsDiagnosticsState", first ? "pings_start" : "pings_host");
    payload.integer("MinimumResponseTime", micros(answer.minimumMs));
    payload.integer("AverageResponseTime", micros(answer.averageMs));
    payload.integer("MaximumResponseTime", micros(answer.maximumMs));
    payload.text("FastestHost", host);
    deliver(VCFG_MSG_PINGSVRS_RST, payload.str());
}

void tellEnd(const std::string& state) {
    Payload payload;
    payload.text("PingsDiagnosticsState", "pings_complete");
    payload.text("DiagnosticsState", state);
    deliver(VCFG_MSG_PINGSVRS_RST, payload.str());
}

// Takes the hosts' answers as they come, until all have told theirs or ended without.
std::string collect(int from, const std::vector<std::string>& hosts) {
    bool answered = false;
    bool known = false;
    Answer answer{};
    while (read(from, &answer, sizeof answer) == sizeof answer) {
        known = known || answer.known;
        if (answer.received > 0 && answer.host < hosts.size()) {
            tellHost(answer, hosts[answer.host], !answered);
            answered = true;
        }
    }
    return answered ? "Complete" : known ? "Error_Other" : "Error_CannotResolveHostName";
}

}  // namespace

void diagnoseServers() {
    const auto test = stored<ServerSelectionDiagnostics>({});
    int ends[2];
    if (!test || pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    if (test->Protocol == "UDP Echo") {
        return tellEnd("Error_Other");  // there is no such tool
    }
    prctl(PR_SET_NAME, "pingsvrs");
    const std::vector<std::string> hosts = listed(test->HostList);
    const std::string device = deviceOf(test->Interface.c_str());
    for (uint32_t i = 0; i < hosts.size(); ++i) {
        if (fork() == 0) {
            pingOne(i,
                    {hosts[i], device, test->ProtocolVersion.c_str(), test->NumberOfRepetitions, test->Timeout, 56, 0},
                    ends[1]);
        }
    }
    close(ends[1]);
    tellEnd(collect(ends[0], hosts));
}
