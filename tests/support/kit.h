// A gateway for one test: the daemon's own code over a store in the process, with bus, clock and shell recorded.
//
//   Gateway gw;
//   gw.set("IP.Interface.1.Status", "Up");
//   gw.receive(VCFG_MSG_DHCPC_BOUND, R"({"addressAssigned":true, ...})");
//   EXPECT_EQ(gw.get("DHCPv4.Client.1.DHCPStatus"), "Bound");
#pragma once

#include <gtest/gtest.h>
#include <vcfg/vcfg.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "inproc_fe.h"

// A message that the daemon sent: a reply, or a request to another endpoint.
struct SentMessage {
    uint32_t type;
    uint8_t dstEid;
    uint32_t requestId;
    uint32_t statCode;
    uint16_t length;
    objIndex objIid;
    std::string payload;      // all bytes
    uint32_t patienceMs = 0;  // of a request; 0 without limit
    uint8_t srcEid = 0;
    std::string ifName = {};  // of a wireless request
    bool awaited = false;     // whether the daemon waited for the answer
    std::string bytes = {};   // the whole message, envelope and payload, as it goes out
};

// What an endpoint answers a request with, or does not.
struct Answer {
    int code = VCFG_OK;  // what the sender gets; the answer comes with 0 only
    uint32_t statCode = 0;
    std::optional<std::string> text = {};  // the payload, with its terminator; or none
    bool comes = true;                     // false: 0, and yet no answer
    vcfg_msg_t header = {};                // the rest of its envelope
};

struct LogLine {
    std::string channel;  // "vlog", "syslog", "stdout"
    int level;            // vlog level or syslog priority; 0 for stdout
    std::string source;   // vlog only
    std::string text;     // without a newline at its end
};

struct Sender {
    uint8_t eid = VCFG_EID_VHTTPD;
    uint32_t requestId = 77;
};

class Gateway {
  public:
    Gateway();  // a fresh world: empty model, no WAN link table, nothing pending, clock at 0
    ~Gateway();
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;

    // --- the data model ---
    void set(const std::string& path,
             const std::string& value);         // makes missing instances; a refused value fails the test
    void add(const std::string& instancePath);  // e.g. "IP.Interface.1.IPv4Address.1", defaults inside
    std::string get(const std::string& path) const { return inproc::get(path); }
    bool exists(const std::string& path) const { return inproc::exists(path); }

    // --- what happens to the daemon ---
    // One message through processRequest(), as a bus thread would take it.
    void receive(uint32_t type, const std::string& payload, Sender from = {}, objIndex iid = {});
    void receiveEmpty(uint32_t type, Sender from = {}, objIndex iid = {});                            // length 0
    void receiveBytes(uint32_t type, const std::string& bytes, Sender from = {}, objIndex iid = {});  // as they are
    void kernelDatagram(const std::string& bytes);  // one datagram through processKernelMonitor()
    void kernelReadFails(int error);                // with that errno, through processKernelMonitor()
    void advance(uint32_t milliseconds);            // moves the clock
    void runThreads();                              // runs what startThread() was given, in order, to its end
    // What happens while a thread that can be stopped is in its n-th pause (from 1), or runs that command.
    void duringPause(size_t number, std::function<void()> happens);
    void duringCommand(const std::string& command, std::function<void()> happens);

    // --- the world around it ---
    void file(const std::string& path, const std::string& content);         // exists, with that content
    std::optional<std::string> fileContent(const std::string& path) const;  // what is in it now
    void unwritable(const std::string& path);                               // cannot be opened
    void fullDisk(const std::string& path);                                 // can be opened, takes no byte
    void noUptime();                                                        // the system does not say how long it is up
    void commandResult(const std::string& command, int result);             // of system(); 0 is the default
    // What else happens while the command runs, on the thread that runs it; nothing any more with an empty function.
    void whileRunning(const std::string& command, const std::function<void()>& happens);
    void commandTakes(const std::string& command, uint32_t milliseconds);  // of the test's clock
    void commandOutput(const std::string& command, const std::string& firstLine);
    void endpointAnswers(uint8_t eid, int code);  // what a request to it returns; 1 (delivered) is the default
    void endpointAnswers(uint8_t eid, uint32_t type, const Answer& answer);  // a request of that type, from now on
    // Where timer requests go: to a socket at `path`, real; without one they are recorded.
    void timerSocket(const std::string& path);
    void timerHangsUp();                     // on whoever connects
    void debugConfiguration(uint32_t type);  // messages of that type are the framework's own
    void refuseThreads(bool refuse = true);
    void process(pid_t pid, bool alive = true);  // alive processes take signals
    void refuseWrite(inproc::Operation operation, const std::string& pattern, int times = 1) {
        inproc::fail(operation, pattern, times);
    }

    // --- what the daemon did ---
    std::vector<SentMessage> replies() const;        // through tarnReqMsgReply
    std::vector<SentMessage> requests() const;       // through vcfg_msg_sendAndGetReply
    std::vector<std::string> timerRequests() const;  // their JSON texts
    std::vector<std::string> commands() const;       // shell commands, in order
    std::vector<std::pair<pid_t, int>> signals() const;
    std::vector<uint32_t> sleeps() const;    // pauses asked for, milliseconds
    std::vector<int64_t> pauses() const;     // of threads that can be stopped, milliseconds
    std::vector<std::string> mails() const;  // requests to voUtilMailSend
    void mailResult(int code);
    std::vector<LogLine> log() const;
    std::vector<std::string> writes() const { return inproc::writes(); }
    void forget();  // empties all of these records

    bool logged(const std::string& channel, const std::string& text) const;  // a line equal to it
    bool logged(const std::string& channel, int level, const std::string& text) const;
    bool loggedContaining(const std::string& part) const;
};

#define EXPECT_NO_REPLY(gw) EXPECT_TRUE((gw).replies().empty())
// A reply of `type` went to that requester.
void expectReply(const Gateway& gw, uint32_t type, Sender to = {});
