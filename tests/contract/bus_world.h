// A bus for one test: a run directory of its own, other processes, bare sockets, and the log lines as they come.
#pragma once

#include <gtest/gtest.h>
#include <vcfg/vcfg.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct FreeBytes {
    void operator()(void* bytes) const { free(bytes); }
};
using Message = std::unique_ptr<vcfg_msg_t, FreeBytes>;

constexpr uint8_t kServer = 100;
constexpr uint8_t kClient = 101;
constexpr uint32_t kAsk = 7;
constexpr uint32_t kTell = VCFG_MSG_NO_REPLY | 8;
constexpr uint32_t kSoon = 5000;  // a deadline that only a failing test meets

Message newMessage(uint32_t type, const std::string& payload, uint8_t to = kServer, uint32_t requestId = 0);
std::string payloadOf(const Message& message);
Message receive(uint32_t timeoutMs = kSoon);  // null when there was none
int answer(const Message& request, const std::string& payload);
// What came back; on failure null with the code.
Message ask(const std::string& payload, int* code = nullptr, uint8_t to = kServer, uint32_t timeoutMs = kSoon);
int tell(const std::string& payload, uint8_t to = kServer, uint32_t timeoutMs = kSoon);

int64_t nowMs();
bool within(uint32_t milliseconds, const std::function<bool()>& condition);

class BusWorld : public testing::Test {
  protected:
    BusWorld();
    ~BusWorld() override;

    void serve(uint8_t eid);  // in this process and thread
    std::string logged();     // the log lines so far, as JSON
    std::string directory;

  private:
    int collector_ = -1;
};

// Another process. It runs `body`, which says when the test may go on.
class Process {
  public:
    using Ready = std::function<void()>;
    explicit Process(const std::function<void(const Ready&)>& body);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return id_; }
    void kill();
    int exitStatus();  // waits for its end
    size_t residentKiB() const;

  private:
    pid_t id_ = -1;
};
// Serves endpoint `eid` and answers everything with `name` and what was asked.
std::function<void(const Process::Ready&)> echoServer(uint8_t eid, const std::string& name);

// A socket that obeys no rule but its own.
class BareSocket {
  public:
    // One that is `inTurn` says of itself, as the library's do, that each packet waits for the answer to the one
    // before.
    explicit BareSocket(uint8_t eid = kServer, bool inTurn = false);
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    bool isConnected() const { return connected_; }
    bool send(const std::string& bytes);  // false when it would block or fails
    std::string receive(uint32_t timeoutMs = kSoon);
    bool closedByPeer(uint32_t timeoutMs = kSoon);

  private:
    int socket_ = -1;
    bool connected_ = false;
};
// An envelope as it lies on the wire.
std::string wireMessage(uint32_t type, uint32_t requestId, size_t length, const std::string& payload);
