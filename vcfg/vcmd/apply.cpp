// How a request changes the model, and the apply hooks that follow.
#include <vcfg/fe.h>

#include <algorithm>
#include <new>

#include "client/fe_wire.h"
#include "store/json_text.h"
#include "vlog.h"
#include "writes.h"

namespace vcfg::vcmd {
namespace {

using store::Edited;
using store::Fate;

// The hooks that a request waits for; the last one's end answers it.
struct Waiting {
    Staged staged;  // with the answer that they are waited for with
    size_t left;
    std::string failure;  // the first one
};

std::string textOf(const Edited& one) {
    const auto* now = one.fate == Fate::Went ? one.before.data() : one.after.data();
    const store::JsonPtr json = store::recordJson(*one.object, now);
    json_object* before =
        one.fate != Fate::Came ? store::recordJson(*one.object, one.before.data()).release() : json_object_new_object();
    json_object_object_add(json.get(), "previous", before);
    return store::textOf(json.get());
}

void report(const HookRun& run) {
    if (!run.failure.empty()) {
        VCMD_LOG(VLOG_ERROR, "%s", hookFailure(run).c_str());
    }
}

HookJob jobFor(std::string program, const Edited& one, uint8_t forEid) {
    const char* const action = one.fate == Fate::Came ? "add" : one.fate == Fate::Went ? "del" : "set";
    HookCall call{std::move(program), action, model::path(*one.object, one.iid), textOf(one), false};
    call.forEid = forEid;
    return {HookKind::Apply, std::move(call), report};
}

// VCFG_ERR_FULL when they cannot all wait.
int jobsFor(const Vcmd& vcmd, const std::vector<Edited>& edited, uint8_t forEid, std::vector<HookJob>* jobs,
            std::string* why) {
    for (const Edited& one : edited) {
        std::string program = hookProgram(vcmd.hooks, HookKind::Apply, *one.object);
        if (!program.empty()) {
            jobs->push_back(jobFor(std::move(program), one, forEid));
        }
    }
    if (jobs->size() > hookRoom(vcmd.hooks, HookKind::Apply)) {
        *why = "too many changes are waiting to be applied";
        return VCFG_ERR_FULL;
    }
    return VCFG_OK;
}

bool takesRequests(const model::Object& object) {
    return std::any_of(object.parameters.begin(), object.parameters.end(),
                       [](const model::Parameter& parameter) { return parameter.isRequest(); });
}

// The hook, if there is one, has them in its input; who reads sees no request that is over.
void endRequests(Vcmd& vcmd, const Edited& one) {
    if (!takesRequests(*one.object)) {
        return;
    }
    std::vector<std::byte> record = one.after;
    bool any = false;
    for (const model::Parameter& parameter : one.object->parameters) {
        if (!record.empty() && parameter.isRequest() && valueText(parameter, record.data()) == "true") {
            any = setValue(parameter, record.data(), "false", nullptr);
        }
    }
    if (any) {
        vcmd.store.set(one.object->oid, one.iid, record, nullptr);
    }
}

// The envelope is enough for a late refusal.
vcfg_msg_t* envelopeOf(const vcfg_msg_t& message) {
    auto* copy = static_cast<vcfg_msg_t*>(calloc(1, sizeof message + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    *copy = message;
    copy->length = 0;
    return copy;
}

void ended(Vcmd& vcmd, Waiting& waiting, const HookRun& run) {
    --waiting.left;
    try {
        report(run);
        if (!run.failure.empty() && waiting.failure.empty()) {
            waiting.failure = hookFailure(run);
        }
    } catch (const std::bad_alloc&) {
        waiting.failure = "no memory";  // a text that needs none
    }
    if (waiting.left > 0) {
        return;
    }
    if (!waiting.failure.empty()) {
        refuse(waiting.staged, VCFG_ERR_FAIL, waiting.failure);
    }
    answerNow(vcmd, waiting.staged);
}

void answerWhenApplied(Vcmd& vcmd, Staged& staged) {
    auto waiting = std::make_shared<Waiting>();
    waiting->staged.request.from = staged.request.from;
    waiting->staged.request.message.reset(envelopeOf(*staged.request.message));
    waiting->staged.answer = std::move(staged.answer);
    waiting->left = staged.jobs.size();
    for (HookJob& job : staged.jobs) {
        job.done = [&vcmd, waiting](const HookRun& run) { ended(vcmd, *waiting, run); };
    }
    staged.request.message.reset();
}

}  // namespace

bool toApply(uint32_t requestType, Apply& apply) {
    switch (requestType) {
        case VCFG_FE_WRITE_APPLY:
            apply = Apply::Later;
            return true;
        case VCFG_FE_WRITE_NO_APPLY:
            apply = Apply::None;
            return true;
        case VCFG_FE_WRITE_AND_WAIT:
            apply = Apply::Wait;
            return true;
        default:
            return false;
    }
}

void changeModel(Vcmd& vcmd, Staged& staged, Apply apply, const Replacement& replacement) {
    std::vector<HookJob> jobs;
    std::string why;
    const int code = vcmd.store.change(&why, [&] {
        std::vector<Edited> edited;
        jobs.clear();
        int done = replacement(&edited, &why);
        if (done == VCFG_OK && apply != Apply::None) {
            done = jobsFor(vcmd, edited, staged.request.message->srcEid, &jobs, &why);
        }
        if (done == VCFG_OK) {
            for (const Edited& one : edited) {
                endRequests(vcmd, one);
            }
        }
        return done;
    });
    if (code != VCFG_OK) {
        return refuse(staged, code, why.empty() ? "memory is short" : why);
    }
    staged.jobs = std::move(jobs);
    if (apply == Apply::Wait && !staged.jobs.empty()) {
        answerWhenApplied(vcmd, staged);
    }
}

void changeModel(Vcmd& vcmd, Staged& staged, Apply apply, const Operation& operation) {
    changeModel(vcmd, staged, apply, [&](std::vector<Edited>* edited, std::string* why) {
        store::Edit edit(vcmd.store);
        const int code = operation(edit, why);
        *edited = code == VCFG_OK ? edit.end() : std::vector<Edited>();
        return code;
    });
}

}  // namespace vcfg::vcmd
