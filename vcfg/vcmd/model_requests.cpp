// Requests that concern the model as a whole: to save it, and to take another one in its place.
#include <utility>

#include "client/fe_wire.h"
#include "requests.h"

namespace vcfg::vcmd {
namespace {

constexpr size_t kLargestModel = 32 << 20;

void save(Vcmd& vcmd, Staged& staged) {
    std::string why;
    saveNow(vcmd.keeper, vcmd.store, &why) ? confirm(staged) : refuse(staged, VCFG_ERR_FAIL, why);
}

// A part begins where the one before has ended; the first one, at 0, begins anew.
void takePart(Vcmd& vcmd, Staged& staged) {
    Loading& loading = vcmd.loading;
    const uint32_t offset = staged.request.message->oid;
    const std::string_view part = staged.request.payload();
    if (offset == 0) {
        loading = {staged.request.from, {}};
    }
    if (loading.from != staged.request.from || loading.text.size() != offset) {
        return refuse(staged, VCFG_ERR_INVALID, "the part does not follow the one before");
    }
    if (part.size() > kLargestModel - offset) {
        loading = {};
        return refuse(staged, VCFG_ERR_FULL, "the model is too large");
    }
    loading.text.append(part);
    confirm(staged);
}

void load(Vcmd& vcmd, Staged& staged) {
    const Loading loading = std::exchange(vcmd.loading, {});
    if (loading.from != staged.request.from) {
        return refuse(staged, VCFG_ERR_INVALID, "no part has come, or another model came meanwhile");
    }
    std::string why;
    vcmd.store.writeAs("eid " + std::to_string(staged.request.message->srcEid));
    const int code = vcmd.store.fromText(loading.text, store::What::All, store::Unknown::Refuse, nullptr, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, why);
    }
    vcmd.levelsChanged = true;
    confirm(staged);
}

}  // namespace

bool serveModel(Vcmd& vcmd, Staged& staged) {
    switch (staged.request.message->type) {
        case wire::kSave:
            save(vcmd, staged);
            return true;
        case wire::kLoadPart:
            takePart(vcmd, staged);
            return true;
        case wire::kLoad:
            load(vcmd, staged);
            return true;
        default:
            return false;
    }
}

}  // namespace vcfg::vcmd
