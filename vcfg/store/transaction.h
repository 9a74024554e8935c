// One change of the model: others see all of it, once it is committed, or nothing.
#pragma once

#include <string_view>

#include "view.h"

namespace vcfg::store {

class Transaction {
  public:
    // `by` is noted as the writer of what is put, and its event. Throws Failure, like all here.
    Transaction(MDB_env* environment, std::string_view by, uint32_t event = 0);
    ~Transaction() { mdb_txn_abort(transaction_); }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    View view() const { return {transaction_, cursor_}; }
    bool hasChanged() const { return changed_; }
    // Whether there is room for more instances. A part of the environment is kept for changes of those that are there,
    // and for their end: each change needs fresh pages.
    bool hasRoom() const;

    void put(const model::Object& object, Key key, const std::byte* record);
    void putNote(Note note, std::string_view content);
    // The instances of an object from one key to another.
    void erase(const model::Object& object, Key first, Key last);
    void commit();

  private:
    MDB_val reserve(StoredKey key, size_t size);

    MDB_txn* transaction_ = nullptr;
    MDB_cursor* cursor_ = nullptr;  // ends with the transaction
    Origin origin_{};
    bool changed_ = false;
};

}  // namespace vcfg::store
