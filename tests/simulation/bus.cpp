// The framework's bus, log and helpers over the simulated world.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "short_memory.h"
#include "world.h"

using sim::world;

namespace {

thread_local uint8_t reading = VCFG_EID_TARN;  // whose turn it is to take a message; set by the thread itself

vcfg_msg_t* newMessage(const sim::Letter& letter) {
    const size_t length = letter.empty ? 0 : letter.payload.size() + 1;
    auto* message = static_cast<vcfg_msg_t*>(malloc(VCFG_MSG_HEADER_SIZE + length + 1));
    *message = {};
    message->type = letter.type;
    message->srcEid = letter.from;
    message->dstEid = VCFG_EID_TARN;
    message->length = static_cast<uint16_t>(length);
    message->requestId = letter.requestId;
    message->objIid = letter.iid;
    memcpy(vcfg_msg_payload(message), letter.payload.c_str(), length);
    vcfg_msg_payload(message)[length] = '\0';
    return message;
}

}  // namespace

int vcfg_msg_eidInit(uint8_t eid, const char*) {
    reading = eid;
    return VCFG_OK;
}

int vcfg_msg_serverInit() {
    return VCFG_OK;
}

int vcfg_msg_serverRecv(vcfg_msg_t** msg, uint32_t) {
    const short_memory::Spared spared;
    auto& inbox = world().inbox[reading];
    if (inbox.empty()) {
        return VCFG_ERR_TIMEOUT;
    }
    *msg = newMessage(inbox.front());
    inbox.pop_front();
    return VCFG_OK;
}

int vcfg_msg_serverSend(vcfg_msg_t* msg) {
    const short_memory::Spared spared;
    sim::answered(*msg);
    free(msg);
    sim::fibers::perhapsYield();
    return VCFG_OK;
}

int vcfg_msg_sendAndGetReply(vcfg_msg_t* msg, vcfg_msg_t** reply, uint32_t timeoutMs) {
    const short_memory::Spared spared;
    sim::fibers::perhapsYield();
    sim::Letter answer;
    uint32_t statCode = 0;
    const int code = sim::peerTakes(*msg, timeoutMs, &answer.payload, &statCode);
    free(msg);
    if (reply == nullptr) {
        return code;
    }
    *reply = nullptr;
    if (code == VCFG_OK || code == VCFG_DELIVERED) {
        *reply = newMessage(answer);
        (*reply)->statCode = statCode;
        return VCFG_OK;
    }
    return code;
}

int vlog_levelAllow(int level) {
    return level <= VLOG_WARNING ? 1 : 0;
}

void vlog_log_f(int, const char*, int, const char*, const char*, ...) {}

uint32_t vos_mtime_get() {
    return static_cast<uint32_t>(world().nowMs);
}

int vos_system(int, const char*) {
    return 1;
}

int voUtilHandleRecvdMsgDebugCfg(const vcfg_msg_t*) {
    return VCFG_ERR_INVALID;
}

int voUtilTcpSvrInit(const char*) {
    return VCFG_ERR_FAIL;
}

// A descriptor that takes every byte; what is written to it is caught below.
int voUtilTcpConnInit(const char*) {
    return open("/dev/null", O_WRONLY | O_CLOEXEC);
}

int voUtilMailSend(const char*) {
    return 0;
}

// The linker leads the program's calls here (--wrap).
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
ssize_t __wrap_recvmsg(int descriptor, msghdr* message, int flags);
ssize_t __wrap_recvmsg(int, msghdr* message, int) {
    const short_memory::Spared spared;
    const std::string bytes = world().kernel.front();
    world().kernel.pop_front();
    const size_t size = std::min(bytes.size(), message->msg_iov[0].iov_len);
    memcpy(message->msg_iov[0].iov_base, bytes.data(), size);
    return static_cast<ssize_t>(size);
}
// A request to the timer's thread.
ssize_t __wrap_send(int descriptor, const void* bytes, size_t size, int flags);
ssize_t __wrap_send(int, const void* bytes, size_t size, int) {
    const short_memory::Spared spared;
    const auto* const text = static_cast<const char*>(bytes) + VCFG_MSG_HEADER_SIZE;
    handleTimerRequest(world().timer, text, static_cast<uint32_t>(world().nowMs));
    return static_cast<ssize_t>(size);
}
// NOLINTEND(bugprone-reserved-identifier)
}
