#include "platform/link_monitor.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/log.h"
#include "core/os.h"
#include "core/shell.h"

namespace {

constexpr int kLinkMonitorProtocol = 25;  // the platform kernel's own netlink family

void closeKernelMonitor() {
    if (kernelFd >= 0) {
        close(kernelFd);
    }
    kernelFd = -1;
}

bool bindToOwnProcess() {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_pid = static_cast<uint32_t>(os::ownProcess());
    return ::bind(kernelFd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

int openKernelMonitor() {
    closeKernelMonitor();
    logs::print("[TARN] Initial kernel monitor ...");
    // The commands that the daemon runs have no business with it.
    kernelFd = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, kLinkMonitorProtocol);
    if (kernelFd < 0) {
        logs::print("Could not open netlink socket for kernel monitor");
        return VCFG_ERR_FAIL;
    }
    logs::print("kernelFd=%d\n", kernelFd.load());
    if (!bindToOwnProcess()) {
        logs::print("Could not bind netlink socket for kernel monitor");
        closeKernelMonitor();
        return VCFG_ERR_FAIL;
    }
    shell("echo %d > /proc/kmonitor/user_pid", static_cast<int>(os::ownProcess()));
    return VCFG_OK;
}

void followKernel(kernel::LinkChanged linkChanged) {
    processKernelMonitor(linkChanged);
}
