#include "holder.h"

#include <limits.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "descriptor.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

// "/usr/sbin/vcmd (deleted)", when it was replaced meanwhile, is vcmd too.
std::string programAt(const std::string& link) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = readlink(link.c_str(), target.data(), target.size());
    std::string name(target.data(), size > 0 ? static_cast<size_t>(size) : 0);
    name.erase(0, name.rfind('/') + 1);
    const size_t deleted = name.rfind(" (deleted)");
    return name.substr(0, deleted);
}

}  // namespace

std::string Holder::text() const {
    return process > 0 ? "process " + std::to_string(process) + " (" + program + ")"
                       : "a process that is not seen here";
}

// The kernel says who listens; a process that is gone refuses.
Holder holderOf(uint8_t eid) {
    Holder holder;
    sockaddr_un address;
    ucred peer{};
    socklen_t size = sizeof peer;
    const int probe = aboveStandard(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (probe >= 0 && toAddress(socketPath(eid), &address) &&
        connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        getsockopt(probe, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
        const std::string program = programAt("/proc/" + std::to_string(peer.pid) + "/exe");
        holder = {true, peer.pid, program.empty() ? "?" : program};
    }
    if (probe >= 0) {
        close(probe);
    }
    return holder;
}

std::string ownProgram() {
    return programAt("/proc/self/exe");
}

}  // namespace vcfg::bus
