// The model as a transaction sees it: one committed state, or what a writer has made of it so far.
#pragma once

#include <string_view>

#include "lmdb.h"
#include "model/describe.h"
#include "record.h"

namespace vcfg::store {

struct Place {
    Key key = 0;
    const std::byte* value = nullptr;  // null when there is none; valid until the transaction changes something or ends
};

// What a step through the model comes to. The code is a vcfg_code.
struct Found {
    int code;
    const model::Object* object;  // null when the model has no such object
    Key key;
    const std::byte* value;  // null unless the code is VCFG_OK
};

// Throws Failure when the environment cannot be read, or holds a value of another size than the model has.
class View {
  public:
    View(MDB_txn* transaction, MDB_cursor* cursor) : transaction_(transaction), cursor_(cursor) {}

    // One instance. VCFG_ERR_NOT_FOUND, or VCFG_ERR_INVALID when `iid` has not as many levels as the object.
    Found get(uint32_t oid, const objIndex& iid) const;
    // The first instance after `iid` below `parent`; of the whole table with a `parent` of level 0. VCFG_ERR_NOT_FOUND
    // at the end, VCFG_ERR_INVALID for what has no instance numbers to walk over.
    Found next(uint32_t oid, const objIndex& parent, const objIndex& iid) const;

    const std::byte* at(const model::Object& object, Key key) const;
    Place first(const model::Object& object) const;
    Place behind(const model::Object& object, Key key) const;
    // The last one that is not behind the key.
    Place upTo(const model::Object& object, Key key) const;
    // Empty when there is none.
    std::string_view note(Note note) const;

  private:
    Place place(const model::Object& object, int result, const MDB_val& key, const MDB_val& value) const;

    MDB_txn* transaction_;
    MDB_cursor* cursor_;
};

}  // namespace vcfg::store
