#include "message.h"

#include "client/fe_wire.h"

namespace vcfg::vcmd {

bus::MessagePtr newMessage(uint32_t type, uint8_t dstEid, std::string_view payload, bool terminated) {
    const size_t length = payload.size() + (terminated ? 1 : 0);
    bus::MessagePtr message(length <= VCFG_MSG_PAYLOAD_MAX
                                ? static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + length + 1))
                                : nullptr);
    if (message == nullptr) {
        return nullptr;
    }
    message->type = type;
    message->srcEid = VCFG_EID_VCMD;
    message->dstEid = dstEid;
    message->length = static_cast<uint16_t>(length);
    payload.copy(vcfg_msg_payload(message.get()), payload.size());
    return message;
}

bus::MessagePtr newAnswer(const vcfg_msg_t& request, int code, const objIndex& iid, std::span<const std::byte> record) {
    const std::string_view bytes(reinterpret_cast<const char*>(record.data()), record.size());
    bus::MessagePtr answer = newMessage(wire::answerTo(request.type), request.srcEid, bytes);
    if (answer != nullptr) {
        answer->oid = request.oid;
        answer->requestId = request.requestId;
        answer->statCode = static_cast<uint32_t>(code);
        answer->objIid = iid;
    }
    return answer;
}

bus::MessagePtr newRefusal(const vcfg_msg_t& request, int code, std::string_view why) {
    bus::MessagePtr answer = newMessage(wire::answerTo(request.type), request.srcEid, why.substr(0, 1000), true);
    if (answer != nullptr) {
        answer->oid = request.oid;
        answer->requestId = request.requestId;
        answer->statCode = static_cast<uint32_t>(code);
        answer->objIid = request.objIid;
    }
    return answer;
}

}  // namespace vcfg::vcmd
