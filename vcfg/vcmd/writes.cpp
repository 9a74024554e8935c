// Requests that change the model, and the apply hooks that follow them.
#include <vcfg/fe.h>

#include <cstring>

#include "client/fe_wire.h"
#include "requests.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

using Bytes = std::vector<std::byte>;

struct Written {
    const model::Object* object;
    objIndex iid;
    Bytes before;
};

enum class Apply { None, Later, Wait };

Bytes copy(const model::Object& object, const void* record) {
    const auto* start = static_cast<const std::byte*>(record);
    return Bytes(start, start + object.size);
}

Bytes stored(const Vcmd& vcmd, const model::Object& object, const objIndex& iid) {
    const void* record = nullptr;
    return vcmd.store.get(object.oid, iid, &record) == VCFG_OK ? copy(object, record) : Bytes();
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

// Everything about one write of an instance's values; `change` makes it.
void write(Vcmd& vcmd, Staged& staged, Apply apply, size_t spokenFor,
           const std::function<int(const model::Object&, std::string*)>& change) {
    const uint32_t oid = staged.request.message->oid;
    const objIndex iid = staged.request.message->objIid;
    const model::Object& object = *model::find(oid);
    const std::string program = apply == Apply::None ? "" : hookProgram(vcmd.hooks, HookKind::Apply, object);
    if (!program.empty() && hookRoom(vcmd.hooks, HookKind::Apply) <= spokenFor) {
        return refuse(staged, VCFG_ERR_FULL, "too many changes are waiting to be applied");
    }
    Bytes before = stored(vcmd, object, iid);
    std::string why;
    const int code = change(object, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, model::path(object, iid) + ": " + why);
    }
    staged.wrote = true;
    confirm(staged);
    if (!program.empty()) {
        const Bytes after = stored(vcmd, object, iid);
        staged.jobs.push_back(
            applyJob(program, "set", model::path(object, iid), hookInput(object, after.data(), before.data())));
        if (apply == Apply::Wait) {
            answerWhenApplied(vcmd, staged, staged.jobs.back());
        }
    }
    staged.undo = [&vcmd, oid, iid, before = std::move(before)] { vcmd.store.set(oid, iid, before, nullptr); };
}

void writeRecord(Vcmd& vcmd, Staged& staged, Apply apply, size_t spokenFor) {
    const std::string_view payload = staged.request.payload();
    const vcfg_msg_t& message = *staged.request.message;
    write(vcmd, staged, apply, spokenFor, [&](const model::Object&, std::string* why) {
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

void writeJson(Vcmd& vcmd, Staged& staged, size_t spokenFor) {
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
    write(vcmd, staged, apply, spokenFor, [&](const model::Object&, std::string* why) {
        const store::JsonPtr values = store::parseObject(payload, why);
        return values == nullptr ? VCFG_ERR_INVALID : vcmd.store.write(message.oid, message.objIid, values.get(), why);
    });
}

void add(Vcmd& vcmd, Staged& staged, size_t spokenFor) {
    const vcfg_msg_t& message = *staged.request.message;
    const model::Object& object = *model::find(message.oid);
    const std::string program = hookProgram(vcmd.hooks, HookKind::Apply, object);
    if (!program.empty() && hookRoom(vcmd.hooks, HookKind::Apply) <= spokenFor) {
        return refuse(staged, VCFG_ERR_FULL, "too many changes are waiting to be applied");
    }
    objIndex iid = message.objIid;
    std::string why;
    const int code = vcmd.store.add(message.oid, &iid, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, std::string(object.pattern) + ": " + why);
    }
    staged.wrote = true;
    staged.undo = [&vcmd, oid = message.oid, iid] { vcmd.store.remove(oid, iid, nullptr); };
    confirm(staged, iid);
    if (!program.empty()) {
        staged.jobs.push_back(applyJob(program, "add", model::path(object, iid),
                                       hookInput(object, stored(vcmd, object, iid).data(), nullptr)));
    }
}

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

void remove(Vcmd& vcmd, Staged& staged, size_t spokenFor) {
    const vcfg_msg_t& message = *staged.request.message;
    const model::Object& object = *model::find(message.oid);
    std::vector<HookJob> jobs;
    if (!stored(vcmd, object, message.objIid).empty()) {
        jobs = deleteJobs(vcmd, object, message.objIid);
    }
    if (!jobs.empty() && hookRoom(vcmd.hooks, HookKind::Apply) < spokenFor + jobs.size()) {
        return refuse(staged, VCFG_ERR_FULL, "too many changes are waiting to be applied");
    }
    const std::shared_ptr<json_object> whole(vcmd.store.toJson().release(), json_object_put);
    std::string why;
    const int code = vcmd.store.remove(message.oid, message.objIid, &why);
    if (code != VCFG_OK) {
        return refuse(staged, code, std::string(object.pattern) + ": " + why);
    }
    staged.wrote = true;
    staged.undo = [&vcmd, whole] { vcmd.store.fromJson(whole.get(), store::Unknown::Refuse, nullptr, nullptr); };
    staged.jobs = std::move(jobs);
    confirm(staged);
}

}  // namespace

bool serveWrite(Vcmd& vcmd, Staged& staged, size_t spokenFor) {
    const vcfg_msg_t& message = *staged.request.message;
    if (message.type < wire::kSet || message.type > wire::kWrite) {
        return false;
    }
    vcmd.writer = "eid " + std::to_string(message.srcEid);
    if (model::find(message.oid) == nullptr) {
        refuse(staged, VCFG_ERR_INVALID, "there is no object with id " + std::to_string(message.oid));
        return true;
    }
    const bool takesPayload = message.type != wire::kAdd && message.type != wire::kDelete;
    if (!takesPayload && message.length != 0) {
        refuse(staged, VCFG_ERR_INVALID, "the request takes no payload");
    } else if (message.type == wire::kAdd) {
        add(vcmd, staged, spokenFor);
    } else if (message.type == wire::kDelete) {
        remove(vcmd, staged, spokenFor);
    } else if (message.type == wire::kWrite) {
        writeJson(vcmd, staged, spokenFor);
    } else {
        writeRecord(vcmd, staged,
                    message.type == wire::kSet          ? Apply::Later
                    : message.type == wire::kSetAndWait ? Apply::Wait
                                                        : Apply::None,
                    spokenFor);
    }
    return true;
}

}  // namespace vcfg::vcmd
