#include "mgmt/static_lease.h"

#include <strings.h>

#include "core/address.h"
#include "core/log.h"
#include "core/path.h"
#include "core/record.h"
#include "mgmt/absent.h"

namespace {

constexpr const char* kSet = "tarnDhcpdStaticAddrSet";

using Pool = Record<Dhcpv4ServerPool>;
using StaticAddress = Record<Dhcpv4ServerPoolStaticAddress>;

Pool poolOf(std::string_view ifname) {
    const auto interface =
        findInstance<IpInterface>([&](const IpInterface& candidate) { return candidate.X_VORAN_IfName == ifname; });
    if (!interface) {
        return {};
    }
    const std::string ipPath = path::of(path::kIpInterface, interface.instance());
    return findInstance<Dhcpv4ServerPool>(
        [&](const Dhcpv4ServerPool& candidate) { return candidate.Interface == ipPath; });
}

bool sameMac(std::string_view left, std::string_view right) {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

StaticAddress findAddress(const Pool& pool, std::string_view mac) {
    return findChild<Dhcpv4ServerPoolStaticAddress>(
        pool.iid(), [&](const Dhcpv4ServerPoolStaticAddress& entry) { return sameMac(entry.Chaddr, mac); });
}

int addAddress(const Pool& pool, StaticAddress& entry) {
    logs::print("add RDM_OID_DHCPV4_SRV_POOL_STATIC_ADDR");
    objIndex added = pool.iid();
    if (const int code = add<Dhcpv4ServerPoolStaticAddress>(added); code != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Add StaticAddress fail, ret = %d\n", kSet, code);
        return code;
    }
    entry = get<Dhcpv4ServerPoolStaticAddress>(added);
    if (!entry) {
        logs::system(LOG_ERR, "%s : Get StaticAddress fail, ret = %d\n", kSet, entry.code());
        remove<Dhcpv4ServerPoolStaticAddress>(added);
    }
    return entry ? VCFG_OK : entry.code();
}

int writeAddress(StaticAddress& entry, std::string_view mac, std::string_view ip) {
    entry->Enable = true;
    setAddress(entry->Chaddr, mac);
    setAddress(entry->Yiaddr, ip);
    const int code = entry.apply();
    if (code != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set StaticAddress fail, ret = %d\n", kSet, code);
    }
    return code;
}

}  // namespace

bool tarnDhcpdVendorMatch(std::string_view vendor) {
    if (isAbsent(vendor)) {
        return false;
    }
    const auto classes = get<Dhcpv4ServerVendorClass>();
    return classes && (classes->VendorClassID1 == vendor || classes->VendorClassID2 == vendor ||
                       classes->VendorClassID3 == vendor || classes->VendorClassID4 == vendor ||
                       classes->VendorClassID5 == vendor);
}

bool tarnDhcpdPoolAutoStatic(std::string_view ifname) {
    const Pool pool = poolOf(ifname);
    return pool && pool->X_VORAN_AlwaysStatic;
}

int tarnDhcpdStaticAddrSet(std::string_view ifname, std::string_view mac, std::string_view ip) {
    const Pool pool = poolOf(ifname);
    if (!pool) {
        return VCFG_ERR_FAIL;
    }
    StaticAddress entry = findAddress(pool, mac);
    const bool isNew = !entry;
    if (isNew) {
        if (const int code = addAddress(pool, entry); code != VCFG_OK) {
            return code;
        }
    }
    const int code = writeAddress(entry, mac, ip);
    if (code != VCFG_OK && isNew) {
        entry.remove();
    }
    return code;
}
