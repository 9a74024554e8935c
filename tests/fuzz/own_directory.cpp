#include "own_directory.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "target.h"

namespace {

std::string made() {
    struct stat memory {};
    std::string path = stat("/dev/shm", &memory) == 0 && S_ISDIR(memory.st_mode) ? "/dev/shm" : "/tmp";
    path += "/tarn-fuzz-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        finding("no directory in " + path);
    }
    return path;
}

}  // namespace

const std::string& ownDirectory() {
    static const std::string& path = *new std::string(made());
    static const int ends = atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(ownDirectory(), ignored);
    });
    static_cast<void>(ends);
    return path;
}

void meetInOwnDirectory() {
    setenv("VCFG_RUN_DIR", ownDirectory().c_str(), 1);
}
