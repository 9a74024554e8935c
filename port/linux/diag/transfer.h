// One download or upload over several connections at once, made by curl.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct TransferTest {
    bool upload;
    std::string url;
    std::string device;
    std::string version;
    uint32_t connections;
    uint32_t seconds;   // that a test by time takes; 0 for one of a whole file
    uint32_t interval;  // seconds between two measurements; 0 for none
    uint32_t offset;    // seconds before the first
    uint32_t mostIntervals;
    uint64_t length;  // of what is uploaded, in each connection
};

using Stamp = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

struct Traffic {
    uint64_t received = 0;
    uint64_t sent = 0;
};
Traffic operator-(const Traffic& later, const Traffic& earlier);

// What one connection did. Without a connection the times are those of the attempt.
struct ConnectionOutcome {
    int status = -1;  // curl's exit status
    Stamp openRequest, openResponse, requested, began, ended;
    Traffic traffic;
    std::string localAddress;
    std::string remoteAddress;
    std::string complaint;
};

// What had been moved at one moment: the test's own bytes, and the traffic of each network device.
struct Sample {
    Stamp at;
    uint64_t moved = 0;
    std::map<std::string, Traffic> devices;
};

struct TransferOutcome {
    std::vector<ConnectionOutcome> connections;
    std::vector<Sample> samples;  // the ends of the intervals
    Sample first, last;
    Sample loaded, unloaded;  // from when all connections moved bytes to when the first one ended
};

TransferOutcome transfer(const TransferTest& test);

// curl's words and what it says, for one connection.
std::vector<std::string> transferCommand(const TransferTest& test);
ConnectionOutcome connectionOf(const std::string& said, int status, Stamp end);
// The traffic of each network device so far.
std::map<std::string, Traffic> deviceTraffic();
