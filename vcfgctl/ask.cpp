#include "ask.h"

#include <sys/stat.h>

#include <cstring>

#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace wire = vcfg::wire;
using vcfg::bus::MessagePtr;

wire::Request readRequest(bool refresh) {
    return refresh ? wire::kGet : wire::kGetStored;
}

uint32_t patience(bool refresh) {
    return refresh ? kWithoutLimit : kPatience;
}

// False, reported, when the answer's record is not of this model.
bool isRecordOf(const model::Object& object, const vcfg::Answer& answer) {
    if (answer.body.size() == object.size) {
        return true;
    }
    refuse("vcmd has another data model: its record of " + std::string(object.pattern) + " has " +
           std::to_string(answer.body.size()) + " bytes, not " + std::to_string(object.size));
    return false;
}

// The instances that there are instead, as far as they fit a line.
std::string existing(const model::Object& object) {
    constexpr unsigned kMost = 8;
    std::string text;
    objIndex iid{};
    for (unsigned listed = 0; listed <= kMost; ++listed) {
        const vcfg::Answer answer = ask(wire::kNextStored, object.oid, iid);
        if (answer.code != VCFG_OK) {
            break;
        }
        iid = answer.iid;
        text.append(listed == 0 ? "" : ", ").append(listed == kMost ? "..." : model::path(object, iid));
    }
    return text.empty() ? "; there is none yet" : "; there is " + text;
}

int takeOne(const Selection& selection, const objIndex& iid, bool refresh, const TakeRecord& take) {
    const model::Object& object = *selection.object;
    const vcfg::Answer answer = ask(readRequest(refresh), object.oid, iid, {}, patience(refresh));
    if (answer.code == VCFG_ERR_NOT_FOUND) {
        return refuse(model::path(object, iid) + ": no such instance" + existing(object));
    }
    if (answer.code != VCFG_OK) {
        return reportFailure(answer, model::path(object, iid));
    }
    if (!isRecordOf(object, answer)) {
        return kRefused;
    }
    take(iid, answer.body.data());
    return kDone;
}

}  // namespace

MessagePtr newMessage(uint32_t type, std::string_view payload) {
    MessagePtr message(static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payload.size() + 1)));
    if (message == nullptr) {
        return nullptr;
    }
    message->type = type;
    message->length = static_cast<uint16_t>(payload.size());
    memcpy(vcfg_msg_payload(message.get()), payload.data(), payload.size());
    return message;
}

vcfg::Answer ask(wire::Request request, uint32_t oid, const objIndex& iid, std::string_view payload,
                 uint32_t timeoutMs) {
    return vcfg::request(request, oid, iid, payload, vcfg::Deadline::ofCall(timeoutMs));
}

int joinBus(const std::string& runDir, uint8_t eid) {
    struct stat status {};
    if (stat(runDir.c_str(), &status) != 0) {
        return nobodyAnswers("there is no bus in " + runDir + ": " + strerror(errno) + "; is vcmd running?");
    }
    const int code = vcfg_msg_eidInit(eid, "vcfgctl");
    if (code == VCFG_ERR_RIGHTS) {
        return refuse("the run directory " + runDir + " belongs to somebody else");
    }
    return code == VCFG_OK ? kDone : refuse("cannot use the run directory " + runDir);
}

int reportBusFailure(int code, unsigned eid) {
    const std::string whom = "endpoint " + std::to_string(eid) + (eid == VCFG_EID_VCMD ? " (vcmd)" : "");
    switch (code) {
        case VCFG_ERR_NO_PEER:
            return nobodyAnswers("nobody serves " + whom);
        case VCFG_ERR_TIMEOUT:
            return nobodyAnswers(whom + " did not answer in time");
        case VCFG_ERR_RIGHTS:
            return refuse(whom + " is not ours to talk to; root and the owner of its process may");
        default:
            return refuse(whom + " cannot be reached (code " + std::to_string(code) + ")");
    }
}

int reportFailure(const vcfg::Answer& answer, const std::string& subject) {
    if (answer.code == VCFG_ERR_NO_PEER || answer.code == VCFG_ERR_TIMEOUT || answer.code == VCFG_ERR_RIGHTS) {
        return reportBusFailure(answer.code, VCFG_EID_VCMD);
    }
    const std::string why =
        answer.body.empty() ? "refused with code " + std::to_string(answer.code) : oneLine(answer.body);
    return refuse(why.starts_with(subject) ? why : subject + ": " + why);
}

int forEach(const Selection& selection, bool refresh, const TakeRecord& take) {
    objIndex iid{};
    if (selection.isOne(&iid)) {
        return takeOne(selection, iid, refresh, take);
    }
    iid = {};
    for (;;) {
        const vcfg::Answer answer =
            ask(refresh ? wire::kNext : wire::kNextStored, selection.object->oid, iid, {}, patience(refresh));
        if (answer.code == VCFG_ERR_NOT_FOUND) {
            return kDone;
        }
        if (answer.code != VCFG_OK) {
            return reportFailure(answer, selection.object->pattern);
        }
        if (!isRecordOf(*selection.object, answer)) {
            return kRefused;
        }
        iid = answer.iid;
        if (selection.fits(iid)) {
            take(iid, answer.body.data());
        }
    }
}

}  // namespace vcfgctl
