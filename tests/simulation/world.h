// The world around the daemon: time, hardware, the platform, the bus and who is on it. One world at a time; each story
// begins with a new one.
#pragma once

#include <vcfg/msg.h>

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/timer_tasks.h"
#include "fiber.h"

namespace sim {

// Numbers that look drawn and are the same each time.
class Chance {
  public:
    explicit Chance(uint64_t seed = 0) : state_(seed) {}
    uint64_t next();
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(next() % limit); }
    bool oneIn(uint32_t count) { return below(count) == 0; }

  private:
    uint64_t state_;
};

// A message on its way to the daemon.
struct Letter {
    uint32_t type = 0;
    uint8_t from = 0;
    uint32_t requestId = 0;
    objIndex iid{};
    std::string payload = {};
    bool empty = false;  // without any payload
    std::vector<std::string> mayWrite = {};
    std::function<std::function<void()>()> watch = {};  // called before it is handled; what it gives, afterwards
};

struct Ask {
    uint8_t eid;
    uint32_t requestId;
    int asked = 0;
    int answered = 0;
    bool waitsForOutcome = false;  // of a connection; a newer one of this kind takes its place
};

struct DhcpClient {
    bool running = false;
    int address = 0;  // its last octet; 0 none
    int routes = 0;   // which option 121 it has got
};

struct World {
    Chance chance;
    uint64_t nowMs = 0;
    std::multimap<uint64_t, std::function<void()>> agenda;
    std::string violation;

    // --- hardware, and what the platform's commands have made of it ---
    std::array<bool, 8> cable{};  // by Ethernet.Interface
    bool lineFed = false;         // the exchange is there
    bool lineOpen = true;         // "wan adsl open"
    bool lineAtm = false;
    bool lineUp = false;
    bool stick = false;
    bool fibre = false;
    bool ledRed = false;
    bool ledGreen = false;
    bool vlanHunting = false;
    bool vcHunting = false;
    uint32_t retrain = 0;

    // --- the bus ---
    std::deque<std::string> kernel;
    std::map<uint8_t, std::deque<Letter>> inbox;
    std::map<uint32_t, uint64_t> lastArrival;  // by sender and endpoint: its messages stay in their order
    std::vector<Ask> asks;
    uint32_t requestIds = 0;
    uint32_t lastWaiting = 0;  // the request that was heard last of those that wait for an outcome
    std::set<uint8_t> dead;
    std::map<std::string, std::string> files;
    std::map<pid_t, int> clientOf;  // a DHCP client's process
    std::map<int, DhcpClient> clients;
    std::map<int, bool> dialled;  // PPP sessions
    Timer timer;

    // --- faults to come ---
    bool faulty = false;  // anything has failed in this story
    int failingCommands = 0;
    int hangingCommands = 0;
    int refusedThreads = 0;
    int shortMemory = -1;
    std::set<std::string> lostEnds;  // layers whose link has ended unseen
    bool everLost = false;
    int settingUp = 0;  // messages under way that set the links up anew
    uint64_t linkTurns = 0;

    uint64_t handled = 0;  // messages, kernel events and timer ticks
};

World& world();
void newWorld(uint64_t seed);

void broken(const std::string& rule, const std::string& what);  // keeps the first
void later(uint64_t delayMs, std::function<void()> happens);
// Lets everything happen that is due until then.
void runUntil(uint64_t timeMs);
// Lets threads run, so many turns at most, without any time passing.
void runTurns(uint32_t turns);
bool atRest();  // nobody has anything to do now

// The platform, after a command has run.
int platformRuns(const std::string& command);
// A line, a stick or a cable as it is now becomes known.
void hardwareChanged(const std::string& kernelText);
void lineChanges();
// A write that took effect; who owns the object does what it means.
void ownersAct(const std::string& write);
void clientSignalled(pid_t process, int signal);
// What a peer does with the daemon's message; VCFG_DELIVERED or VCFG_OK, or why not. `text` is its answer.
int peerTakes(const vcfg_msg_t& message, uint32_t patienceMs, std::string* text, uint32_t* statCode);
void answered(const vcfg_msg_t& reply);

void post(const Letter& letter, uint64_t delayMs = 0, uint8_t endpoint = VCFG_EID_TARN);
void checkWrites(const Errand& errand);
// The thread does to the links what nobody may do meanwhile.
void doLinkWork();

void furnish();
// Those that last as long as the daemon.
void startThreads();
inline constexpr size_t kOwnThreads = 4;

}  // namespace sim
