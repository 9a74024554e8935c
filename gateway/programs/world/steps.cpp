#include "steps.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

void makeDirectories(const std::string& path) {
    for (size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        mkdir(path.substr(0, end).c_str(), 0755);
    }
    if (mkdir(path.c_str(), 0755) < 0 && errno != EEXIST) {
        fail("cannot create " + path);
    }
}

void mountOn(const char* source, const std::string& target, const char* type, unsigned long flags,
             const char* options) {
    must(mount(source, target.c_str(), type, flags, options), std::string("cannot mount ") + type + " on " + target);
}

void bindOn(const std::string& source, const std::string& target) {
    must(mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr),
         "cannot bind " + source + " to " + target);
}

bool writeText(const std::string& path, const std::string& text) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) {
        return false;
    }
    const bool whole = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return whole;
}
