// Requests that change one instance.
#include "writes.h"

#include <cstring>

#include "client/fe_wire.h"
#include "manageable_device.h"
#include "recorder/events.h"

namespace vcfg::vcmd {
namespace {

using store::Edit;

// The instance goes within the write that marks it.
int removeMarked(Edit& edit, uint32_t oid, objIndex* iid, std::string* why) {
    if (oid != RDM_OID_MANAGEABLE_DEVICE || !isMarkedForDeletion(edit.stored(*model::find(oid), *iid))) {
        return VCFG_OK;
    }
    return edit.remove(oid, iid, why);
}

void writeRecord(Vcmd& vcmd, Staged& staged, Apply apply) {
    const std::span<const char> payload = staged.request.payload();
    changeModel(vcmd, staged, apply, [&](Edit& edit, std::string* why) {
        const uint32_t oid = staged.request.message->oid;
        objIndex iid = staged.request.message->objIid;
        const int code = edit.set(oid, &iid, std::as_bytes(payload), why);
        confirm(staged);
        return code == VCFG_OK ? removeMarked(edit, oid, &iid, why) : code;
    });
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
    changeModel(vcmd, staged, apply, [&](Edit& edit, std::string* why) {
        objIndex iid = staged.request.message->objIid;
        confirm(staged);
        return writeText(edit, staged.request.message->oid, &iid, payload, why);
    });
}

void addInstance(Vcmd& vcmd, Staged& staged) {
    changeModel(vcmd, staged, Apply::Later, [&](Edit& edit, std::string* why) {
        objIndex iid = staged.request.message->objIid;
        const int code = edit.add(staged.request.message->oid, &iid, why);
        confirm(staged, iid);
        return code;
    });
}

void deleteInstance(Vcmd& vcmd, Staged& staged) {
    changeModel(vcmd, staged, Apply::Later, [&](Edit& edit, std::string* why) {
        objIndex iid = staged.request.message->objIid;
        confirm(staged);
        return edit.remove(staged.request.message->oid, &iid, why);
    });
}

void serveOne(Vcmd& vcmd, Staged& staged) {
    const vcfg_msg_t& message = *staged.request.message;
    const bool takesPayload = message.type != wire::kAdd && message.type != wire::kDelete;
    if (!takesPayload && message.length != 0) {
        return refuse(staged, VCFG_ERR_INVALID, "the request takes no payload");
    }
    switch (message.type) {
        case wire::kAdd:
            return addInstance(vcmd, staged);
        case wire::kDelete:
            return deleteInstance(vcmd, staged);
        case wire::kWrite:
            return writeJson(vcmd, staged);
        case wire::kSet:
            return writeRecord(vcmd, staged, Apply::Later);
        case wire::kSetAndWait:
            return writeRecord(vcmd, staged, Apply::Wait);
        default:
            return writeRecord(vcmd, staged, Apply::None);
    }
}

}  // namespace

int writeText(Edit& edit, uint32_t oid, objIndex* iid, std::string_view text, std::string* why) {
    const int code = edit.write(oid, iid, text, why);
    return code == VCFG_OK ? removeMarked(edit, oid, iid, why) : code;
}

bool serveWrite(Vcmd& vcmd, Staged& staged) {
    const uint32_t type = staged.request.message->type;
    const bool isOne = type >= wire::kSet && type <= wire::kWrite;
    if (!isOne && type != wire::kChangeAll) {
        return false;
    }
    vcmd.store.writeAs("eid " + std::to_string(staged.request.message->srcEid), recorder::eventHere());
    isOne ? serveOne(vcmd, staged) : changeSeveral(vcmd, staged);
    return true;
}

}  // namespace vcfg::vcmd
