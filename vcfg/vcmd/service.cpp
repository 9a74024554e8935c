// Who serves an object, for those who ask what the model is.
#include <unistd.h>

#include "client/fe_wire.h"
#include "requests.h"

namespace vcfg::vcmd {

void serveService(Vcmd& vcmd, Staged& staged) {
    const uint32_t oid = staged.request.message->oid;
    const model::Object* object = model::find(oid);
    if (object == nullptr) {
        return refuse(staged, VCFG_ERR_INVALID, "there is no object with id " + std::to_string(oid));
    }
    lookForHooks(vcmd.hookWatch, vcmd.hooks, vcmd.store);
    const wire::ServiceHeader header{getpid()};
    std::string answer(reinterpret_cast<const char*>(&header), sizeof header);
    for (const HookKind kind : {HookKind::Apply, HookKind::Refresh}) {
        answer.append(hookProgram(vcmd.hooks, kind, *object)).push_back('\0');
    }
    confirm(staged, {}, std::as_bytes(std::span(answer)));
}

}  // namespace vcfg::vcmd
