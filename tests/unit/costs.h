// What one event costs in data-model reads and writes, messages and processes: docs/costs.md has a row for each of
// these cases, and costs_test.cpp counts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "unit/wan_fixture.h"

struct CostCase {
    uint32_t type;                 // of the message; 0 for what is no message
    std::string event;             // the row's name
    void (*prepare)(WanGateway&);  // what is not counted
    void (*happens)(WanGateway&);
};
inline void PrintTo(const CostCase& each, std::ostream* stream) {
    *stream << each.event;
}
using CostCases = std::vector<CostCase>;

CostCases coreCosts();
CostCases connectionCosts();
CostCases linkCosts();
CostCases diagnosticsCosts();
CostCases managementCosts();
CostCases wirelessCosts();

// Settings for one object: "IP.Interface.1." and {{"Status", "Up"}, ...}.
inline void set(WanGateway& gw, const std::string& object,
                const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [parameter, value] : values) {
        gw.set(object + parameter, value);
    }
}
