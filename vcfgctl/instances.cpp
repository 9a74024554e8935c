#include "instances.h"

#include "ask.h"
#include "records.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// The instances that there are instead, as far as they fit a line.
std::string existing(const model::Object& object) {
    constexpr unsigned kMost = 8;
    std::string text;
    objIndex iid{};
    for (unsigned listed = 0; listed <= kMost; ++listed) {
        Record record;
        if (readNext(object.oid, &iid, false, &record) != VCFG_OK) {
            break;
        }
        text.append(listed == 0 ? "" : ", ").append(listed == kMost ? "..." : model::path(object, iid));
    }
    return text.empty() ? "; there is none yet" : "; there is " + text;
}

int takeOne(const Selection& selection, objIndex iid, bool refresh, const TakeRecord& take) {
    const model::Object& object = *selection.object;
    Record record;
    const int code = readOne(object.oid, &iid, refresh, &record);
    if (code == VCFG_ERR_NOT_FOUND) {
        return refuse(model::path(object, iid) + ": no such instance" + existing(object));
    }
    if (code != VCFG_OK) {
        return reportFailure({code, iid, {}}, model::path(object, iid));
    }
    take(iid, record.get());
    return kDone;
}

std::optional<std::string> storedValue(const model::Object& object, objIndex iid, const model::Parameter& parameter) {
    Record record;
    return readOne(object.oid, &iid, false, &record) == VCFG_OK ? std::optional(valueText(parameter, record.get()))
                                                                : std::nullopt;
}

}  // namespace

int forEach(const Selection& selection, bool refresh, const TakeRecord& take) {
    objIndex iid{};
    if (selection.isOne(&iid)) {
        return takeOne(selection, iid, refresh, take);
    }
    iid = {};
    for (;;) {
        Record record;
        const int code = readNext(selection.object->oid, &iid, refresh, &record);
        if (code == VCFG_ERR_NOT_FOUND) {
            return kDone;
        }
        if (code != VCFG_OK) {
            return reportFailure({code, iid, {}}, selection.object->pattern);
        }
        if (selection.fits(iid, storedValue)) {
            take(iid, record.get());
        }
    }
}

bool isThere(const Selection& selection) {
    objIndex iid{};
    Record record;
    return !selection.isOne(&iid) || readOne(selection.object->oid, &iid, false, &record) != VCFG_ERR_NOT_FOUND;
}

int expand(const Selection& selection, const std::string& path, std::vector<objIndex>* iids) {
    objIndex one{};
    if (selection.isOne(&one)) {
        iids->push_back(one);
        return kDone;
    }
    const int status = forEach(selection, false, [&](const objIndex& iid, const void*) { iids->push_back(iid); });
    return status == kDone && iids->empty() && selection.alias() != nullptr ? refuseAlias(*selection.alias(), path)
                                                                            : status;
}

int refuseAlias(const Filter& alias, const std::string& path) {
    return refuse(path + ": no instance of " + alias.table->pattern + " has the alias " + alias.text);
}

int pin(std::string* path) {
    const Parts parts = split(*path);
    size_t last = parts.size();
    while (last > 0 && !isFilter(parts[last - 1])) {
        --last;
    }
    if (last == 0) {
        return kDone;
    }
    std::string why;
    const std::string instance = join(parts, last);
    const std::vector<Selection> found = selectInstances(instance, &why);
    if (found.empty()) {
        return refuse(*path + ": " + why);
    }
    std::vector<objIndex> iids;
    const int status = expand(found.front(), *path, &iids);
    if (status == kDone && iids.size() == 1) {
        *path = model::path(*found.front().object, iids.front()) + path->substr(instance.size());
    } else if (status == kDone) {
        return refuse(*path + ": " + instance + " stands for " + std::to_string(iids.size()) + " instances, not one");
    }
    return status;
}

}  // namespace vcfgctl
