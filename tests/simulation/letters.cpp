#include "letters.h"

#include <span>

#include "inproc_fe.h"
#include "layers.h"
#include "peers.h"
#include "reports.h"

namespace sim {
namespace {

constexpr uint8_t kOpticalEid = 30;
using inproc::Operation;

// --- what each kind of event does; `choice` is which of its sentences ---

void cable(const Event& event) {
    constexpr size_t kPorts[] = {4, 6, 1};
    const size_t port = kPorts[event.choice / 2];
    const bool in = event.choice % 2 == 0;
    if (world().cable[port] && !in) {
        noteEnd(kLinkEthernet, static_cast<uint8_t>(port));
    }
    world().cable[port] = in;
    hardwareChanged("eth0." + std::to_string(port) + (in ? ":up:1000:F" : ":down:0:H"));
}

void line(const Event& event) {
    World& w = world();
    const bool retrains = w.lineAtm != (event.choice == 0) && w.lineUp;
    w.lineFed = event.choice != 2 && !retrains;
    lineChanges();  // one that trains in the other mode is lost first
    if (event.choice != 2) {
        later(retrains ? 1000 : 0, [atm = event.choice == 0] {
            world().lineFed = true;
            world().lineAtm = atm;
            lineChanges();
        });
    }
}

void stick(const Event& event) {
    const bool in = event.choice == 0;
    if (world().stick && !in) {
        noteEnd(kLinkUsb, 1);
    }
    world().stick = in;
    inproc::set("USB.Interface.1.Status", in ? "Up" : "Down");
    hardwareChanged(in ? "usb0:up" : "usb0:down");
}

void send(const Event& event, Letter letter) {
    constexpr uint8_t kEndpoints[] = {VCFG_EID_TARN, VCFG_EID_TARN, VCFG_EID_TARN_GROUND};
    const uint8_t endpoint = kEndpoints[letter.from % 3];  // each sender has one that it writes to
    for (int copy = 0; copy < (event.doubled ? 2 : 1); ++copy) {
        post(letter, event.delayMs, endpoint);
    }
}

// The optical side tells by a message, and it is the daemon that keeps what it has heard.
void fibre(const Event& event) {
    const bool up = event.choice == 0;
    world().fibre = up;
    Letter letter{VCFG_MSG_OPTICAL_LINK_STATUS, kOpticalEid};
    letter.payload = up ? R"({"serviceStatus":true})" : "{}";
    letter.mayWrite = {"Optical.Interface.2"};
    if (!up) {
        letter.watch = [] {
            noteEnd(kLinkOptical, 2);
            return nullptr;
        };
    }
    send(event, letter);
}

void notice(const Event& event) {
    constexpr uint32_t kTypes[] = {VCFG_MSG_WAN_LINK,           VCFG_MSG_WAN_INTERNET_LED_UPDATE,
                                   VCFG_MSG_INIT_WAN_LINK_INFO, VCFG_MSG_INIT_DATAMODEL_FIN,
                                   VCFG_MSG_SYSTEM_LOG_START,   VCFG_MSG_SYSTEM_LOG_STOP};
    send(event, {kTypes[event.choice], VCFG_EID_VCMD, 0, {}, "", true});
}

void ask(const Event& event, Letter letter, bool waitsForOutcome) {
    letter.requestId = ++world().requestIds;
    world().asks.push_back({letter.from, letter.requestId, event.doubled ? 2 : 1, 0, waitsForOutcome});
    send(event, std::move(letter));
}

void leaseCommand(const Event& event) {
    const int client = event.choice % 2 == 0 ? 2 : 3;
    ask(event,
        {event.choice < 2 ? VCFG_MSG_WAN_IP_RENEW : VCFG_MSG_WAN_IP_RELEASE,
         VCFG_EID_VHTTPD,
         0,
         {1, {static_cast<uint8_t>(client)}},
         "",
         true,
         {"DHCPv4.Client." + std::to_string(client), "IP.Interface." + std::to_string(connectionOfDhcp(client).ip)}},
        true);
}

Letter pppMessage(uint32_t type, int ppp) {
    return {
        type, VCFG_EID_TR069, 0, {1, {static_cast<uint8_t>(ppp)}}, "", true, {"PPP.Interface." + std::to_string(ppp)}};
}

void pppCommand(const Event& event) {
    const uint32_t type = event.choice < 2 ? VCFG_MSG_WAN_PPP_CONNECT : VCFG_MSG_WAN_PPP_DISCONNECT;
    ask(event, pppMessage(type, event.choice % 2 == 0 ? 2 : 3), true);
}

void pppNotice(const Event& event) {
    const uint32_t type = event.choice < 2 ? VCFG_MSG_WAN_PPP_CONNECTING : VCFG_MSG_WAN_PPP_DISCONNECTED;
    send(event, pppMessage(type, event.choice % 2 == 0 ? 2 : 3));
}

void question(const Event& event) {
    const bool checksum = event.choice == 0;
    ask(event,
        {checksum ? VCFG_MSG_FAKEROOT_SYS_COMMAND : VCFG_MSG_FAKEROOT_SHELL_COMMAND,
         VCFG_EID_VHTTPD,
         0,
         {},
         checksum ? "" : "operator asks",
         checksum},
        false);
}

void lease(const Event& event) {
    const int client = event.choice % 2 == 0 ? 2 : 3;
    DhcpClient& own = world().clients[client];
    if (!own.running || own.address == 0 || !reachesServer(client)) {
        return;
    }
    const int what = event.choice / 2;
    if (what == 3) {
        send(event, releaseLetter(client));
        return;
    }
    own.address = what == 0 ? own.address : 10 + static_cast<int>(world().chance.below(200));
    own.routes = what == 2 ? static_cast<int>(world().chance.below(4)) : own.routes;
    send(event, leaseLetter(client, Lease::Renewed));
}

void report(const Event& event) {
    send(event, letterOf(kReports[event.choice % std::size(kReports)]));
}

void hunts(const Event& event) {
    inproc::set(event.choice < 2 ? "X_VORAN_VlanAutoHunt.Enable" : "X_VORAN_VcAutoHunt.Enable",
                event.choice % 2 == 0 ? "true" : "false");
}

// --- what can fail ---

void refusedWrites(const Event& event) {
    constexpr const char* kObjects[] = {"IP.Interface.{i}.IPv4Address.{i}", "DHCPv4.Client.{i}", "Ethernet.Link.{i}",
                                        "Routing.Router.{i}.IPv4Forwarding.{i}", "PPP.Interface.{i}"};
    for (const Operation operation : {Operation::Set, Operation::SetAndWait, Operation::Add, Operation::Delete}) {
        inproc::fail(operation, kObjects[event.choice], 1 + static_cast<int>(world().chance.below(4)));
    }
}

void failures(const Event& event) {
    const int times = 1 + static_cast<int>(world().chance.below(3));
    int* const kinds[] = {&world().failingCommands, &world().hangingCommands, &world().refusedThreads};
    *kinds[event.choice] = times;
}

void death(const Event& event) {
    constexpr uint8_t kPeers[] = {VCFG_EID_WIRELESS, VCFG_EID_VLANAUTOHUNT, VCFG_EID_VCAUTOHUNT, VCFG_EID_VHTTPD,
                                  VCFG_EID_VCMD};
    world().dead.insert(kPeers[event.choice]);
}

void shortMemory(const Event&) {
    world().shortMemory = static_cast<int>(world().chance.below(60));
}

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
