// A file of the run directory that every process of the bus maps: no message is needed for what is in it.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace vcfg::bus {

class SharedFile {
  public:
    // What becomes of something else that is in its place: it stays and is not used, or it makes room once, if this
    // process may do so. A replaced file must belong to root, to this user, or to whom the run directory belongs.
    enum class Bad : uint8_t { Ignored, Replaced };

    // The file begins with a word that says its layout, and has zeros behind it when it is new.
    SharedFile(const char* name, size_t size, uint32_t layout, Bad bad)
        : name_(name), size_(size), layout_(layout), bad_(bad) {}

    // Where the file is in memory, made when it was not there; null when it cannot be had. One that was made anew
    // meanwhile takes the place of the former one: other threads may be reading there.
    void* attach();

  private:
    std::string path() const;
    void make(bool replaces) const;
    int open(struct stat* status) const;
    bool mayTrust(const struct stat& status) const;
    int openOrReplace(struct stat* status);
    void map(int file, const struct stat& status);

    const char* const name_;
    const size_t size_;
    const uint32_t layout_;
    const Bad bad_;
    std::mutex mutex_;  // never waited for
    void* mapped_ = nullptr;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    bool complained_ = false;
};

}  // namespace vcfg::bus
