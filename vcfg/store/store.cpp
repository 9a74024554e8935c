#include "store.h"

#include <cstring>
#include <new>

namespace vcfg::store {
namespace {

using model::Object;
using model::Parameter;

constexpr uint8_t kInstanceMax = 255;

int refuse(int code, std::string* why, const std::string& text) {
    if (why != nullptr) {
        *why = text;
    }
    return code;
}

bool isBelow(const Object& object, const Object& above) {
    const std::string_view pattern = object.pattern;
    const std::string_view start = above.pattern;
    return pattern.size() > start.size() && pattern.starts_with(start) && pattern[start.size()] == '.';
}

std::unique_ptr<std::byte[]> copyOf(const std::byte* record, size_t size) {
    auto copy = std::make_unique<std::byte[]>(size);
    std::memcpy(copy.get(), record, size);
    return copy;
}

bool isOtherConfiguration(const Object& object, const std::byte* record, const std::byte* other) {
    for (const Parameter& parameter : object.parameters) {
        if (parameter.isPersistent() &&
            std::memcmp(record + parameter.offset, other + parameter.offset, parameter.size) != 0) {
            return true;
        }
    }
    return false;
}

struct Counter {
    const Object* object;
    const Parameter* parameter;
};

// The parameter that counts a table's instances, if the model has one.
Counter counterOf(const Object& table) {
    for (const Object& object : model::objects()) {
        if (isBelow(table, object)) {
            for (const Parameter& parameter : object.parameters) {
                if (parameter.countedOid == table.oid) {
                    return {&object, &parameter};
                }
            }
        }
    }
    return {nullptr, nullptr};
}

}  // namespace

Store::Store() {
    for (const Object& object : model::objects()) {
        defaults_[object.oid] = std::make_unique<std::byte[]>(object.size);
        model::setDefaults(object, defaults_[object.oid].get());
    }
    for (const Object& object : model::objects()) {
        if (object.depth == 0) {
            tables_[object.oid].emplace(0, copyOf(defaults_[object.oid].get(), object.size));
        }
    }
}

Store::Found Store::locate(uint32_t oid, const objIndex& iid) const {
    const Object* object = model::find(oid);
    if (object == nullptr) {
        return {VCFG_ERR_NOT_FOUND, nullptr, 0, nullptr};
    }
    if (iid.level != object->depth) {
        return {VCFG_ERR_INVALID, object, 0, nullptr};
    }
    const Key key = keyOf(iid);
    const auto at = tables_[oid].find(key);
    if (at == tables_[oid].end()) {
        return {VCFG_ERR_NOT_FOUND, object, key, nullptr};
    }
    return {VCFG_OK, object, key, at->second.get()};
}

// Why there is no record.
std::string Store::missing(const Found& found) {
    if (found.object == nullptr) {
        return "no such object";
    }
    return found.code == VCFG_ERR_INVALID
               ? std::string(found.object->pattern) + " takes instance numbers: " + std::to_string(found.object->depth)
               : "no such instance";
}

int Store::get(uint32_t oid, const objIndex& iid, const void** record) const {
    const Found found = locate(oid, iid);
    *record = found.record;
    return found.code;
}

int Store::next(uint32_t oid, objIndex* iid, const void** record) const {
    return nextChild(oid, objIndex{}, iid, record);
}

int Store::nextChild(uint32_t oid, const objIndex& parent, objIndex* iid, const void** record) const {
    *record = nullptr;
    const Object* object = model::find(oid);
    if (object == nullptr) {
        return VCFG_ERR_NOT_FOUND;
    }
    if (object->depth == 0 || iid->level > object->depth || parent.level >= object->depth) {
        return VCFG_ERR_INVALID;
    }
    const Key first = keyOf(parent);
    const Key from = keyOf(*iid) > first ? keyOf(*iid) : first;
    const auto at = tables_[oid].upper_bound(from);
    if (at == tables_[oid].end() || ancestor(at->first, parent.level) != first) {
        return VCFG_ERR_NOT_FOUND;
    }
    *iid = iidOf(at->first, object->depth);
    *record = at->second.get();
    return VCFG_OK;
}

int Store::set(uint32_t oid, const objIndex& iid, std::span<const std::byte> record, std::string* why) {
    return guarded([&] {
        const Found found = locate(oid, iid);
        if (found.record == nullptr) {
            return refuse(found.code, why, missing(found));
        }
        if (record.size() != found.object->size) {
            return refuse(VCFG_ERR_INVALID, why,
                          std::string(found.object->pattern) + " takes a record of " +
                              std::to_string(found.object->size) + " bytes");
        }
        const Record staged = copyOf(found.record, found.object->size);
        for (const Parameter& parameter : found.object->parameters) {
            if (parameter.countedOid != RDM_OID_NONE) {
                continue;
            }
            if (!checkValue(parameter, record.data(), why)) {
                return static_cast<int>(VCFG_ERR_INVALID);
            }
            copyValue(parameter, staged.get(), record.data());
        }
        return commit(found, staged.get());
    });
}

int Store::write(uint32_t oid, const objIndex& iid, json_object* parameters, std::string* why) {
    return guarded([&] {
        const Found found = locate(oid, iid);
        if (found.record == nullptr) {
            return refuse(found.code, why, missing(found));
        }
        const Record staged = copyOf(found.record, found.object->size);
        if (!setJson(*found.object, staged.get(), parameters, why)) {
            return static_cast<int>(VCFG_ERR_INVALID);
        }
        return commit(found, staged.get());
    });
}

int Store::commit(const Found& found, const std::byte* staged) {
    const Object& object = *found.object;
    if (std::memcmp(found.record, staged, object.size) == 0) {
        return VCFG_OK;
    }
    std::vector<Change> changes;
    if (watcher_) {
        const std::string start = path(object, iidOf(found.key, object.depth)) + ".";
        for (const Parameter& parameter : object.parameters) {
            std::string before = valueText(parameter, found.record);
            std::string after = valueText(parameter, staged);
            if (before != after) {
                changes.push_back({start + parameter.name, std::move(before), std::move(after)});
            }
        }
    }
    configurationRevision_ += isOtherConfiguration(object, found.record, staged) ? 1 : 0;
    std::memcpy(found.record, staged, object.size);
    ++revision_;
    tell(changes);
    return VCFG_OK;
}

void Store::tell(const std::vector<Change>& changes) const {
    for (const Change& change : changes) {
        watcher_(change);
    }
}

int Store::add(uint32_t oid, objIndex* iid, std::string* why) {
    const Object* object = model::find(oid);
    if (object == nullptr || !object->isTable || iid->level + 1 != object->depth) {
        return guarded([&] {
            return object == nullptr ? refuse(VCFG_ERR_NOT_FOUND, why, "no such object")
                                     : refuse(VCFG_ERR_INVALID, why, "takes a table and the instance above it");
        });
    }
    const Table& table = tables_[oid];
    const Key first = keyOf(*iid);
    const auto end = table.upper_bound(lastBelow(first, iid->level));
    unsigned number = 1;
    if (end != table.begin() && ancestor(std::prev(end)->first, iid->level) == first) {
        number = iidOf(std::prev(end)->first, object->depth).idx[iid->level] + 1u;
    }
    if (number > kInstanceMax) {
        number = 1;
        for (auto at = table.upper_bound(first); at != end && iidOf(at->first, object->depth).idx[iid->level] == number;
             ++at) {
            ++number;
        }
    }
    if (number > kInstanceMax) {
        return guarded([&] { return refuse(VCFG_ERR_FULL, why, "the table has 255 instances already"); });
    }
    objIndex added = *iid;
    added.idx[added.level++] = static_cast<uint8_t>(number);
    const int code = create(oid, added, why);
    if (code == VCFG_OK) {
        *iid = added;
    }
    return code;
}

int Store::create(uint32_t oid, const objIndex& iid, std::string* why) {
    return guarded([&] {
        const Found found = locate(oid, iid);
        if (found.object == nullptr || !found.object->isTable || found.code == VCFG_ERR_INVALID || found.record) {
            return refuse(VCFG_ERR_INVALID, why, found.record ? "exists already" : "takes an instance of a table");
        }
        const Object& object = *found.object;
        const uint8_t above = static_cast<uint8_t>(object.depth - 1);
        if (iid.idx[above] == 0) {
            return refuse(VCFG_ERR_INVALID, why, "takes an instance number from 1 to 255");
        }
        if (object.parentOid != RDM_OID_NONE && !tables_[object.parentOid].contains(ancestor(found.key, above))) {
            return refuse(VCFG_ERR_NOT_FOUND, why, "no such parent instance");
        }
        std::vector<Change> changes;
        try {
            insert(object, found.key);
            if (watcher_) {
                changes.push_back({path(object, iid), std::nullopt, ""});
            }
            count(object, found.key, 1, &changes);
        } catch (const std::bad_alloc&) {
            erase(object, found.key);
            throw;
        }
        ++revision_;
        ++configurationRevision_;
        tell(changes);
        return static_cast<int>(VCFG_OK);
    });
}

int Store::remove(uint32_t oid, const objIndex& iid, std::string* why) {
    return guarded([&] {
        const Found found = locate(oid, iid);
        if (found.record == nullptr || !found.object->isTable) {
            return found.record == nullptr ? refuse(found.code, why, missing(found))
                                           : refuse(VCFG_ERR_INVALID, why, "takes an instance of a table");
        }
        std::vector<Change> changes;
        if (watcher_) {
            changes.push_back({path(*found.object, iid), "", std::nullopt});
        }
        count(*found.object, found.key, -1, &changes);
        erase(*found.object, found.key);
        ++revision_;
        ++configurationRevision_;
        tell(changes);
        return static_cast<int>(VCFG_OK);
    });
}

// The instance and the single objects that come with it.
void Store::insert(const Object& object, Key key) {
    for (const Object& one : model::objects()) {
        if (&one == &object || (one.parentOid == object.oid && !one.isTable)) {
            tables_[one.oid].emplace(key, copyOf(defaults_[one.oid].get(), one.size));
        }
    }
}

// The instance and everything below it.
void Store::erase(const Object& object, Key key) {
    for (const Object& one : model::objects()) {
        if (&one == &object || isBelow(one, object)) {
            Table& table = tables_[one.oid];
            table.erase(table.lower_bound(key), table.upper_bound(lastBelow(key, object.depth)));
        }
    }
}

// Notes that an instance has come or goes, where the model counts them.
void Store::count(const Object& object, Key key, int difference, std::vector<Change>* changes) {
    const Counter counter = counterOf(object);
    if (counter.object == nullptr) {
        return;
    }
    const Key owner = ancestor(key, counter.object->depth);
    std::byte* record = tables_[counter.object->oid].at(owner).get();
    uint32_t number = 0;
    std::memcpy(&number, record + counter.parameter->offset, sizeof number);
    const uint32_t changed = number + static_cast<uint32_t>(difference);
    if (watcher_) {
        changes->push_back({path(*counter.object, iidOf(owner, counter.object->depth)) + "." + counter.parameter->name,
                            std::to_string(number), std::to_string(changed)});
    }
    std::memcpy(record + counter.parameter->offset, &changed, sizeof changed);
}

}  // namespace vcfg::store
