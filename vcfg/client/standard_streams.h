// For the main() of a program: what it opens later must not be taken for its standard streams.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace vcfg {

// A standard stream that was closed is opened the wrong way round, so that its use fails as it did before.
inline void holdStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest free number is this one: those below are open.
            static_cast<void>(!open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

}  // namespace vcfg
