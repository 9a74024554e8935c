// The protocol clients of one IP interface, all of them together.
#pragma once

#include <string>

// A client that released its lease when the interface went down asks for a new one now.
bool startIpv4(const std::string& path, const std::string& device);
void releaseIpv4(const std::string& path);
// Release and a new lease, one after the other.
bool restartIpv4(const std::string& path, const std::string& device);
bool startIpv6(const std::string& path, const std::string& device, bool renew);
void stopIpv6(const std::string& device);
