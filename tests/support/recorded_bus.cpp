// The bus, log and helper functions of the framework API for tests: recorded, or played by the test.

#include <sys/socket.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "client/local_socket.h"
#include "client/packet.h"
#include "short_memory.h"
#include "world.h"

using kit::world;

namespace {

// As the library sends it, whatever the order of this machine's bytes.
std::string bytesOnTheWire(const vcfg_msg_t& message) {
    std::string bytes(VCFG_MSG_HEADER_SIZE + message.length, '\0');
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) < 0 ||
        vcfg::bus::sendPacket(ends[0], message, 0) != 0 ||
        recv(ends[1], bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        abort();
    }
    close(ends[0]);
    close(ends[1]);
    return bytes;
}

SentMessage describe(const vcfg_msg_t& message, uint32_t patienceMs = 0, bool awaited = false) {
    const auto* ifName = reinterpret_cast<const char*>(message.reserved);
    return {message.type,
            message.dstEid,
            message.requestId,
            message.statCode,
            message.length,
            message.objIid,
            std::string(vcfg_msg_text(&message), message.length),
            patienceMs,
            message.srcEid,
            std::string(ifName, strnlen(ifName, VCFG_MSG_IFNAME_SIZE)),
            awaited,
            bytesOnTheWire(message)};
}

vcfg_msg_t* newAnswer(const Answer& answer) {
    const size_t length = answer.text ? answer.text->size() + 1 : 0;
    auto* message = static_cast<vcfg_msg_t*>(malloc(VCFG_MSG_HEADER_SIZE + length + 1));
    *message = answer.header;
    message->statCode = answer.statCode;
    message->length = static_cast<uint16_t>(length);
    memcpy(vcfg_msg_payload(message), answer.text.value_or("").c_str(), answer.text.value_or("").size() + 1);
    vcfg_msg_payload(message)[length] = '\0';
    return message;
}

}  // namespace

int vcfg_msg_eidInit(uint8_t, const char*) {
    return VCFG_OK;
}

int vcfg_msg_serverInit() {
    return VCFG_OK;
}

int vcfg_msg_serverRecv(vcfg_msg_t** msg, uint32_t) {
    const std::lock_guard lock(world().guard);
    if (world().inbox.empty()) {
        return VCFG_ERR_TIMEOUT;
    }
    const std::vector<char> bytes = world().inbox.front();
    world().inbox.pop_front();
    *msg = static_cast<vcfg_msg_t*>(malloc(bytes.size()));
    memcpy(static_cast<void*>(*msg), bytes.data(), bytes.size());
    return VCFG_OK;
}

int vcfg_msg_serverSend(vcfg_msg_t* msg) {
    const std::lock_guard lock(world().guard);
    world().replies.push_back(describe(*msg));
    free(msg);
    return VCFG_OK;
}

int vcfg_msg_sendAndGetReply(vcfg_msg_t* msg, vcfg_msg_t** reply, uint32_t timeoutMs) {
    const std::lock_guard lock(world().guard);
    world().requests.push_back(describe(*msg, timeoutMs, reply != nullptr));
    const auto typed = world().typedAnswers.find({msg->dstEid, msg->type});
    if (typed != world().typedAnswers.end() && reply != nullptr) {
        free(msg);
        const Answer& prepared = typed->second;
        *reply = prepared.code == VCFG_OK && prepared.comes ? newAnswer(prepared) : nullptr;
        return prepared.code;
    }
    const auto answer = world().answers.find(msg->dstEid);
    const int code = answer != world().answers.end() ? answer->second : int{VCFG_DELIVERED};
    free(msg);
    if (reply == nullptr) {
        return code;
    }
    if (code != VCFG_DELIVERED) {
        return code;
    }
    constexpr char kText[] = "OK";
    *reply = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + sizeof kText));
    (*reply)->length = sizeof kText;
    memcpy(vcfg_msg_payload(*reply), kText, sizeof kText);
    return VCFG_OK;
}

int vlog_levelAllow(int) {
    return 1;
}

void vlog_log_f(int level, const char* source, int, const char*, const char* format, ...) {
    const short_memory::Spared spared;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::string line = text;
    if (!line.empty() && line.back() == '\n') {
        line.pop_back();
    }
    const std::lock_guard lock(world().guard);
    world().log.push_back({"vlog", level, source, line});
}

uint32_t vos_mtime_get() {
    const std::lock_guard lock(world().guard);
    return world().clockMs;
}

int vos_system(int, const char* command) {
    const std::lock_guard lock(world().guard);
    world().commands.emplace_back(command);
    const auto result = world().commandResults.find(command);
    return result == world().commandResults.end() || result->second == 0 ? 1 : 0;
}

int voUtilHandleRecvdMsgDebugCfg(const vcfg_msg_t* msg) {
    const std::lock_guard lock(world().guard);
    return world().debugTypes.count(msg->type) != 0 ? VCFG_OK : VCFG_ERR_INVALID;
}

namespace {

std::string timerSocket() {
    const std::lock_guard lock(world().guard);
    return world().timerSocket;
}

}  // namespace

int voUtilTcpSvrInit(const char*) {
    return vcfg::listenAt(timerSocket().c_str());
}

// Without the guard: the timer that it waits for may need it.
int voUtilTcpConnInit(const char*) {
    if (const std::string path = timerSocket(); !path.empty()) {
        return vcfg::connectTo(path.c_str());
    }
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return VCFG_ERR_FAIL;
    }
    const std::lock_guard lock(world().guard);
    if (world().timerHangsUp) {
        close(ends[1]);
    } else {
        world().timerClients.push_back(ends[1]);
    }
    return ends[0];
}

void kit::takeTimerRequests() {
    for (const int client : world().timerClients) {
        std::string bytes(VCFG_MSG_HEADER_SIZE + VCFG_MSG_PAYLOAD_MAX, '\0');
        const ssize_t got = recv(client, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (got > static_cast<ssize_t>(VCFG_MSG_HEADER_SIZE)) {
            world().timerRequests.emplace_back(bytes.c_str() + VCFG_MSG_HEADER_SIZE);
        }
        close(client);
    }
    world().timerClients.clear();
}

int voUtilMailSend(const char* request) {
    const std::lock_guard lock(world().guard);
    world().mails.emplace_back(request);
    return world().mailResult;
}
