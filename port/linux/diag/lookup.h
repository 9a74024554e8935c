// One name lookup, asked with dig.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct LookupTest {
    std::string name;
    std::string server;  // the system's when empty
    uint32_t timeoutMs;
};

struct LookupOutcome {
    std::string status;  // "Success", or what went wrong
    std::string name;    // that the answer is for, at the end of all aliases
    std::vector<std::string> addresses;
    std::string server;  // that answered
    uint32_t timeMs = 0;
    bool serverUnknown = false;  // it was named, and has no address
};

LookupOutcome lookUp(const LookupTest& test);
