#include "snapshot.h"

namespace vcfg::store {
namespace {

constexpr int kMostTries = 64;

}  // namespace

Snapshot::Snapshot(MDB_env* environment) {
    check(mdb_txn_begin(environment, nullptr, MDB_RDONLY, &transaction_));
    const int opened = mdb_cursor_open(transaction_, kModel, &cursor_);
    if (opened != MDB_SUCCESS) {
        mdb_txn_abort(transaction_);
        check(opened);
    }
    settle();
}

Snapshot::~Snapshot() {
    mdb_cursor_close(cursor_);
    mdb_txn_abort(transaction_);
}

// In the same state the note is still where it was.
bool Snapshot::isRefreshed(uint32_t oid) {
    const size_t state = mdb_txn_id(transaction_);
    if (state_ != state) {
        refreshed_ = view().note(Note::Refreshed);
        state_ = state;
    }
    return oid < refreshed_.size() && refreshed_[oid] != 0;
}

void Snapshot::renew() {
    check(mdb_txn_renew(transaction_));
    settle();
}

// The roots of a state are overwritten by the next state but one: who was stopped while taking them over may have taken
// a mixture. Nobody has begun to overwrite them as long as no newer state is there. Where a writer died before it could
// announce its state, a newer one stays there, but nobody writes either.
void Snapshot::settle() {
    MDB_envinfo now{};
    for (int tries = 0; tries < kMostTries; ++tries) {
        check(mdb_env_info(mdb_txn_env(transaction_), &now));
        if (now.me_last_txnid == mdb_txn_id(transaction_)) {
            break;
        }
        mdb_txn_reset(transaction_);
        check(mdb_txn_renew(transaction_));
    }
    check(mdb_cursor_renew(transaction_, cursor_));
}

}  // namespace vcfg::store
