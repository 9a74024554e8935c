#include "peer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "client_log.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

std::vector<gid_t> furtherGroups(int socket) {
    std::vector<gid_t> groups(64);
    socklen_t size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) != 0) {
        groups.resize(size / sizeof(gid_t));  // what it would take, when that is more
        if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) != 0) {
            return {};
        }
    }
    groups.resize(size / sizeof(gid_t));
    return groups;
}

bool isMember(int socket, gid_t first, gid_t wanted) {
    const std::vector<gid_t> groups = furtherGroups(socket);
    return first == wanted || std::find(groups.begin(), groups.end(), wanted) != groups.end();
}

}  // namespace

bool peerMayTalk(int socket, const char* what, unsigned number) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    gid_t group = 0;
    if (peer.uid == 0 || peer.uid == geteuid() || (runDirectoryGroup(&group) && isMember(socket, peer.gid, group))) {
        return true;
    }
    CLIENT_LOG(VLOG_ERROR, "%s %u refuses process %d of user %u", what, number, peer.pid, peer.uid);
    return false;
}

}  // namespace vcfg::bus
