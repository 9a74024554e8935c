#include <fcntl.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <cstdio>

#include "hooks.h"
#include "model.h"
#include "network.h"

namespace {

constexpr const char* kResolver = "/etc/resolv.conf";
constexpr const char* kNewResolver = "/etc/.resolv.conf.new";

bool writeResolver() {
    FILE* const file = fopen(kNewResolver, "we");
    if (file == nullptr) {
        perror("port-apply: /etc/resolv.conf");
        return false;
    }
    for (const std::string& server : nameServers()) {
        fprintf(file, "nameserver %s\n", server.c_str());
    }
    return fclose(file) == 0 && rename(kNewResolver, kResolver) == 0;
}

}  // namespace

void followLeasedRouter(const std::string& interfacePath) {
    const std::string device = deviceOf(interfacePath);
    if (device.empty()) {
        return;
    }
    const std::string router = leasedRouter(interfacePath);
    const std::string metric = std::to_string(interfaceNumber(interfacePath));
    if (router.empty()) {
        ipQuietly({"route", "del", "default", "dev", device, "metric", metric});
        return;
    }
    // The lease is reported before its address is set, so the kernel cannot know yet that the router is a neighbour.
    if (!ip({"route", "replace", "default", "via", router, "dev", device, "onlink", "metric", metric})) {
        vlog_log_f(VLOG_WARNING, "leases", __LINE__, __func__, "no default route through %s: %s does not take it now",
                   router.c_str(), device.c_str());
    }
}

bool applyDns(const Change&) {
    return writeResolver();
}
