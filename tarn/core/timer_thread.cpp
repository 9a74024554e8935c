#include "core/timer_thread.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "core/arrival.h"
#include "core/descriptor.h"
#include "core/event.h"
#include "core/log.h"
#include "core/message.h"
#include "core/os.h"
#include "core/timer.h"

namespace {

constexpr int kNoMessageType = 5;
constexpr uint32_t kSendPatienceMs = 300;
constexpr uint32_t kClientPatienceMs = 1000;
constexpr uint32_t kShortageMs = 100;           // before the next try when the process is out of descriptors
constexpr uint64_t kLongestWaitMs = 3'600'000;  // the clock is looked at long before it wraps
constexpr size_t kLengthAt = 10;                // in the envelope

bool isReadable(int socket, int timeoutMs) {
    pollfd state{socket, POLLIN, 0};
    return poll(&state, 1, timeoutMs) > 0;
}

// Reads until `size` bytes are there, the client has ended, or its time is over.
bool readWhole(int connection, char* bytes, size_t size, uint32_t beganMs) {
    size_t have = 0;
    while (have < size) {
        const uint32_t passed = vos_mtime_get() - beganMs;
        if (passed >= kClientPatienceMs || !isReadable(connection, static_cast<int>(kClientPatienceMs - passed))) {
            return false;
        }
        const ssize_t got = recv(connection, bytes + have, size - have, MSG_DONTWAIT);
        if (got <= 0) {
            return false;
        }
        have += static_cast<size_t>(got);
    }
    return true;
}

uint16_t lengthIn(const char* header) {
    const auto byte = [&](size_t at) { return static_cast<unsigned char>(header[at]); };
    return static_cast<uint16_t>(byte(kLengthAt) | byte(kLengthAt + 1) << 8);
}

void sendDue(const std::vector<TimerTask>& due) {
    for (const TimerTask& task : due) {
        const Arrival arrival("timer", task.name);
        const int result = tmApplyObjSendMsg(task);
        if (result != VCFG_DELIVERED && result != kNoMessageType) {
            VLOG(VLOG_ERROR, "the message of timer task \"%s\" is lost: %d", task.name.c_str(), result);
        }
    }
}

// For poll: -1 without limit.
int waitMs(Timer& timer) {
    const auto left = msToTick(timer, vos_mtime_get());
    return left ? static_cast<int>(std::min(*left, kLongestWaitMs)) : -1;
}

}  // namespace

std::optional<std::string> tarnTmTaskReceiveMsg(int listening) {
    const Descriptor connection(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection) {
        VLOG(VLOG_ERROR, "fail to accept()");
        os::sleepMs(kShortageMs);
        return std::nullopt;
    }
    const uint32_t began = vos_mtime_get();
    char header[VCFG_MSG_HEADER_SIZE];
    if (!readWhole(connection.get(), header, sizeof header, began)) {
        VLOG(VLOG_ERROR, "fail to recv msg");
        return std::nullopt;
    }
    std::string text(lengthIn(header), '\0');
    if (text.empty()) {
        return std::nullopt;
    }
    if (!readWhole(connection.get(), text.data(), text.size(), began)) {
        VLOG(VLOG_ERROR, "fail to recv msg");
        return std::nullopt;
    }
    return text;
}

int tmApplyObjSendMsg(const TimerTask& task) {
    if (task.msgType == 0) {
        return kNoMessageType;
    }
    const size_t length = task.msgParmData ? task.msgParmData->size() + 1 : 0;
    MessagePtr message = newRequest(task.msgType | VCFG_MSG_NO_REPLY, VCFG_EID_TARN, length);
    if (message == nullptr) {
        return VCFG_ERR_FAIL;
    }
    message->srcEid = 0;
    message->length = static_cast<uint16_t>(length);
    if (task.msgParmData) {
        memcpy(vcfg_msg_payload(message.get()), task.msgParmData->c_str(), length);
    }
    return vcfg_msg_sendAndGetReply(message.release(), nullptr, kSendPatienceMs);
}

void timerRound(int listening, Timer& timer) {
    const bool readable = isReadable(listening, waitMs(timer));
    const uint32_t now = vos_mtime_get();
    if (msToTick(timer, now) == 0) {
        sendDue(tick(timer, now));
    }
    if (!readable) {
        return;
    }
    if (const auto request = tarnTmTaskReceiveMsg(listening)) {
        handleTimerRequest(timer, request->c_str(), vos_mtime_get());
    }
}

void timer_thread(void*) {
    VLOG(VLOG_INFO, "thread starts");
    const Descriptor listening(voUtilTcpSvrInit(kTarnInternalIpc));
    if (!listening) {
        VLOG(VLOG_ERROR, "fail to voUtilTcpSvrInit(TARN_INTERNAL_IPC)");
        return;
    }
    Timer timer;
    while (true) {
        handleEvent("timer", [&] { timerRound(listening.get(), timer); });
    }
}

void enable_timer_thread() {
    if (os::startThread(timer_thread, nullptr) != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to create TARN timer thread");
    }
}
