#include <algorithm>
#include <cstdio>
#include <iterator>

#include "dhcp_pools.h"
#include "dhcp_server.h"
#include "words.h"

namespace {

constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-.";
constexpr size_t kLongestOption = 255;

// A list of addresses in the server's words; nothing for a list without one.
std::string addressOption(const std::string& tag, const char* option, const std::string& list) {
    std::string addresses;
    for (const std::string& address : listed(list)) {
        addresses += isAddress(address) ? "," + address : std::string();
    }
    return addresses.empty() ? addresses : "tag:" + tag + ",option:" + option + addresses + "\n";
}

std::string domainOption(const std::string& tag, const std::string& domain) {
    const bool usable = !domain.empty() && domain.find_first_not_of(kLetters) == std::string::npos;
    return usable ? "tag:" + tag + ",option:domain-name," + domain + "\n" : std::string();
}

// Hexadecimal digits as the server takes them; nothing for a text that is none.
std::string octets(const std::string& digits) {
    const bool usable = !digits.empty() && digits.size() % 2 == 0 && digits.size() <= 2 * kLongestOption &&
                        digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    std::string text;
    for (size_t at = 0; usable && at < digits.size(); at += 2) {
        text += (at == 0 ? "" : ":") + digits.substr(at, 2);
    }
    return text.size() == 2 ? text + ":" : text;  // one octet is a number otherwise
}

// The server takes some options as addresses only.
bool holdsAddresses(uint32_t tag) {
    constexpr uint32_t kTags[] = {1, 3, 6, 7, 9, 16, 21, 32, 33, 41, 42, 44, 45, 48, 49, 65, 68, 69, 70, 71, 74};
    return std::find(std::begin(kTags), std::end(kTags), tag) != std::end(kTags);
}

std::string addressesOf(const std::string& octets) {
    std::string text;
    unsigned part[4] = {};
    for (size_t at = 0; sscanf(octets.c_str() + at, "%2x:%2x:%2x:%2x", &part[0], &part[1], &part[2], &part[3]) == 4;) {
        text += text.empty() ? "" : ",";
        text += std::to_string(part[0]) + "." + std::to_string(part[1]) + "." + std::to_string(part[2]) + "." +
                std::to_string(part[3]);
        at = std::min(at + sizeof "00:00:00:00", octets.size());
    }
    return text;
}

std::string valueOf(const Dhcpv4ServerPoolOption& option) {
    const std::string value = octets(option.Value.c_str());
    return holdsAddresses(option.Tag) ? addressesOf(value) : value;
}

std::string furtherOptions(const ServedPool& pool) {
    std::string text;
    objIndex iid{};
    void* found = nullptr;
    while (vcfgFeSubInStructGetNext(RDM_OID_DHCPV4_SRV_POOL_OPT, &pool.iid, &iid, &found) == VCFG_OK) {
        const Stored<Dhcpv4ServerPoolOption> option(static_cast<Dhcpv4ServerPoolOption*>(found));
        const std::string value = valueOf(*option);
        if (option->Enable != 0 && option->Tag > 0 && option->Tag < kLongestOption && !value.empty()) {
            text += "tag:" + pool.tag + "," + std::to_string(option->Tag) + "," + value + "\n";
        }
    }
    return text;
}

}  // namespace

std::string dhcpServerOptions() {
    std::string text;
    for (const ServedPool& pool : servedPools()) {
        const Dhcpv4ServerPool& record = *pool.record;
        text += addressOption(pool.tag, "router", record.IPRouters.c_str()) +
                addressOption(pool.tag, "dns-server", record.DNSServers.c_str()) +
                addressOption(pool.tag, "netbios-ns", record.WINSServers.c_str()) +
                domainOption(pool.tag, record.DomainName.c_str()) + furtherOptions(pool);
    }
    return text;
}
