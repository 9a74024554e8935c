#include "persist.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vcfg::store {
namespace {

constexpr off_t kLargestFile = 64 << 20;

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

bool readAll(int fd, std::string* content) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
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

bool writeFile(const std::string& name, std::string_view content) {
    File file(name, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW);
    return file.fd() >= 0 && writeAll(file.fd(), content) && fdatasync(file.fd()) == 0 && file.close();
}

// Makes a rename in the file's directory last.
bool syncDirectory(const std::string& file) {
    const size_t slash = file.rfind('/');
    const File directory(slash == file.npos ? "." : file.substr(0, slash + 1), O_RDONLY | O_DIRECTORY);
    return directory.fd() >= 0 && fsync(directory.fd()) == 0;
}

}  // namespace

int load(const std::string& file, Store* store, std::vector<std::string>* skipped, std::string* why) {
    return guarded([&] {
        const File source(file, O_RDONLY);
        if (source.fd() < 0) {
            const bool missing = errno == ENOENT;
            const int code = failed(why, file);
            return missing ? static_cast<int>(VCFG_ERR_NOT_FOUND) : code;
        }
        std::string content;
        if (!readAll(source.fd(), &content)) {
            return failed(why, file);
        }
        const JsonPtr json = parseObject(content, why);
        const int code = json ? store->fromJson(json.get(), Unknown::Skip, skipped, why) : VCFG_ERR_INVALID;
        if (code != VCFG_OK && why != nullptr) {
            *why = file + ": " + *why;
        }
        return code;
    });
}

int save(const std::string& file, const Store& store, std::string* why) {
    return guarded([&] {
        const JsonPtr json = store.toJson();
        const char* text =
            json_object_to_json_string_ext(json.get(), JSON_C_TO_STRING_PRETTY | JSON_C_TO_STRING_NOSLASHESCAPE);
        if (text == nullptr) {
            throw std::bad_alloc();
        }
        const std::string temporary = file + ".new";
        if (!writeFile(temporary, text) || rename(temporary.c_str(), file.c_str()) != 0) {
            const int code = failed(why, temporary);
            unlink(temporary.c_str());
            return code;
        }
        return syncDirectory(file) ? static_cast<int>(VCFG_OK) : failed(why, file);
    });
}

}  // namespace vcfg::store
