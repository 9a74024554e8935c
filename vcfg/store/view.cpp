#include "view.h"

#include <vcfg/codes.h>

namespace vcfg::store {
namespace {

MDB_val valOf(StoredKey& key) {
    return {key.size(), key.data()};
}

const std::byte* valueOf(const model::Object& object, const MDB_val& value) {
    if (value.mv_size != valueSize(object.size)) {
        throw Failure(MDB_CORRUPTED);
    }
    return static_cast<const std::byte*>(value.mv_data);
}

}  // namespace

const std::byte* View::at(const model::Object& object, Key key) const {
    StoredKey stored = storedKey(object.oid, key);
    MDB_val wanted = valOf(stored);
    MDB_val value{};
    const int result = mdb_get(transaction_, kModel, &wanted, &value);
    if (result == MDB_NOTFOUND) {
        return nullptr;
    }
    check(result);
    return valueOf(object, value);
}

Place View::place(const model::Object& object, int result, const MDB_val& key, const MDB_val& value) const {
    if (result == MDB_NOTFOUND) {
        return {};
    }
    check(result);
    if (key.mv_size != sizeof(StoredKey)) {
        throw Failure(MDB_CORRUPTED);
    }
    return oidOf(key.mv_data) == object.oid ? Place{keyOf(key.mv_data), valueOf(object, value)} : Place{};
}

Place View::first(const model::Object& object) const {
    const std::byte* only = object.depth == 0 ? at(object, 0) : nullptr;
    return object.depth == 0 ? Place{0, only} : behind(object, 0);
}

Place View::behind(const model::Object& object, Key key) const {
    StoredKey stored = keyBehind(object.oid, key);
    MDB_val found = valOf(stored);
    MDB_val value{};
    const int result = mdb_cursor_get(cursor_, &found, &value, MDB_SET_RANGE);
    return place(object, result, found, value);
}

Place View::upTo(const model::Object& object, Key key) const {
    StoredKey stored = keyBehind(object.oid, key);
    MDB_val found = valOf(stored);
    MDB_val value{};
    const int behind = mdb_cursor_get(cursor_, &found, &value, MDB_SET_RANGE);
    const int result = mdb_cursor_get(cursor_, &found, &value, behind == MDB_NOTFOUND ? MDB_LAST : MDB_PREV);
    return place(object, result, found, value);
}

std::string_view View::note(Note note) const {
    StoredKey stored = storedKey(RDM_OID_NONE, static_cast<Key>(note));
    MDB_val wanted = valOf(stored);
    MDB_val value{};
    const int result = mdb_get(transaction_, kModel, &wanted, &value);
    if (result == MDB_NOTFOUND) {
        return {};
    }
    check(result);
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

Found View::get(uint32_t oid, const objIndex& iid) const {
    const model::Object* object = model::find(oid);
    if (object == nullptr || iid.level != object->depth) {
        return {object == nullptr ? VCFG_ERR_NOT_FOUND : VCFG_ERR_INVALID, object, 0, nullptr};
    }
    const Key key = keyOf(iid);
    const std::byte* value = at(*object, key);
    return {value != nullptr ? VCFG_OK : VCFG_ERR_NOT_FOUND, object, key, value};
}

Found View::next(uint32_t oid, const objIndex& parent, const objIndex& iid) const {
    const model::Object* object = model::find(oid);
    if (object == nullptr) {
        return {VCFG_ERR_NOT_FOUND, nullptr, 0, nullptr};
    }
    if (object->depth == 0 || iid.level > object->depth || parent.level >= object->depth) {
        return {VCFG_ERR_INVALID, object, 0, nullptr};
    }
    const Key first = keyOf(parent);
    const Place place = behind(*object, std::max(keyOf(iid), first));
    const bool isBelow = place.value != nullptr && ancestor(place.key, parent.level) == first;
    return isBelow ? Found{VCFG_OK, object, place.key, place.value} : Found{VCFG_ERR_NOT_FOUND, object, 0, nullptr};
}

}  // namespace vcfg::store
