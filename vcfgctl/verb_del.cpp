#include <algorithm>

#include "ask.h"
#include "change.h"
#include "instances.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

// What a path names; an exit status, reported when not kDone.
int parse(const std::string& path, Selection* selection) {
    std::string why;
    std::vector<Selection> found = selectInstances(path, &why);
    if (found.empty() && select(path, &why).empty()) {
        return refuse(path + ": " + why);
    }
    if (found.empty() || !found.front().object->isTable) {
        return refuse(path + ": is no instance of a table; only those can be deleted");
    }
    *selection = std::move(found.front());
    return kDone;
}

bool isSame(const vcfg_step_t& left, const vcfg_step_t& right) {
    return left.oid == right.oid && std::equal(left.iid.idx, std::end(left.iid.idx), right.iid.idx);
}

int addSteps(const Selection& selection, const std::string& path, std::vector<vcfg_step_t>* steps) {
    std::vector<objIndex> iids;
    const int status = expand(selection, path, &iids);
    for (const objIndex& iid : iids) {
        const vcfg_step_t step = {VCFG_STEP_DELETE, selection.object->oid, iid, nullptr};
        if (std::any_of(steps->begin(), steps->end(), [&](const vcfg_step_t& one) { return isSame(one, step); })) {
            return refuse(model::path(*selection.object, iid) + ": is given twice");
        }
        steps->push_back(step);
    }
    return status;
}

// Of several the deepest first, as it goes with the one above it; and the last one, so that the others keep their
// numbers whatever happens.
bool goesBefore(const vcfg_step_t& left, const vcfg_step_t& right) {
    return left.iid.level != right.iid.level ? left.iid.level > right.iid.level
                                             : std::lexicographical_compare(right.iid.idx, std::end(right.iid.idx),
                                                                            left.iid.idx, std::end(left.iid.idx));
}

}  // namespace

int runDel(const Call& call) {
    if (call.operands.empty()) {
        return wrongUsage(call, "takes an instance's path");
    }
    uint32_t type = 0;
    int status = takeRequestType(call, &type);
    std::vector<Selection> selections(call.operands.size());
    std::vector<std::string> paths = call.operands;
    for (size_t i = 0; i < paths.size() && status == kDone; ++i) {
        paths[i].erase(paths[i].size() - (paths[i].ends_with('.') ? 1 : 0));
        status = parse(paths[i], &selections[i]);
    }
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    std::vector<vcfg_step_t> steps;
    for (size_t i = 0; i < paths.size() && status == kDone; ++i) {
        status = addSteps(selections[i], paths[i], &steps);
    }
    if (status != kDone || steps.empty()) {
        return status;
    }
    std::sort(steps.begin(), steps.end(), goesBefore);
    return change(steps, type, paths.size() == 1 ? paths.front() : "");
}

}  // namespace vcfgctl
