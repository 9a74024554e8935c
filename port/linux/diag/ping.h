// One run of ping.
#pragma once

#include <cstdint>
#include <string>

struct PingTest {
    std::string host;
    std::string device;   // none when empty
    std::string version;  // "IPv4", "IPv6", or any
    uint32_t repetitions;
    uint32_t timeoutMs;
    uint32_t size;
    uint32_t dscp;
};

struct PingOutcome {
    std::string state;  // "Complete", or what went wrong
    uint32_t sent = 0;
    uint32_t received = 0;
    double minimumMs = 0;
    double averageMs = 0;
    double maximumMs = 0;
};

PingOutcome ping(const PingTest& test);
