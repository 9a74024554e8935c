#include "effect.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

void noteEffect(const std::string& line) {
    const char* file = std::getenv("GW_EFFECT_FILE");
    if (file == nullptr || *file == '\0') {
        return;
    }
    const int fd = open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        return;
    }
    const std::string text = line + "\n";
    // The journal's loss is no reason for a platform command to fail.
    [[maybe_unused]] const ssize_t written = write(fd, text.data(), text.size());
    close(fd);
}
