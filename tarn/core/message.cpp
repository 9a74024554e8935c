#include "core/message.h"

#include <cstring>

#include "core/log.h"

namespace {

constexpr uint32_t kPatienceMs = 3000;

}  // namespace

MessagePtr allocateMessage(size_t payloadSize) {
    return MessagePtr(static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payloadSize)));
}

int tarnReqMsgReply(uint8_t dstEid, uint32_t requestId, uint32_t type, uint32_t dataLen, const objIndex* objIid,
                    const char* data, uint32_t statCode) {
    if (dataLen >= VCFG_MSG_PAYLOAD_MAX) {
        VLOG(VLOG_ERROR, "a reply cannot carry %u bytes", dataLen);
        return VCFG_ERR_INVALID;
    }
    MessagePtr reply = allocateMessage(dataLen + 1);
    if (reply == nullptr) {
        VLOG_OUT_OF_MEMORY(VCFG_MSG_HEADER_SIZE + dataLen + 1, "insufficient");
        return VCFG_ERR_FAIL;
    }
    reply->type = type;
    reply->srcEid = VCFG_EID_TARN;
    reply->dstEid = dstEid;
    reply->requestId = requestId;
    reply->statCode = statCode;
    reply->length = static_cast<uint16_t>(dataLen + 1);
    if (objIid != nullptr) {
        reply->objIid = *objIid;
    }
    if (data != nullptr) {
        memcpy(vcfg_msg_payload(reply.get()), data, dataLen + 1);
    }
    return vcfg_msg_serverSend(reply.release());
}

MessagePtr newRequest(uint32_t type, uint8_t dstEid, size_t spare) {
    MessagePtr request = allocateMessage(spare);
    if (request == nullptr) {
        VLOG_OUT_OF_MEMORY(VCFG_MSG_HEADER_SIZE + spare, "insuffcient");
        return nullptr;
    }
    request->type = type;
    request->srcEid = VCFG_EID_TARN;
    request->dstEid = dstEid;
    return request;
}

int deliver(MessagePtr request) {
    return vcfg_msg_sendAndGetReply(request.release(), nullptr, kPatienceMs);
}

void sendInitFin() {
    MessagePtr notice = newRequest(VCFG_MSG_INIT_DATAMODEL_FIN, VCFG_EID_VCMD, 1);
    if (notice == nullptr) {
        return;
    }
    vcfg_msg_t* answer = nullptr;
    if (vcfg_msg_sendAndGetReply(notice.release(), &answer, 0) != VCFG_OK) {
        return;
    }
    const MessagePtr reply(answer);
    if (reply == nullptr) {
        VLOG(VLOG_DEBUG, "Free NULL pointer");
        return;
    }
    // The platform's tools look for this line when the answer has arrived, misleading words and all.
    logs::print("%s line %d, %s() : fail to send msg to VCMD. Receive message : %s\n", "tarn", __LINE__, __func__,
                vcfg_msg_text(reply.get()));
}
