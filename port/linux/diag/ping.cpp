#include "ping.h"

#include <algorithm>
#include <cstdio>

#include "tool.h"

namespace {

constexpr double kIntervalSeconds = 0.2;
constexpr Seconds kGrace{5};
constexpr uint32_t kLargest = 65507;  // what an IPv4 packet can carry

Words command(const PingTest& test) {
    Words words{"ping", "-n",
                "-c",   std::to_string(test.repetitions),
                "-i",   std::to_string(kIntervalSeconds),
                "-W",   std::to_string(test.timeoutMs / 1000.0),
                "-s",   std::to_string(std::min(test.size, kLargest)),
                "-Q",   std::to_string(test.dscp << 2)};
    const Words family = familyOption(test.version);
    words.insert(words.end(), family.begin(), family.end());
    if (!test.device.empty()) {
        words.insert(words.end(), {"-I", test.device});
    }
    words.push_back(test.host);
    return words;
}

PingOutcome outcomeOf(const Finished& finished) {
    PingOutcome outcome;
    bool summed = false;
    for (const std::string& line : linesOf(finished.text)) {
        summed = sscanf(line.c_str(), "%u packets transmitted, %u received", &outcome.sent, &outcome.received) == 2 ||
                 summed;
        sscanf(line.c_str(), "rtt min/avg/max/mdev = %lf/%lf/%lf", &outcome.minimumMs, &outcome.averageMs,
               &outcome.maximumMs);
    }
    outcome.state = finished.ended && summed ? "Complete" : problemIn(finished.text);
    return outcome;
}

}  // namespace

PingOutcome ping(const PingTest& test) {
    if (!isHost(test.host)) {
        return {"Error_CannotResolveHostName"};
    }
    const Seconds once{kIntervalSeconds + test.timeoutMs / 1000.0};
    return outcomeOf(runTool(command(test), test.repetitions * once + kGrace));
}
