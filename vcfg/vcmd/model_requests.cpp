// Requests that concern the model as a whole: to save it, and to take another one in its place.
#include <utility>

#include "client/fe_wire.h"
#include "recorder/events.h"
#include "writes.h"

namespace vcfg::vcmd {
namespace {

constexpr size_t kLargestModel = 32 << 20;

void save(Vcmd& vcmd, Staged& staged) {
    std::string why;
    saveNow(vcmd.keeper, vcmd.store, &why) ? confirm(staged) : refuse(staged, VCFG_ERR_FAIL, why);
}

// Its memory too, which a text keeps that is only cleared.
void drop(Loading& loading) {
    const Loading dropped = std::exchange(loading, {});
}

// A part begins where the one before has ended; the first one, at 0, begins anew.
void takePart(Vcmd& vcmd, Staged& staged) {
    Loading& loading = vcmd.loading;
    const uint32_t offset = staged.request.message->oid;
    const std::string_view part = staged.request.payload();
    if (offset == 0) {
        drop(loading);
        loading.from = staged.request.from;
    }
    if (loading.from != staged.request.from || loading.text.size() != offset) {
        return refuse(staged, VCFG_ERR_INVALID, "the part does not follow the one before");
    }
    if (part.size() > kLargestModel - offset) {
        drop(loading);
        return refuse(staged, VCFG_ERR_FULL, "the model is too large");
    }
    loading.text.append(part);
    confirm(staged);
}

void load(Vcmd& vcmd, Staged& staged) {
    const Loading loading = std::exchange(vcmd.loading, {});
    const std::string_view payload = staged.request.payload();
    wire::WriteHeader header{};
    Apply apply = Apply::None;
    payload.copy(reinterpret_cast<char*>(&header), payload.size() == sizeof header ? sizeof header : 0);
    if (!toApply(header.requestType, apply)) {
        return refuse(staged, VCFG_ERR_INVALID, "no such kind of write");
    }
    if (loading.from != staged.request.from) {
        return refuse(staged, VCFG_ERR_INVALID, "no part has come, or another model came meanwhile");
    }
    vcmd.store.writeAs("eid " + std::to_string(staged.request.message->srcEid), recorder::eventHere());
    changeModel(vcmd, staged, apply, [&](std::vector<store::Edited>* edited, std::string* why) {
        const int code = vcmd.store.fromText(loading.text, store::What::All, store::Unknown::Refuse, nullptr, why);
        *edited = code == VCFG_OK ? vcmd.store.differences() : std::vector<store::Edited>();
        confirm(staged);
        return code;
    });
}

}  // namespace

void forgetLoading(Vcmd& vcmd) {
    if (vcmd.loading.from != 0 && !vcmd.server->isOpen(vcmd.loading.from)) {
        drop(vcmd.loading);
    }
}

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
