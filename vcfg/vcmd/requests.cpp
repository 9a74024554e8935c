// One round: serve and answer all that is ready.
#include "requests.h"

#include <vcfg/msg_types.h>

#include "client/fe_wire.h"
#include "message.h"
#include "recorder/events.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

// So that hooks and signals get their turn while requests keep coming.
constexpr unsigned kMostAtOnce = 64;

bool expectsAnswer(const vcfg_msg_t& message) {
    return (message.type & VCFG_MSG_NO_REPLY) == 0;
}

// The daemon waits for this answer although the type says that none is expected.
bool isAwaited(const vcfg_msg_t& message) {
    return expectsAnswer(message) || message.type == VCFG_MSG_INIT_DATAMODEL_FIN;
}

void serveWatch(Vcmd& vcmd, Staged& staged) {
    const std::string_view payload = staged.request.payload();
    if (!payload.empty() && payload.find('\0') != payload.size() - 1) {
        return refuse(staged, VCFG_ERR_INVALID, "the patterns are not one terminated text");
    }
    const int code = addWatcher(vcmd.watchers, *vcmd.server, staged.request.from, *staged.request.message,
                                payload.substr(0, payload.find('\0')));
    code == VCFG_OK ? confirm(staged) : refuse(staged, code, "there are too many watchers");
}

// The daemon prints the answer's text.
void confirmStartUp(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& notice = *staged.request.message;
    lookForDaemon(vcmd.announcer);  // or a socket that is found to be new later would take it for its predecessor's
    vcmd.announcer.completed = vcmd.announcer.completed || notice.srcEid == VCFG_EID_TARN;
    VCMD_LOG(VLOG_INFO, "endpoint %u has completed its start-up", notice.srcEid);
    staged.answer = newMessage(VCFG_MSG_INIT_DATAMODEL_FIN, notice.srcEid, "OK", true);
    if (staged.answer != nullptr) {
        staged.answer->requestId = notice.requestId;
    }
}

// A daemon that was started a moment ago is looked for first: its predecessor's completion is not its own.
void serveStartUp(Vcmd& vcmd, Staged& staged) {
    lookForDaemon(vcmd.announcer);
    const wire::StartUpHeader header{vcmd.announcer.completed ? 1 : 0};
    confirm(staged, {}, std::as_bytes(std::span(&header, 1)));
}

void serveOther(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    if (message.type == wire::kWatch) {
        serveWatch(vcmd, staged);
    } else if (message.type == wire::kService) {
        serveService(vcmd, staged);
    } else if (message.type == VCFG_MSG_INIT_DATAMODEL_FIN) {
        confirmStartUp(vcmd, staged);
    } else if (message.type == wire::kStartUp) {
        serveStartUp(vcmd, staged);
    } else if (message.type == wire::kPing) {
        lookForHooks(vcmd.hookWatch, vcmd.hooks, vcmd.store);
        confirm(staged);
    } else if (voUtilHandleRecvdMsgDebugCfg(&message) == 0) {
        confirm(staged);
    } else {
        refuse(staged, VCFG_ERR_INVALID, "no such request");
    }
}

// Without memory for the answer the write may be in the model: never a part of it, and who asked is told of the
// failure.
void serve(Vcmd& vcmd, Staged& staged) {
    try {
        if (!serveRefresh(vcmd, staged) && !serveWrite(vcmd, staged) && !serveModel(vcmd, staged)) {
            serveOther(vcmd, staged);
        }
    } catch (const std::bad_alloc&) {
        staged.jobs.clear();
        if (staged.request.message != nullptr) {
            staged.answer = newRefusal(*staged.request.message, VCFG_ERR_FAIL, "memory is short");
        }
    }
}

void finish(Vcmd& vcmd, Staged& staged) {
    for (HookJob& job : staged.jobs) {
        queueHook(vcmd.hooks, std::move(job));
    }
    answerNow(vcmd, staged);
}

}  // namespace

void refuse(Staged& staged, int code, const std::string& why) {
    const vcfg_msg_t& message = *staged.request.message;
    recorder::step(recorder::Lane::Lasting, "refused", why, code);
    if (code == VCFG_ERR_INVALID) {
        VCMD_LOG(VLOG_WARNING, "request 0x%08x of endpoint %u is refused: %s", message.type, message.srcEid,
                 why.c_str());
    }
    if (expectsAnswer(message)) {
        staged.answer = newRefusal(message, code, why);
    }
}

void confirm(Staged& staged, const objIndex& iid, std::span<const std::byte> record) {
    if (expectsAnswer(*staged.request.message)) {
        staged.answer = newAnswer(*staged.request.message, VCFG_OK, iid, record);
    }
}

void answerNow(Vcmd& vcmd, Staged& staged) {
    if (staged.answer != nullptr) {
        vcmd.server->answer(staged.request.from, *staged.answer);
    } else if (staged.request.message != nullptr && isAwaited(*staged.request.message)) {
        vcmd.server->close(staged.request.from);
    }
}

std::string hookFailure(const HookRun& run) {
    return "hook " + run.call.program + " " + run.call.action + " " + run.call.path + " " + run.failure;
}

// What else has come is told by who waits for it next: to ask for it here would be a question more for each request.
bool serveRequests(Vcmd& vcmd) {
    unsigned served = 0;
    do {
        Staged staged;
        staged.request.message = vcmd.server->receive(&staged.request.from);
        if (staged.request.message == nullptr) {
            return false;
        }
        serve(vcmd, staged);
        finish(vcmd, staged);
    } while (++served < kMostAtOnce && vcmd.server->hasMore());
    return vcmd.server->hasMore();
}

}  // namespace vcfg::vcmd
