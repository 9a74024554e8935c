#include "persist.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace vcfg::store {
namespace {

// No model that a device can hold comes near; and no file that load() refuses is ever written.
constexpr size_t kLargestFile = 32 << 20;

class File {
  public:
    File(const std::string& name, int flags) : fd_(open(name.c_str(), flags | O_CLOEXEC, 0600)) {}
    ~File() { close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int fd() const { return fd_; }
    bool close() {
        const bool closed = fd_ < 0 || ::close(fd_) == 0;
        fd_ = -1;
        return closed;
    }

  private:
    int fd_;
};

int failed(std::string* why, const std::string& what) {
    const int error = errno;
    if (why != nullptr) {
        *why = what + ": " + strerror(error);
    }
    return VCFG_ERR_FAIL;
}

int codeOfRead(int error) {
    switch (error) {
        case ENOENT:
            return VCFG_ERR_NOT_FOUND;
        case ENOMEM:
        case EMFILE:
        case ENFILE:
            return VCFG_ERR_FAIL;
        default:
            return VCFG_ERR_INVALID;
    }
}

bool readAll(int fd, std::string* content) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode) || static_cast<uint64_t>(status.st_size) > kLargestFile) {
        errno = S_ISREG(status.st_mode) ? EFBIG : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    content->resize(static_cast<size_t>(status.st_size));
    size_t done = 0;
    while (done < content->size()) {
        const ssize_t got = read(fd, content->data() + done, content->size() - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return false;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    content->resize(done);
    return true;
}

bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t put = write(fd, content.data(), content.size());
        if (put < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(put > 0 ? static_cast<size_t>(put) : 0);
    }
    return true;
}

// Whatever has that name, with all below it.
void clearAway(const std::string& name) {
    if (unlink(name.c_str()) != 0 && errno != ENOENT) {
        nftw(
            name.c_str(), [](const char* path, const struct stat*, int, FTW*) { return remove(path); }, 16,
            FTW_DEPTH | FTW_PHYS | FTW_MOUNT);
    }
}

bool writeFile(const std::string& name, std::string_view content, struct stat* written) {
    clearAway(name);
    File file(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
    return file.fd() >= 0 && writeAll(file.fd(), content) && fdatasync(file.fd()) == 0 &&
           fstat(file.fd(), written) == 0 && file.close();
}

bool holds(const std::string& file, std::string_view text) {
    const File source(file, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
    std::string content;
    return source.fd() >= 0 && readAll(source.fd(), &content) && content == text;
}

bool replaceFile(const std::string& file, const std::string& temporary, std::string_view text, const Ready& ready) {
    struct stat fresh {};
    if (!writeFile(temporary, text, &fresh)) {
        return false;
    }
    if (ready) {
        ready(fresh);
    }
    return rename(temporary.c_str(), file.c_str()) == 0;
}

// Makes a rename in the file's directory last.
bool syncDirectory(const std::string& file) {
    const size_t slash = file.rfind('/');
    const File directory(slash == file.npos ? "." : file.substr(0, slash + 1), O_RDONLY | O_DIRECTORY);
    return directory.fd() >= 0 && fsync(directory.fd()) == 0;
}

}  // namespace

int load(const std::string& file, What what, Store* store, Skipped* skipped, std::string* why) {
    return guarded([&] {
        const File source(file, O_RDONLY | O_NONBLOCK);  // a FIFO would have nobody to write into it
        std::string content;
        if (source.fd() < 0 || !readAll(source.fd(), &content)) {
            const int code = codeOfRead(errno);
            failed(why, file);
            return code;
        }
        const int code = store->fromText(content, what, Unknown::Skip, skipped, why);
        if (code != VCFG_OK && why != nullptr) {
            *why = file + ": " + *why;
        }
        return code;
    });
}

bool setAside(const std::string& file) {
    const std::string aside = file + ".bad";
    clearAway(aside);
    return rename(file.c_str(), aside.c_str()) == 0;
}

int save(const std::string& file, std::string_view text, const Ready& ready, std::string* why) {
    return guarded([&] {
        const std::string temporary = file + ".new";
        if (text.size() > kLargestFile) {
            errno = EFBIG;
            return failed(why, file);
        }
        if (!holds(file, text) && !replaceFile(file, temporary, text, ready)) {
            const int code = failed(why, temporary);
            unlink(temporary.c_str());
            return code;
        }
        return syncDirectory(file) ? static_cast<int>(VCFG_OK) : failed(why, file);
    });
}

}  // namespace vcfg::store
