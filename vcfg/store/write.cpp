// New values for an instance.
#include <cstring>

#include "refusal.h"
#include "store.h"

namespace vcfg::store {

using model::Object;
using model::Parameter;

namespace {

// To compare the bytes costs little beside a value's text; but two texts may be the same in other bytes.
bool isSame(const Parameter& parameter, const std::byte* record, const std::byte* other) {
    return std::memcmp(record + parameter.offset, other + parameter.offset, parameter.size) == 0;
}

bool isOtherConfiguration(const Object& object, const std::byte* record, const std::byte* other) {
    for (const Parameter& parameter : object.parameters) {
        if (parameter.isPersistent() && !isSame(parameter, record, other)) {
            return true;
        }
    }
    return false;
}

}  // namespace

int Store::set(uint32_t oid, const objIndex& iid, std::span<const std::byte> record, std::string* why) {
    return change(why, [&] {
        const Found found = view().get(oid, iid);
        if (found.value == nullptr) {
            return refuseMissing(found, why);
        }
        if (record.size() != found.object->size) {
            return refuse(VCFG_ERR_INVALID, why,
                          std::string(found.object->pattern) + " takes a record of " +
                              std::to_string(found.object->size) + " bytes");
        }
        std::vector<std::byte> staged(recordOf(found.value), recordOf(found.value) + found.object->size);
        for (const Parameter& parameter : found.object->parameters) {
            if (parameter.countedOid != RDM_OID_NONE || isSame(parameter, staged.data(), record.data())) {
                continue;
            }
            if (!checkValue(parameter, record.data(), why)) {
                return static_cast<int>(VCFG_ERR_INVALID);
            }
            copyValue(parameter, staged.data(), record.data());
        }
        return put(found, staged.data());
    });
}

int Store::write(uint32_t oid, const objIndex& iid, json_object* parameters, std::string* why) {
    return change(why, [&] {
        const Found found = view().get(oid, iid);
        if (found.value == nullptr) {
            return refuseMissing(found, why);
        }
        std::vector<std::byte> staged(recordOf(found.value), recordOf(found.value) + found.object->size);
        return setJson(*found.object, staged.data(), parameters, why) ? put(found, staged.data())
                                                                      : static_cast<int>(VCFG_ERR_INVALID);
    });
}

void Store::noteValues(const Object& object, Key key, const std::byte* record, const std::byte* other) {
    if (!watcher_) {
        return;
    }
    const objIndex iid = iidOf(key, object.depth);
    const std::string start = path(object, iid) + ".";
    for (const Parameter& parameter : object.parameters) {
        if (isSame(parameter, record, other)) {
            continue;
        }
        std::string before = valueText(parameter, record);
        std::string after = valueText(parameter, other);
        if (before != after) {
            changes_.push_back({start + parameter.name, std::move(before), std::move(after), &object, iid, &parameter});
        }
    }
}

// What is as it was is not written: its origin stays.
int Store::put(const Found& found, const std::byte* staged) {
    const Object& object = *found.object;
    const std::byte* record = recordOf(found.value);
    if (std::memcmp(record, staged, object.size) == 0) {
        return VCFG_OK;
    }
    noteValues(object, found.key, record, staged);
    touchesConfiguration_ = touchesConfiguration_ || isOtherConfiguration(object, record, staged);
    held_->changing->put(object, found.key, staged);
    return VCFG_OK;
}

}  // namespace vcfg::store
