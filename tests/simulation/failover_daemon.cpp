#include "failover_daemon.h"

#include <algorithm>
#include <string_view>

#include "core/wan_state.h"
#include "link/kernel_event.h"
#include "link/wan_link_table.h"

namespace failover {
namespace {

const std::pair<const char*, const char*> kHouse[] = {
    {"Ethernet.Interface.4.Name", "eth0.4"},
    {"Ethernet.Interface.4.Upstream", "true"},
    {"Ethernet.Interface.6.Name", "eth0.6"},
    {"Ethernet.Interface.6.Upstream", "true"},
    {"Ethernet.Interface.6.X_VORAN_SFP", "true"},
    {"USB.Interface.1.Name", "usb0"},
    {"USB.Interface.1.Upstream", "true"},
    {"DSL.Line.1.LinkStatus", "NoSignal"},
    {"DSL.Channel.1.LowerLayers", "DSL.Line.1"},
    {"DSL.Channel.1.LinkEncapsulationUsed", "G.992.3_Annex_K_PTM"},
    {"DSL.Channel.2.LowerLayers", "DSL.Line.1"},
    {"DSL.Channel.2.LinkEncapsulationUsed", "G.992.3_Annex_K_ATM"},
    {"PPP.Interface.1.Enable", "true"},
    {"IP.Interface.1.Enable", "true"},
    {"IP.Interface.1.Status", "Up"},
    {"IP.Interface.1.X_VORAN_WAN", "true"},
    {"IP.Interface.1.IPv4Enable", "true"},
    {"IP.Interface.1.X_VORAN_IfName", "eth0.4"},
    {"IP.Interface.1.IPv4Address.1.Enable", "true"},
    {"IP.Interface.1.IPv4Address.1.Status", "Enabled"},
    {"IP.Interface.1.IPv4Address.1.IPAddress", "192.0.2.10"},
    {"IP.Interface.2.X_VORAN_IfName", "ptm0"},
};

// What lies on what.
const std::pair<const char*, const char*> kStack[] = {{"Ethernet.Link.1", "Ethernet.Interface.4"},
                                                      {"Ethernet.Link.2", "Ethernet.Interface.6"},
                                                      {"PTM.Link.1", "DSL.Channel.1"},
                                                      {"ATM.Link.1", "DSL.Channel.2"},
                                                      {"PPP.Interface.1", "USB.Interface.1"}};

// What the kernel says of each event; the line and the stick are known from the model, too.
struct Words {
    Event event;
    const char* kernel;
    const char* path = "";
    const char* status = "";
};
constexpr Words kWords[] = {
    {Event::CopperUp, "eth0.4:up:1000:F"},
    {Event::CopperDown, "eth0.4:down:0:H"},
    {Event::SfpUp, "eth0.6:up:1000:F"},
    {Event::SfpDown, "eth0.6:down:0:H"},
    {Event::LineUpAtm, "atm0:up", "DSL.Line.1.LinkStatus", "Up"},
    {Event::LineUpPtm, "ptm0:up", "DSL.Line.1.LinkStatus", "Up"},
    {Event::LineDown, "ptm0:down", "DSL.Line.1.LinkStatus", "NoSignal"},
    {Event::StickUp, "usb0:up", "USB.Interface.1.Status", "Up"},
    {Event::StickDown, "usb0:down", "USB.Interface.1.Status", "Down"},
};

constexpr const char* kAtm = "DSL.Line.1.X_VORAN_LinkTypeIsATM";
constexpr const char* kStatus[kLinks] = {"Ethernet.Interface.4.Status", "Ethernet.Interface.6.Status",
                                         "DSL.Line.1.LinkStatus", "USB.Interface.1.Status"};

WanLinkInfo& entryOf(Link link) {
    WanLinkInfo* entry = firstWanLink();
    const auto is = [entry = &entry](int32_t type, bool sfp) {
        return (*entry)->linkType == type && ((*entry)->isSFP != 0) == sfp;
    };
    while (!(link == kCopper && is(kLinkEthernet, false)) && !(link == kSfp && is(kLinkEthernet, true)) &&
           !(link == kLine && is(kLinkDslLine, false)) && !(link == kStick && is(kLinkUsb, false))) {
        entry = entry->next.get();
    }
    return *entry;
}

bool isRoutine(std::string_view command) {
    return command.substr(0, 3) == "ip ";
}

}  // namespace

Daemon::Daemon(const Setting& setting) {
    for (const auto& [path, value] : kHouse) {
        gateway_.set(path, value);
    }
    int number = 0;
    for (const auto& [higher, lower] : kStack) {
        gateway_.add(higher);
        const std::string entry = "InterfaceStack." + std::to_string(++number);
        gateway_.set(entry + ".HigherLayer", higher);
        gateway_.set(entry + ".LowerLayer", lower);
    }
    wan.WANPriority = setting.wanPriority;
    wan.EthWANPriority = setting.ethWanPriority;
    initWanLinkInfo();
}

void Daemon::keepInModel(const std::string& path, const std::string& value) {
    if (gateway_.get(path) != value) {
        gateway_.set(path, value);
    }
}

void Daemon::put(const State& state) {
    for (size_t link = 0; link < kLinks; ++link) {
        const bool isLine = link == kLine;
        keepInModel(kStatus[link], state.up[link] ? "Up" : (isLine ? "NoSignal" : "Down"));
        entryOf(static_cast<Link>(link)).linkStatus = state.acted[link] ? 1 : 0;
    }
    keepInModel(kAtm, state.mode == Mode::Atm ? "true" : "false");
    wan.currWanLinkType = static_cast<int32_t>(state.carrier);
    wan.isDslLinkUp = state.dslUp ? 1 : 0;
    wan.isSfpWanLinkUp = state.sfpUp ? 1 : 0;
    wan.wanLinkDown = state.wanDown ? 1 : 0;
    wan.wirelessWanLinkDown = state.mobileDown ? 1 : 0;
    wan.lastXtmLinkMode = state.driver;
    wan.lastInternetLedState = state.led;
    asked_ = state.asked;
    gateway_.forget();
    inproc::forgetReads();
}

void Daemon::tell(Event event) {
    for (const Words& words : kWords) {
        if (words.event == event) {
            if (*words.path != '\0') {
                keepInModel(words.path, words.status);
            }
            updateLinkStatus(words.kernel);
        }
    }
}

State Daemon::meet(Event event, Deeds& deeds) {
    if (event == Event::LineUpAtm || event == Event::LineUpPtm) {
        keepInModel(kAtm, event == Event::LineUpAtm ? "true" : "false");
    }
    inproc::forgetWrites();
    tell(event);
    if (event == Event::Look) {
        gateway_.receiveEmpty(VCFG_MSG_WAN_LINK);
    } else if (event == Event::AskedAgain) {
        asked_ -= 1;
        gateway_.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO, {VCFG_EID_TARN, 0});
    }
    for (const SentMessage& request : gateway_.requests()) {
        asked_ = std::min(asked_ + (request.type == VCFG_MSG_INIT_WAN_LINK_INFO ? 1 : 0), 2);
    }
    gateway_.runThreads();
    deeds = this->deeds();
    return state();
}

