#include "file_mark.h"

namespace vcfg::store {

FileMark markOf(const struct stat& file) {
    return {file.st_dev, file.st_ino, static_cast<uint64_t>(file.st_size),
            static_cast<uint64_t>(file.st_mtim.tv_sec) * 1000000000 + static_cast<uint64_t>(file.st_mtim.tv_nsec)};
}

FileMark markOf(const std::string& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? markOf(status) : FileMark{};
}

}  // namespace vcfg::store
