// The whole model as JSON, and back.
#include <algorithm>
#include <cstring>
#include <new>

#include "store.h"

namespace vcfg::store {
namespace {

using model::Object;
using model::Parameter;
using model::Resolved;

constexpr int kVersion = 1;

int refuse(std::string* why, const std::string& text) {
    if (why != nullptr) {
        *why = text;
    }
    return VCFG_ERR_INVALID;
}

void addMember(json_object* object, const char* name, JsonPtr value) {
    if (!value || json_object_object_add(object, name, value.get()) != 0) {
        throw std::bad_alloc();
    }
    static_cast<void>(value.release());
}

JsonPtr emptyObject() {
    JsonPtr json(json_object_new_object());
    return json ? std::move(json) : throw std::bad_alloc();
}

void dropCounted(const Object& object, json_object* record) {
    for (const Parameter& parameter : object.parameters) {
        if (parameter.countedOid != RDM_OID_NONE) {
            json_object_object_del(record, parameter.name);
        }
    }
}

struct Entry {
    const char* path;
    Resolved where;  // its object is null when the model has no such instance path
    json_object* parameters;
};

// The file's objects, parents before what is below them.
std::vector<Entry> entriesOf(json_object* objects) {
    std::vector<Entry> entries;
    json_object_object_foreach(objects, path, parameters) {
        std::optional<Resolved> where = model::resolve(path);
        if (!where || !where->rest.empty()) {
            where = Resolved{};
        }
        entries.push_back({path, *where, parameters});
    }
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
        return left.where.iid.level < right.where.iid.level;
    });
    return entries;
}

}  // namespace

JsonPtr Store::toJson() const {
    JsonPtr objects = emptyObject();
    for (const Object& object : model::objects()) {
        const std::byte* base = defaults_[object.oid].get();
        for (const auto& [key, record] : tables_[object.oid]) {
            JsonPtr parameters = recordJson(object, record.get(), base);
            dropCounted(object, parameters.get());
            if (object.isTable || json_object_object_length(parameters.get()) > 0) {
                addMember(objects.get(), path(object, iidOf(key, object.depth)).c_str(), std::move(parameters));
            }
        }
    }
    JsonPtr whole = emptyObject();
    addMember(whole.get(), "version", JsonPtr(json_object_new_int(kVersion)));
    addMember(whole.get(), "objects", std::move(objects));
    return whole;
}

// Puts one entry of a file into a model that is being loaded. What it cannot take gets a line in `refused`.
int Store::loadRecord(const Resolved& where, json_object* parameters, std::vector<std::string>* refused) {
    std::string why;
    if (where.object == nullptr) {
        refused->push_back("the model has no such object");
        return VCFG_OK;
    }
    const int made = where.object->isTable ? create(where.object->oid, where.iid, &why) : VCFG_OK;
    if (made == VCFG_ERR_FAIL) {
        return made;
    }
    const Found found = locate(where.object->oid, where.iid);
    if (made != VCFG_OK || found.record == nullptr || !json_object_is_type(parameters, json_type_object)) {
        refused->push_back(!why.empty() ? why : found.record ? "takes a JSON object" : "no such parent instance");
        return VCFG_OK;
    }
    json_object_object_foreach(parameters, name, value) {
        const Parameter* parameter = find(*where.object, name);
        if (parameter == nullptr) {
            refused->push_back(std::string("no such parameter: ") + name);
        } else if (parameter->countedOid == RDM_OID_NONE && !setJson(*parameter, found.record, value, &why)) {
            refused->push_back(why);
        }
    }
    return VCFG_OK;
}

int Store::fromJson(json_object* json, Unknown unknown, std::vector<std::string>* skipped, std::string* why) {
    return guarded([&] {
        json_object* version = nullptr;
        json_object* objects = nullptr;
        json_object_object_get_ex(json, "version", &version);
        json_object_object_get_ex(json, "objects", &objects);
        if (!json_object_is_type(version, json_type_int) || json_object_get_int64(version) != kVersion ||
            !json_object_is_type(objects, json_type_object)) {
            return refuse(why, "takes a model file of version " + std::to_string(kVersion));
        }
        Store fresh;
        for (const Entry& entry : entriesOf(objects)) {
            std::vector<std::string> refused;
            if (fresh.loadRecord(entry.where, entry.parameters, &refused) != VCFG_OK) {
                return static_cast<int>(VCFG_ERR_FAIL);
            }
            for (const std::string& reason : refused) {
                const std::string line = std::string(entry.path) + ": " + reason;
                if (unknown == Unknown::Refuse) {
                    return refuse(why, line);
                }
                if (skipped != nullptr) {
                    skipped->push_back(line);
                }
            }
        }
        tables_.swap(fresh.tables_);
        ++revision_;
        return static_cast<int>(VCFG_OK);
    });
}

}  // namespace vcfg::store
