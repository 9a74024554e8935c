// What the PPP daemons report: a PPPoE session, and the IPv4 and IPv6 layers of a link coming up or going down.
#pragma once

#include <vcfg/msg.h>

#include <optional>
#include <string_view>

// One report. Returns 0, or -5 when a write failed.
int processPppdMsg(const char* payload);

// The addresses and DNS servers that a link's IPv4 layer negotiated; the interface identifiers of its IPv6 layer.
// Both return 0 or -5.
int tarnIpcpObjSet(const objIndex& pppInterface, std::string_view local, std::string_view remote, std::string_view dns);
int tarnIpv6cpObjSet(const objIndex& pppInterface, std::string_view local, std::string_view remote);

// The IP interface that lies on a PPP interface, if there is one.
std::optional<objIndex> findPppIpInterface(const objIndex& pppInterface);
