#include <fcntl.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "hooks.h"
#include "model.h"
#include "network.h"

namespace {

constexpr const char* kResolver = "/etc/resolv.conf";
constexpr const char* kOwnResolver = "/run/tarn/resolv.conf";

// A machine whose resolver's file is a link to ours keeps the link: it may be all that we are allowed to write.
std::string resolver() {
    char target[64];
    const ssize_t size = readlink(kResolver, target, sizeof target);
    const bool isOurs = size > 0 && std::string_view(target, static_cast<size_t>(size)) == kOwnResolver;
    return isOurs ? kOwnResolver : kResolver;
}

bool writeResolver() {
    const std::string place = resolver();
    const std::string next = place + ".new";
    FILE* const file = fopen(next.c_str(), "we");
    if (file == nullptr) {
        perror(("port-apply: " + next).c_str());
        return false;
    }
    for (const std::string& server : nameServers()) {
        fprintf(file, "nameserver %s\n", server.c_str());
    }
    return fclose(file) == 0 && rename(next.c_str(), place.c_str()) == 0;
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

bool applyDhcpv4Client(const Change& change) {
    const std::optional<Values>& values = change.now ? change.now : change.before;
    if (values) {
        followLeasedRouter(values->text("Interface"));
    }
    return writeResolver();
}

bool applyDns(const Change&) {
    return writeResolver();
}
