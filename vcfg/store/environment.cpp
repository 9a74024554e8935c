#include "environment.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vcfg/codes.h>

#include "identity.h"
#include "snapshot.h"

namespace vcfg::store {
namespace {

constexpr unsigned kMostReaders = 1024;
constexpr size_t kPrivateSize = size_t{64} << 20;
constexpr int kOpenTries = 8;

EnvironmentPtr make() {
    MDB_env* environment = nullptr;
    check(mdb_env_create(&environment));
    return EnvironmentPtr(environment);
}

int fdOf(MDB_env* environment) {
    int fd = -1;
    check(mdb_env_get_fd(environment, &fd));
    return fd;
}

void closeOnExec(MDB_env* environment) {
    fcntl(fdOf(environment), F_SETFD, FD_CLOEXEC);
}

// LMDB learns with it how the keys are compared.
void prepare(MDB_env* environment, unsigned flags) {
    MDB_txn* transaction = nullptr;
    check(mdb_txn_begin(environment, nullptr, flags, &transaction));
    MDB_dbi model = 0;
    const int opened = mdb_dbi_open(transaction, nullptr, 0, &model);
    mdb_txn_abort(transaction);
    check(opened);
}

// Touching what lies behind a file's end would be the process's.
bool isWhole(MDB_env* environment) {
    MDB_envinfo info{};
    struct stat status {};
    check(mdb_env_info(environment, &info));
    return fstat(fdOf(environment), &status) == 0 && static_cast<uint64_t>(status.st_size) >= info.me_mapsize;
}

// What speaks against a file whose content this process is about to trust; null when nothing does.
const char* objection(const std::string& runDir) {
    struct stat directory {};
    struct stat data {};
    if (stat(runDir.c_str(), &directory) != 0 || lstat(dataFile(runDir).c_str(), &data) != 0) {
        return "is not there";
    }
    if (!S_ISREG(data.st_mode)) {
        return "is no file";
    }
    return data.st_uid != 0 && data.st_uid != directory.st_uid ? "belongs to somebody else" : nullptr;
}

int tryOpening(const std::string& runDir, EnvironmentPtr* environment, std::string* why) {
    const char* reason = objection(runDir);
    if (reason != nullptr) {
        *why = reason;
        return VCFG_ERR_RIGHTS;
    }
    if (access(lockFile(runDir).c_str(), W_OK) != 0) {
        *why = "cannot be read: its locks are out of reach";
        return VCFG_ERR_RIGHTS;
    }
    EnvironmentPtr opened = make();
    check(mdb_env_open(opened.get(), dataFile(runDir).c_str(), MDB_NOSUBDIR | MDB_NOTLS | MDB_RDONLY, 0));
    closeOnExec(opened.get());
    if (!isWhole(opened.get())) {
        *why = "is truncated";
        return VCFG_ERR_FAIL;
    }
    prepare(opened.get(), MDB_RDONLY);
    Identity identity{};
    if (!readIdentity(Snapshot(opened.get()).view().note(Note::Identity), &identity) ||
        !identity.isReadable(ownIdentity())) {
        *why = kOtherModelText;
        return VCFG_ERR_FAIL;
    }
    *environment = std::move(opened);
    return VCFG_OK;
}

}  // namespace

Files filesOf(const std::string& runDir) {
    struct stat data {};
    struct stat locks {};
    if (stat(dataFile(runDir).c_str(), &data) != 0 || stat(lockFile(runDir).c_str(), &locks) != 0) {
        return {};
    }
    return {data.st_dev, data.st_ino, locks.st_ino};
}

EnvironmentPtr openPrivate() {
    EnvironmentPtr environment = make();
    check(mdb_env_set_mapsize(environment.get(), kPrivateSize));
    const int memory = memfd_create("model", MFD_CLOEXEC);
    if (memory < 0) {
        throw Failure(errno);
    }
    const std::string file = "/proc/self/fd/" + std::to_string(memory);
    const int result =
        mdb_env_open(environment.get(), file.c_str(), MDB_NOSUBDIR | MDB_NOTLS | MDB_NOSYNC | MDB_NOLOCK, 0600);
    close(memory);
    check(result);
    closeOnExec(environment.get());
    prepare(environment.get(), 0);
    return environment;
}

EnvironmentPtr openForWriting(const std::string& file, size_t size) {
    EnvironmentPtr environment = make();
    check(mdb_env_set_mapsize(environment.get(), size));
    check(mdb_env_set_maxreaders(environment.get(), kMostReaders));
    check(mdb_env_open(environment.get(), file.c_str(), MDB_NOSUBDIR | MDB_NOTLS | MDB_NOSYNC, 0600));
    closeOnExec(environment.get());
    MDB_envinfo info{};
    check(mdb_env_info(environment.get(), &info));
    if (ftruncate(fdOf(environment.get()), static_cast<off_t>(info.me_mapsize)) != 0) {
        throw Failure(errno);
    }
    prepare(environment.get(), 0);
    return environment;
}

bool isPanicked(MDB_env* environment) {
    MDB_txn* transaction = nullptr;
    const int result = mdb_txn_begin(environment, nullptr, MDB_RDONLY, &transaction);
    if (result == MDB_SUCCESS) {
        mdb_txn_abort(transaction);
    }
    return result == MDB_PANIC;
}

EnvironmentPtr openAnew(EnvironmentPtr environment, const std::string& file) {
    MDB_envinfo info{};
    struct stat ours {};
    struct stat there {};
    check(mdb_env_info(environment.get(), &info));
    if (fstat(fdOf(environment.get()), &ours) != 0 || stat(file.c_str(), &there) != 0) {
        throw Failure(errno);
    }
    if (ours.st_dev != there.st_dev || ours.st_ino != there.st_ino) {
        throw Failure(ESTALE);
    }
    environment.reset();
    return openForWriting(file, info.me_mapsize);
}

// The two files are opened one after the other: what belongs together is only known when neither has changed meanwhile.
int openForReading(const std::string& runDir, EnvironmentPtr* environment, Files* files, std::string* why) {
    int code = VCFG_ERR_NO_PEER;
    for (int tries = 0; tries < kOpenTries; ++tries) {
        *files = filesOf(runDir);
        if (!files->exist()) {
            return VCFG_ERR_NO_PEER;
        }
        try {
            code = tryOpening(runDir, environment, why);
        } catch (const Failure& failure) {
            *why = failure.what();
            code = VCFG_ERR_FAIL;
        }
        if (*files == filesOf(runDir)) {
            return code;
        }
        environment->reset();
    }
    return code;
}

}  // namespace vcfg::store
