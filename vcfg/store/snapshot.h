// A read transaction that is used again and again.
#pragma once

#include "view.h"

namespace vcfg::store {

class Snapshot {
  public:
    // Sees the state that was committed last. Throws Failure.
    explicit Snapshot(MDB_env* environment);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    View view() const { return {transaction_, cursor_}; }
    // Whether an object has an owner who refreshes it before it is read.
    bool isRefreshed(uint32_t oid);
    // Holds no state any more, so that the writer may use its pages again.
    void rest() { mdb_txn_reset(transaction_); }
    // Sees what is committed last now; after rest() only.
    void renew();

  private:
    void settle();

    MDB_txn* transaction_ = nullptr;
    MDB_cursor* cursor_ = nullptr;
    size_t state_ = 0;  // in which `refreshed_` was looked up
    std::string_view refreshed_;
};

}  // namespace vcfg::store
