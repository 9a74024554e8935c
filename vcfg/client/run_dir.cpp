#include "run_dir.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "client_log.h"

namespace vcfg::bus {
namespace {

bool makeDirectories(const std::string& path) {
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        if (mkdir(path.substr(0, slash).c_str(), slash == std::string::npos ? 0700 : 0755) != 0 && errno != EEXIST) {
            return false;
        }
        if (slash == std::string::npos) {
            return true;
        }
    }
}

// Why a directory with that status is not to be trusted; null when it is.
const char* objection(const struct stat& status) {
    if (!S_ISDIR(status.st_mode)) {
        return "is not a directory";
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return "belongs to somebody else";
    }
    if ((status.st_mode & S_IWOTH) != 0) {
        return "is writable for everybody";
    }
    if ((status.st_mode & S_IWGRP) != 0 && (status.st_mode & 07777) != 0770) {
        return "is writable for its group without being of mode 0770";
    }
    return nullptr;
}

}  // namespace

std::string runDirectory() {
    const char* configured = getenv("VCFG_RUN_DIR");
    std::string path = configured != nullptr && *configured != '\0' ? configured : "/run/vcfg";
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

int checkRunDirectory() {
    const std::string path = runDirectory();
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 && (!makeDirectories(path) || stat(path.c_str(), &status) != 0)) {
        const int error = errno;
        CLIENT_LOG(VLOG_ERROR, "run directory %s cannot be made: %s", path.c_str(), strerror(error));
        return error == EACCES || error == EPERM ? VCFG_ERR_RIGHTS : VCFG_ERR_FAIL;
    }
    const char* reason = objection(status);
    if (reason != nullptr) {
        CLIENT_LOG(VLOG_ERROR, "run directory %s %s: refused", path.c_str(), reason);
        return VCFG_ERR_RIGHTS;
    }
    return VCFG_OK;
}

bool mayUseRunDirectory() {
    struct stat status {};
    return stat(runDirectory().c_str(), &status) == 0 && objection(status) == nullptr;
}

bool runDirectoryGroup(gid_t* group) {
    struct stat status {};
    if (stat(runDirectory().c_str(), &status) != 0 || (status.st_mode & 07777) != 0770) {
        return false;
    }
    *group = status.st_gid;
    return true;
}

std::string socketPath(uint8_t eid) {
    return runDirectory() + "/eid-" + std::to_string(eid);
}

bool toAddress(const std::string& path, sockaddr_un* address) {
    *address = {};
    address->sun_family = AF_UNIX;
    if (path.size() >= sizeof address->sun_path) {
        return false;
    }
    memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

}  // namespace vcfg::bus
