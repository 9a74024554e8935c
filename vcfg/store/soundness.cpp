#include "soundness.h"

#include <vector>

#include "view.h"

namespace vcfg::store {
namespace {

constexpr MDB_dbi kFreePages = 0;

// A read transaction that ends by itself.
class Walk {
  public:
    explicit Walk(MDB_env* environment) { check(mdb_txn_begin(environment, nullptr, MDB_RDONLY, &transaction_)); }
    ~Walk() { mdb_txn_abort(transaction_); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // Calls `take` for each entry of a database; false as soon as that is.
    template <class Take>
    bool each(MDB_dbi database, Take take) {
        MDB_cursor* cursor = nullptr;
        check(mdb_cursor_open(transaction_, database, &cursor));
        MDB_val key{};
        MDB_val value{};
        int result = mdb_cursor_get(cursor, &key, &value, MDB_FIRST);
        while (result == MDB_SUCCESS && take(key, value)) {
            result = mdb_cursor_get(cursor, &key, &value, MDB_NEXT);
        }
        mdb_cursor_close(cursor);
        return result == MDB_NOTFOUND;
    }
    MDB_txn* transaction() const { return transaction_; }

  private:
    MDB_txn* transaction_ = nullptr;
};

// Numbers down to the object's depth, none behind it, and the instance above.
bool isPlaced(const View& view, const model::Object& object, Key key) {
    const objIndex iid = iidOf(key, object.depth);
    if (keyOf(iid) != key || std::find(iid.idx, iid.idx + iid.level, 0) != iid.idx + iid.level) {
        return false;
    }
    const model::Object* parent = model::find(object.parentOid);
    return parent == nullptr || view.at(*parent, ancestor(key, parent->depth)) != nullptr;
}

bool isInstance(const View& view, const MDB_val& key, const MDB_val& value) {
    if (key.mv_size != sizeof(StoredKey)) {
        return false;
    }
    const uint32_t oid = oidOf(key.mv_data);
    const model::Object* object = model::find(oid);
    if (object == nullptr || value.mv_size != valueSize(object->size)) {
        return oid == RDM_OID_NONE;
    }
    const std::byte* record = recordOf(static_cast<const std::byte*>(value.mv_data));
    for (const model::Parameter& parameter : object->parameters) {
        if (!checkValue(parameter, record, nullptr)) {
            return false;
        }
    }
    return isPlaced(view, *object, keyOf(key.mv_data));
}

// A list of free pages: how many, then their numbers, descending.
bool isFreeList(const MDB_val& value, size_t pages, std::vector<bool>* seen) {
    std::vector<size_t> list(value.mv_size / sizeof(size_t));
    std::memcpy(list.data(), value.mv_data, list.size() * sizeof(size_t));
    if (list.empty() || list[0] >= list.size()) {
        return false;
    }
    for (size_t at = 1; at <= list[0]; ++at) {
        const size_t page = list[at];
        if (page < 2 || page >= pages || (*seen)[page] || (at > 1 && page >= list[at - 1])) {
            return false;
        }
        (*seen)[page] = true;
    }
    return true;
}

bool hasSingles(const View& view) {
    const auto objects = model::objects();
    return std::all_of(objects.begin(), objects.end(),
                       [&](const model::Object& object) { return object.depth > 0 || view.at(object, 0) != nullptr; });
}

}  // namespace

bool isSound(MDB_env* environment) {
    Walk walk(environment);
    MDB_stat counted{};
    MDB_envinfo info{};
    check(mdb_stat(walk.transaction(), kModel, &counted));
    check(mdb_env_info(environment, &info));
    const View view(walk.transaction(), nullptr);
    size_t entries = 0;
    std::vector<bool> seen(info.me_last_pgno + 1);
    return hasSingles(view) &&
           walk.each(kModel,
                     [&](const MDB_val& key, const MDB_val& value) {
                         ++entries;
                         return isInstance(view, key, value);
                     }) &&
           entries == counted.ms_entries && walk.each(kFreePages, [&](const MDB_val&, const MDB_val& value) {
               return isFreeList(value, seen.size(), &seen);
           });
}

}  // namespace vcfg::store
