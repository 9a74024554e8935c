// Owners who refresh their instances before they are read: who reads asks for it here.
#include <new>

#include "client/fe_wire.h"
#include "recorder/events.h"
#include "requests.h"
#include "store/json_text.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

// Puts what the hook has printed into the model; a hook that failed changes nothing.
void takeRefreshed(Vcmd& vcmd, const vcfg_msg_t& request, const HookRun& run) {
    std::string why;
    if (!run.failure.empty()) {
        VCMD_LOG(VLOG_WARNING, "%s", hookFailure(run).c_str());
        return;
    }
    if (run.text.find_first_not_of(" \t\r\n") == std::string::npos) {
        return;
    }
    const store::JsonPtr values = store::parseObject(run.text, &why);
    vcmd.store.writeAs("refresh hook", recorder::eventHere());
    vcmd.watchers.refreshedFor = request.srcEid;
    const int code =
        values == nullptr ? VCFG_ERR_INVALID : vcmd.store.write(request.oid, request.objIid, values.get(), &why);
    vcmd.watchers.refreshedFor.reset();
    if (code != VCFG_OK) {
        VCMD_LOG(VLOG_WARNING, "hook %s get %s: its output is refused: %s", run.call.program.c_str(),
                 run.call.path.c_str(), why.c_str());
    }
}

// Who reads is answered, with or without the values.
void takeOrLose(Vcmd& vcmd, const vcfg_msg_t& request, const HookRun& run) {
    try {
        takeRefreshed(vcmd, request, run);
    } catch (const std::bad_alloc&) {
        VCMD_LOG(VLOG_WARNING, "memory is short for what a refresh hook has printed");
    }
}

void startRefresh(Vcmd& vcmd, Staged& staged, const model::Object& object, const void* record, std::string program) {
    if (hookRoom(vcmd.hooks, HookKind::Refresh) == 0) {
        return refuse(staged, VCFG_ERR_FULL, "too many refreshes are waiting");
    }
    const store::JsonPtr values = store::recordJson(object, record);
    HookCall call{std::move(program), "get", model::path(object, staged.request.message->objIid),
                  store::textOf(values.get()), true};
    call.forEid = staged.request.message->srcEid;
    // Shared, as a std::function wants to be copyable.
    auto request = std::make_shared<Staged>();
    HookJob job{HookKind::Refresh, std::move(call), [&vcmd, request](const HookRun& run) {
                    takeOrLose(vcmd, *request->request.message, run);
                    confirm(*request);
                    answerNow(vcmd, *request);
                }};
    request->request = std::move(staged.request);
    queueHook(vcmd.hooks, std::move(job));
}

}  // namespace

bool serveRefresh(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    if (message.type != wire::kRefresh) {
        return false;
    }
    const model::Object* object = model::find(message.oid);
    const void* record = nullptr;
    const int code = object != nullptr ? vcmd.store.get(message.oid, message.objIid, &record) : VCFG_ERR_INVALID;
    if (object == nullptr) {
        refuse(staged, code, "there is no object with id " + std::to_string(message.oid));
    } else if (message.length != 0) {
        refuse(staged, VCFG_ERR_INVALID, "the request takes no payload");
    } else if (code == VCFG_ERR_INVALID) {
        refuse(staged, code,
               std::string(object->pattern) + ": " + std::to_string(message.objIid.level) +
                   " instance numbers are not what the request takes");
    } else if (code != VCFG_OK) {
        refuse(staged, code, model::path(*object, message.objIid) + ": no such instance");
    } else if (std::string program = hookProgram(vcmd.hooks, HookKind::Refresh, *object); program.empty()) {
        confirm(staged);
    } else {
        startRefresh(vcmd, staged, *object, record, std::move(program));
    }
    return true;
}

}  // namespace vcfg::vcmd
