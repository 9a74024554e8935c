// When the lease on a device ends: its client's hook notes it, the refresh hook of the data model's client reads it.
#pragma once

#include <string>
#include <string_view>

// `seconds` from now, as the client tells them. Anything else than a number is no note.
void noteLeaseEnd(const std::string& pidFile, std::string_view seconds);
void forgetLeaseEnd(const std::string& pidFile);
// Seconds that are left; 0 without a lease, -1 for one without an end.
int leaseLeft(const std::string& pidFile);
