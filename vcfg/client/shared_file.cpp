#include "shared_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "client_log.h"
#include "descriptor.h"
#include "run_dir.h"

namespace vcfg::bus {

std::string SharedFile::path() const {
    return runDirectory() + "/" + name_;
}

// Whole when it appears under its name: whoever finds it may use it.
void SharedFile::make(bool replaces) const {
    const std::string fresh = path() + "." + std::to_string(getpid());
    gid_t group = 0;
    const bool shared = runDirectoryGroup(&group);
    const int file = aboveStandard(::open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file < 0) {
        return;
    }
    // What is not allotted now could not be written later, on a full file system.
    if (posix_fallocate(file, 0, static_cast<off_t>(size_)) == 0 &&
        pwrite(file, &layout_, sizeof layout_, 0) == sizeof layout_ &&
        (!shared || (fchown(file, uid_t(-1), group) == 0 && fchmod(file, 0660) == 0))) {
        // Another process may have been faster.
        static_cast<void>(replaces ? rename(fresh.c_str(), path().c_str()) == 0 : !link(fresh.c_str(), path().c_str()));
    }
    unlink(fresh.c_str());
    close(file);
}

bool SharedFile::mayTrust(const struct stat& status) const {
    struct stat directory {};
    return bad_ == Bad::Ignored || status.st_uid == 0 || status.st_uid == geteuid() ||
           (stat(runDirectory().c_str(), &directory) == 0 && status.st_uid == directory.st_uid);
}

int SharedFile::open(struct stat* status) const {
    const int opened = aboveStandard(::open(path().c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    uint32_t layout = 0;
    if (opened >= 0 && fstat(opened, status) == 0 && S_ISREG(status->st_mode) && mayTrust(*status) &&
        status->st_size >= static_cast<off_t>(size_) && pread(opened, &layout, sizeof layout, 0) == sizeof layout &&
        layout == layout_) {
        return opened;
    }
    if (opened >= 0) {
        close(opened);
    }
    return -1;
}

// Once: two releases that want different files must not take turns at it.
int SharedFile::openOrReplace(struct stat* status) {
    const int found = open(status);
    if (found >= 0 || bad_ == Bad::Ignored || std::exchange(complained_, true)) {
        return found;
    }
    make(true);
    const int made = open(status);
    CLIENT_LOG(VLOG_WARNING, "%s is no file of this release, or somebody else's; it is %s", path().c_str(),
               made >= 0 ? "made anew" : "not used");
    return made;
}

void SharedFile::map(int file, const struct stat& status) {
    void* const mapped =
        mmap(mapped_, size_, PROT_READ | PROT_WRITE, MAP_SHARED | (mapped_ != nullptr ? MAP_FIXED : 0), file, 0);
    if (mapped != MAP_FAILED) {
        mapped_ = mapped;
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
}

void* SharedFile::attach() {
    const std::unique_lock guard(mutex_, std::try_to_lock);
    struct stat status {};
    if (!guard) {
        return nullptr;
    }
    const int error = errno;
    const bool there = stat(path().c_str(), &status) == 0;
    if (there && mapped_ != nullptr && status.st_dev == device_ && status.st_ino == inode_) {
        return mapped_;
    }
    if (mayUseRunDirectory()) {
        if (!there) {
            make(false);
        }
        const int file = openOrReplace(&status);
        if (file >= 0) {
            map(file, status);
            close(file);
        }
    }
    errno = error;
    return mapped_;
}

}  // namespace vcfg::bus
