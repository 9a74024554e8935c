// A gateway for the tests of what the diagnostic tools report.
#pragma once

#include <string>
#include <vector>

#include "support/kit.h"

class DiagGateway : public Gateway {
  public:
    size_t entries(const std::string& table) const { return inproc::instancesOf(table).size(); }
    // Every line of standard output, in order.
    std::vector<std::string> printed() const {
        std::vector<std::string> lines;
        for (const LogLine& line : log()) {
            if (line.channel == "stdout") {
                lines.push_back(line.text);
            }
        }
        return lines;
    }
    bool printed(const std::string& text) const { return logged("stdout", text); }
};

using Lines = std::vector<std::string>;

// "[one,one,...]"
inline std::string arrayOf(size_t count, const std::string& one) {
    std::string array = "[";
    for (size_t i = 0; i < count; ++i) {
        array += (i > 0 ? "," : "") + one;
    }
    return array + "]";
}
