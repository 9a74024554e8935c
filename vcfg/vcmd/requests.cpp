// The round of one batch: serve all that is ready, save once, answer.
#include "requests.h"

#include <vcfg/msg_types.h>

#include "client/fe_wire.h"
#include "message.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

// So that hooks and signals get their turn while requests keep coming.
constexpr unsigned kMostAtOnce = 64;

struct Batch {
    std::vector<Staged> staged;  // from the first write on
    bool wrote = false;
    size_t jobs = 0;
};

bool expectsAnswer(const vcfg_msg_t& message) {
    return (message.type & VCFG_MSG_NO_REPLY) == 0;
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

// The daemon waits for this answer although the type says that none is expected; it prints the text.
void confirmStartUp(Staged& staged) {
    const vcfg_msg_t& notice = *staged.request.message;
    VCMD_LOG(VLOG_INFO, "endpoint %u has completed its start-up", notice.srcEid);
    staged.answer = newMessage(VCFG_MSG_INIT_DATAMODEL_FIN, notice.srcEid, "OK", true);
    if (staged.answer != nullptr) {
        staged.answer->requestId = notice.requestId;
    }
}

void serveOther(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    if (message.type == wire::kWatch) {
        serveWatch(vcmd, staged);
    } else if (message.type == wire::kService) {
        serveService(vcmd, staged);
    } else if (message.type == VCFG_MSG_INIT_DATAMODEL_FIN) {
        confirmStartUp(staged);
    } else if (message.type == wire::kPing || voUtilHandleRecvdMsgDebugCfg(&message) == 0) {
        confirm(staged);
    } else {
        refuse(staged, VCFG_ERR_INVALID, "no such request");
    }
}

void serve(Vcmd& vcmd, Staged& staged, size_t spokenFor) {
    try {
        if (!serveRead(vcmd, staged) && !serveWrite(vcmd, staged, spokenFor)) {
            serveOther(vcmd, staged);
        }
    } catch (const std::bad_alloc&) {
        if (staged.undo) {
            staged.undo();
        }
        staged.wrote = false;
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

// Nothing may look written that is not in the file: the model goes back to where it was, and who has read it meanwhile
// reads it again.
void takeBack(Vcmd& vcmd, Batch& batch, const std::string& why) {
    VCMD_LOG(VLOG_ERROR, "the model cannot be saved, the writes are refused: %s", why.c_str());
    for (size_t i = batch.staged.size(); i > 0; --i) {
        if (batch.staged[i - 1].undo) {
            batch.staged[i - 1].undo();
        }
    }
    forgetChanges(vcmd.watchers);
    for (Staged& staged : batch.staged) {
        if (staged.wrote) {
            staged.jobs.clear();
            staged.answer = newRefusal(*staged.request.message, VCFG_ERR_FAIL, "the model cannot be saved: " + why);
        } else if (staged.reads) {
            serve(vcmd, staged, 0);
        }
        finish(vcmd, staged);
    }
}

void conclude(Vcmd& vcmd, Batch& batch) {
    std::string why;
    if (batch.wrote && !saveModel(vcmd, &why)) {
        return takeBack(vcmd, batch, why);
    }
    for (Staged& staged : batch.staged) {
        finish(vcmd, staged);
    }
}

}  // namespace

void refuse(Staged& staged, int code, const std::string& why) {
    const vcfg_msg_t& message = *staged.request.message;
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
    }
}

std::string hookFailure(const HookRun& run) {
    return "hook " + run.call.program + " " + run.call.action + " " + run.call.path + " " + run.failure;
}

bool serveRequests(Vcmd& vcmd) {
    Batch batch;
    bool more = true;
    for (unsigned served = 0; more && served < kMostAtOnce; ++served) {
        Staged staged;
        staged.request.message = vcmd.server->receive(&staged.request.from);
        more = staged.request.message != nullptr;
        if (!more) {
            break;
        }
        serve(vcmd, staged, batch.jobs);
        batch.wrote = batch.wrote || staged.wrote;
        batch.jobs += staged.jobs.size();
        if (batch.wrote) {
            batch.staged.push_back(std::move(staged));
        } else {
            finish(vcmd, staged);
        }
    }
    conclude(vcmd, batch);
    return more;
}

}  // namespace vcfg::vcmd
