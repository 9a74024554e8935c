#include "connection/dns_client.h"

#include <string>

#include "core/address.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"

namespace {

using Server = Record<DnsClientServer>;

// The interface's entry of that origin. `staticWins` tells that the walk met a static IPv6 server of the interface
// first.
Server findEntry(const std::string& ipPath, std::string_view origin, bool& staticWins) {
    return findInstance<DnsClientServer>([&](const DnsClientServer& entry) {
        if (entry.Interface != ipPath) {
            return false;
        }
        if (entry.Type == origin) {
            return true;
        }
        staticWins = entry.Type == "Static" && entry.DNSServer.contains(":");
        return staticWins;
    });
}

Server findFreeEntry() {
    return findInstance<DnsClientServer>([](const DnsClientServer& entry) { return entry.Interface.empty(); });
}

Server addEntry() {
    objIndex added = noInstance();
    if (add<DnsClientServer>(added) != VCFG_OK) {
        logs::print("Add DNS.Client.Server Fail");
        return {};
    }
    Server entry = get<DnsClientServer>(added);
    if (!entry) {
        logs::print("Get DNS.Client.Server Fail");
    }
    return entry;
}

}  // namespace

void tarnSetDnsClientServer(const objIndex& ipInterface, std::string_view server, std::string_view origin) {
    const std::string ipPath = path::of(path::kIpInterface, ipInterface.idx[0]);
    bool staticWins = false;
    Server entry = findEntry(ipPath, origin, staticWins);
    if (staticWins) {
        return;
    }
    if (!entry) {
        entry = findFreeEntry();
    }
    if (!entry) {
        entry = addEntry();
    }
    if (!entry) {
        return;
    }
    entry->Enable = true;
    entry->Interface = ipPath;
    entry->Type = origin;
    entry->X_VORAN_Origin = origin;
    setAddress(entry->DNSServer, server);
    if (entry.apply() != VCFG_OK) {
        logs::print("Set RouteInformation.InterfaceSetting Fail");  // the words that the platform's tools know
    }
}

int vcfgTarnDnsUpdate() {
    const auto dns = get<DnsClient>(noInstance(), "tarn");  // a null one is the framework log's to tell
    if (!dns) {
        logs::print("%s : Get DNS Fail\n", __func__);
        return VCFG_ERR_FAIL;
    }
    if (dns.apply() != VCFG_OK) {
        logs::print("%s : Set DNS Fail\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

void tarnSetDnsServer(const objIndex& ipInterface, std::string_view dns) {
    const std::string ipPath = path::of(path::kIpInterface, ipInterface.idx[0]);
    auto entry = findInstance<DnsClientServer>([&](const DnsClientServer& candidate) {
        return candidate.Interface == ipPath && candidate.Type == "IPCP" && candidate.DNSServer != dns;
    });
    if (!entry) {
        return;
    }
    logs::print("DNS change! New dns = %.*s\n", static_cast<int>(dns.size()), dns.data());
    setAddress(entry->DNSServer, dns);
    if (entry.apply() != VCFG_OK) {
        logs::print("%s : Set DNS Server Fail\n", __func__);
    }
}
