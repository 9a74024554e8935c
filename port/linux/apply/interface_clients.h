// The protocol clients of one IP interface, all of them together.
#pragma once

#include <vcfg/vcfg.h>

#include <string>
#include <string_view>

// A client that released its lease when the interface went down asks for a new one now.
bool startIpv4(const std::string& path, const std::string& device);
void releaseIpv4(const std::string& path);
// Release and a new lease, one after the other.
bool restartIpv4(const std::string& path, const std::string& device);
// The daemon knows its clients by their pid files, and the DHCPv6 client's is known only here: it is told before the
// client runs, as what it reports is nobody's otherwise. `told` is what the instance says.
bool tellDhcpv6PidFile(const objIndex& client, std::string_view told, const std::string& device);
bool startIpv6(const std::string& path, const std::string& device, bool renew);
void stopIpv6(const std::string& device);
