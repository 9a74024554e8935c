#include "mgmt/dhcp_server.h"

#include <vcfg/codes.h>

#include "core/log.h"
#include "mgmt/absent.h"
#include "mgmt/client_group.h"
#include "mgmt/manageable_device.h"
#include "mgmt/static_lease.h"

namespace {

constexpr const char* kHandler = "tarnProcessDhcpdOption";

int refuse(const char* action, const char* why) {
    logs::system(LOG_ERR, "%s : DHCP %s %s, refused\n", kHandler, action, why);
    return VCFG_ERR_FAIL;
}

// The group that a tag such as "grp_br1" names: "br1".
std::string groupOf(const std::string& tag) {
    const size_t separator = tag.find('_');
    return separator == std::string::npos ? std::string() : tag.substr(separator + 1);
}

int clientMatched(const Json& event) {
    logs::print("%s: DHCP crit\n", kHandler);
    const std::string ifname = tarnJsonGetString(event, "ifname");
    const std::string phyif = tarnJsonGetString(event, "phyif");
    const std::string group = groupOf(tarnJsonGetString(event, "tag"));
    if (isAbsent(ifname) || isAbsent(phyif) || isAbsent(group)) {
        return refuse("crit", "without ifname, phyif or a tag that names a group");
    }
    if (ifname == group) {
        return refuse("crit", "to the bridge that the client is on");
    }
    return moveToGroup(ifname, phyif, group, kHandler);
}

void updateDevice(const Json& event, int mode) {
    mgabDevUpdate(tarnJsonGetString(event, "moui"), tarnJsonGetString(event, "serial"),
                  tarnJsonGetString(event, "pclass"), tarnJsonGetString(event, "mac"), mode);
}

int leaseGranted(const Json& event) {
    logs::print("%s: DHCP add\n", kHandler);
    const std::string ifname = tarnJsonGetString(event, "ifname");
    const std::string mac = tarnJsonGetString(event, "mac");
    const std::string ip = tarnJsonGetString(event, "ip");
    if (isAbsent(ifname) || isAbsent(mac) || isAbsent(ip)) {
        return refuse("add", "without ifname, mac or ip");
    }
    updateDevice(event, kDeviceSeen);
    const bool isIpv6 = ip.find(':') != std::string::npos;
    if (!isIpv6 && (tarnDhcpdVendorMatch(tarnJsonGetString(event, "vendor")) || tarnDhcpdPoolAutoStatic(ifname))) {
        tarnDhcpdStaticAddrSet(ifname, mac, ip);
    }
    return VCFG_OK;
}

}  // namespace

std::string tarnJsonGetString(const Json& object, const char* key) {
    return object.textOr(key, "");
}

int tarnProcessDhcpdOption(const char* payload) {
    const char* error = nullptr;
    const Json event = Json::parse(payload, error);
    if (error != nullptr) {
        logs::print("%s: error parsing json: %s\n", kHandler, error);
        return VCFG_ERR_FAIL;
    }
    const std::string action = tarnJsonGetString(event, "ac");
    if (action == "crit") {
        return clientMatched(event);
    }
    if (action == "add") {
        return leaseGranted(event);
    }
    if (action == "del") {
        logs::print("%s: DHCP expire, delete node data\n", kHandler);
        updateDevice(event, kDeviceGone);
    } else if (action == "up") {
        logs::print("%s: DHCP lease, sync node data\n", kHandler);
    }
    return VCFG_OK;
}
