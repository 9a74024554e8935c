// The IPv6 addresses and prefixes that a client obtained, as instances under their IP interface.
#pragma once

#include <vcfg/msg.h>

#include <optional>
#include <string_view>

// Write the interface's one address of origin "DHCPv6", its one prefix of origin "PrefixDelegation", adding the
// instance when there is none; other origins are not theirs to write. Return 0 or -5.
int tarnSetIpv6Addr(const objIndex& ipInterface, std::string_view address, std::string_view origin,
                    std::optional<std::string_view> prefixRef, bool enable);
int tarnSetIpv6Prefix(const objIndex& ipInterface, std::string_view prefix, std::string_view origin, bool enable);

// `iid` is the interface's, and becomes the new instance's. Return 0 or -5.
int tarnAddIpv6Addr(objIndex& iid);
int tarnAddIpv6Prefix(objIndex& iid);
