#include "kit.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/kernel_monitor.h"
#include "core/path.h"
#include "core/system_log.h"
#include "daemon_state.h"
#include "dispatch.h"
#include "link/kernel_event.h"
#include "world.h"

namespace kit {

World& world() {
    static World* current = new World;
    return *current;
}

}  // namespace kit

using kit::world;

namespace {

thread_local int recvmsgError = 0;

template <class Field>
auto copyOf(const Field& field) {
    const std::lock_guard lock(world().guard);
    return field;
}

// What the daemon has done so far; the caller holds the guard.
void forgetRecords() {
    world().replies.clear();
    world().requests.clear();
    kit::takeTimerRequests();
    world().timerRequests.clear();
    world().sleeps.clear();
    world().pauses.clear();
    world().commands.clear();
    world().signals.clear();
    world().mails.clear();
    world().log.clear();
}

void deliver(uint32_t type, const char* bytes, size_t length, Sender from, objIndex iid) {
    vcfg_msg_t header{};
    header.type = type;
    header.srcEid = from.eid;
    header.dstEid = VCFG_EID_TARN;
    header.length = static_cast<uint16_t>(length);
    header.requestId = from.requestId;
    header.objIid = iid;
    std::vector<char> message(sizeof header + length + 1, '\0');
    memcpy(message.data(), &header, sizeof header);
    if (length != 0) {
        memcpy(message.data() + sizeof header, bytes, length);
    }
    {
        const std::lock_guard lock(world().guard);
        world().inbox.push_back(std::move(message));
    }
    processRequest();
}

}  // namespace

Gateway::Gateway() {
    inproc::reset();
    forgetDaemonState();
    const std::lock_guard lock(world().guard);
    world().inbox.clear();
    world().answers.clear();
    world().typedAnswers.clear();
    world().timerSocket.clear();
    world().timerHangsUp = false;
    world().debugTypes.clear();
    world().clockMs = 0;
    world().commandResults.clear();
    world().commandDurations.clear();
    world().commandEvents.clear();
    world().commandOutputs.clear();
    world().duringCommand.clear();
    world().duringPause.clear();
    world().files.clear();
    world().unwritable.clear();
    world().fullDisks.clear();
    world().uptimeKnown = true;
    world().alive = {1, 4711};
    world().threads.clear();
    world().threadsRefused = false;
    world().mailResult = 0;
    forgetRecords();
}

Gateway::~Gateway() {
    SystemLogThreadHandle(0);
    runThreads();  // each owns what it was started with
}

void Gateway::set(const std::string& path, const std::string& value) {
    const std::string refused = inproc::set(path, value);
    EXPECT_EQ(refused, "") << path << "=" << value;
}

void Gateway::add(const std::string& instancePath) {
    EXPECT_EQ(inproc::set(instancePath, ""), "") << instancePath;
}

void Gateway::receive(uint32_t type, const std::string& payload, Sender from, objIndex iid) {
    deliver(type, payload.c_str(), payload.size() + 1, from, iid);
}

void Gateway::receiveEmpty(uint32_t type, Sender from, objIndex iid) {
    deliver(type, nullptr, 0, from, iid);
}

void Gateway::receiveBytes(uint32_t type, const std::string& bytes, Sender from, objIndex iid) {
    deliver(type, bytes.data(), bytes.size(), from, iid);
}

