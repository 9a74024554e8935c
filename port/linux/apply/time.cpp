// The clock's servers: the NTP client runs while it is enabled and has at least one.
#include <csignal>
#include <cstdio>

#include "clients.h"
#include "files.h"
#include "hooks.h"
#include "process.h"
#include "words.h"

namespace {

constexpr int kServers = 5;

bool isEnabled(const Change& change) {
    return change.now && change.now->flag("Enable");
}

// Empty without a server.
std::string configuration(const Values& time) {
    std::string servers;
    for (int number = 1; number <= kServers; ++number) {
        const std::string server = time.text(("NTPServer" + std::to_string(number)).c_str());
        if (isHost(server)) {
            servers += "server " + server + " iburst\n";
        } else if (!server.empty()) {
            fprintf(stderr, "NTPServer%d is no name and no address\n", number);
        }
    }
    return servers.empty() ? servers : servers + "cmdport 0\nbindcmdaddress /\n";
}

}  // namespace

bool applyTime(const Change& change) {
    const std::string wanted = isEnabled(change) ? configuration(*change.now) : std::string();
    const std::string file = clientFile("ntp-clock.conf");
    const std::string pidFile = clientFile("ntp-clock.pid");
    if (!wanted.empty() && processOf(pidFile) != 0 && readFile(file) == wanted) {
        return true;  // the write after each synchronisation, too
    }
    endProcess(pidFile, SIGTERM);
    const std::string status = isEnabled(change) ? "Unsynchronized" : "Disabled";
    const bool told = run({"vcfgctl", "set", "--no-apply", "Time.Status=" + status});
    return wanted.empty() ? told : writeFile(file, wanted) && startClient("ntp", "clock") && told;
}
