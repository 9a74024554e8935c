#include "private_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "verb.h"

namespace vcfgctl {
namespace {

bool writeAll(int file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = write(file, content.data(), content.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return fsync(file) == 0;
}

int refuseFile(const std::string& name, int error) {
    return refuse(name + ": " + strerror(error));
}

}  // namespace

int writePrivateFile(const std::string& name, std::string_view content) {
    struct stat status {};
    if (lstat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return refuse(name + ": is no regular file");
    }
    // Made with mode 0600, whatever is there already.
    std::string made = name + ".XXXXXX";
    const int file = mkstemp(made.data());
    if (file < 0) {
        return refuseFile(name, errno);
    }
    bool good = writeAll(file, content);
    int error = errno;
    good = close(file) == 0 && good;
    if (good && rename(made.c_str(), name.c_str()) != 0) {
        error = errno;
        good = false;
    }
    if (!good) {
        unlink(made.c_str());
        return refuseFile(name, error);
    }
    return kDone;
}

}  // namespace vcfgctl
