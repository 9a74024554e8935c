#include "bus_world.h"

#include <ftw.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

std::string runDirectory() {
    const char* const directory = getenv("VCFG_RUN_DIR");
    return directory != nullptr ? directory : "";
}

int removeEntry(const char* path, const struct stat*, int, FTW*) {
    return remove(path);
}

}  // namespace

Message newMessage(uint32_t type, const std::string& payload, uint8_t to, uint32_t requestId) {
    Message message(static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payload.size())));
    message->type = type;
    message->dstEid = to;
    message->srcEid = kClient;
    message->requestId = requestId;
    message->length = static_cast<uint16_t>(payload.size());
    payload.copy(vcfg_msg_payload(message.get()), payload.size());
    return message;
}

std::string payloadOf(const Message& message) {
    return message == nullptr ? "(no message)" : std::string(vcfg_msg_text(message.get()), message->length);
}

Message receive(uint32_t timeoutMs) {
    vcfg_msg_t* message = nullptr;
    vcfg_msg_serverRecv(&message, timeoutMs);
    return Message(message);
}

int answer(const Message& request, const std::string& payload) {
    Message reply = newMessage(VCFG_MSG_NO_REPLY | request->type, payload, request->srcEid, request->requestId);
    reply->srcEid = request->dstEid;
    return vcfg_msg_serverSend(reply.release());
}

Message ask(const std::string& payload, int* code, uint8_t to, uint32_t timeoutMs) {
    vcfg_msg_t* reply = nullptr;
    const int result = vcfg_msg_sendAndGetReply(newMessage(kAsk, payload, to).release(), &reply, timeoutMs);
    if (code != nullptr) {
        *code = result;
    }
    return Message(reply);
}

int tell(const std::string& payload, uint8_t to, uint32_t timeoutMs) {
    return vcfg_msg_sendAndGetReply(newMessage(kTell, payload, to).release(), nullptr, timeoutMs);
}

int64_t nowMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool within(uint32_t milliseconds, const std::function<bool()>& condition) {
    for (const int64_t end = nowMs() + milliseconds; nowMs() < end; usleep(2000)) {
        if (condition()) {
            return true;
        }
    }
    return condition();
}

BusWorld::BusWorld() {
    char name[] = "/tmp/bus-test-XXXXXX";
    directory = mkdtemp(name);
    usleep(2000);  // so that no connection of an earlier test is trusted unseen any more
    setenv("VCFG_RUN_DIR", directory.c_str(), 1);
    collector_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = addressOf(directory + "/vlog");
    EXPECT_EQ(0, bind(collector_, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

BusWorld::~BusWorld() {
    close(collector_);
    nftw(directory.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

void BusWorld::serve(uint8_t eid) {
    ASSERT_EQ(VCFG_OK, vcfg_msg_eidInit(eid, "test"));
    ASSERT_EQ(VCFG_OK, vcfg_msg_serverInit());
    while (receive(1) != nullptr) {  // what an earlier test of this process left in the queue
    }
}

std::string BusWorld::logged() {
    std::string lines;
    char line[8192];
    for (ssize_t size = 0; (size = recv(collector_, line, sizeof line, MSG_DONTWAIT)) > 0;) {
        lines.append(line, static_cast<size_t>(size)) += '\n';
    }
    return lines;
}

Process::Process(const std::function<void(const Ready&)>& body) {
    int ends[2];
    if (pipe(ends) != 0 || (id_ = fork()) < 0) {
        abort();
    }
    if (id_ == 0) {
        close(ends[0]);
        body([&] { static_cast<void>(!write(ends[1], "x", 1)); });
        _exit(testing::Test::HasFailure() ? 99 : 0);
    }
    close(ends[1]);
    char byte;
    static_cast<void>(!read(ends[0], &byte, 1));  // also returns when the process ends without a word
    close(ends[0]);
}

Process::~Process() {
    kill();
}

void Process::kill() {
    if (id_ > 0) {
        ::kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
        id_ = -1;
    }
}

int Process::exitStatus() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

size_t Process::residentKiB() const {
    FILE* file = fopen(("/proc/" + std::to_string(id_) + "/statm").c_str(), "r");
    unsigned long total = 0;
    unsigned long resident = 0;
    const int read = file != nullptr ? fscanf(file, "%lu %lu", &total, &resident) : 0;
    if (file != nullptr) {
        fclose(file);
    }
    return read == 2 ? resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024 : 0;
}

std::function<void(const Process::Ready&)> echoServer(uint8_t eid, const std::string& name) {
    return [=](const Process::Ready& ready) {
        if (vcfg_msg_eidInit(eid, name.c_str()) != VCFG_OK || vcfg_msg_serverInit() != VCFG_OK) {
            _exit(98);
        }
        ready();
        for (Message request = receive(0); request != nullptr; request = receive(0)) {
            answer(request, name + payloadOf(request));
        }
    };
}

BareSocket::BareSocket(uint8_t eid, bool inTurn) : socket_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
    if (inTurn) {
        static uint32_t last = 0;
        const uint32_t words[] = {0, static_cast<uint32_t>(getpid()), ++last};
        sockaddr_un own{AF_UNIX, {'\0', 'v', 'c', 'f', 'g', '='}};
        memcpy(own.sun_path + 6, words, sizeof words);
        EXPECT_EQ(0, bind(socket_, reinterpret_cast<const sockaddr*>(&own), offsetof(sockaddr_un, sun_path) + 18));
    }
    const sockaddr_un address = addressOf(runDirectory() + "/eid-" + std::to_string(eid));
    connected_ = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

BareSocket::~BareSocket() {
    close(socket_);
}

bool BareSocket::send(const std::string& bytes) {
    return ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

std::string BareSocket::receive(uint32_t timeoutMs) {
    std::string bytes(70000, '\0');
    pollfd state{socket_, POLLIN, 0};
    poll(&state, 1, static_cast<int>(timeoutMs));
    const ssize_t size = recv(socket_, bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return bytes;
}

bool BareSocket::closedByPeer(uint32_t timeoutMs) {
    pollfd state{socket_, POLLRDHUP, 0};
    return poll(&state, 1, static_cast<int>(timeoutMs)) > 0;
}

std::string wireMessage(uint32_t type, uint32_t requestId, size_t length, const std::string& payload) {
    std::string bytes(VCFG_MSG_HEADER_SIZE, '\0');
    for (unsigned each = 0; each < 4; ++each) {
        bytes[each] = static_cast<char>(type >> (8 * each));
        bytes[12 + each] = static_cast<char>(requestId >> (8 * each));
    }
    bytes[8] = kClient;
    bytes[9] = kServer;
    bytes[10] = static_cast<char>(length);
    bytes[11] = static_cast<char>(length >> 8);
    return bytes + payload;
}
