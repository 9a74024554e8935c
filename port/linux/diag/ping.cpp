#include "ping.h"

#include <algorithm>
#include <cstdio>

#include "tool.h"
#include "words.h"

namespace {

constexpr double kIntervalSeconds = 0.2;
constexpr Seconds kGrace{5};
constexpr double kLongestMs = 1e6;
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

// "4 packets transmitted, 3 received, ..."
bool takeCounts(const std::string& line, PingOutcome& outcome) {
    unsigned sent = 0;
    unsigned received = 0;
    if (sscanf(line.c_str(), "%u packets transmitted, %u received", &sent, &received) != 2 || received > sent) {
        return false;
    }
    outcome.sent = sent;
    outcome.received = received;
    return true;
}

// "rtt min/avg/max/mdev = 0.041/0.052/0.061/0.004 ms"
void takeTimes(const std::string& line, PingOutcome& outcome) {
    double minimum = 0;
    double average = 0;
    double maximum = 0;
    if (sscanf(line.c_str(), "rtt min/avg/max/mdev = %lf/%lf/%lf", &minimum, &average, &maximum) == 3) {
        outcome.minimumMs = std::clamp(minimum, 0.0, kLongestMs);
        outcome.averageMs = std::clamp(average, 0.0, kLongestMs);
        outcome.maximumMs = std::clamp(maximum, 0.0, kLongestMs);
    }
}

PingOutcome outcomeOf(const Finished& finished) {
    PingOutcome outcome;
    bool counted = false;
    for (const std::string& line : linesOf(finished.text)) {
        counted = takeCounts(line, outcome) || counted;
        takeTimes(line, outcome);
    }
    outcome.state = finished.ended && counted ? "Complete" : problemIn(finished.text);
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
