// Requests that show the model, after the owner of the object has refreshed it if that is asked for.
#include <cstring>

#include "client/fe_wire.h"
#include "requests.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

struct Target {
    const model::Object* object = nullptr;
    objIndex iid{};
    const void* record = nullptr;
};

bool isRead(uint32_t type) {
    return type >= wire::kGet && type <= wire::kNextChild;
}

bool isRefreshed(uint32_t type) {
    return type == wire::kGet || type == wire::kNext || type == wire::kNextChild;
}

std::span<const std::byte> bytes(const Target& target) {
    return {static_cast<const std::byte*>(target.record), target.object->size};
}

int find(Vcmd& vcmd, const Request& request, Target& target, std::string& why) {
    const vcfg_msg_t& message = *request.message;
    target.object = model::find(message.oid);
    target.iid = message.objIid;
    if (target.object == nullptr) {
        why = "there is no object with id " + std::to_string(message.oid);
        return VCFG_ERR_INVALID;
    }
    const bool ofChild = message.type == wire::kNextChild;
    if (request.payload().size() != (ofChild ? sizeof(objIndex) : 0)) {
        why = "the request's payload has not the size it should have";
        return VCFG_ERR_INVALID;
    }
    why =
        (target.iid.level == target.object->depth ? model::path(*target.object, target.iid) : target.object->pattern) +
        std::string(": no such instance");
    int code;
    if (ofChild) {
        objIndex parent;
        memcpy(&parent, request.payload().data(), sizeof parent);
        code = vcmd.store.nextChild(message.oid, parent, &target.iid, &target.record);
    } else if (message.type == wire::kGet || message.type == wire::kGetStored) {
        code = vcmd.store.get(message.oid, target.iid, &target.record);
    } else {
        code = vcmd.store.next(message.oid, &target.iid, &target.record);
    }
    if (code == VCFG_ERR_INVALID) {
        why = std::string(target.object->pattern) + ": " + std::to_string(message.objIid.level) +
              " instance numbers are not what the request takes";
    }
    return code;
}

void answerFound(Vcmd& vcmd, Staged& staged) {
    Target target;
    std::string why;
    const int code = find(vcmd, staged.request, target, why);
    if (code == VCFG_OK) {
        confirm(staged, target.iid, bytes(target));
    } else {
        refuse(staged, code, why);
    }
}

// Puts what the hook has printed into the model; a hook that failed changes nothing.
void takeRefreshed(Vcmd& vcmd, const model::Object& object, const objIndex& iid, const HookRun& run) {
    std::string why;
    if (!run.failure.empty()) {
        VCMD_LOG(VLOG_WARNING, "%s", hookFailure(run).c_str());
        return;
    }
    if (run.text.find_first_not_of(" \t\r\n") == std::string::npos) {
        return;
    }
    const store::JsonPtr values = store::parseObject(run.text, &why);
    vcmd.writer = "refresh hook";
    const int code = values == nullptr ? VCFG_ERR_INVALID : vcmd.store.write(object.oid, iid, values.get(), &why);
    if (code != VCFG_OK) {
        VCMD_LOG(VLOG_WARNING, "hook %s get %s: its output is refused: %s", run.call.program.c_str(),
                 run.call.path.c_str(), why.c_str());
    }
}

void startRefresh(Vcmd& vcmd, Staged& staged, const Target& target, std::string program) {
    if (hookRoom(vcmd.hooks, HookKind::Refresh) == 0) {
        return refuse(staged, VCFG_ERR_FULL, "too many refreshes are waiting");
    }
    const store::JsonPtr values = store::recordJson(*target.object, target.record);
    HookCall call{std::move(program), "get", model::path(*target.object, target.iid),
                  json_object_to_json_string_ext(values.get(), JSON_C_TO_STRING_PLAIN), true};
    // Shared, as a std::function wants to be copyable.
    auto request = std::make_shared<Staged>();
    request->request = std::move(staged.request);
    queueHook(vcmd.hooks, {HookKind::Refresh, std::move(call),
                           [&vcmd, request, object = target.object, iid = target.iid](const HookRun& run) {
                               takeRefreshed(vcmd, *object, iid, run);
                               answerFound(vcmd, *request);
                               answerNow(vcmd, *request);
                           }});
}

}  // namespace

bool serveRead(Vcmd& vcmd, Staged& staged) {
    const uint32_t type = staged.request.message->type;
    if (!isRead(type)) {
        return false;
    }
    Target target;
    std::string why;
    const int code = find(vcmd, staged.request, target, why);
    std::string program;
    if (code == VCFG_OK && isRefreshed(type)) {
        program = hookProgram(vcmd.hooks, HookKind::Refresh, *target.object);
    }
    if (code != VCFG_OK) {
        refuse(staged, code, why);
    } else if (program.empty()) {
        confirm(staged, target.iid, bytes(target));
    } else {
        startRefresh(vcmd, staged, target, std::move(program));
    }
    return true;
}

}  // namespace vcfg::vcmd
