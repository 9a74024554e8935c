// Where the model lies: an LMDB environment, one file that vcmd writes and everyone else reads, and one of locks.
#pragma once

#include <sys/types.h>

#include <string>

#include "lmdb.h"

namespace vcfg::store {

inline constexpr size_t kDefaultSize = size_t{8} << 20;

// What tells an environment from another that has the same name later. All zero when there is none.
struct Files {
    dev_t device = 0;
    ino_t data = 0;
    ino_t locks = 0;

    bool exist() const { return data != 0 && locks != 0; }
    bool operator==(const Files&) const = default;
};

inline std::string dataFile(const std::string& runDir) {
    return runDir + "/model.mdb";
}
inline std::string lockFile(const std::string& runDir) {
    return dataFile(runDir) + "-lock";
}
Files filesOf(const std::string& runDir);

// For one process and its tests: nothing of it is in any directory. Throws Failure.
EnvironmentPtr openPrivate();

// For the writer: makes what is missing. The file has its full length from the start, without taking room, so that a
// truncated one is known. Throws Failure.
EnvironmentPtr openForWriting(const std::string& file, size_t size);

// Whether LMDB takes no change any more, because it could not end one, before the environment has been opened anew.
bool isPanicked(MDB_env* environment);
// The writer's environment, which lies in that file now, anew. It is closed first: a process may have it open only
// once. Throws Failure when it cannot be opened, or another one lies there.
EnvironmentPtr openAnew(EnvironmentPtr environment, const std::string& file);

inline constexpr const char* kOtherModelText = "is of another data model";

// For a reader. A vcfg_code: VCFG_ERR_NO_PEER without a word while there is none; else `why` says what is wrong.
int openForReading(const std::string& runDir, EnvironmentPtr* environment, Files* files, std::string* why);

}  // namespace vcfg::store
