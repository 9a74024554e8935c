#include "takeover.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/codes.h>

#include <cstring>

#include "identity.h"
#include "snapshot.h"
#include "soundness.h"

namespace vcfg::store {
namespace {

constexpr unsigned kPatienceS = 10;

// The child's exit status, and what it means.
enum Status : int { kSame = 0, kOtherBoot, kOtherFile, kOtherModel, kDamaged };

const char* reasonOf(int status) {
    switch (status) {
        case kOtherBoot:
            return "it is of another run of the system";
        case kOtherFile:
            return "it does not go with the model's file";
        case kOtherModel:
            return "it is of another data model";
        default:
            return "it is damaged";
    }
}

bool goesWith(std::string_view content, const FileMark& file) {
    FileNote note{};
    if (content.size() != sizeof note) {
        return false;
    }
    std::memcpy(&note, content.data(), sizeof note);
    return note.now == file || note.before == file;
}

int look(const std::string& runDir, const FileMark& file) {
    EnvironmentPtr environment;
    Files files;
    std::string why;
    if (openForReading(runDir, &environment, &files, &why) != VCFG_OK) {
        return why == kOtherModelText ? kOtherModel : kDamaged;
    }
    const Snapshot snapshot(environment.get());
    Identity identity{};
    if (!isSound(environment.get()) || !readIdentity(snapshot.view().note(Note::Identity), &identity)) {
        return kDamaged;
    }
    return std::strcmp(identity.boot, ownIdentity().boot) != 0 ? kOtherBoot
           : !goesWith(snapshot.view().note(Note::File), file) ? kOtherFile
                                                               : kSame;
}

[[noreturn]] void lookAndEnd(const std::string& runDir, const FileMark& file) {
    const rlimit none{};
    setrlimit(RLIMIT_CORE, &none);
    alarm(kPatienceS);
    int status = kDamaged;
    try {
        status = look(runDir, file);
    } catch (const std::exception&) {
    }
    _exit(status);
}

// What speaks against even opening it; null when nothing does.
const char* objection(const std::string& runDir, size_t size) {
    struct stat data {};
    struct stat locks {};
    if (lstat(dataFile(runDir).c_str(), &data) != 0 || lstat(lockFile(runDir).c_str(), &locks) != 0) {
        return "it is not complete";
    }
    if (!S_ISREG(data.st_mode) || !S_ISREG(locks.st_mode)) {
        return "it is no file";
    }
    if (data.st_uid != geteuid() || locks.st_uid != geteuid()) {
        return "it belongs to somebody else";
    }
    return static_cast<uint64_t>(data.st_size) > size ? "it is larger than the limit" : nullptr;
}

}  // namespace

Finding inspect(const std::string& runDir, const FileMark& file, size_t size) {
    struct stat status {};
    if (lstat(dataFile(runDir).c_str(), &status) != 0 && lstat(lockFile(runDir).c_str(), &status) != 0) {
        return {Condition::Missing, {}};
    }
    const char* reason = objection(runDir, size);
    if (reason != nullptr) {
        return {Condition::Unusable, reason};
    }
    const pid_t child = fork();
    if (child == 0) {
        lookAndEnd(runDir, file);
    }
    int ended = 0;
    const bool exited = child > 0 && waitpid(child, &ended, 0) == child && WIFEXITED(ended);
    const int found = exited ? WEXITSTATUS(ended) : kDamaged;
    if (found == kSame) {
        return {Condition::Same, {}};
    }
    return {found == kOtherBoot || found == kOtherFile ? Condition::Stale : Condition::Unusable, reasonOf(found)};
}

EnvironmentPtr openUnpublished(const std::string& runDir, size_t size) {
    const std::string file = dataFile(runDir) + ".new";
    unlink(file.c_str());
    unlink((file + "-lock").c_str());
    return openForWriting(file, size);
}

// Who opens both files between these steps finds one missing, or that they have changed, and tries again.
bool publish(const std::string& runDir, gid_t group) {
    const std::string file = dataFile(runDir) + ".new";
    const std::string locks = file + "-lock";
    if (group != static_cast<gid_t>(-1) &&
        (chown(file.c_str(), static_cast<uid_t>(-1), group) != 0 || chmod(file.c_str(), 0640) != 0 ||
         chown(locks.c_str(), static_cast<uid_t>(-1), group) != 0 || chmod(locks.c_str(), 0660) != 0)) {
        return false;
    }
    unlink(dataFile(runDir).c_str());
    return rename(locks.c_str(), lockFile(runDir).c_str()) == 0 && rename(file.c_str(), dataFile(runDir).c_str()) == 0;
}

}  // namespace vcfg::store
