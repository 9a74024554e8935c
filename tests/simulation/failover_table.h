// Who carries the WAN when several links are up, told once more and apart from the daemon: what a gateway with a copper
// port, an SFP port, a DSL line and a cellular stick does at each link event. Nothing here is the daemon's own code.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace failover {

enum Link { kCopper, kSfp, kLine, kStick, kLinks };
enum class Mode { Atm, Ptm };
enum class Carrier { Atm = 0, Ptm = 1, Ethernet = 3, None = 10 };

enum class Event {
    CopperUp,
    CopperDown,
    SfpUp,
    SfpDown,
    LineUpAtm,
    LineUpPtm,
    LineDown,
    StickUp,
    StickDown,
    Look,        // a message asks for a look at the links
    AskedAgain,  // the daemon's own request to set the links up anew is served
};
inline constexpr int kEvents = 11;
const char* nameOf(Event event);

struct Setting {
    int wanPriority;
    int ethWanPriority;
    std::string words() const;
};

// Hardware, and what the daemon remembers of it.
struct State {
    std::array<bool, kLinks> up{};     // the hardware
    Mode mode = Mode::Atm;             // in which the line trained last
    std::array<bool, kLinks> acted{};  // the state that was acted on last
    Carrier carrier = Carrier::None;
    bool dslUp = false;
    bool sfpUp = false;
    bool wanDown = true;
    bool mobileDown = true;
    int driver = 10;  // the DSL driver's mode; 10 none yet
    int led = -1;
    int asked = 0;  // own requests under way; more than two are like two

    bool operator==(const State&) const = default;
    std::string words() const;
};

// What is to be seen outside: commands, and statuses that are written into the layers above a link.
using Deeds = std::vector<std::string>;

// The state after the event; what is done on the way is added to `deeds`.
State after(const Setting& setting, State state, Event event, Deeds& deeds);

}  // namespace failover
