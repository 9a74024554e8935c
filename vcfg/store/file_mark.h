// Which content of the model's file an environment goes with.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

namespace vcfg::store {

struct FileMark {
    uint64_t device = 0;
    uint64_t inode = 0;
    uint64_t size = 0;
    uint64_t changedNs = 0;

    bool operator==(const FileMark&) const = default;
};
FileMark markOf(const struct stat& file);
// All zero when there is none.
FileMark markOf(const std::string& file);

// The mark before goes with the environment, too: a process may end after it has noted the next one, and before that
// has become the model's file.
struct FileNote {
    FileMark before;
    FileMark now;
};

}  // namespace vcfg::store
