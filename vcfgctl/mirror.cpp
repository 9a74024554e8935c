#include "mirror.h"

#include "instances.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// "IP.Interface.*.Status", or "IP.Interface.*." without a parameter.
std::string pattern(const Selection& selection, const model::Parameter* parameter) {
    Parts parts = split(selection.object->pattern);
    for (std::string_view& part : parts) {
        part = part == "{i}" ? std::string_view("*") : part;
    }
    return join(parts, parts.size()) + "." + (parameter != nullptr ? parameter->name : "");
}

// All instances: those that do not pass a filter now may pass it later.
std::vector<Selection> lookedAt(const Selection& selection) {
    std::vector<Selection> all{{selection.object, {}, selection.parameter}};
    for (const Filter& filter : selection.filters) {
        for (const Comparison& comparison : filter.all) {
            all.push_back({filter.table, {}, comparison.parameter});
        }
    }
    return all;
}

// Whether a new instance of `table` brings one of `object` with it: its own, or a single object below it.
bool comesWith(const model::Object& object, const model::Object& table) {
    return &object == &table || (!object.isTable && object.parentOid == table.oid);
}

}  // namespace

std::string patternsOf(const Selection& selection) {
    std::string patterns;
    for (const Selection& one : lookedAt(selection)) {
        patterns.append(pattern(one, one.parameter)).append("\n");
        // The coming and going of an instance is a change of its own path.
        for (const model::Object& object : model::objects()) {
            if (object.isTable && (&object == one.object || object.oid == one.object->parentOid)) {
                std::string path = pattern({&object, {}, nullptr}, nullptr);
                path.pop_back();
                patterns.append(path).append("\n");
            }
        }
    }
    return patterns;
}

int Mirror::read(const std::vector<Selection>& selections) {
    int status = kDone;
    for (const Selection& selection : selections) {
        for (const Selection& one : lookedAt(selection)) {
            if (status == kDone) {
                status = vcfgctl::forEach(
                    one, false, [&](const objIndex& iid, const void* record) { addRecord(*one.object, iid, record); });
            }
        }
    }
    return status;
}

void Mirror::addRecord(const model::Object& object, const objIndex& iid, const void* record) {
    const std::string path = model::path(object, iid);
    for (const model::Parameter& parameter : object.parameters) {
        values_[path + "." + parameter.name] = valueText(parameter, record);
    }
}

void Mirror::addInstance(const model::Object& table, const objIndex& iid) {
    for (const model::Object& object : model::objects()) {
        if (comesWith(object, table)) {
            std::vector<std::byte> record(object.size);
            setDefaults(object, record.data());
            addRecord(object, iid, record.data());
        }
    }
}

void Mirror::take(const Change& change) {
    const std::optional<model::Resolved> where = model::resolve(change.path);
    if (!where) {
        return;
    }
    if (where->parameter != nullptr) {
        values_[change.path] = change.after.value_or("");
    } else if (change.after) {
        addInstance(*where->object, where->iid);
    } else {
        const std::string below = change.path + ".";
        std::erase_if(values_, [&](const auto& value) { return value.first.starts_with(below); });
    }
}

Lookup Mirror::lookup() const {
    return [this](const model::Object& object, const objIndex& iid,
                  const model::Parameter& parameter) -> std::optional<std::string> {
        const auto found = values_.find(model::path(object, iid) + "." + parameter.name);
        return found != values_.end() ? std::optional(found->second) : std::nullopt;
    };
}

void Mirror::forEach(const Selection& selection, const TakeValue& take) const {
    const Lookup now = lookup();
    const std::string wanted = pattern(selection, selection.parameter);
    for (const auto& [path, value] : values_) {
        if (model::pathMatches(wanted, path) && selection.fits(model::resolve(path)->iid, now)) {
            take(path, value);
        }
    }
}

}  // namespace vcfgctl
