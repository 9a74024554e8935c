#include "ask.h"

#include <sys/stat.h>
#include <vcfg/fe.h>

#include <cstring>

#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace wire = vcfg::wire;
using vcfg::bus::MessagePtr;

struct FreeRecord {
    void operator()(void* record) const { free(record); }
};
using Record = std::unique_ptr<void, FreeRecord>;

int readOne(uint32_t oid, objIndex* iid, bool refresh, Record* record) {
    void* found = nullptr;
    const int code = refresh ? vcfgFeObjStructGet(oid, iid, &found) : vcfgFeObjStructGetWithoutUpdate(oid, iid, &found);
    record->reset(found);
    return code;
}

int readNext(uint32_t oid, objIndex* iid, bool refresh, Record* record) {
    void* found = nullptr;
    const int code =
        refresh ? vcfgFeObjStructGetNext(oid, iid, &found) : vcfgFeObjStructGetNextWithoutUpdate(oid, iid, &found);
    record->reset(found);
    return code;
}

// The instances that there are instead, as far as they fit a line.
std::string existing(const model::Object& object) {
    constexpr unsigned kMost = 8;
    std::string text;
    objIndex iid{};
    for (unsigned listed = 0; listed <= kMost; ++listed) {
        Record record;
        if (readNext(object.oid, &iid, false, &record) != VCFG_OK) {
            break;
        }
        text.append(listed == 0 ? "" : ", ").append(listed == kMost ? "..." : model::path(object, iid));
    }
    return text.empty() ? "; there is none yet" : "; there is " + text;
}

int takeOne(const Selection& selection, objIndex iid, bool refresh, const TakeRecord& take) {
    const model::Object& object = *selection.object;
    Record record;
    const int code = readOne(object.oid, &iid, refresh, &record);
    if (code == VCFG_ERR_NOT_FOUND) {
        return refuse(model::path(object, iid) + ": no such instance" + existing(object));
    }
    if (code != VCFG_OK) {
        return reportFailure({code, iid, {}}, model::path(object, iid));
    }
    take(iid, record.get());
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
        Record record;
        const int code = readNext(selection.object->oid, &iid, refresh, &record);
        if (code == VCFG_ERR_NOT_FOUND) {
            return kDone;
        }
        if (code != VCFG_OK) {
            return reportFailure({code, iid, {}}, selection.object->pattern);
        }
        if (selection.fits(iid)) {
            take(iid, record.get());
        }
    }
}

}  // namespace vcfgctl
