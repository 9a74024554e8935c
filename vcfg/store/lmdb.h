// What the model's transactions share: LMDB's results as exceptions, its handles as owners.
#pragma once

#include <lmdb.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>

namespace vcfg::store {

class Failure : public std::exception {
  public:
    explicit Failure(int error) : error_(error) {}
    const char* what() const noexcept override { return mdb_strerror(error_); }
    // Whether there was no room, in the map or below it.
    bool isFull() const { return error_ == MDB_MAP_FULL || error_ == MDB_TXN_FULL || error_ == ENOSPC; }

  private:
    int error_;
};

// After a change that could not be ended the environment could not be opened anew: the store is gone.
class Lost : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void check(int result) {
    if (result == ENOMEM) {
        throw std::bad_alloc();
    }
    if (result != MDB_SUCCESS) {
        throw Failure(result);
    }
}

struct CloseEnvironment {
    void operator()(MDB_env* environment) const { mdb_env_close(environment); }
};
using EnvironmentPtr = std::unique_ptr<MDB_env, CloseEnvironment>;

// The only database of an environment: the one without a name.
inline constexpr MDB_dbi kModel = 1;

}  // namespace vcfg::store
