// Instances that come and go.
#include "writes.h"

namespace vcfg::vcmd {
namespace {

bool isBelow(const model::Object& object, const model::Object& above) {
    const std::string_view pattern = object.pattern;
    const std::string_view start = above.pattern;
    return pattern.size() > start.size() && pattern.starts_with(start) && pattern[start.size()] == '.';
}

// The "del" hooks of one object's instances at or below `above`.
void collectDeletes(Vcmd& vcmd, const model::Object& object, const objIndex& above, std::vector<HookJob>& jobs) {
    const std::string program = hookProgram(vcmd.hooks, HookKind::Apply, object);
    if (program.empty()) {
        return;
    }
    const auto collect = [&](const objIndex& iid, const void* record) {
        jobs.push_back(applyJob(program, "del", model::path(object, iid), hookInput(object, record, record)));
    };
    objIndex iid{};
    const void* record = nullptr;
    if (object.depth == above.level) {
        if (vcmd.store.get(object.oid, above, &record) == VCFG_OK) {
            collect(above, record);
        }
        return;
    }
    while (vcmd.store.nextChild(object.oid, above, &iid, &record) == VCFG_OK) {
        collect(iid, record);
    }
}

}  // namespace

void addInstance(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    const model::Object& object = *model::find(message.oid);
    const std::string program = hookProgram(vcmd.hooks, HookKind::Apply, object);
    if (!program.empty() && hookRoom(vcmd.hooks, HookKind::Apply) == 0) {
        return refuse(staged, VCFG_ERR_FULL, "too many changes are waiting to be applied");
    }
    objIndex iid = message.objIid;
    std::string why;
    const int code = vcmd.store.add(message.oid, &iid, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, std::string(object.pattern) + ": " + why);
    }
    confirm(staged, iid);
    if (!program.empty()) {
        staged.jobs.push_back(applyJob(program, "add", model::path(object, iid),
                                       hookInput(object, stored(vcmd, object, iid).data(), nullptr)));
    }
}

// What lies deeper goes first, as its hook may need what it lies below.
std::vector<HookJob> deleteJobs(Vcmd& vcmd, const model::Object& object, const objIndex& iid) {
    std::vector<HookJob> jobs;
    for (uint8_t depth = store::kDepthMax; depth >= object.depth && depth > 0; --depth) {
        for (const model::Object& one : model::objects()) {
            if (one.depth == depth && isBelow(one, object)) {
                collectDeletes(vcmd, one, iid, jobs);
            }
        }
    }
    collectDeletes(vcmd, object, iid, jobs);
    return jobs;
}

void deleteInstance(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    const model::Object& object = *model::find(message.oid);
    std::vector<HookJob> jobs;
    if (!stored(vcmd, object, message.objIid).empty()) {
        jobs = deleteJobs(vcmd, object, message.objIid);
    }
    if (!jobs.empty() && hookRoom(vcmd.hooks, HookKind::Apply) < jobs.size()) {
        return refuse(staged, VCFG_ERR_FULL, "too many changes are waiting to be applied");
    }
    std::string why;
    const int code = vcmd.store.remove(message.oid, message.objIid, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, std::string(object.pattern) + ": " + why);
    }
    staged.jobs = std::move(jobs);
    confirm(staged);
}

}  // namespace vcfg::vcmd
