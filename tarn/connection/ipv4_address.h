// The IPv4 address of a WAN IP interface, as DHCP and PPP configure it.
#pragma once

#include <vcfg/msg.h>

#include <string_view>

struct Ipv4Configuration {
    std::string_view connText;  // text beside the addressing type, at most 19 characters; empty from DHCP
    std::string_view address;
    std::string_view mask;
    std::string_view addressingType;
    bool enable;
    bool blocking;  // wait until the address is applied, and try up to three times
};

// Configures the first IPv4 address of the interface, adding one when it has none. 0 or -5.
int tarnSetIpv4Addr(const objIndex& ipInterface, const Ipv4Configuration& wanted);

// Adds an IPv4 address under the interface that `iid` names; on 0 `iid` is the new instance's. 0 or -5.
int tarnAddIpv4Addr(objIndex& iid);
