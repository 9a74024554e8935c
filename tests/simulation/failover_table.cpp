#include "failover_table.h"

#include "failover_walk.h"

namespace failover {
namespace {

enum class Change { EthernetUp, EthernetDown, DslUp, DslDown, StickUp, StickDown };
using W = const Walk&;

constexpr int kAny = 0;
bool always(W) {
    return true;
}
bool isPreferred(W w) {
    return w.setting.ethWanPriority == (w.link == kSfp ? 1 : 0);
}
bool dslCarries(W w) {
    return w.state.carrier == Carrier::Atm || w.state.carrier == Carrier::Ptm;
}
bool nobodyCarries(W w) {
    return w.state.carrier == Carrier::None;
}
bool ethernetCarries(W w) {
    return w.state.carrier == Carrier::Ethernet;
}
bool thisModeCarries(W w) {
    return static_cast<int>(w.state.carrier) == static_cast<int>(w.state.mode);
}
bool preferredWithoutDsl(W w) {
    return isPreferred(w) && !w.state.dslUp;
}
bool nothingWiredCameUp(W w) {
    return w.cameUp == 0;
}
bool nothingWiredIsUp(W w) {
    return w.cameUp == 0 && !w.state.dslUp;
}
bool isPtm(W w) {
    return w.state.mode == Mode::Ptm;
}

// For each change of a link its rules, from above to below: under which priority, when, and what is done.
struct Rule {
    Change change;
    int wanPriority;
    bool (*when)(W);
    void (*then)(Walk&);
};
constexpr Rule kRules[] = {
    // clang-format off
    {Change::EthernetUp,   kAny, always,              [](Walk& w) { w.countUp(); w.linkUp(); w.wanUp(); w.led(); }},
    {Change::EthernetUp,   3,    dslCarries,          [](Walk& w) { w.closeDsl(); w.carry(Carrier::Ethernet); w.end(); }},
    {Change::EthernetUp,   3,    nobodyCarries,       [](Walk& w) { w.closeDsl(); w.carry(Carrier::Ethernet); }},
    {Change::EthernetUp,   8,    always,              [](Walk& w) { w.carry(Carrier::None); }},
    {Change::EthernetUp,   kAny, isPreferred,         [](Walk& w) { w.ethernetWan("disable"); }},
    {Change::EthernetUp,   kAny, always,              [](Walk& w) { w.noHunter(); w.tellLayers(); }},

    {Change::EthernetDown, kAny, always,              [](Walk& w) { w.countDown(); }},
    {Change::EthernetDown, 2,    preferredWithoutDsl, [](Walk& w) { w.ethernetWan("enable"); }},
    {Change::EthernetDown, 3,    isPreferred,         [](Walk& w) { w.ethernetWan("enable"); }},
    {Change::EthernetDown, kAny, nothingWiredIsUp,    [](Walk& w) { w.state.wanDown = true; }},
    {Change::EthernetDown, kAny, always,              [](Walk& w) { w.linkDown(); w.led(); w.tellLayers(); }},

    {Change::DslUp,        kAny, always,              [](Walk& w) { w.loadDriver(); }},
    {Change::DslUp,        3,    always,              [](Walk& w) { w.carry(w.lineCarrier()); }},
    {Change::DslUp,        2,    always,              [](Walk& w) { w.ethernetWan("disable"); }},
    {Change::DslUp,        kAny, always,              [](Walk& w) { w.state.dslUp = true; w.linkUp(); w.wanUp(); w.led(); }},
    {Change::DslUp,        kAny, always,              [](Walk& w) { w.noHunter(); w.tellLayers(); }},

    {Change::DslDown,      kAny, isPtm,               [](Walk& w) { w.endPtm(); }},
    {Change::DslDown,      kAny, always,              [](Walk& w) { w.state.dslUp = false; w.linkDown(); }},
    {Change::DslDown,      kAny, nothingWiredCameUp,  [](Walk& w) { w.state.wanDown = true; }},
    {Change::DslDown,      kAny, always,              [](Walk& w) { w.led(); }},
    {Change::DslDown,      2,    always,              [](Walk& w) { w.ethernetWan("enable"); }},
    {Change::DslDown,      kAny, always,              [](Walk& w) { w.tellLayers(); }},
    {Change::DslDown,      3,    ethernetCarries,     [](Walk& w) { w.askAgain(); }},
    {Change::DslDown,      3,    thisModeCarries,     [](Walk& w) { w.carry(Carrier::None); }},

    {Change::StickUp,      kAny, always,              [](Walk& w) { w.linkUp(); w.state.mobileDown = false; w.led(); w.tellLayers(); }},
    {Change::StickDown,    kAny, always,              [](Walk& w) { w.linkDown(); w.state.mobileDown = true; w.led(); w.tellLayers(); }},
    // clang-format on
};

// Each link event: which hardware it is about, and how that is from then on.
struct Hardware {
    Event event;
    Link link;
    bool up;
};
constexpr Hardware kHardware[] = {
    {Event::CopperUp, kCopper, true}, {Event::CopperDown, kCopper, false}, {Event::SfpUp, kSfp, true},
    {Event::SfpDown, kSfp, false},    {Event::LineUpAtm, kLine, true},     {Event::LineUpPtm, kLine, true},
    {Event::LineDown, kLine, false},  {Event::StickUp, kStick, true},      {Event::StickDown, kStick, false},
};

// Ethernet first, so that the rest of the walk knows when the last port has gone.
constexpr Link kOrder[] = {kSfp, kCopper, kStick, kLine};

Change changeOf(const Walk& walk) {
    const bool up = walk.state.up[walk.link];
    if (walk.link == kLine) {
        return up ? Change::DslUp : Change::DslDown;
    }
    if (walk.link == kStick) {
        return up ? Change::StickUp : Change::StickDown;
    }
    return up ? Change::EthernetUp : Change::EthernetDown;
}

void applyRules(Walk& walk) {
    const Change change = changeOf(walk);
    for (const Rule& rule : kRules) {
        const bool counts = rule.wanPriority == kAny || rule.wanPriority == walk.setting.wanPriority;
        if (!walk.ended && rule.change == change && counts && rule.when(walk)) {
            rule.then(walk);
        }
    }
}

// With auto-detection DSL takes over from the last Ethernet port, and the other links wait for the next event.
bool fallsBackToDsl(const Walk& walk) {
    return walk.setting.wanPriority == 3 && walk.link != kSfp && walk.link != kCopper && walk.ethernetWentDown &&
           !walk.state.up[kCopper] && !walk.state.up[kSfp] && walk.cameUp == 0;
}

void lookAtLinks(Walk& walk) {
    for (const Link link : kOrder) {
        walk.link = link;
        if (fallsBackToDsl(walk)) {
            walk.openDsl();
            return;
        }
        if (walk.state.up[link] != walk.state.acted[link]) {
            applyRules(walk);
        }
        if (walk.ended) {
            return;
        }
    }
}

void takeHardware(Walk& walk, Event event) {
    for (const Hardware& hardware : kHardware) {
        if (hardware.event == event) {
            walk.state.up[hardware.link] = hardware.up;
        }
    }
    if (event == Event::LineUpAtm || event == Event::LineUpPtm) {
        walk.state.mode = event == Event::LineUpAtm ? Mode::Atm : Mode::Ptm;
    }
    if (event == Event::LineUpAtm || event == Event::LineUpPtm || event == Event::LineDown) {
        walk.restartStatistics();
    }
}

}  // namespace

State after(const Setting& setting, State state, Event event, Deeds& deeds) {
    Walk walk{setting, state, deeds};
    takeHardware(walk, event);
    if (event == Event::AskedAgain) {
        walk.state.asked -= 1;
        walk.state.acted = {};
    }
    lookAtLinks(walk);
    return walk.state;
}

}  // namespace failover