void Gateway::kernelDatagram(const std::string& bytes) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    ASSERT_EQ(send(ends[0], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    kernelFd = ends[1];
    processKernelMonitor(updateLinkStatus);
    kernelFd = -1;
    close(ends[0]);
    close(ends[1]);
}

void Gateway::kernelReadFails(int error) {
    recvmsgError = error;
    processKernelMonitor(updateLinkStatus);
    recvmsgError = 0;
}

void Gateway::advance(uint32_t milliseconds) {
    const std::lock_guard lock(world().guard);
    world().clockMs += milliseconds;
}

void Gateway::runThreads() {
    while (true) {
        kit::Thread thread{};
        {
            const std::lock_guard lock(world().guard);
            if (world().threads.empty()) {
                return;
            }
            thread = world().threads.front();
            world().threads.pop_front();
        }
        thread.body(thread.argument);
    }
}

void Gateway::duringPause(size_t number, std::function<void()> happens) {
    const std::lock_guard lock(world().guard);
    world().duringPause[number] = std::move(happens);
}

void Gateway::duringCommand(const std::string& command, std::function<void()> happens) {
    const std::lock_guard lock(world().guard);
    world().duringCommand[command] = std::move(happens);
}

void Gateway::file(const std::string& path, const std::string& content) {
    const std::lock_guard lock(world().guard);
    world().files[path] = content;
}

std::optional<std::string> Gateway::fileContent(const std::string& path) const {
    const std::lock_guard lock(world().guard);
    const auto file = world().files.find(path);
    return file != world().files.end() ? std::optional(file->second) : std::nullopt;
}

void Gateway::unwritable(const std::string& path) {
    const std::lock_guard lock(world().guard);
    world().unwritable.insert(path);
}

void Gateway::fullDisk(const std::string& path) {
    const std::lock_guard lock(world().guard);
    world().fullDisks.insert(path);
}

void Gateway::noUptime() {
    const std::lock_guard lock(world().guard);
    world().uptimeKnown = false;
}

void Gateway::whileRunning(const std::string& command, const std::function<void()>& happens) {
    const std::lock_guard lock(world().guard);
    world().commandEvents[command] = happens;
}

void Gateway::commandResult(const std::string& command, int result) {
    const std::lock_guard lock(world().guard);
    world().commandResults[command] = result;
}

void Gateway::commandTakes(const std::string& command, uint32_t milliseconds) {
    const std::lock_guard lock(world().guard);
    world().commandDurations[command] = milliseconds;
}

void Gateway::commandOutput(const std::string& command, const std::string& firstLine) {
    const std::lock_guard lock(world().guard);
    world().commandOutputs[command] = firstLine;
}

void Gateway::endpointAnswers(uint8_t eid, int code) {
    const std::lock_guard lock(world().guard);
    world().answers[eid] = code;
}

void Gateway::endpointAnswers(uint8_t eid, uint32_t type, const Answer& answer) {
    const std::lock_guard lock(world().guard);
    world().typedAnswers[{eid, type}] = answer;
}

void Gateway::timerSocket(const std::string& path) {
    const std::lock_guard lock(world().guard);
    world().timerSocket = path;
}

void Gateway::timerHangsUp() {
    const std::lock_guard lock(world().guard);
    world().timerHangsUp = true;
}

void Gateway::debugConfiguration(uint32_t type) {
    const std::lock_guard lock(world().guard);
    world().debugTypes.insert(type);
}

void Gateway::refuseThreads(bool refuse) {
    const std::lock_guard lock(world().guard);
    world().threadsRefused = refuse;
}

void Gateway::process(pid_t pid, bool alive) {
    const std::lock_guard lock(world().guard);
    if (alive) {
        world().alive.insert(pid);
    } else {
        world().alive.erase(pid);
    }
}

void Gateway::mailResult(int code) {
    const std::lock_guard lock(world().guard);
    world().mailResult = code;
}

std::vector<SentMessage> Gateway::replies() const {
    return copyOf(world().replies);
}

std::vector<SentMessage> Gateway::requests() const {
    return copyOf(world().requests);
}

std::vector<std::string> Gateway::timerRequests() const {
    const std::lock_guard lock(world().guard);
    kit::takeTimerRequests();
    return world().timerRequests;
}

std::vector<std::string> Gateway::commands() const {
    return copyOf(world().commands);
}

std::vector<std::pair<pid_t, int>> Gateway::signals() const {
    return copyOf(world().signals);
}

std::vector<uint32_t> Gateway::sleeps() const {
    return copyOf(world().sleeps);
}

std::vector<int64_t> Gateway::pauses() const {
    return copyOf(world().pauses);
}

std::vector<std::string> Gateway::mails() const {
    return copyOf(world().mails);
}

std::vector<LogLine> Gateway::log() const {
    return copyOf(world().log);
}

void Gateway::forget() {
    inproc::forgetWrites();
    const std::lock_guard lock(world().guard);
    forgetRecords();
}

bool Gateway::logged(const std::string& channel, const std::string& text) const {
    for (const LogLine& line : log()) {
        if (line.channel == channel && line.text == text) {
            return true;
        }
    }
    return false;
}

bool Gateway::logged(const std::string& channel, int level, const std::string& text) const {
    for (const LogLine& line : log()) {
        if (line.channel == channel && line.level == level && line.text == text) {
            return true;
        }
    }
    return false;
}

bool Gateway::loggedContaining(const std::string& part) const {
    for (const LogLine& line : log()) {
        if (line.text.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void expectReply(const Gateway& gw, uint32_t type, Sender to) {
    for (const SentMessage& reply : gw.replies()) {
        if (reply.type == type && reply.dstEid == to.eid && reply.requestId == to.requestId) {
            return;
        }
    }
    ADD_FAILURE() << "no reply of type " << std::hex << type << " to endpoint " << std::dec << int{to.eid};
}

// The linker leads the program's calls of recvmsg here (--wrap).
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
ssize_t __real_recvmsg(int descriptor, msghdr* message, int flags);
ssize_t __wrap_recvmsg(int descriptor, msghdr* message, int flags);
ssize_t __wrap_recvmsg(int descriptor, msghdr* message, int flags) {
    if (recvmsgError != 0) {
        errno = recvmsgError;
        return -1;
    }
    return __real_recvmsg(descriptor, message, flags);
}
// NOLINTEND(bugprone-reserved-identifier)
}
