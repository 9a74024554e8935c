// The whole model as JSON, and back.
#include <algorithm>
#include <cstring>
#include <new>

#include "json_text.h"
#include "members.h"
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

bool isWanted(const Parameter& parameter, What what) {
    return what == What::All || parameter.isPersistent();
}

void dropUnwanted(const Object& object, What what, json_object* record) {
    for (const Parameter& parameter : object.parameters) {
        if (parameter.countedOid != RDM_OID_NONE || !isWanted(parameter, what)) {
            json_object_object_del(record, parameter.name);
        }
    }
}

// A damaged or foreign file must not fill memory or log with what is wrong with it.
constexpr size_t kMostLines = 20;
constexpr size_t kLongestLine = 200;

void noteSkipped(Skipped* skipped, const std::string& line) {
    if (skipped == nullptr) {
        return;
    }
    if (skipped->lines.size() < kMostLines) {
        skipped->lines.push_back(line.substr(0, kLongestLine));
    } else {
        ++skipped->more;
    }
}

bool isObject(std::string_view text) {
    Members members(text);
    std::string name;
    std::string_view value;
    while (members.next(&name, &value)) {
    }
    return members.isWhole();
}

struct File {
    std::string_view objects;
    bool isModel = false;
};

File openFile(std::string_view text) {
    File file;
    Members members(text);
    std::string name;
    std::string_view value;
    bool hasVersion = false;
    while (members.next(&name, &value)) {
        if (name == "objects") {
            file.objects = value;
        } else if (name == "version") {
            const JsonPtr version = parseScalar(value);
            hasVersion =
                json_object_is_type(version.get(), json_type_int) && json_object_get_int64(version.get()) == kVersion;
        }
    }
    file.isModel = members.isWhole() && hasVersion && isObject(file.objects);
    return file;
}

}  // namespace

JsonPtr Store::toJson(What what) const {
    JsonPtr objects = emptyObject();
    for (const Object& object : model::objects()) {
        const std::vector<std::byte> base = defaultsOf(object);
        for (Place at = view().first(object); at.value != nullptr; at = view().behind(object, at.key)) {
            JsonPtr parameters = recordJson(object, recordOf(at.value), base.data());
            dropUnwanted(object, what, parameters.get());
            if (object.isTable || json_object_object_length(parameters.get()) > 0) {
                addMember(objects.get(), path(object, iidOf(at.key, object.depth)).c_str(), std::move(parameters));
            }
        }
    }
    JsonPtr whole = emptyObject();
    addMember(whole.get(), "version", JsonPtr(json_object_new_int(kVersion)));
    addMember(whole.get(), "objects", std::move(objects));
    return whole;
}

std::string Store::toText(What what) const {
    return textOf(toJson(what).get(), JSON_C_TO_STRING_PRETTY | JSON_C_TO_STRING_NOSLASHESCAPE);
}

// The objects that the model has, parents before what is below them. False when one that it has not is refused.
bool Store::findEntries(std::string_view objects, std::vector<Entry>* entries, const Refuse& refused) {
    Members members(objects);
    std::string name;
    std::string_view parameters;
    while (members.next(&name, &parameters)) {
        const std::optional<Resolved> where = model::resolve(name);
        if (where && where->rest.empty()) {
            entries->push_back({where->object, where->iid, parameters});
        } else if (!refused(name, "the model has no such object")) {
            return false;
        }
    }
    std::stable_sort(entries->begin(), entries->end(),
                     [](const Entry& left, const Entry& right) { return left.iid.level < right.iid.level; });
    return true;
}

// Puts one entry of a file into a model that is being loaded.
bool Store::loadEntry(const Entry& entry, What what, const Refuse& refused) {
    const std::string at = path(*entry.object, entry.iid);
    std::string why;
    const int made = entry.object->isTable ? create(entry.object->oid, entry.iid, &why) : VCFG_OK;
    if (made == VCFG_ERR_FULL) {
        throw Failure(MDB_MAP_FULL);
    }
    const Found found = view().get(entry.object->oid, entry.iid);
    if (made != VCFG_OK || found.value == nullptr) {
        return refused(at, !why.empty() ? why : "no such parent instance");
    }
    std::vector<std::byte> record(recordOf(found.value), recordOf(found.value) + found.object->size);
    std::vector<std::byte> leftOut(found.object->size);
    Members members(entry.parameters);
    std::string name;
    std::string_view text;
    bool goesOn = true;
    while (goesOn && members.next(&name, &text)) {
        const Parameter* parameter = find(*entry.object, name);
        if (parameter == nullptr) {
            goesOn = refused(at, "no such parameter: " + name);
        } else if (parameter->countedOid == RDM_OID_NONE &&
                   !setJson(*parameter, isWanted(*parameter, what) ? record.data() : leftOut.data(),
                            parseScalar(text).get(), &why)) {
            goesOn = refused(at, why);
        }
    }
    put(found, record.data());
    return goesOn && (members.isWhole() || refused(at, "takes a JSON object"));
}

int Store::fromText(std::string_view text, What what, Unknown unknown, Skipped* skipped, std::string* why) {
    return change(why, [&] {
        const File file = openFile(text);
        if (!file.isModel) {
            return refuse(why, "takes a model file of version " + std::to_string(kVersion));
        }
        const Refuse refused = [&](const std::string& at, const std::string& reason) {
            if (unknown == Unknown::Refuse) {
                return refuse(why, at + ": " + reason) == VCFG_OK;
            }
            noteSkipped(skipped, at + ": " + reason);
            return true;
        };
        if (skipped != nullptr) {
            *skipped = {};
        }
        clearAll();
        std::vector<Entry> entries;
        bool good = findEntries(file.objects, &entries, refused);
        for (size_t each = 0; good && each < entries.size(); ++each) {
            good = loadEntry(entries[each], what, refused);
        }
        noteDifferences();
        return static_cast<int>(good ? VCFG_OK : VCFG_ERR_INVALID);
    });
}

}  // namespace vcfg::store
