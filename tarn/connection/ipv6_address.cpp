#include "connection/ipv6_address.h"

#include "core/address.h"
#include "core/log.h"
#include "core/record.h"

namespace {

constexpr std::string_view kFromClient = "DHCPv6";
constexpr std::string_view kDelegated = "PrefixDelegation";

// The interface's first instance of that origin, or a new one; `addTo` adds it, `what` names it in the log.
template <class T>
Record<T> ofOriginOrAdded(const objIndex& ipInterface, std::string_view origin, int (*addTo)(objIndex&),
                          const char* function, const char* what) {
    auto found = findChild<T>(ipInterface, [&](const T& candidate) { return candidate.Origin == origin; });
    if (found) {
        return found;
    }
    objIndex added = ipInterface;
    if (addTo(added) != VCFG_OK) {
        return {};
    }
    auto record = get<T>(added);
    if (!record) {
        logs::system(LOG_ERR, "%s : Can't get %s.i\n", function, what);
    }
    return record;
}

template <class T>
int write(const Record<T>& record, const char* function, const char* what) {
    if (record.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Can't set %s.i\n", function, what);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

}  // namespace

int tarnSetIpv6Addr(const objIndex& ipInterface, std::string_view address, std::string_view origin,
                    std::optional<std::string_view> prefixRef, bool enable) {
    if (origin != kFromClient) {
        return VCFG_OK;
    }
    auto record =
        ofOriginOrAdded<IpInterfaceIpv6Address>(ipInterface, origin, tarnAddIpv6Addr, __func__, "IPv6Address");
    if (!record) {
        return VCFG_ERR_FAIL;
    }
    record->Enable = enable;
    record->Status = enable ? "Enabled" : "Disabled";
    record->Origin = origin;
    setAddress(record->IPAddress, address);
    if (prefixRef) {
        record->Prefix = *prefixRef;
    }
    return write(record, __func__, "IPv6Address");
}

int tarnSetIpv6Prefix(const objIndex& ipInterface, std::string_view prefix, std::string_view origin, bool enable) {
    if (origin != kDelegated) {
        return VCFG_OK;
    }
    auto record =
        ofOriginOrAdded<IpInterfaceIpv6Prefix>(ipInterface, origin, tarnAddIpv6Prefix, __func__, "IPv6Prefix");
    if (!record) {
        return VCFG_ERR_FAIL;
    }
    record->Enable = enable;
    record->Status = enable ? "Enabled" : "Disabled";
    record->Origin = origin;
    setAddress(record->Prefix, prefix);
    return write(record, __func__, "IPv6Prefix");
}

int tarnAddIpv6Addr(objIndex& iid) {
    if (add<IpInterfaceIpv6Address>(iid) != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Add IPv6 Address Fail\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

int tarnAddIpv6Prefix(objIndex& iid) {
    if (add<IpInterfaceIpv6Prefix>(iid) != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Add IPv6 Prefix Fail\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}
