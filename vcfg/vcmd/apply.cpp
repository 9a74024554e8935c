// Apply hooks: what they read, and what becomes of their failures.
#include "vlog.h"
#include "writes.h"

namespace vcfg::vcmd {

Bytes stored(const Vcmd& vcmd, const model::Object& object, const objIndex& iid) {
    const void* record = nullptr;
    if (vcmd.store.get(object.oid, iid, &record) != VCFG_OK) {
        return {};
    }
    const auto* start = static_cast<const std::byte*>(record);
    return Bytes(start, start + object.size);
}

std::string hookInput(const model::Object& object, const void* record, const void* previous) {
    const store::JsonPtr json = store::recordJson(object, record);
    json_object* before =
        previous != nullptr ? store::recordJson(object, previous).release() : json_object_new_object();
    json_object_object_add(json.get(), "previous", before);
    return json_object_to_json_string_ext(json.get(), JSON_C_TO_STRING_PLAIN);
}

void reportApply(const HookRun& run) {
    if (!run.failure.empty()) {
        VCMD_LOG(VLOG_ERROR, "%s", hookFailure(run).c_str());
    }
}

HookJob applyJob(std::string program, const char* action, const std::string& path, std::string input) {
    return {HookKind::Apply, {std::move(program), action, path, std::move(input), false}, reportApply};
}

}  // namespace vcfg::vcmd
