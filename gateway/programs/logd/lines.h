// One line of the gateway's log, from any of the three channels.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct LogLine {
    int64_t timeNs = 0;  // of the kernel, when the datagram was sent
    std::string daemon;  // who wrote it; empty when that cannot be told
    const char* channel = "";
    int level = 0;
    std::string source;
    int line = 0;
    std::string function;
    std::string text;
};

// A datagram of the framework log: one JSON object. One that is none becomes a line with its bytes as text.
LogLine frameworkLine(std::string_view datagram);
// A datagram of the system log: "<priority>date ident[pid]: text".
LogLine systemLine(std::string_view datagram);
// What a process wrote to standard output at once: one line or several.
std::vector<LogLine> outputLines(std::string_view datagram);

// The line as one JSON text with a newline; `timeUs` is monotonic.
std::string asJson(const LogLine& line, int64_t timeUs);
