// The LAN's DHCP server follows the data model: its configuration is made anew, and it is started, told or ended.
#include "dhcp_server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <csignal>

#include "clients.h"
#include "files.h"
#include "hooks.h"
#include "process.h"
#include "stored.h"

namespace {

// Hooks of several objects may run at once.
class Turn {
  public:
    Turn() : file_(open(clientFile("dhcp-server.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
        flock(file_, LOCK_EX);
    }
    ~Turn() { close(file_); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    int file_;
};

bool isWanted() {
    const auto server = stored<Dhcpv4Server>(objIndex{});
    return server && server->Enable != 0;
}

std::string pidFile() {
    return clientFile("dhcp-server-lan.pid");
}

}  // namespace

bool applyDhcpServer(const Change&) {
    const Turn turn;
    const std::string wanted = isWanted() ? dhcpServerConfiguration() : std::string();
    if (wanted.empty()) {
        endProcess(pidFile(), SIGTERM);
        return true;
    }
    const std::string file = clientFile("dhcp-server.conf");
    const bool told = writeFile(clientFile("dhcp-server.hosts"), dhcpServerHosts()) &&
                      writeFile(clientFile("dhcp-server.options"), dhcpServerOptions());
    if (processOf(pidFile()) != 0 && readFile(file) == wanted) {
        signalProcess(pidFile(), SIGHUP);  // reads hosts and options again
        return told;
    }
    endProcess(pidFile(), SIGTERM);
    return told && writeFile(file, wanted) && startClient("dhcp-server", "lan");
}
