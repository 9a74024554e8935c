#include "dhcp_pools.h"
#include "dhcp_server.h"
#include "words.h"

namespace {

std::string rangeOf(const std::string& tag, const Dhcpv4ServerPool& pool) {
    const bool masked = maskWidth(pool.SubnetMask.c_str()).has_value();
    std::string line = "dhcp-range=set:" + tag + "," + pool.MinAddress.c_str() + "," + pool.MaxAddress.c_str();
    line += masked ? std::string(",") + pool.SubnetMask.c_str() : std::string();
    return line + "," + (pool.LeaseTime < 0 ? "infinite" : std::to_string(pool.LeaseTime)) + "\n";
}

std::string staticAddresses(const objIndex& pool) {
    std::string text;
    objIndex iid{};
    void* found = nullptr;
    while (vcfgFeSubInStructGetNext(RDM_OID_DHCPV4_SRV_POOL_STATIC_ADDR, &pool, &iid, &found) == VCFG_OK) {
        const Stored<Dhcpv4ServerPoolStaticAddress> entry(static_cast<Dhcpv4ServerPoolStaticAddress*>(found));
        if (entry->Enable != 0 && !entry->Chaddr.empty() && isAddress(entry->Yiaddr.c_str())) {
            text += std::string(entry->Chaddr.c_str()) + "," + entry->Yiaddr.c_str() + "\n";
        }
    }
    return text;
}

// No client has this name for itself, so nobody is given the address.
std::string reservedAddresses(const std::string& list) {
    std::string text;
    for (const std::string& address : listed(list)) {
        text += isAddress(address) ? "id:reserved-" + address + "," + address + "\n" : std::string();
    }
    return text;
}

}  // namespace

std::string dhcpServerConfiguration() {
    std::string text;
    for (const ServedPool& pool : servedPools()) {
        text += "interface=" + pool.device + "\n" + rangeOf(pool.tag, *pool.record);
    }
    return text.empty() ? text
                        : "port=0\nbind-dynamic\nexcept-interface=lo\ndhcp-authoritative\nscript-on-renewal\n"
                          "user=root\n"
                          "dhcp-script=/usr/share/dnsmasq/tarn.script\n"
                          "dhcp-leasefile=/run/tarn/dhcp-server.leases\n"
                          "dhcp-hostsfile=/run/tarn/dhcp-server.hosts\n"
                          "dhcp-optsfile=/run/tarn/dhcp-server.options\n" +
                              text;
}

std::string dhcpServerHosts() {
    std::string text;
    for (const ServedPool& pool : servedPools()) {
        text += staticAddresses(pool.iid) + reservedAddresses(pool.record->ReservedAddresses.c_str());
    }
    return text;
}
