// Requests that change the model, and the apply hooks that follow them.
#include <vcfg/fe.h>

#include <cstring>

#include "client/fe_wire.h"
#include "manageable_device.h"
#include "writes.h"

namespace vcfg::vcmd {
namespace {

enum class Apply { None, Later, Wait };

// Lets the hook's end answer the request.
void answerWhenApplied(Vcmd& vcmd, Staged& staged, HookJob& job) {
    auto waiting = std::make_shared<Staged>();
    waiting->request.from = staged.request.from;
    waiting->request.message.reset(static_cast<vcfg_msg_t*>(calloc(1, sizeof(vcfg_msg_t) + 1)));
    if (waiting->request.message == nullptr) {
        throw std::bad_alloc();
    }
    *waiting->request.message = *staged.request.message;
    waiting->request.message->length = 0;
    staged.answer.reset();
    job.done = [&vcmd, waiting](const HookRun& run) {
        reportApply(run);
        if (run.failure.empty()) {
            confirm(*waiting);
        } else {
            refuse(*waiting, VCFG_ERR_FAIL, hookFailure(run));
        }
        answerNow(vcmd, *waiting);
    };
}

void applyLater(Vcmd& vcmd, Staged& staged, Apply apply, std::vector<HookJob> jobs) {
    staged.jobs = std::move(jobs);
    if (apply == Apply::Wait && !staged.jobs.empty()) {
        answerWhenApplied(vcmd, staged, staged.jobs.back());
    }
}

// The instance goes within the write that marks it.
void deleteMarked(Vcmd& vcmd, Staged& staged, Apply apply, const model::Object& object) {
    const objIndex iid = staged.request.message->objIid;
    if (apply != Apply::None) {
        applyLater(vcmd, staged, apply, deleteJobs(vcmd, object, iid));
    }
    vcmd.store.remove(object.oid, iid, nullptr);
}

// The hook, if there is one, has them in its input; who reads sees no request that is over.
void endRequests(Vcmd& vcmd, const model::Object& object, const objIndex& iid, Bytes record) {
    bool any = false;
    for (const model::Parameter& parameter : object.parameters) {
        if (parameter.isRequest() && valueText(parameter, record.data()) == "true") {
            any = setValue(parameter, record.data(), "false", nullptr);
        }
    }
    if (any) {
        vcmd.store.set(object.oid, iid, record, nullptr);
    }
}

// Everything about one write of an instance's values; `change` makes it.
void write(Vcmd& vcmd, Staged& staged, Apply apply,
           const std::function<int(const model::Object&, std::string*)>& change) {
    const uint32_t oid = staged.request.message->oid;
    const objIndex iid = staged.request.message->objIid;
    const model::Object& object = *model::find(oid);
    const std::string program = apply == Apply::None ? "" : hookProgram(vcmd.hooks, HookKind::Apply, object);
    if (!program.empty() && hookRoom(vcmd.hooks, HookKind::Apply) == 0) {
        return refuse(staged, VCFG_ERR_FULL, "too many changes are waiting to be applied");
    }
    Bytes before = stored(vcmd, object, iid);
    std::string why;
    const int code = change(object, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, model::path(object, iid) + ": " + why);
    }
    const Bytes after = stored(vcmd, object, iid);
    confirm(staged);
    if (isMarkedForDeletion(object, after)) {
        return deleteMarked(vcmd, staged, apply, object);
    }
    if (!program.empty()) {
        std::string input = hookInput(object, after.data(), before.data());
        applyLater(vcmd, staged, apply, {applyJob(program, "set", model::path(object, iid), std::move(input))});
    }
    endRequests(vcmd, object, iid, after);
}

void writeRecord(Vcmd& vcmd, Staged& staged, Apply apply) {
    const std::string_view payload = staged.request.payload();
    const vcfg_msg_t& message = *staged.request.message;
    write(vcmd, staged, apply, [&](const model::Object&, std::string* why) {
        return vcmd.store.set(message.oid, message.objIid,
                              {reinterpret_cast<const std::byte*>(payload.data()), payload.size()}, why);
    });
}

bool toApply(uint32_t requestType, Apply& apply) {
    switch (requestType) {
        case VCFG_FE_WRITE_APPLY:
            apply = Apply::Later;
            return true;
        case VCFG_FE_WRITE_NO_APPLY:
            apply = Apply::None;
            return true;
        case wire::kWriteAndWait:
            apply = Apply::Wait;
            return true;
        default:
            return false;
    }
}

void writeJson(Vcmd& vcmd, Staged& staged) {
    std::string_view payload = staged.request.payload();
    wire::WriteHeader header{};
    Apply apply = Apply::None;
    if (payload.size() > sizeof header) {
        memcpy(&header, payload.data(), sizeof header);
    }
    if (!toApply(header.requestType, apply)) {
        return refuse(staged, VCFG_ERR_INVALID, "no such kind of write");
    }
    payload.remove_prefix(sizeof header);
    if (payload.find('\0') != payload.size() - 1) {
        return refuse(staged, VCFG_ERR_INVALID, "the parameters are not one terminated text");
    }
    payload.remove_suffix(1);
    const vcfg_msg_t& message = *staged.request.message;
    write(vcmd, staged, apply, [&](const model::Object&, std::string* why) {
        const store::JsonPtr values = store::parseObject(payload, why);
        return values == nullptr ? VCFG_ERR_INVALID : vcmd.store.write(message.oid, message.objIid, values.get(), why);
    });
}

}  // namespace

bool serveWrite(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    if (message.type < wire::kSet || message.type > wire::kWrite) {
        return false;
    }
    vcmd.store.writeAs("eid " + std::to_string(message.srcEid));
    if (model::find(message.oid) == nullptr) {
        refuse(staged, VCFG_ERR_INVALID, "there is no object with id " + std::to_string(message.oid));
        return true;
    }
    const bool takesPayload = message.type != wire::kAdd && message.type != wire::kDelete;
    if (!takesPayload && message.length != 0) {
        refuse(staged, VCFG_ERR_INVALID, "the request takes no payload");
    } else if (message.type == wire::kAdd) {
        addInstance(vcmd, staged);
    } else if (message.type == wire::kDelete) {
        deleteInstance(vcmd, staged);
    } else if (message.type == wire::kWrite) {
        writeJson(vcmd, staged);
    } else {
        writeRecord(vcmd, staged,
                    message.type == wire::kSet          ? Apply::Later
                    : message.type == wire::kSetAndWait ? Apply::Wait
                                                        : Apply::None);
    }
    return true;
}

}  // namespace vcfg::vcmd
