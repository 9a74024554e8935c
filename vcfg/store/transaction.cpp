#include "transaction.h"

#include <utility>

#include "clock.h"

namespace vcfg::store {

Transaction::Transaction(MDB_env* environment, std::string_view by, uint32_t event) {
    check(mdb_txn_begin(environment, nullptr, 0, &transaction_));
    const int opened = mdb_cursor_open(transaction_, kModel, &cursor_);
    if (opened != MDB_SUCCESS) {
        mdb_txn_abort(transaction_);
        check(opened);
    }
    origin_.change = mdb_txn_id(transaction_);
    origin_.monotonicUs = static_cast<uint64_t>(monotonicUs());
    by.copy(origin_.by, sizeof origin_.by - 1);
    origin_.event = event;
}

bool Transaction::hasRoom() const {
    MDB_stat used{};
    MDB_envinfo info{};
    check(mdb_stat(transaction_, kModel, &used));
    check(mdb_env_info(mdb_txn_env(transaction_), &info));
    return (used.ms_branch_pages + used.ms_leaf_pages + used.ms_overflow_pages) * used.ms_psize <
           info.me_mapsize / 4 * 3;
}

MDB_val Transaction::reserve(StoredKey key, size_t size) {
    MDB_val where{key.size(), key.data()};
    MDB_val room{size, nullptr};
    check(mdb_put(transaction_, kModel, &where, &room, MDB_RESERVE));
    changed_ = true;
    return room;
}

void Transaction::put(const model::Object& object, Key key, const std::byte* record) {
    const MDB_val room = reserve(storedKey(object.oid, key), valueSize(object.size));
    auto* value = static_cast<std::byte*>(room.mv_data);
    std::memcpy(value, &origin_, sizeof origin_);
    std::memcpy(value + sizeof origin_, record, object.size);
    std::fill(value + sizeof origin_ + object.size, value + room.mv_size, std::byte{0});
}

void Transaction::putNote(Note note, std::string_view content) {
    const MDB_val room = reserve(storedKey(RDM_OID_NONE, static_cast<Key>(note)), content.size());
    content.copy(static_cast<char*>(room.mv_data), content.size());
}

void Transaction::erase(const model::Object& object, Key first, Key last) {
    const StoredKey end = storedKey(object.oid, last);
    for (;;) {
        StoredKey start = storedKey(object.oid, first);
        MDB_val found{start.size(), start.data()};
        MDB_val value{};
        const int result = mdb_cursor_get(cursor_, &found, &value, MDB_SET_RANGE);
        if (result == MDB_NOTFOUND) {
            return;
        }
        check(result);
        if (std::memcmp(found.mv_data, end.data(), end.size()) > 0) {
            return;
        }
        check(mdb_cursor_del(cursor_, 0));
        changed_ = true;
    }
}

void Transaction::commit() {
    check(mdb_txn_commit(std::exchange(transaction_, nullptr)));
}

}  // namespace vcfg::store
