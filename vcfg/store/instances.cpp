// Instances that come and go.
#include <array>
#include <cstring>

#include "refusal.h"
#include "store.h"

namespace vcfg::store {
namespace {

using model::Object;
using model::Parameter;

constexpr uint8_t kInstanceMax = 255;

struct Counter {
    const Object* object = nullptr;
    const Parameter* parameter = nullptr;
};
using Counters = std::array<Counter, RDM_OID_COUNT>;

Counters findCounters() {
    Counters counters;
    for (const Object& object : model::objects()) {
        for (const Parameter& parameter : object.parameters) {
            if (parameter.countedOid != RDM_OID_NONE) {
                counters[parameter.countedOid] = {&object, &parameter};
            }
        }
    }
    return counters;
}

// The parameter that counts a table's instances, if the model has one.
const Counter& counterOf(const Object& table) {
    static const Counters counters = findCounters();
    return counters[table.oid];
}

// Null, or why there can be no such instance.
int objection(const View& view, const Found& found, const objIndex& iid, std::string* why) {
    if (found.object == nullptr || !found.object->isTable || found.code != VCFG_ERR_NOT_FOUND) {
        return refuse(VCFG_ERR_INVALID, why,
                      found.value != nullptr ? "exists already" : "takes an instance of a table");
    }
    const uint8_t above = static_cast<uint8_t>(found.object->depth - 1);
    if (iid.idx[above] == 0) {
        return refuse(VCFG_ERR_INVALID, why, "takes an instance number from 1 to 255");
    }
    const Object* parent = model::find(found.object->parentOid);
    return parent == nullptr || view.at(*parent, ancestor(found.key, above)) != nullptr
               ? VCFG_OK
               : refuse(VCFG_ERR_NOT_FOUND, why, "no such parent instance");
}

// The highest number that is taken plus one, else the lowest free one; more than the most when there is none.
unsigned freeNumber(const View& view, const Object& table, const objIndex& parent) {
    const auto numberOf = [&](const Place& place) { return iidOf(place.key, table.depth).idx[parent.level]; };
    const Key first = keyOf(parent);
    const Place highest = view.upTo(table, lastBelow(first, parent.level));
    if (highest.value == nullptr || ancestor(highest.key, parent.level) != first) {
        return 1;
    }
    if (numberOf(highest) < kInstanceMax) {
        return numberOf(highest) + 1u;
    }
    unsigned number = 1;
    for (Place at = view.behind(table, first); number <= kInstanceMax && numberOf(at) == number; ++number) {
        at = view.behind(table, at.key);
    }
    return number;
}

}  // namespace

int Store::add(uint32_t oid, objIndex* iid, std::string* why) {
    return change(why, [&] {
        const Object* object = model::find(oid);
        if (object == nullptr || !object->isTable || iid->level + 1 != object->depth) {
            return object == nullptr ? refuse(VCFG_ERR_NOT_FOUND, why, "no such object")
                                     : refuse(VCFG_ERR_INVALID, why, "takes a table and the instance above it");
        }
        const unsigned number = freeNumber(view(), *object, *iid);
        if (number > kInstanceMax) {
            return refuse(VCFG_ERR_FULL, why, "the table has 255 instances already");
        }
        objIndex added = *iid;
        added.idx[added.level++] = static_cast<uint8_t>(number);
        const int code = create(oid, added, why);
        if (code == VCFG_OK) {
            *iid = added;
        }
        return code;
    });
}

int Store::create(uint32_t oid, const objIndex& iid, std::string* why) {
    return change(why, [&] {
        const Found found = view().get(oid, iid);
        const int code = objection(view(), found, iid, why);
        if (code == VCFG_OK && !held_->changing->hasRoom()) {
            return refuse(VCFG_ERR_FULL, why, "the model's memory is full");
        }
        if (code == VCFG_OK) {
            noteInstance(*found.object, found.key, true);
            insert(*found.object, found.key);
            count(*found.object, found.key, 1);
        }
        return code;
    });
}

int Store::remove(uint32_t oid, const objIndex& iid, std::string* why) {
    return change(why, [&] {
        const Found found = view().get(oid, iid);
        if (found.value == nullptr || !found.object->isTable) {
            return found.value == nullptr ? refuseMissing(found, why)
                                          : refuse(VCFG_ERR_INVALID, why, "takes an instance of a table");
        }
        noteInstance(*found.object, found.key, false);
        count(*found.object, found.key, -1);
        erase(*found.object, found.key);
        return static_cast<int>(VCFG_OK);
    });
}

void Store::noteInstance(const Object& object, Key key, bool came) {
    if (watcher_) {
        using Text = std::optional<std::string>;
        const objIndex iid = iidOf(key, object.depth);
        changes_.push_back(
            {path(object, iid), came ? Text() : Text(""), came ? Text("") : Text(), &object, iid, nullptr});
    }
}

// The instance and the single objects that come with it.
void Store::insert(const Object& object, Key key) {
    touchesConfiguration_ = true;
    for (const Object& one : model::objects()) {
        if (&one == &object || (object.isTable && one.parentOid == object.oid && !one.isTable)) {
            held_->changing->put(one, key, defaultsOf(one).data());
        }
    }
}

// The instance and everything below it.
void Store::erase(const Object& object, Key key) {
    touchesConfiguration_ = true;
    for (const Object& one : model::objects()) {
        if (&one == &object || isBelow(one, object)) {
            held_->changing->erase(one, key, lastBelow(key, object.depth));
        }
    }
}

// Notes that an instance has come or goes, where the model counts them.
void Store::count(const Object& table, Key key, int difference) {
    const auto& [object, parameter] = counterOf(table);
    const Key owner = object != nullptr ? ancestor(key, object->depth) : 0;
    const std::byte* value = object != nullptr ? view().at(*object, owner) : nullptr;
    if (value == nullptr) {
        return;
    }
    std::vector<std::byte> record(recordOf(value), recordOf(value) + object->size);
    uint32_t number = 0;
    std::memcpy(&number, record.data() + parameter->offset, sizeof number);
    number += static_cast<uint32_t>(difference);
    std::memcpy(record.data() + parameter->offset, &number, sizeof number);
    put({VCFG_OK, object, owner, value}, record.data());
}

}  // namespace vcfg::store
