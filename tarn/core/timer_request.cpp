// The way of a request to the timer thread.
#include <endian.h>
#include <sys/socket.h>
#include <vcfg/recorder.h>

#include <cstring>
#include <new>
#include <optional>
#include <string>

#include "core/descriptor.h"
#include "core/json.h"
#include "core/log.h"
#include "core/message.h"
#include "core/timer.h"

namespace {

constexpr int32_t kHandedOver = 1;
constexpr int32_t kFailed = -1;

int32_t transmit(int connection, const vcfg_msg_t* request, size_t size) {
    if (send(connection, request, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size)) {
        VLOG(VLOG_ERROR, "fail to send");
        return kFailed;
    }
    VLOG(VLOG_DEBUG, "send msg to timer_thread");
    return kHandedOver;
}

// The text of the request that `gather` puts together; nothing when memory was short, which is logged by the step that
// it was short for.
template <class Gather>
std::optional<std::string> requestText(const Gather& gather) {
    const char* step = "json_object_new_object";
    try {
        Json request = Json::object();
        gather(request);
        step = "json_object_to_json_string";
        return request.toText();
    } catch (const std::bad_alloc&) {
        VLOG(VLOG_ERROR, "fail to %s()", step);
        return std::nullopt;
    }
}

Json newTask(const char* name, int32_t exprTime, int32_t msg_type, const char* msgParmData) {
    Json task = Json::object();
    task.set("Name", name);
    task.set("exprTime", exprTime);
    task.set("msg_type", msg_type);
    if (msgParmData != nullptr) {
        task.set("msgParmData", msgParmData);
    }
    return task;
}

}  // namespace

int32_t sendMsgTarnTmTask(const char* text) {
    const Descriptor connection(voUtilTcpConnInit(kTarnInternalIpc));
    if (!connection) {
        VLOG(VLOG_ERROR, "Init skCltLocalConn failed");
        return kFailed;
    }
    const size_t length = strlen(text) + 1;
    if (length > VCFG_MSG_PAYLOAD_MAX) {
        VLOG(VLOG_ERROR, "a timer request cannot carry %zu bytes", length);
        return kFailed;
    }
    const MessagePtr request = allocateMessage(length);
    if (request == nullptr) {
        VLOG_OUT_OF_MEMORY(VCFG_MSG_HEADER_SIZE + length, "insufficient");
        return kFailed;
    }
    request->length = htole16(static_cast<uint16_t>(length));
    memcpy(vcfg_msg_payload(request.get()), text, length);
    return transmit(connection.get(), request.get(), VCFG_MSG_HEADER_SIZE + length);
}

int32_t tarnApplyAddObjectTmTask(const char* name, int32_t exprTime, int32_t msg_type, const char* msgParmData) {
    if (name == nullptr || exprTime < 0 || msg_type == 0) {
        return 0;
    }
    vcfgEventStep("timer", name, exprTime, nullptr, 0);
    const auto text =
        requestText([&](Json& request) { request.set("tmApplyObj", newTask(name, exprTime, msg_type, msgParmData)); });
    return text ? sendMsgTarnTmTask(text->c_str()) : kFailed;
}

int32_t tarnApplyDeleteObjectTmTask(const char* name) {
    if (name == nullptr) {
        return 0;
    }
    const auto text = requestText([&](Json& request) { request.set("tmApplyObjDelete", name); });
    if (!text) {
        return kFailed;
    }
    const int32_t result = sendMsgTarnTmTask(text->c_str());
    VLOG(VLOG_DEBUG, "tm obj delete applied");
    return result;
}
