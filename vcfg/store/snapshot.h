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
    // Holds no state any more, so that the writer may use its pages again.
    void rest() { mdb_txn_reset(transaction_); }
    // Sees what is committed last now; after rest() only.
    void renew();

  private:
    void settle();

    MDB_txn* transaction_ = nullptr;
    MDB_cursor* cursor_ = nullptr;
};

}  // namespace vcfg::store
