// What the hook of a DHCPv4 client tells the daemon, and what it leaves for others to read: its environment, and the
// client's instance in the data model.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lease.h"

struct LeaseReport {
    LeaseEvent event;
    // A JSON text.
    std::string payload;
};

// Nothing for a word that changes no lease: a refused or missing offer.
std::optional<LeaseReport> leaseReport(std::string_view word);

// Keeps when the lease ends.
void noteLease(std::string_view word);
