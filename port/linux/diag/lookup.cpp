#include "lookup.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tool.h"
#include "words.h"

namespace {

constexpr Seconds kGrace{5};

Words command(const LookupTest& test) {
    const uint32_t seconds = std::max(1u, test.timeoutMs / 1000 + (test.timeoutMs % 1000 != 0 ? 1 : 0));
    Words words{"dig", "+tries=1", "+time=" + std::to_string(seconds), "-q", test.name, "-t", "A", "-q", test.name,
                "-t",  "AAAA"};
    if (!test.server.empty()) {
        words.insert(words.begin() + 1, "@" + test.server);
    }
    return words;
}

std::string withoutDot(std::string name) {
    if (name.ends_with('.')) {
        name.pop_back();
    }
    return name;
}

// "www.example. 3600 IN A 192.0.2.80"
void takeRecord(const std::string& line, LookupOutcome& outcome) {
    const Words words = wordsOf(line);
    if (words.size() == 5 && words[0][0] != ';' && words[2] == "IN" && (words[3] == "A" || words[3] == "AAAA")) {
        outcome.name = withoutDot(words[0]);
        outcome.addresses.push_back(words[4]);
    }
}

// What dig says about an answer: ";; Query time: 3 msec", ";; SERVER: 192.0.2.53#53(192.0.2.53) (UDP)".
void takeRemark(const std::string& line, LookupOutcome& outcome) {
    unsigned timeMs = 0;
    char server[64];
    if (sscanf(line.c_str(), ";; Query time: %u msec", &timeMs) == 1) {
        outcome.timeMs = std::max(outcome.timeMs, timeMs);
    } else if (sscanf(line.c_str(), ";; SERVER: %63[^#]#", server) == 1) {
        outcome.server = server;
    }
}

std::string statusIn(const Finished& finished, const LookupOutcome& outcome) {
    const auto says = [&](const char* part) { return finished.text.find(part) != std::string::npos; };
    if (!outcome.addresses.empty()) {
        return "Success";
    }
    if (says("connection refused") || says("unreachable")) {
        return "Error_DNSServerNotAvailable";
    }
    if (says("timed out")) {
        return "Error_Timeout";
    }
    return says("status: NXDOMAIN") || says("status: NOERROR") ? "Error_HostNameNotResolved" : "Error_Other";
}

}  // namespace

LookupOutcome lookUp(const LookupTest& test) {
    LookupOutcome outcome;
    outcome.serverUnknown = !test.server.empty() && !isHost(test.server);
    if (!isHost(test.name) || outcome.serverUnknown) {
        outcome.status = outcome.serverUnknown ? "Error_DNSServerNotAvailable" : "Error_HostNameNotResolved";
        return outcome;
    }
    const Finished finished = runTool(command(test), Seconds(2 * (test.timeoutMs / 1000.0 + 1)) + kGrace);
    for (const std::string& line : linesOf(finished.text)) {
        takeRecord(line, outcome);
        takeRemark(line, outcome);
    }
    outcome.status = statusIn(finished, outcome);
    outcome.serverUnknown = finished.text.find("couldn't get address for") != std::string::npos;
    return outcome;
}
