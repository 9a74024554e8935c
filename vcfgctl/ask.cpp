#include "ask.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "names.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {

namespace wire = vcfg::wire;
using vcfg::bus::MessagePtr;

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
    if (S_ISDIR(status.st_mode) && access(runDir.c_str(), X_OK) != 0) {
        return refuse("the run directory " + runDir +
                      " is closed to this user; root and its owner may use it, its group in mode 0770");
    }
    const int code = vcfg_msg_eidInit(eid, "vcfgctl");
    if (code == VCFG_ERR_RIGHTS) {
        return refuse("the run directory " + runDir + " belongs to somebody else, or others may write it");
    }
    return code == VCFG_OK ? kDone : refuse("cannot use the run directory " + runDir);
}

int reportBusFailure(int code, unsigned eid) {
    const std::string whom = "endpoint " + endpointText(eid);
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

}  // namespace vcfgctl
