#include "connection/ipv4_address.h"

#include "core/address.h"
#include "core/log.h"
#include "core/os.h"
#include "core/record.h"

namespace {

constexpr int kAttempts = 3;  // few and short: the lease that asks for the address is waiting
constexpr uint32_t kRetryPauseMs = 10;

using Address = Record<IpInterfaceIpv4Address>;

Address firstOrAdded(const objIndex& ipInterface) {
    Address address = firstChild<IpInterfaceIpv4Address>(ipInterface);
    if (address) {
        return address;
    }
    objIndex added = ipInterface;
    if (tarnAddIpv4Addr(added) != VCFG_OK) {
        return {};
    }
    address = get<IpInterfaceIpv4Address>(added);
    if (!address) {
        logs::system(LOG_ERR, "%s : Can't get IPv4Address.i\n", "tarnSetIpv4Addr");
    }
    return address;
}

int applyWithRetries(const Address& address) {
    for (int failures = 1; address.applyAndWait() != VCFG_OK; ++failures) {
        logs::system(LOG_ERR, "%s : Can't set IPv4Address.i\n", "tarnSetIpv4Addr");
        if (failures == kAttempts) {
            return VCFG_ERR_FAIL;
        }
        os::sleepMs(kRetryPauseMs);
        logs::print("%s RDM_OID_IP_IFACE_V4_ADDR set fail, try again %d\n", "tarnSetIpv4Addr", failures);
    }
    return VCFG_OK;
}

}  // namespace

int tarnAddIpv4Addr(objIndex& iid) {
    if (add<IpInterfaceIpv4Address>(iid) != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Add IPv4 Address Fail\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

int tarnSetIpv4Addr(const objIndex& ipInterface, const Ipv4Configuration& wanted) {
    Address address = firstOrAdded(ipInterface);
    if (!address) {
        return VCFG_ERR_FAIL;
    }
    address->Enable = wanted.enable;
    address->Status = wanted.enable ? "Enabled" : "Disabled";
    setAddress(address->IPAddress, wanted.address);
    setAddress(address->SubnetMask, wanted.mask);
    address->AddressingType = wanted.addressingType;
    address->X_VORAN_ConnText = wanted.connText;
    if (wanted.blocking) {
        return applyWithRetries(address);
    }
    if (address.publish() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Can't set IPv4Address.i\n", __func__);
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}
