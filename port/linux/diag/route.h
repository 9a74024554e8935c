// One run of traceroute.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct RouteTest {
    std::string host;
    std::string device;
    std::string version;
    uint32_t tries;
    uint32_t timeoutMs;
    uint32_t size;
    uint32_t dscp;
    uint32_t mostHops;
};

struct Hop {
    std::string host;
    std::string address;
    uint32_t errorCode = 0;  // the ICMP code, where it is more than "not yet there"
    std::vector<double> timesMs;
};

struct RouteOutcome {
    std::string state;
    std::string address;
    std::vector<Hop> hops;
};

RouteOutcome traceRoute(const RouteTest& test);
