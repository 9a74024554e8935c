#include "edit.h"

#include <algorithm>

#include "refusal.h"

namespace vcfg::store {
namespace {

using model::Object;

// Whether it is that instance, or lies below it.
bool isWithin(const objIndex& iid, const objIndex& above) {
    return iid.level >= above.level && std::equal(above.idx, above.idx + above.level, iid.idx);
}

// The table whose instances are numbered at that depth of the object's paths.
const Object* tableAt(const Object& object, uint8_t depth) {
    const Object* table = object.isTable ? &object : model::find(object.parentOid);
    while (table != nullptr && table->depth > depth) {
        table = model::find(table->parentOid);
    }
    return table;
}

int named(int code, const Object& object, const objIndex& iid, std::string* why) {
    if (code != VCFG_OK && why != nullptr) {
        *why = path(object, iid) + ": " + *why;
    }
    return code;
}

}  // namespace

int Edit::set(uint32_t oid, objIndex* iid, std::span<const std::byte> record, std::string* why) {
    const Object* object = find(oid, iid, why);
    if (object == nullptr) {
        return VCFG_ERR_INVALID;
    }
    touch(*object, *iid);
    return named(store_.set(oid, *iid, record, why), *object, *iid, why);
}

int Edit::write(uint32_t oid, objIndex* iid, std::string_view parameters, std::string* why) {
    const Object* object = find(oid, iid, why);
    if (object == nullptr) {
        return VCFG_ERR_INVALID;
    }
    touch(*object, *iid);
    const JsonPtr values = parseObject(parameters, why);
    const int code = values != nullptr ? store_.write(oid, *iid, values.get(), why) : VCFG_ERR_INVALID;
    return named(code, *object, *iid, why);
}

int Edit::add(uint32_t oid, objIndex* iid, std::string* why) {
    const Object* object = find(oid, iid, why);
    if (object == nullptr) {
        return VCFG_ERR_INVALID;
    }
    const int code = store_.add(oid, iid, why);
    if (code == VCFG_OK) {
        added_.emplace_back(oid, iid->idx[iid->level - 1]);
        entries_.push_back({object, *iid, Fate::Came, {}, {}});
    }
    return named(code, *object, *iid, why);
}

// What lies deeper goes first, as who applies it may need what it lies below.
int Edit::remove(uint32_t oid, objIndex* iid, std::string* why) {
    const Object* object = find(oid, iid, why);
    if (object == nullptr) {
        return VCFG_ERR_INVALID;
    }
    if (object->isTable && !stored(*object, *iid).empty()) {
        for (uint8_t depth = kDepthMax; depth >= object->depth; --depth) {
            for (const Object& one : model::objects()) {
                if (one.depth == depth && model::isBelow(one, *object)) {
                    goesWithin(one, *iid);
                }
            }
        }
        goes(*object, *iid);
    }
    return named(store_.remove(oid, *iid, why), *object, *iid, why);
}

std::vector<Edited> Edit::end() {
    for (Edited& one : entries_) {
        if (one.fate != Fate::Went) {
            one.after = stored(*one.object, one.iid);
        }
    }
    return std::move(entries_);
}

// The object, with the instance's numbers complete; null with the reason when the model has none.
const Object* Edit::find(uint32_t oid, objIndex* iid, std::string* why) const {
    const Object* object = model::find(oid);
    if (object == nullptr) {
        refuse(VCFG_ERR_INVALID, why, "there is no object with id " + std::to_string(oid));
        return nullptr;
    }
    for (uint8_t depth = 1; depth <= iid->level && depth <= object->depth; ++depth) {
        const Object* table = iid->idx[depth - 1] == 0 ? tableAt(*object, depth) : nullptr;
        const auto last = std::find_if(added_.rbegin(), added_.rend(), [table](const auto& one) {
            return table != nullptr && one.first == table->oid;
        });
        if (last != added_.rend()) {
            iid->idx[depth - 1] = last->second;
        }
    }
    return object;
}

// Null for one that is not known yet, or has gone.
Edited* Edit::entryOf(const Object& object, const objIndex& iid) {
    const auto found = std::find_if(entries_.rbegin(), entries_.rend(), [&](const Edited& one) {
        return one.object == &object && one.iid.level == iid.level && isWithin(iid, one.iid);
    });
    return found != entries_.rend() && found->fate != Fate::Went ? &*found : nullptr;
}

void Edit::touch(const Object& object, const objIndex& iid) {
    if (entryOf(object, iid) == nullptr) {
        entries_.push_back({&object, iid, Fate::Stays, stored(object, iid), {}});
    }
}

bool Edit::hasCome(const Object& object, const objIndex& iid) const {
    return std::any_of(entries_.begin(), entries_.end(), [&](const Edited& one) {
        return one.fate == Fate::Came && isWithin(iid, one.iid) &&
               (one.object == &object || model::isBelow(object, *one.object));
    });
}

void Edit::goes(const Object& object, const objIndex& iid) {
    const bool came = hasCome(object, iid);
    const Edited* known = entryOf(object, iid);
    if (known != nullptr) {
        entries_.erase(entries_.begin() + (known - entries_.data()));
    }
    if (!came) {
        entries_.push_back({&object, iid, Fate::Went, stored(object, iid), {}});
    }
}

// The object's instances at or below `above`.
void Edit::goesWithin(const Object& object, const objIndex& above) {
    const void* record = nullptr;
    if (object.depth == above.level) {
        goes(object, above);
        return;
    }
    objIndex iid{};
    while (store_.nextChild(object.oid, above, &iid, &record) == VCFG_OK) {
        goes(object, iid);
    }
}

std::vector<std::byte> Edit::stored(const Object& object, const objIndex& iid) const {
    const void* record = nullptr;
    if (store_.get(object.oid, iid, &record) != VCFG_OK) {
        return {};
    }
    const auto* start = static_cast<const std::byte*>(record);
    return {start, start + object.size};
}

}  // namespace vcfg::store
