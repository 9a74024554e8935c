#include "dhcpv6.h"

#include <algorithm>
#include <iterator>

#include "environment.h"
#include "payload.h"

namespace {

constexpr std::string_view kHolds[] = {"BOUND6", "RENEW6", "REBIND6", "REBOOT6"};
constexpr std::string_view kLost[] = {"EXPIRE6", "RELEASE6", "STOP6"};

template <size_t Count>
bool isOneOf(const std::string_view (&words)[Count], std::string_view word) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

std::string delegatedPrefix() {
    const std::string prefix = variable("new_dhcp6_ia_pd1_prefix1");
    return prefix.empty() ? prefix : prefix + "/" + variable("new_dhcp6_ia_pd1_prefix1_length");
}

// The daemon takes one name server.
std::string nameServer() {
    const std::vector<std::string> servers = words(variable("new_dhcp6_name_servers"));
    return servers.empty() ? std::string() : servers.front();
}

void addLease(Payload& to) {
    const std::string address = variable("new_dhcp6_ia_na1_ia_addr1");
    const std::string prefix = delegatedPrefix();
    to.flag("addrAssigned", !address.empty());
    to.flag("prefixAssigned", !prefix.empty());
    to.textIfAny("nameserver", nameServer());
    to.textIfAny("addr", address);
    to.textIfAny("prefix", prefix);
}

}  // namespace

std::optional<std::string> dhcpv6Payload(std::string_view reason) {
    const bool holds = isOneOf(kHolds, reason);
    if (!holds && !isOneOf(kLost, reason)) {
        return std::nullopt;
    }
    Payload payload;
    payload.text("pidfile", "/run/dhcpcd/" + variable("interface") + "-6.pid");
    payload.flag("timeout", !holds);
    if (holds) {
        addLease(payload);
    }
    return payload.str();
}
