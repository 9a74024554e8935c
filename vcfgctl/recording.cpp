#include "recording.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "verb.h"

namespace vcfgctl {

int RecordingFile::open(const std::string& name) {
    if (name == "-") {
        return kDone;
    }
    const int made = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    struct stat status {};
    const bool isFile = made >= 0 && fstat(made, &status) == 0 && S_ISREG(status.st_mode);
    if (isFile && fchmod(made, 0600) == 0) {
        own_.reset(fdopen(made, "w"));
        file_ = own_.get();
    }
    if (own_ != nullptr) {
        return kDone;
    }
    const std::string why = made < 0 || isFile ? strerror(errno) : "is no regular file";
    if (made >= 0) {
        close(made);
    }
    return refuse(name + ": " + why);
}

// A recording is whole up to the moment at which its writer ends, however it ends.
void RecordingFile::put(json_object* line) {
    fputs(json_object_to_json_string_ext(line, JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE), file_);
    fputc('\n', file_);
    fflush(file_);
    json_object_put(line);
}

bool RecordingFile::takes() const {
    return ferror(file_) == 0;
}

}  // namespace vcfgctl
