#include "roster.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "deadline.h"
#include "descriptor.h"
#include "run_dir.h"

namespace vcfg::bus {
namespace {

Roster nobody;

struct Attached {
    std::mutex mutex;  // never waited for
    Roster* mapped = nullptr;
    dev_t device = 0;
    ino_t inode = 0;
};

Attached& attached() {
    static Attached only;
    return only;
}

std::string rosterPath() {
    return runDirectory() + "/roster";
}

// Whole when it appears under its name: whoever finds it may use it.
void makeRoster(const std::string& path) {
    const std::string fresh = path + "." + std::to_string(getpid());
    gid_t group = 0;
    const bool shared = runDirectoryGroup(&group);
    const int file = aboveStandard(open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const uint32_t layout = Roster::kLayout;
    if (file < 0) {
        return;
    }
    // What is not allotted now could not be written later, on a full file system.
    if (posix_fallocate(file, 0, sizeof(Roster)) == 0 && pwrite(file, &layout, sizeof layout, 0) == sizeof layout &&
        (!shared || (fchown(file, uid_t(-1), group) == 0 && fchmod(file, 0660) == 0))) {
        static_cast<void>(!link(fresh.c_str(), path.c_str()));  // another process may have been faster
    }
    unlink(fresh.c_str());
    close(file);
}

int openRoster(const std::string& path, struct stat* file) {
    const int opened = aboveStandard(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    uint32_t layout = 0;
    if (opened >= 0 && fstat(opened, file) == 0 && S_ISREG(file->st_mode) &&
        file->st_size >= static_cast<off_t>(sizeof(Roster)) &&
        pread(opened, &layout, sizeof layout, 0) == sizeof layout && layout == Roster::kLayout) {
        return opened;
    }
    if (opened >= 0) {
        close(opened);
    }
    return -1;
}

// A new file takes the place of the former one in memory: other threads may be reading there.
void map(Attached& own, int file, const struct stat& status) {
    void* const place = own.mapped;
    void* const mapped =
        mmap(place, sizeof(Roster), PROT_READ | PROT_WRITE, MAP_SHARED | (place != nullptr ? MAP_FIXED : 0), file, 0);
    if (mapped != MAP_FAILED) {
        own.mapped = static_cast<Roster*>(mapped);
        own.device = status.st_dev;
        own.inode = status.st_ino;
        roster.store(own.mapped, std::memory_order_relaxed);
    }
}

}  // namespace

constinit std::atomic<Roster*> roster{&nobody};

void attachRoster() {
    Attached& own = attached();
    const std::unique_lock guard(own.mutex, std::try_to_lock);
    const std::string path = rosterPath();
    struct stat status {};
    const int error = errno;
    const bool there = stat(path.c_str(), &status) == 0;
    if (!guard || (there && own.mapped != nullptr && status.st_dev == own.device && status.st_ino == own.inode)) {
        return;
    }
    const bool isSafe = mayUseRunDirectory();
    if (isSafe && !there) {
        makeRoster(path);
    }
    const int file = isSafe ? openRoster(path, &status) : -1;
    if (file >= 0) {
        map(own, file, status);
        close(file);
    }
    errno = error;
}

bool isRosterThere() {
    return roster.load(std::memory_order_relaxed) != &nobody;
}

void signRoster(uint8_t eid, ino_t socket) {
    Roster& all = *roster.load(std::memory_order_relaxed);
    Roster::Entry& entry = all.entries[eid];
    const int64_t now = monotonicUs();
    const std::string program = ownProgram();
    if (!isRosterThere()) {
        return;
    }
    entry.socket.store(0);
    entry.process.store(static_cast<uint32_t>(getpid()));
    entry.sinceS.store(static_cast<uint32_t>(now / 1000000));
    entry.sinceUs.store(static_cast<uint32_t>(now % 1000000));
    for (size_t each = 0; each < entry.program.size(); ++each) {
        entry.program[each].store(each < program.size() ? program[each] : '\0');
    }
    entry.socket.store(static_cast<uint32_t>(socket));
}

// Anybody on the bus may have written it, and may be writing.
Signature signatureOf(uint8_t eid, ino_t socket) {
    Roster::Entry& entry = roster.load(std::memory_order_relaxed)->entries[eid];
    const auto wanted = static_cast<uint32_t>(socket);
    if (wanted == 0 || entry.socket.load() != wanted) {
        return {};
    }
    Signature found{true, static_cast<pid_t>(entry.process.load()),
                    int64_t{entry.sinceS.load()} * 1000000 + entry.sinceUs.load(), ""};
    for (const std::atomic<char>& each : entry.program) {
        const char c = each.load();
        if (c == '\0' || found.program.size() == Roster::kLongestProgram) {
            break;
        }
        found.program.push_back(c > ' ' && c < 0x7f ? c : '?');
    }
    return entry.socket.load() == wanted ? found : Signature{};
}

std::string ownProgram() {
    return std::string(program_invocation_short_name).substr(0, Roster::kLongestProgram);
}

}  // namespace vcfg::bus