State Daemon::state() const {
    State now;
    for (size_t link = 0; link < kLinks; ++link) {
        now.up[link] = isUp(kStatus[link]);
        now.acted[link] = entryOf(static_cast<Link>(link)).linkStatus == 1;
    }
    now.mode = gateway_.get(kAtm) == "true" ? Mode::Atm : Mode::Ptm;
    now.carrier = static_cast<Carrier>(wan.currWanLinkType.load());
    now.dslUp = wan.isDslLinkUp == 1;
    now.sfpUp = wan.isSfpWanLinkUp == 1;
    now.wanDown = wan.wanLinkDown == 1;
    now.mobileDown = wan.wirelessWanLinkDown == 1;
    now.driver = wan.lastXtmLinkMode;
    now.led = wan.lastInternetLedState;
    now.asked = asked_;
    return now;
}

// Commands in their order, then what the layers above were told.
Deeds Daemon::deeds() const {
    Deeds all;
    for (const std::string& command : gateway_.commands()) {
        if (!isRoutine(command)) {
            all.push_back(command);
        }
    }
    for (const std::string& write : gateway_.writes()) {
        for (const auto& [layer, lower] : kStack) {
            if (write == std::string("set ") + layer) {
                all.push_back(layer + ("=" + gateway_.get(layer + std::string(".Status"))));
            }
        }
    }
    return all;
}

}  // namespace failover
