// Descriptors of the library are never 0, 1 or 2, whatever the program has closed: what it prints must not become a
// message.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace vcfg {

// The descriptor, or another one for the same when its number is a standard one; -1 stays -1, with errno.
inline int aboveStandard(int descriptor) {
    if (descriptor < 0 || descriptor > STDERR_FILENO) {
        return descriptor;
    }
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    errno = error;
    return moved;
}

}  // namespace vcfg
