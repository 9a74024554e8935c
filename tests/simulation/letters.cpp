#include "letters.h"

#include <span>

#include "happenings.h"
#include "reports.h"

namespace sim {
namespace {

using namespace happenings;

struct Kind {
    uint32_t weight;
    bool fault;
    void (*happens)(const Event&);
    std::span<const char* const> words;
};
constexpr const char* kCable[] = {"the copper port's cable is put in",
                                  "the copper port's cable is pulled",
                                  "the SFP port's fibre is put in",
                                  "the SFP port's fibre is pulled",
                                  "a LAN cable is put in",
                                  "a LAN cable is pulled"};
constexpr const char* kLineWords[] = {"the exchange feeds the line in ATM", "the exchange feeds the line in PTM",
                                      "the line is cut"};
constexpr const char* kStick[] = {"the stick is put in", "the stick is pulled"};
constexpr const char* kFibre[] = {"the optical service comes up", "the optical service goes down"};
constexpr const char* kNotice[] = {"vcmd asks for a look at the links", "vcmd asks for the LED",
                                   "vcmd has the links set up anew",    "vcmd says that start-up is complete",
                                   "the system log is started",         "the system log is stopped"};
constexpr const char* kLeaseCommand[] = {"a lease on copper is to be renewed", "a lease on SFP is to be renewed",
                                         "a lease on copper is to be released", "a lease on SFP is to be released"};
constexpr const char* kPppCommand[] = {"PPP on the line is to connect", "PPP on the stick is to connect",
                                       "PPP on the line is to disconnect", "PPP on the stick is to disconnect"};
constexpr const char* kPppNotice[] = {"PPP on the line says that it connects", "PPP on the stick says that it connects",
                                      "PPP on the line says that it has ended",
                                      "PPP on the stick says that it has ended"};
constexpr const char* kQuestion[] = {"the checksum is asked for", "a command is relayed"};
constexpr const char* kLease[] = {"the lease on copper is renewed as it was",
                                  "the lease on SFP is renewed as it was",
                                  "the lease on copper gets another address",
                                  "the lease on SFP gets another address",
                                  "the lease on copper gets other routes, too",
                                  "the lease on SFP gets other routes, too",
                                  "the lease on copper is lost",
                                  "the lease on SFP is lost"};
constexpr const char* kHunts[] = {"VLAN hunts are enabled", "VLAN hunts are disabled", "VC hunts are enabled",
                                  "VC hunts are disabled"};
constexpr const char* kRefused[] = {"writes of addresses will be refused", "writes of DHCP clients will be refused",
                                    "writes of Ethernet links will be refused", "writes of routes will be refused",
                                    "writes of PPP interfaces will be refused"};
constexpr const char* kFailures[] = {"commands will fail", "commands will hang", "threads will not start"};
constexpr const char* kDeaths[] = {"the wireless daemon dies", "the VLAN hunter dies", "the VC hunter dies",
                                   "the web server dies", "vcmd takes no notice any more"};
constexpr const char* kMemory[] = {"memory will end"};

constexpr Kind kKinds[] = {
    {14, false, cable, kCable},          {7, false, line, kLineWords},      {4, false, stick, kStick},
    {3, false, fibre, kFibre},           {8, false, notice, kNotice},       {8, false, leaseCommand, kLeaseCommand},
    {6, false, pppCommand, kPppCommand}, {3, false, pppNotice, kPppNotice}, {3, false, question, kQuestion},
    {14, false, lease, kLease},          {20, false, report, kReportWords}, {2, false, hunts, kHunts},
    {3, true, refusedWrites, kRefused},  {2, true, failures, kFailures},    {2, true, death, kDeaths},
    {2, true, shortMemory, kMemory},
};

uint32_t drawWait(Chance& chance) {
    constexpr uint32_t kLongest[] = {1, 100, 100, 5000, 10'000, 100'000};
    return chance.below(kLongest[chance.below(std::size(kLongest))]);
}

}  // namespace

Event drawEvent(Chance& chance, bool withFaults) {
    uint32_t sum = 0;
    for (const Kind& kind : kKinds) {
        sum += kind.fault && !withFaults ? 0 : kind.weight;
    }
    uint32_t drawn = chance.below(sum);
    uint8_t number = 0;
    while (drawn >= kKinds[number].weight) {
        drawn -= kKinds[number++].weight;
    }
    Event event{};
    event.kind = number;
    event.choice = static_cast<uint8_t>(chance.below(static_cast<uint32_t>(kKinds[number].words.size())));
    event.doubled = chance.oneIn(20);
    event.waitMs = drawWait(chance);
    event.delayMs = chance.oneIn(5) ? chance.below(5000) : 0;
    event.turns = chance.oneIn(2) ? chance.below(10) : 100'000;
    event.salt = chance.next();
    return event;
}

void happen(const Event& event) {
    world().chance = Chance(event.salt);
    world().faulty = world().faulty || isFault(event);
    kKinds[event.kind].happens(event);
}

bool isFault(const Event& event) {
    return kKinds[event.kind].fault;
}

bool isKnown(const Event& event) {
    return event.kind < std::size(kKinds) && event.choice < kKinds[event.kind].words.size();
}

std::string wordsOf(const Event& event) {
    std::string words = "after " + std::to_string(event.waitMs) + " ms " + kKinds[event.kind].words[event.choice];
    if (event.delayMs != 0) {
        words += ", which takes " + std::to_string(event.delayMs) + " ms to arrive";
    }
    return words + (event.doubled ? ", twice" : "") + (event.turns < 100 ? "; the next comes at once" : "");
}

}  // namespace sim
