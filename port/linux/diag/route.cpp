#include "route.h"

#include <algorithm>
#include <cstdlib>

#include "tool.h"
#include "words.h"

namespace {

constexpr Seconds kGrace{5};
constexpr uint32_t kMostTries = 10;
constexpr uint32_t kMostHops = 255;
constexpr uint32_t kLargest = 65000;

Words command(const RouteTest& test) {
    Words words{"traceroute",
                "-q",
                std::to_string(std::clamp(test.tries, 1u, kMostTries)),
                "-w",
                std::to_string(test.timeoutMs / 1000.0),
                "-m",
                std::to_string(std::clamp(test.mostHops, 1u, kMostHops)),
                "-t",
                std::to_string(test.dscp << 2)};
    const Words family = familyOption(test.version);
    words.insert(words.end(), family.begin(), family.end());
    if (!test.device.empty()) {
        words.insert(words.end(), {"-i", test.device});
    }
    words.insert(words.end(), {test.host, std::to_string(std::min(test.size, kLargest))});
    return words;
}

// "!H" and the like, as the code of ICMP's "destination unreachable".
uint32_t codeOf(const std::string& mark) {
    constexpr struct {
        char letter;
        uint32_t code;
    } kCodes[] = {{'N', 0}, {'H', 1}, {'P', 2}, {'F', 4}, {'S', 5}, {'X', 13}, {'V', 14}, {'C', 15}};
    for (const auto& [letter, code] : kCodes) {
        if (mark.size() > 1 && mark[1] == letter) {
            return code;
        }
    }
    return static_cast<uint32_t>(strtoul(mark.c_str() + (mark.starts_with("!<") ? 2 : 1), nullptr, 10));
}

bool isInBrackets(const std::string& word) {
    return word.size() > 2 && word.front() == '(' && word.back() == ')';
}

// " 2  far.example (192.0.2.9)  1.250 ms !H  * 1.301 ms": of several routers at one distance the first is the hop's.
Hop hopOf(const Words& words, bool& refused) {
    Hop hop;
    for (size_t i = 1; i < words.size(); ++i) {
        if (isInBrackets(words[i]) && hop.address.empty()) {
            hop.host = words[i - 1];
            hop.address = words[i].substr(1, words[i].size() - 2);
        } else if (words[i] == "ms") {
            hop.timesMs.push_back(strtod(words[i - 1].c_str(), nullptr));
        } else if (words[i][0] == '!') {
            hop.errorCode = codeOf(words[i]);
            refused = true;
        }
    }
    return hop;
}

bool isNumber(const std::string& word) {
    return !word.empty() && word.find_first_not_of("0123456789") == word.npos;
}

RouteOutcome outcomeOf(const Finished& finished) {
    RouteOutcome outcome;
    bool refused = false;
    for (const std::string& line : linesOf(finished.text)) {
        const Words words = wordsOf(line);
        if (line.starts_with("traceroute to ") && words.size() > 3 && words[3].size() > 3) {
            outcome.address = words[3].substr(1, words[3].size() - 3);  // "(192.0.2.9),"
        } else if (!words.empty() && isNumber(words[0]) && !outcome.address.empty()) {
            outcome.hops.push_back(hopOf(words, refused));
        }
    }
    if (!finished.ended || outcome.hops.empty()) {
        outcome.state = problemIn(finished.text);
    } else if (refused) {
        outcome.state = "Error_NoRouteToHost";
    } else {
        outcome.state = outcome.hops.back().address == outcome.address ? "Complete" : "Error_MaxHopCountExceeded";
    }
    return outcome;
}

}  // namespace

RouteOutcome traceRoute(const RouteTest& test) {
    if (!isHost(test.host)) {
        return {"Error_CannotResolveHostName", "", {}};
    }
    const Seconds perProbe{test.timeoutMs / 1000.0};
    return outcomeOf(runTool(command(test), kMostTries * kMostHops * perProbe + kGrace));
}
