#include "happenings.h"

#include "inproc_fe.h"
#include "layers.h"
#include "peers.h"
#include "reports.h"

namespace sim {
namespace {

constexpr uint8_t kOpticalEid = 30;
using inproc::Operation;

void send(const Event& event, Letter letter) {
    constexpr uint8_t kEndpoints[] = {VCFG_EID_TARN, VCFG_EID_TARN, VCFG_EID_TARN_GROUND};
    const uint8_t endpoint = kEndpoints[letter.from % 3];  // each sender has one that it writes to
    for (int copy = 0; copy < (event.doubled ? 2 : 1); ++copy) {
        post(letter, event.delayMs, endpoint);
    }
}

void ask(const Event& event, Letter letter, bool waitsForOutcome) {
    letter.requestId = ++world().requestIds;
    world().asks.push_back({letter.from, letter.requestId, event.doubled ? 2 : 1, 0, waitsForOutcome});
    send(event, std::move(letter));
}

Letter pppMessage(uint32_t type, int ppp) {
    return {
        type, VCFG_EID_TR069, 0, {1, {static_cast<uint8_t>(ppp)}}, "", true, {"PPP.Interface." + std::to_string(ppp)}};
}

}  // namespace

namespace happenings {

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

}  // namespace happenings
}  // namespace sim
