#include "platform/ethernet_wan.h"

#include <string>

#include "core/log.h"
#include "core/record.h"
#include "core/shell.h"

namespace {

constexpr int32_t kWhole = 0;
constexpr int32_t kSfp = 2;

bool belongsTo(const EthernetInterface& port, int32_t which) {
    const bool wanPort = port.Upstream || port.X_VORAN_WANPort;
    return wanPort && !port.Name.empty() && (which == kWhole || port.X_VORAN_SFP == (which == kSfp));
}

int32_t switchPort(std::string_view name, bool enable) {
    const std::string command =
        shell_detail::command(enable ? "ip link set dev %s up" : "ip link set dev %s down", name);
    logs::print("%s: sysCmd = %s\n", "tarnEthWanStatusChange", command.c_str());
    return run(command);
}

}  // namespace

int32_t tarnEthWanStatusChange(bool enable, int32_t port) {
    int32_t result = 0;
    for (const auto& candidate : instances<EthernetInterface>()) {
        if (belongsTo(*candidate, port)) {
            const int32_t ended = switchPort(candidate->Name.view(), enable);
            result = ended != 0 ? ended : result;
        }
    }
    return result;
}

// A port that is on stays on: what its lease and its routes are worth must not hang on the daemon's restart.
void activateEthWanPort(const char* name) {
    shell("ip link set dev %s up", name);
}
