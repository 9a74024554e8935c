#include "fe_client.h"

#include <cstring>

#include "bus_client.h"
#include "endpoint.h"
#include "fe_wire.h"
#include "model_lease.h"
#include "refusal.h"

namespace vcfg {
namespace {

bus::MessagePtr toMessage(uint32_t type, uint32_t oid, const objIndex& iid, std::string_view payload) {
    bus::MessagePtr message(static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payload.size())));
    if (message != nullptr) {
        message->type = type;
        message->oid = oid;
        message->srcEid = threadEid();
        message->dstEid = VCFG_EID_VCMD;
        message->requestId = bus::freshRequestId();
        message->objIid = iid;
        message->length = static_cast<uint16_t>(payload.size());
        payload.copy(vcfg_msg_payload(message.get()), payload.size());
    }
    return message;
}

Answer exchange(uint32_t type, uint32_t oid, const objIndex& iid, std::string_view payload, const Deadline& deadline) {
    if (payload.size() > VCFG_MSG_PAYLOAD_MAX) {
        return {VCFG_ERR_INVALID, {}, "the request does not fit a message of 65535 bytes; nothing is changed"};
    }
    const bus::MessagePtr message = toMessage(type, oid, iid, payload);
    if (message == nullptr) {
        return {VCFG_ERR_FAIL, {}, "memory is short"};
    }
    bus::MessagePtr reply;
    const int code = bus::call(*message, deadline, &reply);
    lookForModel();  // what has been answered must be seen from the next read on
    if (code != VCFG_OK) {
        return {code, {}, code == VCFG_ERR_NO_PEER ? "vcmd does not answer" : "the call to vcmd failed"};
    }
    if (reply->type != wire::answerTo(type)) {
        return {VCFG_ERR_FAIL, {}, "the answer of vcmd is none to this request"};
    }
    Answer answer{static_cast<int32_t>(reply->statCode), reply->objIid, {}};
    answer.body.assign(vcfg_msg_text(reply.get()), reply->length);
    if (answer.code != VCFG_OK) {
        answer.body.resize(strnlen(answer.body.c_str(), answer.body.size()));
    }
    return answer;
}

}  // namespace

Answer request(uint32_t type, uint32_t oid, const objIndex& iid, std::string_view payload, const Deadline& deadline) {
    Answer answer = exchange(type, oid, iid, payload, deadline);
    noteRefusal(answer.code == VCFG_OK ? "" : answer.body);
    return answer;
}

}  // namespace vcfg
