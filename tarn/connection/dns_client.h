// The DNS client's servers as the WAN connections learn them.
#pragma once

#include <vcfg/msg.h>

#include <string_view>

// Records the server that an interface learnt from `origin`; a static IPv6 server of the interface always wins.
void tarnSetDnsClientServer(const objIndex& ipInterface, std::string_view server, std::string_view origin);

// Has the DNS configuration applied again. Returns 0 or -5.
int vcfgTarnDnsUpdate();

// Replaces the server that a PPP link's IPv4 layer gave to an interface, when it has changed.
void tarnSetDnsServer(const objIndex& ipInterface, std::string_view dns);
